// POSIX implementation of the platform layer: dialogs become lines on standard error and a
// question on the controlling terminal; files go through the C library and <filesystem>.
#include "platform/Platform.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>

namespace tn::platform {

namespace {

// Set to 1 to make every question answer "no" without asking (used by automated runs).
constexpr const char* kNoDialogsVariable = "TN_NO_DIALOGS";

bool DialogsSuppressed() {
    const char* v = std::getenv(kNoDialogsVariable);
    return v != nullptr && *v != '\0' && std::strcmp(v, "0") != 0;
}

// The part of the calling thread's stack above the caller's frame is mapped for as long as the
// call lasts, so text there (the string class's work buffers) needs no probe. Two system calls
// per string copy made the probe the cost of every text operation.
bool OnOwnStack(const void* p) {
#if defined(__linux__) && defined(__GLIBC__)
    thread_local std::uintptr_t top = 0;  // 1: the bounds are unknown
    if (top == 0) {
        top = 1;
        pthread_attr_t attributes;
        if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
            void* lowest = nullptr;
            std::size_t size = 0;
            if (pthread_attr_getstack(&attributes, &lowest, &size) == 0) {
                top = reinterpret_cast<std::uintptr_t>(lowest) + size;
            }
            pthread_attr_destroy(&attributes);
        }
    }
    const char here = 0;
    const auto address = reinterpret_cast<std::uintptr_t>(p);
    return address >= reinterpret_cast<std::uintptr_t>(&here) && address < top;
#else
    (void)p;
    return false;
#endif
}

}  // namespace

void ShowInformation(const char* text) {
    std::fprintf(stderr, "%s\n", text ? text : "");
}

void ShowWarning(const char* text, const char* caption) {
    std::fprintf(stderr, "%s: %s\n", caption ? caption : "Warning", text ? text : "");
}

int AskYesNo(const char* text, const char* caption, bool withCancel) {
    if (DialogsSuppressed() || !isatty(STDIN_FILENO)) return kAnswerNo;
    FILE* tty = std::fopen("/dev/tty", "r+");
    if (tty == nullptr) return kAnswerNo;
    std::fprintf(tty, "%s: %s [%s] ", caption ? caption : "Question", text ? text : "",
                 withCancel ? "y/n/c" : "y/n");
    std::fflush(tty);
    char line[64] = {};
    int answer = kAnswerNo;
    if (std::fgets(line, sizeof line, tty) != nullptr) {
        if (line[0] == 'y' || line[0] == 'Y' || line[0] == 'j' || line[0] == 'J') {
            answer = kAnswerYes;
        } else if (withCancel && (line[0] == 'c' || line[0] == 'C')) {
            answer = kAnswerCancel;
        }
    }
    std::fclose(tty);
    return answer;
}

void Beep(int /*duration*/) {
    if (isatty(STDERR_FILENO)) std::fputc('\a', stderr);
}

bool IsReadable(const void* p) {
    if (OnOwnStack(p)) return true;
    // The kernel reports EFAULT instead of faulting when asked to copy from an unmapped
    // address, so a one-byte write into a private pipe probes the address safely.
    static int fds[2] = {-1, -1};
    if (fds[0] < 0) {
        if (pipe(fds) != 0) return false;
        fcntl(fds[0], F_SETFL, O_NONBLOCK);
        fcntl(fds[1], F_SETFL, O_NONBLOCK);
        fcntl(fds[0], F_SETFD, FD_CLOEXEC);
        fcntl(fds[1], F_SETFD, FD_CLOEXEC);
    }
    if (write(fds[1], p, 1) != 1) return false;
    char sink;
    (void)!read(fds[0], &sink, 1);
    return true;
}

LocalTime Now() {
    timeval tv{};
    gettimeofday(&tv, nullptr);
    std::time_t seconds = tv.tv_sec;
    std::tm parts{};
    localtime_r(&seconds, &parts);
    LocalTime t;
    t.year = parts.tm_year + 1900;
    t.month = parts.tm_mon + 1;
    t.day = parts.tm_mday;
    t.hour = parts.tm_hour;
    t.minute = parts.tm_min;
    t.second = parts.tm_sec;
    t.millisecond = static_cast<int>(tv.tv_usec / 1000);
    return t;
}

std::string GetEnv(const char* name) {
    const char* v = std::getenv(name);
    return v ? std::string(v) : std::string();
}

bool HasTerminal() {
    return isatty(STDIN_FILENO) && isatty(STDERR_FILENO);
}

char PathSeparator() {
    return '/';
}

bool FileExists(const char* path) {
    struct stat st {};
    return path && stat(path, &st) == 0 && S_ISREG(st.st_mode);
}

bool DirectoryExists(const char* path) {
    struct stat st {};
    return path && stat(path, &st) == 0 && S_ISDIR(st.st_mode);
}

