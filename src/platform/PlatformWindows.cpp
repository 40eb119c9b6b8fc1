// Windows implementation of the platform layer: the real message boxes, the system clock and
// the Win32 file functions. TN_NO_DIALOGS=1 turns the boxes into lines on standard error and
// every question into "no", as on POSIX, so that an automated run never waits for a click.
#include "platform/Platform.h"

#define WIN32_LEAN_AND_MEAN
#include <io.h>
#include <windows.h>
// windows.h renames these to their ...A forms, which would define the wrong functions here.
#undef DeleteFile
#undef ReplaceFile

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace tn::platform {

namespace {

bool DialogsSuppressed() {
    char value[8] = {};
    const DWORD n = GetEnvironmentVariableA("TN_NO_DIALOGS", value, sizeof value);
    return n > 0 && n < sizeof value && std::strcmp(value, "0") != 0;
}

}  // namespace

void ShowInformation(const char* text) {
    if (DialogsSuppressed()) {
        std::fprintf(stderr, "%s\n", text ? text : "");
        return;
    }
    MessageBoxA(nullptr, text ? text : "", "Information", MB_OK | MB_ICONINFORMATION);
}

void ShowWarning(const char* text, const char* caption) {
    if (DialogsSuppressed()) {
        std::fprintf(stderr, "%s: %s\n", caption ? caption : "Warning", text ? text : "");
        return;
    }
    MessageBoxA(nullptr, text ? text : "", caption, MB_OK | MB_ICONEXCLAMATION);
}

int AskYesNo(const char* text, const char* caption, bool withCancel) {
    if (DialogsSuppressed()) return kAnswerNo;
    const UINT style =
        withCancel ? (MB_YESNOCANCEL | MB_ICONQUESTION) : (MB_YESNO | MB_ICONWARNING);
    return MessageBoxA(nullptr, text ? text : "", caption, style);
}

void Beep(int duration) {
    ::Beep(750, static_cast<DWORD>(duration));
}

bool IsReadable(const void* p) {
    MEMORY_BASIC_INFORMATION info{};
    if (VirtualQuery(p, &info, sizeof info) == 0) return false;
    if (info.State != MEM_COMMIT) return false;
    const DWORD readable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ |
                           PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    return (info.Protect & readable) != 0 && (info.Protect & PAGE_GUARD) == 0;
}

LocalTime Now() {
    SYSTEMTIME st{};
    GetLocalTime(&st);
    LocalTime t;
    t.year = st.wYear;
    t.month = st.wMonth;
    t.day = st.wDay;
    t.hour = st.wHour;
    t.minute = st.wMinute;
    t.second = st.wSecond;
    t.millisecond = st.wMilliseconds;
    return t;
}

std::string GetEnv(const char* name) {
    char buffer[32768];
    const DWORD n = GetEnvironmentVariableA(name, buffer, sizeof buffer);
    return (n > 0 && n < sizeof buffer) ? std::string(buffer, n) : std::string();
}

bool HasTerminal() {
    return _isatty(0) && _isatty(2);
}

char PathSeparator() {
    return '\\';
}

bool FileExists(const char* path) {
    const DWORD a = path ? GetFileAttributesA(path) : INVALID_FILE_ATTRIBUTES;
    return a != INVALID_FILE_ATTRIBUTES && (a & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool DirectoryExists(const char* path) {
    const DWORD a = path ? GetFileAttributesA(path) : INVALID_FILE_ATTRIBUTES;
    return a != INVALID_FILE_ATTRIBUTES && (a & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool ForceDirectories(const char* path) {
    if (path == nullptr || *path == '\0') return false;
    std::error_code ec;
    std::filesystem::create_directories(path, ec);
    return DirectoryExists(path);
}

bool DeleteFile(const char* path) {
    return path && ::DeleteFileA(path) != 0;
}

bool ReplaceFile(const char* from, const char* to) {
    return from && to && MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
}

std::int64_t FileSize(const char* path) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (path == nullptr || !GetFileAttributesExA(path, GetFileExInfoStandard, &data)) return -1;
    if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) return -1;
    return (static_cast<std::int64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
}

// ---- file handles -------------------------------------------------------------------------------

namespace {

FileHandle FromHandle(HANDLE h) {
    return h == INVALID_HANDLE_VALUE ? kInvalidFile : reinterpret_cast<FileHandle>(h);
}

HANDLE ToHandle(FileHandle file) {
    return reinterpret_cast<HANDLE>(file);
}

FileHandle OpenWith(const char* path, DWORD access, DWORD disposition) {
    if (path == nullptr || *path == '\0') return kInvalidFile;
    return FromHandle(CreateFileA(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

// ReadFile and WriteFile move at most a DWORD at a time.
constexpr std::int64_t kLargestTransfer = 0x40000000;

}  // namespace

FileHandle FileOpen(const char* path, FileAccess access) {
    const DWORD rights = access == FileAccess::Read    ? GENERIC_READ
                         : access == FileAccess::Write ? GENERIC_WRITE
                                                       : (GENERIC_READ | GENERIC_WRITE);
    return OpenWith(path, rights, OPEN_EXISTING);
}

FileHandle FileOpenOrCreate(const char* path) {
    return OpenWith(path, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS);
}

FileHandle FileCreate(const char* path) {
    return OpenWith(path, GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS);
}

std::int64_t FileSeek(FileHandle file, std::int64_t offset, SeekOrigin origin) {
    if (file == kInvalidFile) return -1;
    const DWORD method = origin == SeekOrigin::Begin     ? FILE_BEGIN
                         : origin == SeekOrigin::Current ? FILE_CURRENT
                                                         : FILE_END;
    LARGE_INTEGER distance{};
    distance.QuadPart = offset;
    LARGE_INTEGER position{};
    if (!SetFilePointerEx(ToHandle(file), distance, &position, method)) return -1;
    return position.QuadPart;
}

std::int64_t FileRead(FileHandle file, void* buffer, std::int64_t count) {
    if (file == kInvalidFile || buffer == nullptr || count < 0) return -1;
    auto* bytes = static_cast<char*>(buffer);
    std::int64_t done = 0;
    while (done < count) {
        const DWORD chunk = static_cast<DWORD>((std::min)(count - done, kLargestTransfer));
        DWORD n = 0;
        if (!ReadFile(ToHandle(file), bytes + done, chunk, &n, nullptr)) {
            return done > 0 ? done : -1;
        }
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
        const DWORD chunk = static_cast<DWORD>((std::min)(count - done, kLargestTransfer));
        DWORD n = 0;
        if (!WriteFile(ToHandle(file), bytes + done, chunk, &n, nullptr) || n == 0) {
            return done > 0 ? done : -1;  // a full medium ends the write short
        }
        done += n;
    }
    return done;
}

// The offset travels in an OVERLAPPED; on a handle opened without FILE_FLAG_OVERLAPPED the
// call is still synchronous.
namespace {

OVERLAPPED TransferAt(std::int64_t offset) {
    OVERLAPPED at{};
    const auto position = static_cast<std::uint64_t>(offset);
    at.Offset = static_cast<DWORD>(position & 0xFFFFFFFFu);
    at.OffsetHigh = static_cast<DWORD>(position >> 32);
    return at;
}

}  // namespace

std::int64_t FileReadAt(FileHandle file, void* buffer, std::int64_t count, std::int64_t offset) {
    if (file == kInvalidFile || buffer == nullptr || count < 0 || offset < 0) return -1;
    auto* bytes = static_cast<char*>(buffer);
    std::int64_t done = 0;
    while (done < count) {
        const DWORD chunk = static_cast<DWORD>((std::min)(count - done, kLargestTransfer));
        OVERLAPPED at = TransferAt(offset + done);
        DWORD n = 0;
        if (!ReadFile(ToHandle(file), bytes + done, chunk, &n, &at)) {
            if (GetLastError() == ERROR_HANDLE_EOF) break;
            return done > 0 ? done : -1;
        }
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
        const DWORD chunk = static_cast<DWORD>((std::min)(count - done, kLargestTransfer));
        OVERLAPPED at = TransferAt(offset + done);
        DWORD n = 0;
        if (!WriteFile(ToHandle(file), bytes + done, chunk, &n, &at) || n == 0) {
            return done > 0 ? done : -1;  // a full medium ends the write short
        }
        done += n;
    }
    return done;
}

bool FileFlush(FileHandle file) {
    return file != kInvalidFile && FlushFileBuffers(ToHandle(file)) != 0;
}

void FileClose(FileHandle file) {
    if (file != kInvalidFile) CloseHandle(ToHandle(file));
}

bool IsAbsolutePath(const char* path) {
    if (path == nullptr) return false;
    // "\\server\share", "\\folder" and "C:\folder" do not depend on the current folder.
    if (path[0] == '\\' || path[0] == '/') return true;
    return path[0] != '\0' && path[1] == ':' && (path[2] == '\\' || path[2] == '/');
}

}  // namespace tn::platform
