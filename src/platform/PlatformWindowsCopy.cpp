// Windows: copying, moving and listing files, and starting a viewer's command line.
#include "platform/Platform.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace tn::platform {

bool CopyOneFile(const char* from, const char* to, bool failIfExists) {
    return from != nullptr && to != nullptr && CopyFileA(from, to, failIfExists ? TRUE : FALSE);
}

bool MoveOneFile(const char* from, const char* to, bool failIfExists) {
    if (from == nullptr || to == nullptr) return false;
    const DWORD flags = MOVEFILE_COPY_ALLOWED | (failIfExists ? 0 : MOVEFILE_REPLACE_EXISTING);
    return MoveFileExA(from, to, flags) != 0;
}

std::vector<std::string> ListFiles(const char* folder) {
    std::vector<std::string> names;
    std::string pattern = folder != nullptr && *folder != '\0' ? folder : ".";
    if (pattern.back() != '\\' && pattern.back() != '/' && pattern.back() != ':') pattern += '\\';
    pattern += '*';
    WIN32_FIND_DATAA data{};
    HANDLE find = FindFirstFileA(pattern.c_str(), &data);
    if (find == INVALID_HANDLE_VALUE) return names;
    do {
        if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            names.emplace_back(data.cFileName);
        }
    } while (FindNextFileA(find, &data));
    FindClose(find);
    return names;
}

bool StartDocument(const char* command, const char* /*file*/) {
    // The command line runs as the viewer's own program would be started from the shell.
    return command != nullptr && WinExec(command, SW_SHOWNORMAL) > 31;
}

}  // namespace tn::platform
