// TPSpeicher: construction, release and mapping of the buffer; the image's globals.
#include <tnpackage/storage/TPSpeicher.h>

#include <tnpackage/frame/DeviceAddressSpace.h>
#include <tnpackage/frame/Globals.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <string>

#include "platform/Platform.h"
#include "storage/media/SpeicherMessages.h"

namespace tn {

constinit TPString SpeicherPfad;
constinit TPSpeicher* MainMemory = nullptr;
constinit TPSpeicher* TestSpeicher = nullptr;
constinit void* MemAdressen = nullptr;
constinit TPMemWriteHook OnMemWrite = nullptr;

namespace {

// Erased flash reads as all ones: a fresh image looks like a freshly erased chip.
constexpr unsigned char kErased = 0xFF;

bool EndsWithSeparator(const std::string& path) {
    return !path.empty() && path.back() == platform::PathSeparator();
}

// The image folder is made below the program folder when it is relative, although the image
// file itself is then opened relative to the current folder: the programs have always run with
// the program folder current, and images made elsewhere must keep being found where they are.
std::string FolderToCreate(const char* folder) {
    if (platform::IsAbsolutePath(folder) || ProgramDir.IsEmpty()) return folder;
    std::string path = ProgramDir.c_str();
    if (!EndsWithSeparator(path)) path += platform::PathSeparator();
    return path + folder;
}

std::string ImageFileName(const TPString& name) {
    std::string path;
    if (!SpeicherPfad.IsEmpty()) {
        const char* folder = SpeicherPfad.c_str();
        if (!platform::DirectoryExists(folder)) {
            platform::ForceDirectories(FolderToCreate(folder).c_str());
        }
        path = folder;
        path += platform::PathSeparator();
    }
    if (!name.IsEmpty()) path += name.c_str();
    return path + TPSpeicher::kExtension;
}

}  // namespace

TPSpeicher::TPSpeicher(TPString name, int size) : Size(size) {
    FileName = storage::Owned(ImageFileName(name));
    if (size <= 0) return;

    ownedBuffer_ = new (std::nothrow) char[static_cast<std::size_t>(size)];
    if (ownedBuffer_ == nullptr) {
        Size = 0;
        storage::WarnNoMemory(name);
        return;
    }
    ownedLength_ = size;
    Buffer = ownedBuffer_;
    std::memset(Buffer, kErased, static_cast<std::size_t>(size));

    // A missing file is created empty, so that it is there to be filled by the final save. A
    // file of another length is not read at all: the image starts erased.
    platform::ScopedFile file(platform::FileOpenOrCreate(FileName.c_str()));
    const std::int64_t length = platform::FileSeek(file.get(), 0, platform::SeekOrigin::End);
    platform::FileSeek(file.get(), 0, platform::SeekOrigin::Begin);
    if (length != size) return;
    if (platform::FileRead(file.get(), Buffer, size) < size) storage::WarnInconsistency(name);
}

TPSpeicher::~TPSpeicher() {
    Speichern();
    FreeOwnedBuffer();
    Unmap();
}

void TPSpeicher::SetSector(int /*base*/) {}

std::int64_t TPSpeicher::Extent() const {
    if (Buffer == nullptr || Size <= 0) return 0;
    if (Buffer == ownedBuffer_ && Size > ownedLength_) return ownedLength_;
    return Size;
}

void TPSpeicher::ReleaseBuffer() {
    FreeOwnedBuffer();
}

void TPSpeicher::FreeOwnedBuffer() {
    if (ownedBuffer_ == nullptr) return;
    // Memory in the instrument's range belongs to the device side and is never released; the
    // question must be asked while the window is still mapped.
    const bool deviceOwned = DeviceAddressSpace::InInstrumentRange(ownedBuffer_);
    if (deviceBase_ && DeviceAddressSpace::ToHost(*deviceBase_) == ownedBuffer_) Unmap();
    if (!deviceOwned) {
        DeviceAddressSpace::UnmapHost(ownedBuffer_);  // no window may outlive its memory
        delete[] ownedBuffer_;
    }
    if (Buffer == ownedBuffer_) Buffer = nullptr;
    ownedBuffer_ = nullptr;
    ownedLength_ = 0;
}

bool TPSpeicher::InSide(const char* p) const {
    if (Buffer == nullptr || Size <= 0) return false;
    // As integers: comparing pointers into different objects is unspecified.
    const auto address = reinterpret_cast<std::uintptr_t>(p);
    const auto start = reinterpret_cast<std::uintptr_t>(Buffer);
    return start < address && address - start < static_cast<std::uintptr_t>(Size);
}

bool TPSpeicher::MapAt(std::uint32_t deviceBase) {
    const std::int64_t extent = Extent();
    if (extent <= 0) return false;
    const std::optional<std::uint32_t> previous = deviceBase_;
    Unmap();
    if (DeviceAddressSpace::Map(deviceBase, Buffer, static_cast<std::uint32_t>(extent))) {
        deviceBase_ = deviceBase;
        return true;
    }
    if (previous &&
        DeviceAddressSpace::Map(*previous, Buffer, static_cast<std::uint32_t>(extent))) {
        deviceBase_ = previous;
    }
    return false;
}

void TPSpeicher::Unmap() {
    if (!deviceBase_) return;
    DeviceAddressSpace::Unmap(*deviceBase_);
    deviceBase_.reset();
}

}  // namespace tn
