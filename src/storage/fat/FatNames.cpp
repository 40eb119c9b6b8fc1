// Names on a FAT volume.
#include "storage/fat/FatNames.h"

#include <algorithm>
#include <cstring>

#include "storage/fat/FatLayout.h"
#include "text/Windows1252.h"

namespace tn::fat {

namespace {

// Length of a space-padded field without its padding.
int TrimmedLength(const unsigned char* p, int n) {
    while (n > 0 && p[n - 1] == ' ')
        --n;
    return n;
}

char LowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Characters an 8.3 name may hold besides upper-case letters and digits.
bool IsShortSpecial(char c) {
    return std::strchr("!#$%&'()-@^_`{}~", c) != nullptr && c != '\0';
}

bool IsShortChar(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || IsShortSpecial(c);
}

}  // namespace

std::string ShortDisplayName(const unsigned char* entry) {
    // Put together in place: a mount shows one for every entry of the volume.
    char text[kEntryNameLength + 1];
    std::size_t n = 0;
    const unsigned char* name = entry + kEntryName;
    const bool lowerBase = (entry[kEntryCase] & kCaseLowerBase) != 0;
    const bool lowerExtension = (entry[kEntryCase] & kCaseLowerExtension) != 0;
    const int baseLength = TrimmedLength(name, kEntryBaseLength);
    for (int i = 0; i < baseLength; ++i) {
        char c = static_cast<char>(name[i]);
        if (i == 0 && name[0] == 0x05) c = static_cast<char>(kDeleted);  // a real 0xE5 first byte
        text[n++] = lowerBase ? LowerAscii(c) : c;
    }
    const int extensionLength =
        TrimmedLength(name + kEntryBaseLength, kEntryNameLength - kEntryBaseLength);
    if (extensionLength > 0) text[n++] = '.';
    for (int i = 0; i < extensionLength; ++i) {
        const char c = static_cast<char>(name[kEntryBaseLength + i]);
        text[n++] = lowerExtension ? LowerAscii(c) : c;
    }
    return std::string(text, n);
}

void LongNameCollector::Piece(const unsigned char* entry) {
    const int sequence = entry[kLfnSequence];
    const int number = sequence & kLfnNumberMask;
    const int maxPieces = static_cast<int>(sizeof units_ / sizeof units_[0]) / kLfnCharsPerEntry;
    if ((sequence & kLfnLast) != 0) {
        active_ = number >= 1 && number <= maxPieces;
        if (!active_) return;
        pieces_ = number;
        checksum_ = entry[kLfnChecksum];
        std::fill(std::begin(units_), std::end(units_), char16_t{0});
    } else if (!active_ || number != expected_ || entry[kLfnChecksum] != checksum_) {
        active_ = false;
        return;
    }
    for (int i = 0; i < kLfnCharsPerEntry; ++i) {
        units_[(number - 1) * kLfnCharsPerEntry + i] =
            static_cast<char16_t>(ReadLE16(entry + kLfnCharOffsets[i]));
    }
    expected_ = number - 1;
}

std::string LongNameCollector::Take(const unsigned char* shortEntry) {
    std::string name;
    Take(shortEntry, name);
    return name;
}

void LongNameCollector::Take(const unsigned char* shortEntry, std::string& name) {
    name.clear();
    const bool complete =
        active_ && expected_ == 0 && ShortNameChecksum(shortEntry + kEntryName) == checksum_;
    active_ = false;
    if (!complete) return;
    const int total = pieces_ * kLfnCharsPerEntry;
    for (int i = 0; i < total && units_[i] != 0; ++i) {
        char32_t code = units_[i];
        if (code < 0x80) {  // most names are ASCII
            name.push_back(static_cast<char>(code));
            continue;
        }
        if (code >= 0xD800 && code <= 0xDBFF && i + 1 < total && units_[i + 1] >= 0xDC00 &&
            units_[i + 1] <= 0xDFFF) {
            ++i;  // a pair outside the basic plane: no Windows-1252 character
            code = 0xFFFF;
        }
        unsigned char byte = '?';
        if (!cp1252::FromUnicode(code, byte)) byte = '?';
        name.push_back(static_cast<char>(byte));
    }
}

bool IsUpperShortName(const std::string& name) {
    if (name.empty() || name == "." || name == "..") return false;
    const auto dot = name.find('.');
    const std::string base = name.substr(0, dot);
    const std::string ext = dot == std::string::npos ? std::string() : name.substr(dot + 1);
    if (base.empty() || base.size() > 8 || ext.size() > 3) return false;
    if (dot != std::string::npos && ext.empty()) return false;
    for (char c : base) {
        if (!IsShortChar(c)) return false;
    }
    for (char c : ext) {
        if (!IsShortChar(c)) return false;
    }
    return true;
}

bool IsAllowedLongName(const std::string& name) {
    if (name.empty() || name.size() > static_cast<std::size_t>(kMaxLongName)) return false;
    if (name == "." || name == "..") return false;
    if (name.back() == '.' || name.back() == ' ') return false;
    for (char c : name) {
        const auto u = static_cast<unsigned char>(c);
        if (u < 0x20 || std::strchr("\"*/:<>?\\|", c) != nullptr) return false;
    }
    return true;
}

void PackShortName(const std::string& name, unsigned char* out) {
    std::memset(out, ' ', kEntryNameLength);
    const auto dot = name.find('.');
    const std::string base = name.substr(0, dot);
    const std::string ext = dot == std::string::npos ? std::string() : name.substr(dot + 1);
    std::memcpy(out, base.data(), std::min<std::size_t>(base.size(), kEntryBaseLength));
    std::memcpy(out + kEntryBaseLength, ext.data(), std::min<std::size_t>(ext.size(), 3));
}

bool MakeShortName(const std::string& name, const std::vector<std::string>& used,
                   unsigned char* out) {
    auto convert = [](const std::string& part, std::size_t limit) {
        std::string result;
        for (char c : part) {
            if (c == ' ' || c == '.') continue;  // dropped, as the system drops them
            if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
            if (!IsShortChar(c)) c = '_';
            result.push_back(c);
            if (result.size() == limit) break;
        }
        return result;
    };
    // The extension is what follows the last dot (a leading dot starts no extension).
    auto dot = name.rfind('.');
    if (dot == 0) dot = std::string::npos;
    std::string base = convert(name.substr(0, dot), 8);
    const std::string ext =
        dot == std::string::npos ? std::string() : convert(name.substr(dot + 1), 3);
    if (base.empty()) base = "_";
    std::vector<std::string> sorted = used;
    std::sort(sorted.begin(), sorted.end());
    auto taken = [&sorted](const unsigned char* candidate) {
        const std::string key(reinterpret_cast<const char*>(candidate), kEntryNameLength);
        return std::binary_search(sorted.begin(), sorted.end(), key);
    };
    for (int n = 1; n < 1000000; ++n) {
        const std::string tail = "~" + std::to_string(n);
        const std::string stem = base.substr(0, 8 - tail.size()) + tail;
        std::memset(out, ' ', kEntryNameLength);
        std::memcpy(out, stem.data(), stem.size());
        std::memcpy(out + kEntryBaseLength, ext.data(), ext.size());
        if (!taken(out)) return true;
    }
    return false;
}

}  // namespace tn::fat