bool ForceDirectories(const char* path) {
    if (path == nullptr || *path == '\0') return false;
    std::error_code ec;
    std::filesystem::create_directories(path, ec);
    return DirectoryExists(path);
}

bool DeleteFile(const char* path) {
    return path && std::remove(path) == 0;
}

bool ReplaceFile(const char* from, const char* to) {
    return from && to && std::rename(from, to) == 0;
}

std::int64_t FileSize(const char* path) {
    struct stat st {};
    if (path == nullptr || stat(path, &st) != 0 || !S_ISREG(st.st_mode)) return -1;
    return static_cast<std::int64_t>(st.st_size);
}

// ---- file handles -------------------------------------------------------------------------------

namespace {

// Files are created readable and writable by everyone the umask allows.
constexpr mode_t kCreateMode = 0666;

FileHandle OpenWith(const char* path, int flags) {
    if (path == nullptr || *path == '\0') return kInvalidFile;
    int fd = -1;
    do {
        fd = open(path, flags | O_CLOEXEC, kCreateMode);
    } while (fd < 0 && errno == EINTR);
    return fd < 0 ? kInvalidFile : static_cast<FileHandle>(fd);
}

int Descriptor(FileHandle file) {
    return static_cast<int>(file);
}

}  // namespace

FileHandle FileOpen(const char* path, FileAccess access) {
    const int flags = access == FileAccess::Read    ? O_RDONLY
                      : access == FileAccess::Write ? O_WRONLY
                                                    : O_RDWR;
    return OpenWith(path, flags);
}

FileHandle FileOpenOrCreate(const char* path) {
    return OpenWith(path, O_RDWR | O_CREAT);
}

FileHandle FileCreate(const char* path) {
    return OpenWith(path, O_RDWR | O_CREAT | O_TRUNC);
}

std::int64_t FileSeek(FileHandle file, std::int64_t offset, SeekOrigin origin) {
    if (file == kInvalidFile) return -1;
    const int whence = origin == SeekOrigin::Begin     ? SEEK_SET
                       : origin == SeekOrigin::Current ? SEEK_CUR
                                                       : SEEK_END;
    const off_t position = lseek(Descriptor(file), static_cast<off_t>(offset), whence);
    return position < 0 ? -1 : static_cast<std::int64_t>(position);
}

std::int64_t FileRead(FileHandle file, void* buffer, std::int64_t count) {
    if (file == kInvalidFile || buffer == nullptr || count < 0) return -1;
    auto* bytes = static_cast<char*>(buffer);
    std::int64_t done = 0;
    while (done < count) {
        const ssize_t n =
            read(Descriptor(file), bytes + done, static_cast<std::size_t>(count - done));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return done > 0 ? done : -1;
        if (n == 0) break;  // end of file
        done += n;
    }
    return done;
}

std::int64_t FileWrite(FileHandle file, const void* buffer, std::int64_t count) {
    if (file == kInvalidFile || buffer == nullptr || count < 0) return -1;
    const auto* bytes = static_cast<const char*>(buffer);
    std::int64_t done = 0;
    while (done < count) {
        const ssize_t n =
            write(Descriptor(file), bytes + done, static_cast<std::size_t>(count - done));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return done > 0 ? done : -1;  // a full medium ends the write short
        done += n;
    }
    return done;
}

std::int64_t FileReadAt(FileHandle file, void* buffer, std::int64_t count, std::int64_t offset) {
    if (file == kInvalidFile || buffer == nullptr || count < 0 || offset < 0) return -1;
    auto* bytes = static_cast<char*>(buffer);
    std::int64_t done = 0;
    while (done < count) {
        const ssize_t n = pread(Descriptor(file), bytes + done,
                                static_cast<std::size_t>(count - done), offset + done);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return done > 0 ? done : -1;
        if (n == 0) break;  // end of file
        done += n;
    }
    return done;
}

std::int64_t FileWriteAt(FileHandle file, const void* buffer, std::int64_t count,
                         std::int64_t offset) {
    if (file == kInvalidFile || buffer == nullptr || count < 0 || offset < 0) return -1;
    const auto* bytes = static_cast<const char*>(buffer);
    std::int64_t done = 0;
    while (done < count) {
        const ssize_t n = pwrite(Descriptor(file), bytes + done,
                                 static_cast<std::size_t>(count - done), offset + done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return done > 0 ? done : -1;  // a full medium ends the write short
        done += n;
    }
    return done;
}

bool FileFlush(FileHandle file) {
    return file != kInvalidFile && fsync(Descriptor(file)) == 0;
}

void FileClose(FileHandle file) {
    if (file != kInvalidFile) close(Descriptor(file));
}

bool IsAbsolutePath(const char* path) {
    return path != nullptr && path[0] == '/';
}

}  // namespace tn::platform
