// The few operating-system calls that writing an image in place needs and that the standard
// library does not offer: positioned reads and writes, forcing data onto the disk (a file and a
// folder's entries), truncation, exclusive creation and advisory locks. One implementation for
// POSIX (OsFilePosix.cpp) and one for Windows (OsFileWindows.cpp).
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

namespace tnpkg::os {

enum class OpenMode {
    Read,       // existing file, reading only
    ReadWrite,  // existing file
    CreateNew,  // a file that must not exist yet, for reading and writing
};

enum class LockKind { Shared, Exclusive };

/// An open file. Move-only; closing it releases its lock.
class File {
  public:
    File() = default;
    ~File();
    File(File&& other) noexcept;
    File& operator=(File&& other) noexcept;
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    /// False with the system's reason in `error` when it cannot be opened.
    bool Open(const std::filesystem::path& path, OpenMode mode, std::string& error);
    bool IsOpen() const;
    void Close();

    /// Reads up to `n` bytes at `offset`: the count read (less at the end of the file), or -1.
    std::int64_t ReadAt(std::int64_t offset, void* bytes, std::size_t n);
    /// Writes all `n` bytes at `offset`.
    bool WriteAt(std::int64_t offset, const void* bytes, std::size_t n);
    /// The file's length, or -1.
    std::int64_t Size();
    /// Cuts or extends (with zeros) the file to `size` bytes.
    bool Resize(std::int64_t size);
    /// Forces the file's data and length onto the disk.
    bool Sync();

    /// Takes the lock without waiting; false while another open file holds a conflicting one.
    /// The lock belongs to this open file, not to the process: closing another descriptor of
    /// the same file keeps it.
    bool TryLock(LockKind kind);
    void Unlock();

  private:
    std::intptr_t handle_ = -1;
};

/// Forces a folder's entries (files created, renamed or removed in it) onto the disk. Where
/// the system has no such call it succeeds without doing anything.
bool SyncFolder(const std::filesystem::path& folder);
/// Whether this process may create and remove files in `folder`.
bool FolderWritable(const std::filesystem::path& folder);
/// Waits `milliseconds`.
void Sleep(int milliseconds);
/// Ends the process at once, without unwinding, flushing or running exit handlers: what a
/// power cut or a kill looks like to the files.
[[noreturn]] void ExitAtOnce();
/// The last system error as text.
std::string LastError();

}  // namespace tnpkg::os
