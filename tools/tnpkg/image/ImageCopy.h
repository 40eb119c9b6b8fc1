// Users' images are precious: a command that changes an image works on a copy beside it, and
// the copy replaces the image only when the whole command succeeded. Until then, and after any
// failure, the image keeps every byte it had.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace tnpkg {

class ImageCopy {
  public:
    /// Copies `image` to a temporary file in the same folder (or, with `fresh`, creates an
    /// empty one of `freshSize` bytes there). See Problem.
    explicit ImageCopy(std::filesystem::path image, bool fresh = false,
                       std::uint64_t freshSize = 0);
    /// Removes the temporary file unless Commit succeeded.
    ~ImageCopy();
    ImageCopy(const ImageCopy&) = delete;
    ImageCopy& operator=(const ImageCopy&) = delete;

    /// The file to write to.
    const std::filesystem::path& Path() const { return temporary_; }
    /// Why the copy could not be made, or empty.
    const std::string& Problem() const { return problem_; }
    /// Forces the copy onto the disk and renames it over the image; false (with Problem set and
    /// the image untouched) when a step failed.
    bool Commit();

  private:
    std::filesystem::path image_;
    std::filesystem::path temporary_;
    std::string problem_;
    bool committed_ = false;
};

}  // namespace tnpkg
