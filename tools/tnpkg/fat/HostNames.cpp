#include "fat/HostNames.h"

#include <cstdint>
#include <cstring>

namespace tnpkg {
namespace {

// Windows-1252 bytes 0x80 to 0x9F and the characters they stand for (0: undefined byte).
constexpr char32_t kHighBlock[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

// Characters that no Windows file system accepts in a name (besides control characters).
constexpr const char* kForbidden = "\"*/:<>?\\|";

bool IsControl(unsigned char c) {
    return c < 0x20 || c == 0x7F;
}

// Decodes one UTF-8 sequence at `i`; false (and one byte consumed) when it is not valid.
bool NextCodePoint(const std::string& s, std::size_t& i, char32_t& cp) {
    const auto b0 = static_cast<unsigned char>(s[i]);
    int extra = 0;
    if (b0 < 0x80) {
        cp = b0;
    } else if ((b0 & 0xE0) == 0xC0) {
        cp = b0 & 0x1F;
        extra = 1;
    } else if ((b0 & 0xF0) == 0xE0) {
        cp = b0 & 0x0F;
        extra = 2;
    } else if ((b0 & 0xF8) == 0xF0) {
        cp = b0 & 0x07;
        extra = 3;
    } else {
        ++i;
        return false;
    }
    if (i + static_cast<std::size_t>(extra) >= s.size()) {
        ++i;
        return false;
    }
    for (int k = 1; k <= extra; ++k) {
        const auto b = static_cast<unsigned char>(s[i + k]);
        if ((b & 0xC0) != 0x80) {
            ++i;
            return false;
        }
        cp = cp << 6 | (b & 0x3F);
    }
    // Overlong forms and surrogates are not characters.
    static constexpr char32_t kLeast[4] = {0, 0x80, 0x800, 0x10000};
    if (cp < kLeast[extra] || (cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF) {
        ++i;
        return false;
    }
    i += static_cast<std::size_t>(extra) + 1;
    return true;
}

int ToCp1252(char32_t cp) {
    if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) return static_cast<int>(cp);
    for (int k = 0; k < 32; ++k) {
        if (kHighBlock[k] != 0 && kHighBlock[k] == cp) return 0x80 + k;
    }
    return -1;
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
    std::string out;
    out.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();) {
        char32_t cp = 0;
        const int byte = NextCodePoint(utf8, i, cp) ? ToCp1252(cp) : -1;
        if (byte < 0) {
            out.push_back(replacement);
            lossy = true;
        } else {
            out.push_back(static_cast<char>(byte));
        }
    }
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
    std::string utf8 = Cp1252ToUtf8(safe);
    constexpr std::size_t kMaxComponent = 255;
    CutUtf8(utf8, kMaxComponent);
    if (safe != fatName || utf8 != Cp1252ToUtf8(fatName)) changed = true;
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

void AppendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

namespace {

void AppendCp1252Byte(std::string& out, unsigned char u) {
    if (u < 0x80) {
        out.push_back(static_cast<char>(u));
        return;
    }
    // The five undefined bytes keep their value, as the package's own conversion does.
    const char32_t cp =
        u < 0xA0 && kHighBlock[u - 0x80] != 0 ? kHighBlock[u - 0x80] : static_cast<char32_t>(u);
    AppendUtf8(out, cp);
}

}  // namespace

std::string Cp1252ToUtf8(const std::string& text) {
    std::string out;
    out.reserve(text.size() + text.size() / 4);
    for (const char c : text)
        AppendCp1252Byte(out, static_cast<unsigned char>(c));
    return out;
}

void AppendCp1252AsUtf8(std::string& out, const char* text) {
    if (text == nullptr) return;
    const char* p = text;
    while (*p != '\0') {
        // Runs of ASCII, most of a name, go over as they are.
        const char* run = p;
        while (*p != '\0' && static_cast<unsigned char>(*p) < 0x80)
            ++p;
        out.append(run, static_cast<std::size_t>(p - run));
        if (*p == '\0') break;
        AppendCp1252Byte(out, static_cast<unsigned char>(*p));
        ++p;
    }
}

std::string OemToUtf8(const std::string& oem) {
    // Code page 850, bytes 0x80 to 0xFF.
    static constexpr char16_t kOem[128] = {
        0x00C7, 0x00FC, 0x00E9, 0x00E2, 0x00E4, 0x00E0, 0x00E5, 0x00E7, 0x00EA, 0x00EB, 0x00E8,
        0x00EF, 0x00EE, 0x00EC, 0x00C4, 0x00C5, 0x00C9, 0x00E6, 0x00C6, 0x00F4, 0x00F6, 0x00F2,
        0x00FB, 0x00F9, 0x00FF, 0x00D6, 0x00DC, 0x00F8, 0x00A3, 0x00D8, 0x00D7, 0x0192, 0x00E1,
        0x00ED, 0x00F3, 0x00FA, 0x00F1, 0x00D1, 0x00AA, 0x00BA, 0x00BF, 0x00AE, 0x00AC, 0x00BD,
        0x00BC, 0x00A1, 0x00AB, 0x00BB, 0x2591, 0x2592, 0x2593, 0x2502, 0x2524, 0x00C1, 0x00C2,
        0x00C0, 0x00A9, 0x2563, 0x2551, 0x2557, 0x255D, 0x00A2, 0x00A5, 0x2510, 0x2514, 0x2534,
        0x252C, 0x251C, 0x2500, 0x253C, 0x00E3, 0x00C3, 0x255A, 0x2554, 0x2569, 0x2566, 0x2560,
        0x2550, 0x256C, 0x00A4, 0x00F0, 0x00D0, 0x00CA, 0x00CB, 0x00C8, 0x0131, 0x00CD, 0x00CE,
        0x00CF, 0x2518, 0x250C, 0x2588, 0x2584, 0x00A6, 0x00CC, 0x2580, 0x00D3, 0x00DF, 0x00D4,
        0x00D2, 0x00F5, 0x00D5, 0x00B5, 0x00FE, 0x00DE, 0x00DA, 0x00DB, 0x00D9, 0x00FD, 0x00DD,
        0x00AF, 0x00B4, 0x00AD, 0x00B1, 0x2017, 0x00BE, 0x00B6, 0x00A7, 0x00F7, 0x00B8, 0x00B0,
        0x00A8, 0x00B7, 0x00B9, 0x00B3, 0x00B2, 0x25A0, 0x00A0};
    std::string out;
    for (const char c : oem) {
        const auto u = static_cast<unsigned char>(c);
        AppendUtf8(out, u < 0x80 ? (IsControl(u) ? U'_' : u) : kOem[u - 0x80]);
    }
    return out;
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
