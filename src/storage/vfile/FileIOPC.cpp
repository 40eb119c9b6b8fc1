// The V functions that reach the PC's own files: the existence test's fallback, delete, copy
// and move by name pattern, appending to PC file handles, and starting a document's viewer.
#include <tnpackage/storage/Drives.h>
#include <tnpackage/storage/FileIO.h>
#include <tnpackage/storage/TPVolumeFAT.h>

#include <cctype>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "storage/drives/DriveMap.h"
#include "storage/media/SpeicherMessages.h"
#include "storage/vfile/FileIOInternal.h"

namespace tn {

TPWinStartHook OnWinStart = nullptr;

namespace {

bool IsSeparator(char c) {
    return c == '\\' || c == '/' || c == platform::PathSeparator();
}

char Lower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

// Windows-style name matching: "*" any run, "?" one character, letters in any case; "*.*"
// matches every name, also one without a dot.
bool Matches(const std::string& pattern, const std::string& name) {
    if (pattern == "*.*") return true;
    std::size_t p = 0, n = 0, star = std::string::npos, resume = 0;
    while (n < name.size()) {
        if (p < pattern.size() && (pattern[p] == '?' || Lower(pattern[p]) == Lower(name[n]))) {
            ++p;
            ++n;
        } else if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            resume = n;
        } else if (star != std::string::npos) {
            p = star + 1;
            n = ++resume;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

std::string Join(const std::string& folder, const std::string& name) {
    if (folder.empty()) return name;
    if (IsSeparator(folder.back())) return folder + name;
    return folder + platform::PathSeparator() + name;
}

// Copies or moves every file matching the source's name part into the destination folder.
bool Walk(const TPString& source, const TPString& destination, bool failIfExists, bool move) {
    const std::string from = fileio::PCPath(source);
    std::string to = fileio::PCPath(destination);
    if (from.empty() || to.empty()) return false;
    while (to.size() > 1 && IsSeparator(to.back()))
        to.pop_back();
    std::size_t cut = from.size();
    while (cut > 0 && !IsSeparator(from[cut - 1]))
        --cut;
    const std::string folder = from.substr(0, cut);
    const std::string pattern = from.substr(cut);
    if (pattern.empty()) return false;
    bool any = false;
    bool ok = true;
    for (const std::string& name : platform::ListFiles(folder.empty() ? "." : folder.c_str())) {
        if (!Matches(pattern, name)) continue;
        any = true;
        const std::string a = Join(folder, name);
        const std::string b = Join(to, name);
        const bool done = move ? platform::MoveOneFile(a.c_str(), b.c_str(), failIfExists)
                               : platform::CopyOneFile(a.c_str(), b.c_str(), failIfExists);
        ok = ok && done;
    }
    return any && ok;
}

int WriteText(int handle, const TPString& text) {
    const int length = text.IsEmpty() ? 0 : text.Length();
    if (length == 0) return 0;
    const std::int64_t n =
        platform::FileWrite(static_cast<platform::FileHandle>(handle), text.c_str(), length);
    return n < 0 ? -1 : static_cast<int>(n);
}

}  // namespace

namespace fileio {

std::string PCPath(const TPString& path) {
    const std::string text = ToStdString(path);
    if (text.size() >= 2 && text[1] == ':' && storage::LetterIndex(text[0]) >= 0) {
        if (!storage::MappedFolder(text[0]).empty()) {
            return ToStdString(DriveFilePath(text[0], storage::Owned(text.substr(2))));
        }
        return platform::HasDriveLetters() ? text : std::string();
    }
    return text;
}

}  // namespace fileio

bool FileExistsV(TPString path) {
    const fileio::ParsedPath parsed = fileio::ParsePath(path);
    if (TPVolumeFAT* volume = fileio::Volume(parsed.letter)) {
        return volume->SearchFile(parsed.rest) != nullptr;
    }
    if (!GetVolumeInfo(parsed.letter)) return false;
    const std::string file = ToStdString(DriveFilePath(parsed.letter, parsed.rest));
    return !file.empty() && platform::FileExists(file.c_str());
}

bool FileDeleteV(TPString path) {
    const std::string file = fileio::PCPath(path);
    return !file.empty() && platform::DeleteFile(file.c_str());
}

bool FileCopyV(TPString source, TPString destination, bool failIfExists) {
    return Walk(source, destination, failIfExists, false);
}

bool FileMoveV(TPString source, TPString destination, bool failIfExists) {
    return Walk(source, destination, failIfExists, true);
}

bool FileCopy(TPString source, TPString destination, bool failIfExists) {
    const std::string from = fileio::PCPath(source);
    const std::string to = fileio::PCPath(destination);
    return !from.empty() && !to.empty() &&
           platform::CopyOneFile(from.c_str(), to.c_str(), failIfExists);
}

int FileAppend(int handle, TPString text) {
    return WriteText(handle, text);
}

int FileAddLine(int handle, TPString text) {
    return WriteText(handle, text + "\r\n");
}

TPString WinStartCommand(TPString file) {
    const std::string name = ToStdString(file);
    const auto dot = name.rfind('.');
    std::string extension;
    if (dot != std::string::npos && name.find_first_of("\\/", dot) == std::string::npos) {
        for (char c : name.substr(dot))
            extension += Lower(c);
    }
    if (extension == ".txt") return storage::Owned("Notepad.exe '" + name + "'");
    if (extension == ".htm" || extension == ".html") {
        return storage::Owned("D:\\Programme\\Internet Explorer\\IExplore.exe " + name);
    }
    return storage::Owned("");
}

void WinStart(TPString file) {
    const TPString command = WinStartCommand(file);
    if (OnWinStart != nullptr) {
        OnWinStart(command, file);
        return;
    }
    const std::string target = fileio::PCPath(file);
    platform::StartDocument(command.IsEmpty() ? "" : command.c_str(), target.c_str());
}

}  // namespace tn
