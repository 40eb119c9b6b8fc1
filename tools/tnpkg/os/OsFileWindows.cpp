#ifdef _WIN32

#include <windows.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "os/OsFile.h"
#include "os/WriteFault.h"

namespace tnpkg::os {
namespace {

HANDLE Native(std::intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

// A transfer at a 64-bit file offset, without moving the handle's own position.
OVERLAPPED At(std::uint64_t position) {
    OVERLAPPED where{};
    where.Offset = static_cast<DWORD>(position);
    where.OffsetHigh = static_cast<DWORD>(position >> 32);
    return where;
}

// Windows locks are mandatory: a locked byte cannot be read through another handle, not even
// in this process. The lock therefore covers one byte far beyond any image's end, which no
// read or write ever reaches.
constexpr DWORD kLockOffsetHigh = 0x7FFFFFFF;

}  // namespace

bool File::Open(const std::filesystem::path& path, OpenMode mode, std::string& error) {
    Close();
    const DWORD access = mode == OpenMode::Read ? GENERIC_READ : (GENERIC_READ | GENERIC_WRITE);
    const DWORD disposition = mode == OpenMode::CreateNew ? CREATE_NEW : OPEN_EXISTING;
    const HANDLE h =
        ::CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                      nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) {
        error = LastError();
        return false;
    }
    handle_ = reinterpret_cast<std::intptr_t>(h);
    return true;
}

bool File::IsOpen() const {
    return handle_ != -1;
}

void File::Close() {
    if (IsOpen()) ::CloseHandle(Native(handle_));
    handle_ = -1;
}

std::int64_t File::ReadAt(std::int64_t offset, void* bytes, std::size_t n) {
    auto* at = static_cast<char*>(bytes);
    std::size_t done = 0;
    while (done < n) {
        OVERLAPPED where = At(static_cast<std::uint64_t>(offset) + done);
        const DWORD want = static_cast<DWORD>(std::min<std::size_t>(n - done, 1u << 30));
        DWORD got = 0;
        if (!::ReadFile(Native(handle_), at + done, want, &got, &where)) {
            if (::GetLastError() == ERROR_HANDLE_EOF) break;
            return -1;
        }
        if (got == 0) break;
        done += got;
    }
    return static_cast<std::int64_t>(done);
}

bool File::WriteAt(std::int64_t offset, const void* bytes, std::size_t n) {
    const bool failing = WriteFailsNow(n);
    const auto* at = static_cast<const char*>(bytes);
    std::size_t done = 0;
    while (done < n) {
        OVERLAPPED where = At(static_cast<std::uint64_t>(offset) + done);
        const DWORD want = static_cast<DWORD>(std::min<std::size_t>(n - done, 1u << 30));
        DWORD put = 0;
        if (!::WriteFile(Native(handle_), at + done, want, &put, &where) || put == 0) return false;
        done += put;
    }
    if (failing) ::SetLastError(ERROR_WRITE_FAULT);
    return !failing;
}

std::int64_t File::Size() {
    LARGE_INTEGER size{};
    if (!::GetFileSizeEx(Native(handle_), &size)) return -1;
    return size.QuadPart;
}

bool File::Resize(std::int64_t size) {
    FILE_END_OF_FILE_INFO end{};
    end.EndOfFile.QuadPart = size;
    return ::SetFileInformationByHandle(Native(handle_), FileEndOfFileInfo, &end, sizeof end) != 0;
}

bool File::Sync() {
    return ::FlushFileBuffers(Native(handle_)) != 0;
}

bool File::TryLock(LockKind kind) {
    OVERLAPPED where{};
    where.OffsetHigh = kLockOffsetHigh;
    DWORD flags = LOCKFILE_FAIL_IMMEDIATELY;
    if (kind == LockKind::Exclusive) flags |= LOCKFILE_EXCLUSIVE_LOCK;
    return ::LockFileEx(Native(handle_), flags, 0, 1, 0, &where) != 0;
}

void File::Unlock() {
    OVERLAPPED where{};
    where.OffsetHigh = kLockOffsetHigh;
    ::UnlockFileEx(Native(handle_), 0, 1, 0, &where);
}

bool SyncFolder(const std::filesystem::path&) {
    // NTFS journals its folder entries itself; there is no call to force them.
    return true;
}

bool FolderWritable(const std::filesystem::path& folder) {
    const std::filesystem::path path = folder.empty() ? "." : folder;
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

void Sleep(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

void ExitAtOnce() {
    ::TerminateProcess(::GetCurrentProcess(), 9);
    std::abort();
}

std::string LastError() {
    const DWORD code = ::GetLastError();
    char text[256] = {};
    const DWORD n = ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                     nullptr, code, 0, text, sizeof text, nullptr);
    std::string message(text, n);
    while (!message.empty() &&
           (message.back() == '\n' || message.back() == '\r' || message.back() == '.'))
        message.pop_back();
    if (message.empty()) return "error " + std::to_string(code);
    // Inside a sentence of the tool's: "cannot open X: access is denied".
    message[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(message[0])));
    return message;
}

}  // namespace tnpkg::os

#endif
