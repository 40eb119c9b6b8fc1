// A file that replaces another only once it is complete.
//
// The new contents go to a temporary file beside the target; Commit flushes it to the medium and
// renames it over the target. Until then, and whenever a step fails, the target keeps its old
// contents: a crash or a full disk in the middle of a save never leaves a half-written file.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Platform.h"

namespace tn::storage {

class ReplacingFile {
  public:
    /// Suffix of the temporary file, appended to the target's name.
    static constexpr const char* kTemporarySuffix = ".tmp";

    /// Creates the temporary file for `target`; see IsOpen.
    explicit ReplacingFile(std::string target);
    /// Removes the temporary file unless Commit succeeded.
    ~ReplacingFile();
    ReplacingFile(const ReplacingFile&) = delete;
    ReplacingFile& operator=(const ReplacingFile&) = delete;

    /// Whether the temporary file could be created.
    bool IsOpen() const { return file_ != platform::kInvalidFile; }
    /// Appends bytes; false when not all of them could be written.
    bool Write(const void* data, std::int64_t count);
    /// Flushes and closes the temporary file and renames it over the target; false when any
    /// write or one of these steps failed (the target is then unchanged).
    bool Commit();

  private:
    void Discard();

    std::string target_;
    std::string temporary_;
    platform::FileHandle file_ = platform::kInvalidFile;
    bool failed_ = false;
    bool committed_ = false;
};

}  // namespace tn::storage
