// The few operating-system services the tests need beyond the standard library, for POSIX and
// Windows: environment variables and a page of memory that cannot be read.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#if defined(_WIN32)
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <io.h>
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace tn::test {

/// A path written with "/" in the platform's own form ("\\" on Windows).
inline std::string NativePath(std::string path) {
#if defined(_WIN32)
    std::replace(path.begin(), path.end(), '/', '\\');
#endif
    return path;
}

/// The package's file handle (platform::FileHandle) of a C runtime descriptor: the descriptor
/// itself on POSIX, the Win32 handle behind it on Windows.
inline std::intptr_t OsHandle(int fd) {
#if defined(_WIN32)
    return _get_osfhandle(fd);
#else
    return fd;
#endif
}

inline void SetEnv(const char* name, const char* value) {
#if defined(_WIN32)
    _putenv_s(name, value);
#else
    ::setenv(name, value, 1);
#endif
}

inline void UnsetEnv(const char* name) {
#if defined(_WIN32)
    _putenv_s(name, "");  // an empty value removes the variable
#else
    ::unsetenv(name);
#endif
}

/// One page of address space that is reserved but can be neither read nor written, while the
/// object lives: a stand-in for a bad pointer that must not fault.
class UnreadablePage {
  public:
    UnreadablePage() {
#if defined(_WIN32)
        page_ = VirtualAlloc(nullptr, kSize, MEM_RESERVE | MEM_COMMIT, PAGE_NOACCESS);
#else
        page_ = ::mmap(nullptr, kSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (page_ == MAP_FAILED) page_ = nullptr;
#endif
    }
    ~UnreadablePage() {
        if (page_ == nullptr) return;
#if defined(_WIN32)
        VirtualFree(page_, 0, MEM_RELEASE);
#else
        ::munmap(page_, kSize);
#endif
    }
    UnreadablePage(const UnreadablePage&) = delete;
    UnreadablePage& operator=(const UnreadablePage&) = delete;

    /// The page, or nullptr when it could not be made.
    char* get() const {
        return static_cast<char*>(page_);
    }

  private:
    static constexpr std::size_t kSize = 4096;
    void* page_ = nullptr;
};

}  // namespace tn::test
