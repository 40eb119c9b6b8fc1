// A medium that is an image file on the PC, reached one block at a time.
#include <tnpackage/storage/TPDateiSpeicher.h>

#include <tnpackage/frame/Messages.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "platform/Platform.h"
#include "storage/media/SpeicherMessages.h"

namespace tn {

namespace {

void WarnOutside(std::int64_t address) {
    Warning(
        storage::Owned("Sektor au\xDF"
                       "erhalb des Mediums (Adresse " +
                       std::to_string(address) + ")"));
}

// Bytes read from the file at once; a power of two, so that blocks of any power-of-two size up
// to it never straddle two chunks.
constexpr std::int64_t kChunkBytes = 64 * 1024;

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
    if (ReadThroughChunk(destination, address)) return;
    if (platform::FileReadAt(file_, destination, BlockSize, origin_ + address) != BlockSize) {
        storage::WarnInconsistency(path_);
    }
}

// Copies the block from the chunk holding it, reading that chunk first when needed. False when
// the block cannot come from a chunk (it straddles two, or the file no longer has the whole
// chunk): the caller then reads the block alone, with the usual warning on a short read.
bool TPDateiSpeicher::ReadThroughChunk(void* destination, std::int64_t address) {
    const std::int64_t start = address - address % kChunkBytes;
    const std::int64_t size = std::min(kChunkBytes, length_ - start);
    if (address + BlockSize > start + size) return false;
    if (chunkAddress_ != start || static_cast<std::int64_t>(chunk_.size()) != size) {
        chunkAddress_ = -1;
        chunk_.resize(static_cast<std::size_t>(size));
        if (platform::FileReadAt(file_, chunk_.data(), size, origin_ + start) != size) {
            return false;
        }
        chunkAddress_ = start;
    }
    std::memcpy(destination, chunk_.data() + (address - start),
                static_cast<std::size_t>(BlockSize));
    return true;
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
    if (platform::FileWriteAt(file_, source, BlockSize, origin_ + address) != BlockSize) {
        chunkAddress_ = -1;  // the file's bytes are unknown now
        storage::WarnInconsistency(path_);
        return;
    }
    // Keep the chunk equal to the file.
    const std::int64_t chunkEnd = chunkAddress_ + static_cast<std::int64_t>(chunk_.size());
    if (chunkAddress_ >= 0 && address < chunkEnd && address + BlockSize > chunkAddress_) {
        const std::int64_t from = std::max(address, chunkAddress_);
        const std::int64_t to = std::min(address + BlockSize, chunkEnd);
        std::memcpy(chunk_.data() + (from - chunkAddress_),
                    static_cast<const unsigned char*>(source) + (from - address),
                    static_cast<std::size_t>(to - from));
    }
}

}  // namespace tn
