// FAT images made once by mkfs.fat and mtools (scripts/make-golden-images.sh) and kept in
// tests/data/fat/, so that the FAT tests need neither tool where they do not exist (Windows).
//
// NAME.img.txt holds an image as its non-zero 512-byte blocks: a line "size BYTES", then lines
// "OFFSET HEX" with a block's bytes up to its last non-zero one; "#" starts a comment line.
// NAME.list holds what mdir and mcopy read from it: "D<TAB>/path/" for a folder and
// "F<TAB>size<TAB>crc32<TAB>/path" for a file (paths UTF-8, sorted bytewise).
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/Scratch.h"

namespace tn::test {

/// The golden images: name, FAT width, whether only the standard mode reads it whole.
struct GoldenTree {
    const char* name;
    int fatBits;
    bool nearLimit;
};

/// Every image that holds the common tree (see the generator), then the near-limit one.
inline constexpr GoldenTree kGoldenTrees[] = {
    {"fat12-floppy", 12, false},
    {"fat12-2048", 12, false},
    {"fat16-512", 16, false},
    {"fat16-2048", 16, false},
};
inline constexpr GoldenTree kGoldenNearLimit = {"fat12-near-limit", 12, true};
// A fresh volume, as mkfs.fat makes one (one of the blank images of FatImages.h).
inline constexpr GoldenTree kGoldenEmpty = {"blank-1440_-F_12_-S_512_-s_1", 12, false};

inline constexpr std::size_t kGoldenBlock = 512;
inline constexpr std::size_t kGoldenMaxSize = 64u << 20;  // no image of ours is larger

inline std::filesystem::path GoldenFolder() {
    return std::filesystem::path(TN_TEST_SOURCE_DIR) / "data" / "fat";
}

/// CRC-32 as zlib computes it (reflected, polynomial 0xEDB88320).
inline std::uint32_t Crc32(const std::string& bytes) {
    static const std::array<std::uint32_t, 256> table = [] {
        std::array<std::uint32_t, 256> t{};
        for (std::uint32_t i = 0; i < 256; ++i) {
            std::uint32_t c = i;
            for (int k = 0; k < 8; ++k)
                c = (c & 1u) != 0 ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            t[i] = c;
        }
        return t;
    }();
    std::uint32_t crc = 0xFFFFFFFFu;
    for (char ch : bytes)
        crc = table[(crc ^ static_cast<unsigned char>(ch)) & 0xFFu] ^ (crc >> 8);
    return crc ^ 0xFFFFFFFFu;
}

/// Reads a text file's lines without their line ends ("\r" too, for a checkout with CRLF).
inline std::vector<std::string> GoldenLines(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (!line.empty() && line.front() != '#') lines.push_back(line);
    }
    return lines;
}

inline int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

/// The bytes of NAME.img.txt; empty when the file is missing or malformed.
inline std::vector<unsigned char> DecodeGolden(const std::string& name) {
    const std::vector<std::string> lines = GoldenLines(GoldenFolder() / (name + ".img.txt"));
    std::vector<unsigned char> image;
    if (lines.empty() || lines.front().rfind("size ", 0) != 0) return {};
    const unsigned long long size = std::stoull(lines.front().substr(5));
    if (size == 0 || size > kGoldenMaxSize || size % kGoldenBlock != 0) return {};
    image.assign(static_cast<std::size_t>(size), 0);
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::string& line = lines[i];
        const std::size_t space = line.find(' ');
        if (space == std::string::npos || space == 0) return {};
        const unsigned long long at = std::stoull(line.substr(0, space));
        const std::size_t digits = line.size() - space - 1;
        if (digits % 2 != 0 || digits / 2 > kGoldenBlock || at % kGoldenBlock != 0 ||
            at + digits / 2 > size) {
            return {};
        }
        for (std::size_t k = 0; k < digits / 2; ++k) {
            const int high = HexDigit(line[space + 1 + 2 * k]);
            const int low = HexDigit(line[space + 2 + 2 * k]);
            if (high < 0 || low < 0) return {};
            image[static_cast<std::size_t>(at) + k] = static_cast<unsigned char>(high * 16 + low);
        }
    }
    return image;
}

/// NAME.img.txt decoded into the test's scratch folder as NAME.img; empty path on failure.
inline std::filesystem::path GoldenImage(const std::string& name) {
    const std::vector<unsigned char> bytes = DecodeGolden(name);
    if (bytes.empty()) {
        ADD_FAILURE() << "golden image " << name << " missing or malformed";
        return {};
    }
    const std::filesystem::path image = ScratchFolder() / (name + ".img");
    std::ofstream out(image, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    return out ? image : std::filesystem::path();
}

/// One line of NAME.list.
struct GoldenEntry {
    bool folder = false;
    std::int64_t size = 0;
    std::uint32_t crc = 0;
    std::string path;  // "/A/NAME", "/A/" for a folder, UTF-8

    bool operator==(const GoldenEntry&) const = default;
};

inline std::ostream& operator<<(std::ostream& os, const GoldenEntry& e) {
    if (e.folder) return os << "D " << e.path;
    return os << "F " << e.size << " " << std::hex << e.crc << std::dec << " " << e.path;
}

/// NAME.list, in its order; a malformed line fails the test.
inline std::vector<GoldenEntry> GoldenListing(const std::string& name) {
    std::vector<GoldenEntry> entries;
    for (const std::string& line : GoldenLines(GoldenFolder() / (name + ".list"))) {
        std::istringstream fields(line);
        std::string kind;
        std::getline(fields, kind, '\t');
        GoldenEntry e;
        if (kind == "D") {
            e.folder = true;
        } else {
            std::string size, crc;
            std::getline(fields, size, '\t');
            std::getline(fields, crc, '\t');
            e.size = std::stoll(size);
            e.crc = static_cast<std::uint32_t>(std::stoul(crc, nullptr, 16));
        }
        std::getline(fields, e.path);
        if ((kind != "D" && kind != "F") || e.path.empty()) {
            ADD_FAILURE() << name << ".list: " << line;
            continue;
        }
        entries.push_back(e);
    }
    return entries;
}

/// The listing entry of a file's bytes.
inline GoldenEntry FileEntry(const std::string& path, const std::string& bytes) {
    return {false, static_cast<std::int64_t>(bytes.size()), Crc32(bytes), path};
}

}  // namespace tn::test
