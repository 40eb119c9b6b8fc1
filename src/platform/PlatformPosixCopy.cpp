// POSIX: copying, moving and listing files, and handing documents to the desktop's opener.
#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/Platform.h"

extern char** environ;

namespace tn::platform {

namespace {

bool SameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool WriteAll(int fd, const char* data, ssize_t n) {
    while (n > 0) {
        const ssize_t w = write(fd, data, static_cast<std::size_t>(n));
        if (w < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data += w;
        n -= w;
    }
    return true;
}

bool CopyContents(int in, int out) {
    char buffer[65536];
    for (;;) {
        const ssize_t n = read(in, buffer, sizeof buffer);
        if (n == 0) return true;
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        if (!WriteAll(out, buffer, n)) return false;
    }
}

bool Quiet() {
    const std::string v = GetEnv("TN_NO_DIALOGS");
    return !v.empty() && v != "0";
}

// An executable of that name in PATH, or empty.
std::string FindInPath(const char* name) {
    const std::string path = GetEnv("PATH");
    std::size_t start = 0;
    while (start <= path.size()) {
        std::size_t end = path.find(':', start);
        if (end == std::string::npos) end = path.size();
        std::string dir = path.substr(start, end - start);
        start = end + 1;
        if (dir.empty()) continue;
        const std::string candidate = dir + "/" + name;
        if (access(candidate.c_str(), X_OK) == 0) return candidate;
    }
    return {};
}

}  // namespace

bool CopyOneFile(const char* from, const char* to, bool failIfExists) {
    if (from == nullptr || to == nullptr) return false;
    const int in = open(from, O_RDONLY | O_CLOEXEC);
    if (in < 0) return false;
    struct stat source {};
    if (fstat(in, &source) != 0 || !S_ISREG(source.st_mode)) {
        close(in);
        return false;
    }
    struct stat target {};
    if (stat(to, &target) == 0) {
        if (failIfExists || SameFile(source, target) || !S_ISREG(target.st_mode)) {
            close(in);
            return false;
        }
    }
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (failIfExists ? O_EXCL : O_TRUNC);
    const int out = open(to, flags, source.st_mode & 0777);
    if (out < 0) {
        close(in);
        return false;
    }
    const bool ok = CopyContents(in, out);
    close(in);
    const bool closed = close(out) == 0;
    return ok && closed;
}

bool MoveOneFile(const char* from, const char* to, bool failIfExists) {
    if (from == nullptr || to == nullptr) return false;
    struct stat source {};
    if (stat(from, &source) != 0 || !S_ISREG(source.st_mode)) return false;
    struct stat target {};
    if (stat(to, &target) == 0) {
        if (SameFile(source, target)) return true;
        if (failIfExists || !S_ISREG(target.st_mode)) return false;
    }
    if (rename(from, to) == 0) return true;
    if (errno != EXDEV) return false;
    // Another file system: copy, then remove the source only when the copy is complete.
    if (!CopyOneFile(from, to, failIfExists)) return false;
    return unlink(from) == 0;
}

std::vector<std::string> ListFiles(const char* folder) {
    std::vector<std::string> names;
    const std::string dir = folder != nullptr && *folder != '\0' ? folder : ".";
    DIR* d = opendir(dir.c_str());
    if (d == nullptr) return names;
    while (const dirent* e = readdir(d)) {
        const std::string name = e->d_name;
        if (name == "." || name == "..") continue;
        struct stat st {};
        if (stat((dir + "/" + name).c_str(), &st) == 0 && S_ISREG(st.st_mode)) {
            names.push_back(name);
        }
    }
    closedir(d);
    return names;
}

bool StartDocument(const char* command, const char* file) {
    if (command == nullptr || *command == '\0' || file == nullptr || *file == '\0') return false;
    if (Quiet()) return false;
#ifdef __APPLE__
    const std::string opener = FindInPath("open");
#else
    if (GetEnv("DISPLAY").empty() && GetEnv("WAYLAND_DISPLAY").empty()) return false;
    const std::string opener = FindInPath("xdg-open");
#endif
    if (opener.empty()) return false;
    // A name that begins with "-" must not read as an option of the opener.
    const std::string name = file[0] == '-' ? std::string("./") + file : std::string(file);
    // The shell only backgrounds the opener so that it outlives this call without becoming a
    // zombie of the host; opener and file reach it as arguments, never as command text.
    const char* script = "\"$0\" \"$1\" </dev/null >/dev/null 2>&1 &";
    char* argv[] = {const_cast<char*>("sh"),         const_cast<char*>("-c"),
                    const_cast<char*>(script),       const_cast<char*>(opener.c_str()),
                    const_cast<char*>(name.c_str()), nullptr};
    pid_t pid = 0;
    if (posix_spawn(&pid, "/bin/sh", nullptr, nullptr, argv, environ) != 0) return false;
    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) return false;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace tn::platform
