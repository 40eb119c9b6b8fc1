// One command's hold on one image file: it resolves the path (a symbolic link's target is the
// image, so every path to one image finds one journal), takes the lock, undoes what an
// interrupted command left behind, gives the command an overlay to work on, and commits the
// overlay into the image in place, behind the rollback journal (store/Journal.h).
//
// Nothing touches the image before Commit; a session that ends without one leaves the image as
// it was (and removes an image it created).
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "os/OsFile.h"
#include "store/Overlay.h"

namespace tnpkg::store {

struct SessionOptions {
    bool write = false;   // exclusive lock and Commit; otherwise a shared lock
    bool journal = true;  // false: --no-journal, a crash can leave the image half-written
    bool create = false;  // a missing image is created (empty) and removed again on failure

    /// A command's options: it writes or not, may create the image, and keeps the journal
    /// unless the user waived it (--no-journal).
    static SessionOptions For(bool write, bool noJournal, bool create = false) {
        return SessionOptions{write, !noJournal, create};
    }
};

class ImageSession {
  public:
    /// Opens the image `image` (as the user named it); null with `problem` set for the user.
    /// What recovery did is reported on standard error and kept in Recovery().
    static std::shared_ptr<ImageSession> Open(const std::filesystem::path& image,
                                              const SessionOptions& options, std::string& problem);
    ~ImageSession();
    ImageSession(const ImageSession&) = delete;
    ImageSession& operator=(const ImageSession&) = delete;

    /// The image with the command's changes laid over it.
    Overlay& Changes() { return *overlay_; }
    /// The image as the user named it.
    const std::string& Name() const { return given_; }
    /// The image's resolved path.
    const std::filesystem::path& Path() const { return path_; }
    /// What opening found and did about an interrupted command, or empty.
    const std::string& Recovery() const { return recovery_; }
    /// Whether this session created the image file.
    bool CreatedImage() const { return created_; }

    /// Writes the changes into the image: journal first, then the pages in place, then the
    /// journal goes. False with `problem` set when the image is as it was before the command
    /// (or, should even the rollback fail, will be so after the next command's recovery).
    bool Commit(std::string& problem);

  private:
    ImageSession() = default;

    std::string given_;  // the image as the user named it, for messages
    std::filesystem::path path_;
    std::filesystem::path journal_;
    SessionOptions options_;
    os::File file_;
    std::unique_ptr<Overlay> overlay_;
    bool created_ = false;
    bool committed_ = false;
    std::string recovery_;

    bool OpenFile(std::string& problem);
    bool Lock(os::LockKind kind, std::string& problem);
    bool RecoverIfNeeded(std::string& problem);
    bool Recover(std::string& problem);
    bool WriteInPlace(const std::vector<std::int64_t>& pages);
};

}  // namespace tnpkg::store
