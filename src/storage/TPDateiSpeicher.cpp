// A medium that is an image file on the PC, reached one block at a time.
#include <tnpackage/storage/TPDateiSpeicher.h>

#include <tnpackage/frame/Messages.h>

#include <cstring>
#include <string>

#include "platform/Platform.h"
#include "storage/SpeicherMessages.h"

namespace tn {

namespace {

void WarnOutside(std::int64_t address) {
    Warning(
        storage::Owned("Sektor au\xDF"
                       "erhalb des Mediums (Adresse " +
                       std::to_string(address) + ")"));
}

}  // namespace

TPDateiSpeicher::TPDateiSpeicher(TPString path, bool writable, std::int64_t origin)
    : TPSpeicher(path, 0),
      file_(platform::kInvalidFile),
      writable_(writable),
      origin_(origin),
      path_(path) {
    const char* name = path_.c_str();
    if (name != nullptr && origin_ >= 0) {
        file_ = platform::FileOpen(
            name, writable ? platform::FileAccess::ReadWrite : platform::FileAccess::Read);
    }
    if (file_ == platform::kInvalidFile) {
        storage::WarnCannotOpen(path_);
        return;
    }
    const std::int64_t end = platform::FileSeek(file_, 0, platform::SeekOrigin::End);
    length_ = end > origin_ ? end - origin_ : 0;
}

TPDateiSpeicher::~TPDateiSpeicher() {
    platform::FileClose(file_);
}

bool TPDateiSpeicher::IsOpen() const {
    return file_ != platform::kInvalidFile;
}

std::int64_t TPDateiSpeicher::MediumSize() const {
    return length_;
}

bool TPDateiSpeicher::Flush() {
    return IsOpen() && platform::FileFlush(file_);
}

void TPDateiSpeicher::ReadBlock(void* destination, std::int64_t address) {
    if (destination == nullptr || BlockSize < 1) return;
    std::memset(destination, 0, static_cast<std::size_t>(BlockSize));
    if (!IsOpen() || address < 0 || address > length_ - BlockSize) {
        WarnOutside(address);
        return;
    }
    if (platform::FileSeek(file_, origin_ + address, platform::SeekOrigin::Begin) < 0 ||
        platform::FileRead(file_, destination, BlockSize) != BlockSize) {
        storage::WarnInconsistency(path_);
    }
}

void TPDateiSpeicher::WriteBlock(const void* source, std::int64_t address) {
    if (source == nullptr || BlockSize < 1) return;
    if (!IsOpen() || address < 0 || address > length_ - BlockSize) {
        WarnOutside(address);
        return;
    }
    if (!writable_) {
        Warning(TPString("Medium ist schreibgesch\xFCtzt: ", 0) + path_);
        return;
    }
    if (platform::FileSeek(file_, origin_ + address, platform::SeekOrigin::Begin) < 0 ||
        platform::FileWrite(file_, source, BlockSize) != BlockSize) {
        storage::WarnInconsistency(path_);
    }
}

}  // namespace tn
