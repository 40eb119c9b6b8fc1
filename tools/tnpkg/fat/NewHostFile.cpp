#include "fat/NewHostFile.h"

#include <fcntl.h>
#include <cerrno>
#include <cstring>
#include <system_error>

#ifdef _WIN32
#include <io.h>
#include <sys/stat.h>
#else
#include <unistd.h>
#endif

#include "cli/HostFiles.h"

namespace tnpkg {
namespace {

namespace fs = std::filesystem;

int CreateExclusively(const fs::path& path) {
#ifdef _WIN32
    return _wopen(path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
#else
    return open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
#endif
}

long WriteSome(int fd, const char* bytes, std::size_t count) {
#ifdef _WIN32
    constexpr std::size_t kMostAtOnce = 1u << 30;
    return _write(fd, bytes, static_cast<unsigned>(count < kMostAtOnce ? count : kMostAtOnce));
#else
    return static_cast<long>(write(fd, bytes, count));
#endif
}

int CloseFile(int fd) {
#ifdef _WIN32
    return _close(fd);
#else
    return close(fd);
#endif
}

}  // namespace

NewHostFile::NewHostFile(const fs::path& path, Existing existing) {
    if (existing == Existing::Replace) {
        Replace(path);
        return;
    }
    fd_ = CreateExclusively(path);
    if (fd_ >= 0) return;
    if (errno == EEXIST) {
        exists_ = true;
    } else {
        Fail("cannot create");
    }
}

void NewHostFile::Replace(const fs::path& path) {
    exists_ = false;
    std::error_code ec, removed;
    if (fs::is_regular_file(fs::symlink_status(path, ec))) fs::remove(path, removed);
    if (removed) {
        problem_ = "cannot replace: " + removed.message();
        return;
    }
    fd_ = CreateExclusively(path);
    if (fd_ < 0) Fail("cannot create");
}

NewHostFile::~NewHostFile() {
    if (fd_ >= 0) CloseFile(fd_);
}

void NewHostFile::Fail(const char* what) {
    if (problem_.empty()) problem_ = std::string(what) + ": " + SystemReason(errno);
}

bool NewHostFile::Write(const char* bytes, std::size_t count) {
    while (fd_ >= 0 && problem_.empty() && count > 0) {
        const long n = WriteSome(fd_, bytes, count);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            Fail("cannot write");
            break;
        }
        bytes += n;
        count -= static_cast<std::size_t>(n);
    }
    return fd_ >= 0 && problem_.empty();
}

bool NewHostFile::Close() {
    if (fd_ >= 0 && CloseFile(fd_) != 0) Fail("cannot write");
    fd_ = -1;
    return problem_.empty();
}

}  // namespace tnpkg
