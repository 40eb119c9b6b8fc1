// The drive map: letters given to folders, for systems whose drives have no letters and for
// hosts that want a letter to name a folder. It starts from TN_DRIVES when first used, so that
// nothing is read at package start that the host might never need.
#include <tnpackage/frame/Messages.h>
#include <tnpackage/storage/Drives.h>

#include <array>
#include <string>

#include "platform/Platform.h"
#include "storage/drives/DriveMap.h"
#include "storage/media/SpeicherMessages.h"

namespace tn {

namespace {

constexpr int kLetters = 26;
constexpr const char* kVariable = "TN_DRIVES";
constexpr char kEntrySeparator = ';';

struct DriveMap {
    std::array<std::string, kLetters> folders;
    bool loaded = false;
};

DriveMap& Map() {
    static DriveMap map;
    return map;
}

std::string Trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return {};
    const auto last = text.find_last_not_of(" \t");
    return text.substr(first, last - first + 1);
}

bool IsSeparator(char c) {
    return c == '/' || c == platform::PathSeparator();
}

// "/media/card/" names the same folder as "/media/card"; a root keeps its separator.
std::string WithoutTrailingSeparator(std::string folder) {
    while (folder.size() > 1 && IsSeparator(folder.back()) &&
           !(folder.size() == 3 && folder[1] == ':')) {
        folder.pop_back();
    }
    return folder;
}

void WarnBadEntry(const std::string& entry) {
    Warning(storage::Owned("Laufwerkszuordnung '" + entry + "' ist ung\xFCltig!"));
}

// Replaces the map by the entries of `text`; the number of mapped letters.
int Load(const std::string& text) {
    DriveMap& map = Map();
    map.folders = {};
    map.loaded = true;
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t end = text.find(kEntrySeparator, start);
        if (end == std::string::npos) end = text.size();
        const std::string entry = Trimmed(text.substr(start, end - start));
        start = end + 1;
        if (entry.empty()) continue;
        const auto equals = entry.find('=');
        const std::string letter =
            equals == std::string::npos ? "" : Trimmed(entry.substr(0, equals));
        const std::string folder =
            equals == std::string::npos ? "" : Trimmed(entry.substr(equals + 1));
        const bool letterOk = (letter.size() == 1 || (letter.size() == 2 && letter[1] == ':')) &&
                              storage::LetterIndex(letter[0]) >= 0;
        if (!letterOk || folder.empty()) {
            WarnBadEntry(entry);
            continue;
        }
        map.folders[static_cast<std::size_t>(storage::LetterIndex(letter[0]))] =
            WithoutTrailingSeparator(folder);
    }
    int mapped = 0;
    for (const auto& f : map.folders)
        mapped += f.empty() ? 0 : 1;
    return mapped;
}

DriveMap& LoadedMap() {
    DriveMap& map = Map();
    if (!map.loaded) Load(platform::GetEnv(kVariable));
    return map;
}

}  // namespace

namespace storage {

int LetterIndex(char letter) {
    if (letter >= 'A' && letter <= 'Z') return letter - 'A';
    if (letter >= 'a' && letter <= 'z') return letter - 'a';
    return -1;
}

std::string MappedFolder(char letter) {
    const int index = LetterIndex(letter);
    return index < 0 ? std::string() : LoadedMap().folders[static_cast<std::size_t>(index)];
}

std::string DriveRoot(char letter) {
    std::string folder = MappedFolder(letter);
    if (folder.empty() && LetterIndex(letter) >= 0 && platform::HasDriveLetters()) {
        folder = std::string(1, letter) + ":\\";
    }
    return folder;
}

}  // namespace storage

bool MapDrive(char letter, TPString folder) {
    const int index = storage::LetterIndex(letter);
    if (index < 0) {
        Warning(
            storage::Owned(std::string("Laufwerksbuchstabe '") + letter + "' ist ung\xFCltig!"));
        return false;
    }
    const std::string text = Trimmed(ToStdString(folder));
    LoadedMap().folders[static_cast<std::size_t>(index)] =
        text.empty() ? std::string() : WithoutTrailingSeparator(text);
    return true;
}

int SetDriveMap(TPString map) {
    return Load(ToStdString(map));
}

TPString DrivePath(char letter) {
    std::string folder = storage::MappedFolder(letter);
    if (folder.empty() && storage::LetterIndex(letter) >= 0 && platform::HasDriveLetters()) {
        folder = std::string(1, letter) + ":";
    }
    return storage::Owned(folder);
}

TPString DriveFilePath(char letter, TPString rest) {
    std::string path = ToStdString(DrivePath(letter));
    if (path.empty()) return TPString();
    std::string tail = ToStdString(rest);
    const std::size_t first = tail.find_first_not_of("\\/");
    tail = first == std::string::npos ? std::string() : tail.substr(first);
    if (tail.empty()) return storage::Owned(path);
    for (char& c : tail) {
        if (c == '\\') c = platform::PathSeparator();
    }
    if (!IsSeparator(path.back())) path.push_back(platform::PathSeparator());
    return storage::Owned(path + tail);
}

std::uint32_t AvailableDrives() {
    std::uint32_t mask = platform::LogicalDrives();
    const DriveMap& map = LoadedMap();
    for (int i = 0; i < kLetters; ++i) {
        if (!map.folders[static_cast<std::size_t>(i)].empty()) mask |= 1u << i;
    }
    return mask;
}

}  // namespace tn
