#include "fat/HostNames.h"

#include <tnpackage/text/Encodings.h>

#include <cstring>

namespace tnpkg {
namespace {

// Characters that no Windows file system accepts in a name (besides control characters).
constexpr const char* kForbidden = "\"*/:<>?\\|";

bool IsControl(unsigned char c) {
    return c < 0x20 || c == 0x7F;
}

char Upper(char c) {
    const auto u = static_cast<unsigned char>(c);
    if (u >= 'a' && u <= 'z') return static_cast<char>(u - 32);
    return c;
}

// DOS device names stay devices whatever extension follows them, and trailing blanks of the
// base name do not count.
bool IsDeviceName(const std::string& name) {
    std::string base = UpperAscii(name.substr(0, name.find('.')));
    while (!base.empty() && base.back() == ' ')
        base.pop_back();
    for (const char* device : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"}) {
        if (base == device) return true;
    }
    if (base.size() == 4 && (base.compare(0, 3, "COM") == 0 || base.compare(0, 3, "LPT") == 0)) {
        return base[3] >= '0' && base[3] <= '9';
    }
    return false;
}

// Cuts UTF-8 text to at most `limit` bytes without splitting a character.
void CutUtf8(std::string& text, std::size_t limit) {
    if (text.size() <= limit) return;
    std::size_t cut = limit;
    while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80)
        --cut;
    text.resize(cut);
}

}  // namespace

std::string FromUtf8(const std::string& utf8, bool& lossy, char replacement) {
    std::string out = tn::Utf8ToWin1252(utf8, replacement);
    // Each Windows-1252 byte has exactly one UTF-8 form, so the text came through whole exactly
    // when it reads back as it was.
    if (tn::Win1252ToUtf8(out) != utf8) lossy = true;
    return out;
}

std::string HostComponent(const std::string& fatName, bool& changed) {
    std::string safe;
    for (const char c : fatName) {
        const auto u = static_cast<unsigned char>(c);
        safe.push_back(IsControl(u) || std::strchr(kForbidden, c) != nullptr ? '_' : c);
    }
    // Windows drops trailing dots and blanks, which would merge names or make "." and "..".
    for (auto it = safe.rbegin(); it != safe.rend() && (*it == '.' || *it == ' '); ++it)
        *it = '_';
    if (safe.empty()) safe = "_";
    if (IsDeviceName(safe)) safe.insert(0, "_");
    std::string utf8 = tn::Win1252ToUtf8(safe);
    constexpr std::size_t kMaxComponent = 255;
    CutUtf8(utf8, kMaxComponent);
    if (safe != fatName || utf8 != tn::Win1252ToUtf8(fatName)) changed = true;
    return utf8;
}

std::string FatLongName(const std::string& hostName, bool& changed) {
    bool lossy = false;
    const std::string plain = FromUtf8(hostName, lossy);
    std::string name = plain;
    for (char& c : name) {
        const auto u = static_cast<unsigned char>(c);
        // Long names store each character as its byte value: only Latin-1 reads back the same
        // in every other FAT reader, so the Windows-1252 block 0x80 to 0x9F is replaced too.
        if (IsControl(u) || (u >= 0x80 && u < 0xA0) || std::strchr(kForbidden, c) != nullptr) {
            c = '_';
        }
    }
    constexpr std::size_t kMaxLongName = 255;
    if (name.size() > kMaxLongName) name.resize(kMaxLongName);
    for (auto it = name.rbegin(); it != name.rend() && (*it == '.' || *it == ' '); ++it)
        *it = '_';
    if (!name.empty() && name[0] == ' ') name[0] = '_';
    if (name.empty()) name = "_";
    if (lossy || name != plain) changed = true;
    return name;
}

std::string UpperAscii(const std::string& text) {
    std::string out = text;
    for (char& c : out)
        c = Upper(c);
    return out;
}

std::string ShortNameToUtf8(const std::string& oem) {
    std::string safe = oem;
    for (char& c : safe) {
        if (IsControl(static_cast<unsigned char>(c))) c = '_';
    }
    return tn::OemToUtf8(safe);
}

std::filesystem::path Utf8Path(const std::string& utf8) {
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string PathText(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

std::string FoldCase(const std::string& text) {
    std::string out = text;
    for (char& c : out) {
        const auto u = static_cast<unsigned char>(c);
        if (u >= 'a' && u <= 'z') {
            c = static_cast<char>(u - 32);
        } else if (u >= 0xE0 && u <= 0xFE && u != 0xF7) {
            c = static_cast<char>(u - 32);
        } else if (u == 0x9A || u == 0x9C || u == 0x9E) {
            c = static_cast<char>(u - 16);  // š œ ž
        } else if (u == 0xFF) {
            c = static_cast<char>(0x9F);  // ÿ
        }
    }
    return out;
}

std::string UniqueNames::Claim(const std::string& name) {
    if (taken_.insert(FoldCase(name)).second) return name;
    // The number goes before the extension, and inside the 255 characters a long name holds:
    // a name cut there after the number would no longer be the one handed out.
    constexpr std::size_t kMaxLongName = 255;
    constexpr std::size_t kLongestNumber = 12;  // "~" and any int
    const std::size_t dot = name.rfind('.');
    const bool hasExtension =
        dot != std::string::npos && dot > 0 && name.size() - dot + kLongestNumber < kMaxLongName;
    const std::string stem = hasExtension ? name.substr(0, dot) : name;
    const std::string extension = hasExtension ? name.substr(dot) : std::string();
    for (int n = 2;; ++n) {
        const std::string tail = "~" + std::to_string(n) + extension;
        const std::string candidate = stem.substr(0, kMaxLongName - tail.size()) + tail;
        if (taken_.insert(FoldCase(candidate)).second) return candidate;
    }
}

void UniqueNames::Reserve(const std::string& name) {
    taken_.insert(FoldCase(name));
}

}  // namespace tnpkg
