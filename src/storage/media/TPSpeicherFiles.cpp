// TPSpeicher: saving to and loading from files, and single bytes in the image file.
#include <tnpackage/storage/TPSpeicher.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "platform/Platform.h"
#include "storage/media/ReplacingFile.h"
#include "storage/media/SpeicherMessages.h"

namespace tn {

namespace {

// What a short file leaves behind in a loaded slice: a few zero bytes, then erased flash.
constexpr std::int64_t kZeroPadding = 4;
constexpr unsigned char kErased = 0xFF;

void PadShortLoad(char* missing, std::int64_t count) {
    if (count <= 0) return;
    const std::int64_t zeros = std::min(count, kZeroPadding);
    std::memset(missing, 0, static_cast<std::size_t>(zeros));
    std::memset(missing + zeros, kErased, static_cast<std::size_t>(count - zeros));
}

const char* PathOf(const TPString& name) {
    return name.IsEmpty() ? "" : name.c_str();
}

}  // namespace

void TPSpeicher::Speichern() {
    if (Size < 1) return;
    storage::ReplacingFile file(PathOf(FileName));
    if (!file.IsOpen()) return;  // a folder that cannot take the file: silently unsaved
    // Images beyond 4 MiB cannot be kept on the PC; the object itself stays shrunk afterwards.
    if (Size > kMaxSavedSize) Size = kMaxSavedSize;
    const bool saved = Extent() == Size && file.Write(Buffer, Size) && file.Commit();
    if (!saved) storage::WarnInconsistency(TPString());
}

void TPSpeicher::Speichern(TPString fileName, int start, int count) {
    std::int64_t n = count == 0 ? UsedLength : count;
    if (std::int64_t{start} + n > Size) n = std::int64_t{Size} - start;
    if (start < 0 || n < 0 || start + n > Extent()) {
        storage::WarnOutsideBuffer(start, n);
        return;
    }
    storage::ReplacingFile file(PathOf(fileName));
    if (!file.IsOpen()) return;
    if (!file.Write(Buffer + start, n) || !file.Commit()) storage::WarnInconsistency(fileName);
}

void TPSpeicher::Laden(TPString fileName, int start, int count) {
    std::int64_t n = count == 0 ? Size : count;
    if (std::int64_t{start} + n > Size) n = std::int64_t{Size} - start;
    if (start < 0 || n < 0 || start + n > Extent()) {
        storage::WarnOutsideBuffer(start, n);
        return;
    }
    platform::ScopedFile file(platform::FileOpen(PathOf(fileName), platform::FileAccess::Read));
    if (!file.IsOpen()) {
        storage::WarnCannotOpen(fileName);
        return;
    }
    if (n == 0) return;
    const std::int64_t read =
        std::max<std::int64_t>(platform::FileRead(file.get(), Buffer + start, n), 0);
    PadShortLoad(Buffer + start + read, n - read);
}

char TPSpeicher::GetChar(int address) {
    if (address < 0) return 0;
    platform::ScopedFile file(platform::FileOpen(PathOf(FileName), platform::FileAccess::Read));
    if (platform::FileSeek(file.get(), address, platform::SeekOrigin::Begin) != address) return 0;
    char c = 0;
    if (platform::FileRead(file.get(), &c, 1) != 1) return 0;
    return c;
}

void TPSpeicher::PutChar(int address, char c) {
    if (address < 0) return;
    platform::ScopedFile file(platform::FileOpen(PathOf(FileName), platform::FileAccess::Write));
    if (platform::FileSeek(file.get(), address, platform::SeekOrigin::Begin) != address) return;
    platform::FileWrite(file.get(), &c, 1);
}

}  // namespace tn
