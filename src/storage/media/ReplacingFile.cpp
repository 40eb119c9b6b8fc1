// A file that replaces another only once it is complete.
#include "storage/media/ReplacingFile.h"

#include <utility>

namespace tn::storage {

ReplacingFile::ReplacingFile(std::string target)
    : target_(std::move(target)), temporary_(target_ + kTemporarySuffix) {
    if (!target_.empty()) file_ = platform::FileCreate(temporary_.c_str());
}

ReplacingFile::~ReplacingFile() {
    if (!committed_) Discard();
}

bool ReplacingFile::Write(const void* data, std::int64_t count) {
    if (!IsOpen() || failed_) return false;
    if (count > 0 && platform::FileWrite(file_, data, count) != count) failed_ = true;
    return !failed_;
}

bool ReplacingFile::Commit() {
    if (!IsOpen() || failed_) return false;
    // The data must be on the medium before the rename makes it the image: otherwise a crash
    // could leave the new name pointing at blocks that were never written.
    const bool flushed = platform::FileFlush(file_);
    platform::FileClose(file_);
    file_ = platform::kInvalidFile;
    if (!flushed || !platform::ReplaceFile(temporary_.c_str(), target_.c_str())) {
        failed_ = true;
        platform::DeleteFile(temporary_.c_str());
        return false;
    }
    committed_ = true;
    return true;
}

void ReplacingFile::Discard() {
    if (!IsOpen()) return;
    platform::FileClose(file_);
    file_ = platform::kInvalidFile;
    platform::DeleteFile(temporary_.c_str());
}

}  // namespace tn::storage
