// A scratch folder that belongs to this process alone: made under a fresh random name in the
// system's temporary folder, removed with everything in it at the end. The package's image
// objects load and save their ".DAT" files in SpeicherPfad; pointing it here keeps their own
// saves away from the user's files and from other tnpkg commands running at the same time.
#pragma once

#include <filesystem>
#include <string>

namespace tnpkg::store {

class PrivateFolder {
  public:
    /// `purpose` becomes part of the folder's name.
    explicit PrivateFolder(const std::string& purpose);
    ~PrivateFolder();
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    bool Ready() const { return !path_.empty(); }
    const std::filesystem::path& Path() const { return path_; }

  private:
    std::filesystem::path path_;
};

}  // namespace tnpkg::store
