#ifndef _WIN32

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include "os/OsFile.h"
#include "os/WriteFault.h"

namespace tnpkg::os {

bool File::Open(const std::filesystem::path& path, OpenMode mode, std::string& error) {
    Close();
    int flags = O_CLOEXEC;
    if (mode == OpenMode::Read) flags |= O_RDONLY;
    if (mode == OpenMode::ReadWrite) flags |= O_RDWR;
    if (mode == OpenMode::CreateNew) flags |= O_RDWR | O_CREAT | O_EXCL;
    const int fd = ::open(path.c_str(), flags, 0666);
    if (fd < 0) {
        error = LastError();
        return false;
    }
    handle_ = fd;
    return true;
}

bool File::IsOpen() const {
    return handle_ >= 0;
}

void File::Close() {
    if (handle_ >= 0) ::close(static_cast<int>(handle_));
    handle_ = -1;
}

std::int64_t File::ReadAt(std::int64_t offset, void* bytes, std::size_t n) {
    auto* at = static_cast<char*>(bytes);
    std::size_t done = 0;
    while (done < n) {
        const ssize_t got = ::pread(static_cast<int>(handle_), at + done, n - done,
                                    static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return -1;
        if (got == 0) break;
        done += static_cast<std::size_t>(got);
    }
    return static_cast<std::int64_t>(done);
}

bool File::WriteAt(std::int64_t offset, const void* bytes, std::size_t n) {
    const bool failing = WriteFailsNow(n);
    const auto* at = static_cast<const char*>(bytes);
    std::size_t done = 0;
    while (done < n) {
        const ssize_t put = ::pwrite(static_cast<int>(handle_), at + done, n - done,
                                     static_cast<off_t>(offset + done));
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return false;
        done += static_cast<std::size_t>(put);
    }
    if (failing) errno = EIO;
    return !failing;
}

std::int64_t File::Size() {
    struct stat info {};
    if (::fstat(static_cast<int>(handle_), &info) != 0) return -1;
    return static_cast<std::int64_t>(info.st_size);
}

bool File::Resize(std::int64_t size) {
    return ::ftruncate(static_cast<int>(handle_), static_cast<off_t>(size)) == 0;
}

bool File::Sync() {
    return ::fsync(static_cast<int>(handle_)) == 0;
}

bool File::TryLock(LockKind kind) {
    // flock, not fcntl: an fcntl lock vanishes when any descriptor of the file is closed in
    // this process, and the package's media open and close their own.
    const int operation = (kind == LockKind::Exclusive ? LOCK_EX : LOCK_SH) | LOCK_NB;
    while (::flock(static_cast<int>(handle_), operation) != 0) {
        if (errno != EINTR) return false;
    }
    return true;
}

void File::Unlock() {
    ::flock(static_cast<int>(handle_), LOCK_UN);
}

bool SyncFolder(const std::filesystem::path& folder) {
    const std::filesystem::path path = folder.empty() ? "." : folder;
    const int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return false;
    const bool ok = ::fsync(fd) == 0;
    return ::close(fd) == 0 && ok;
}

bool FolderWritable(const std::filesystem::path& folder) {
    const std::filesystem::path path = folder.empty() ? "." : folder;
    return ::access(path.c_str(), W_OK | X_OK) == 0;
}

void Sleep(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

void ExitAtOnce() {
    ::_exit(9);
}

std::string LastError() {
    // Inside a sentence of the tool's: "cannot open X: permission denied".
    std::string text = std::strerror(errno);
    if (!text.empty())
        text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    return text;
}

}  // namespace tnpkg::os

#endif
