// A memory image (".DAT") as the `image` commands work on it: the file's bytes come through an
// image session (lock, recovery) into a package image object that lives in a private folder,
// so that the object's own save never reaches the user's file. A load hands the changed bytes
// back to the session, which commits them in place behind its journal.
#pragma once

#include <tnpackage/tnpackage.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "store/ImageSession.h"
#include "store/PrivateFolder.h"

namespace tnpkg {

class SessionImage {
  public:
    SessionImage() = default;
    ~SessionImage();
    SessionImage(const SessionImage&) = delete;
    SessionImage& operator=(const SessionImage&) = delete;

    /// Opens the image file; false with `problem` set for the user.
    bool Open(const std::filesystem::path& path, const store::SessionOptions& options,
              std::string& problem);
    /// The file's length.
    std::int64_t FileSize() const;
    /// Makes the package image of `size` bytes holding the file's bytes.
    bool Load(int size, std::string& problem);
    tn::TPImageSpeicher& Image() { return *image_; }
    /// Hands what changed in the image object to the session, reads it back and commits it.
    bool Commit(std::string& problem);

  private:
    std::shared_ptr<store::ImageSession> session_;
    std::unique_ptr<store::PrivateFolder> folder_;
    tn::TPString savedFolder_;
    std::unique_ptr<tn::TPImageSpeicher> image_;
    std::vector<char> before_;
};

}  // namespace tnpkg
