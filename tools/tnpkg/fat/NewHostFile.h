// A file that `fat get` writes on the PC. It is always a new file: a file already at the name
// is removed first (its other hard links keep their content) and the new one is created
// exclusively, so whatever a hostile target folder holds under that name (a hard link to a
// file elsewhere, a link planted between the removal and the creation) is never written
// through.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace tnpkg {

class NewHostFile {
  public:
    /// What to do when something is at the path already: remove it first (a regular file
    /// only), or only report it (Exists) and create nothing, for the caller to look first.
    enum class Existing { Replace, Report };
    explicit NewHostFile(const std::filesystem::path& path, Existing existing = Existing::Replace);
    ~NewHostFile();
    NewHostFile(const NewHostFile&) = delete;
    NewHostFile& operator=(const NewHostFile&) = delete;

    /// Why the file could not be made or written (empty while all is well).
    const std::string& Problem() const { return problem_; }
    /// Whether the file was not created because something is at the path (Existing::Report).
    bool Exists() const { return exists_; }
    /// After Exists: removes the regular file at `path` and creates the new one exclusively.
    void Replace(const std::filesystem::path& path);
    bool Write(const char* bytes, std::size_t count);
    /// Closes the file; false (with Problem set) when anything failed.
    bool Close();

  private:
    int fd_ = -1;
    bool exists_ = false;
    std::string problem_;
    void Fail(const char* what);
};

}  // namespace tnpkg
