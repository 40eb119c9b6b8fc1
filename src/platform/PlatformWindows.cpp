// Windows implementation of the platform layer: the real message boxes, the system clock and
// the Win32 file functions.
#include "platform/Platform.h"

#define WIN32_LEAN_AND_MEAN
#include <io.h>
#include <windows.h>

#include <cstdlib>
#include <filesystem>

namespace tn::platform {

void ShowInformation(const char* text) {
    MessageBoxA(nullptr, text ? text : "", "Information", MB_OK | MB_ICONINFORMATION);
}

void ShowWarning(const char* text, const char* caption) {
    MessageBoxA(nullptr, text ? text : "", caption, MB_OK | MB_ICONEXCLAMATION);
}

int AskYesNo(const char* text, const char* caption, bool withCancel) {
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

}  // namespace tn::platform
