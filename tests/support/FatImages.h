// Building FAT images with the reference tools (mkfs.fat, mtools, fsck.fat) and reading them
// back, for tests that compare the package's FAT volume with those oracles.
//
// mtools runs with MTOOLS_SKIP_CHECK=1 and a UTF-8 locale, so long names with umlauts go in and
// come out as UTF-8; the package's names are Windows-1252 (Win1252ToUtf8 bridges the two).
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "support/Files.h"
#include "support/GoldenImages.h"
#include "support/RunTool.h"

namespace tn::test {

/// Whether mkfs.fat, fsck.fat and mtools can be run here.
inline bool HaveFatTools() {
#ifdef _WIN32
    return false;
#else
    static const bool have =
        RunCommand(
            "command -v mkfs.fat && command -v fsck.fat && command -v mcopy && "
            "command -v mmd && command -v mdir && command -v mdel >/dev/null 2>&1")
            .status == 0;
    return have;
#endif
}

#define TN_REQUIRE_FAT_TOOLS()                                                      \
    do {                                                                            \
        if (!::tn::test::HaveFatTools()) GTEST_SKIP() << "mkfs.fat/mtools missing"; \
    } while (false)

/// Single-quoted for the shell.
inline std::string Shell(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) {
        if (c == '\'') {
            quoted += "'\\''";
        } else {
            quoted += c;
        }
    }
    return quoted + "'";
}

/// Runs an mtools command line (the tool's name first) with the settings mtools needs here.
inline ToolResult Mtools(const std::string& command) {
    return RunCommand("MTOOLS_SKIP_CHECK=1 LC_ALL=C.UTF-8 " + command + " 2>/dev/null");
}

/// Whether mkfs.fat can be run here.
inline bool HaveMkfs() {
#ifdef _WIN32
    return false;
#else
    static const bool have = RunCommand("command -v mkfs.fat >/dev/null 2>&1").status == 0;
    return have;
#endif
}

/// The golden image that holds what mkfs.fat makes of `kib` KiB with `options`
/// ("blank-1440_-F_12_-S_512_-s_1"), for machines without mkfs.fat.
inline std::string BlankGoldenName(int kib, const std::string& options) {
    std::string name = "blank-" + std::to_string(kib);
    if (!options.empty()) name += "_" + options;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

/// Creates `image` of `kib` KiB with mkfs.fat and the given options (e.g. "-F 12 -S 512 -s 1").
/// Without mkfs.fat the same blank volume comes from tests/data/fat/ where the generator stored
/// one (scripts/make-golden-images.sh), so tests that need nothing but a fresh volume also run
/// where mkfs.fat does not (Windows); false when neither exists.
inline bool MakeFatImage(const std::filesystem::path& image, int kib, const std::string& options) {
    std::filesystem::remove(image);
    if (!HaveMkfs()) {
        const std::vector<unsigned char> bytes = DecodeGolden(BlankGoldenName(kib, options));
        if (bytes.empty()) return false;
        std::ofstream out(image, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(bytes.data()),
                  static_cast<std::streamsize>(bytes.size()));
        return static_cast<bool>(out);
    }
    return RunCommand("mkfs.fat -C " + options + " " + Shell(image.string()) + " " +
                      std::to_string(kib) + " >/dev/null 2>&1")
               .status == 0;
}

/// Writes `content` to a host file and copies it to `fatPath` ("/DIR/NAME", UTF-8) in the image.
inline bool PutFile(const std::filesystem::path& image, const std::string& fatPath,
                    const std::string& content) {
    const std::filesystem::path host = image.string() + ".put";
    {
        std::ofstream out(host, std::ios::binary);
        out.write(content.data(), static_cast<std::streamsize>(content.size()));
    }
    const bool ok = Mtools("mcopy -o -i " + Shell(image.string()) + " " + Shell(host.string()) +
                           " " + Shell("::" + fatPath))
                        .status == 0;
    std::filesystem::remove(host);
    return ok;
}

inline bool MakeDir(const std::filesystem::path& image, const std::string& fatPath) {
    return Mtools("mmd -i " + Shell(image.string()) + " " + Shell("::" + fatPath)).status == 0;
}

inline bool RemoveFile(const std::filesystem::path& image, const std::string& fatPath) {
    return Mtools("mdel -i " + Shell(image.string()) + " " + Shell("::" + fatPath)).status == 0;
}

/// Writes a tree into the image with one mcopy: `dirs` ("/A", "/A/B", UTF-8) and `files`
/// ("/A/NAME" to content). Parent folders of files are created as needed.
inline bool PutTree(const std::filesystem::path& image, const std::vector<std::string>& dirs,
                    const std::map<std::string, std::string>& files) {
    const std::filesystem::path stage = image.string() + ".stage";
    std::filesystem::remove_all(stage);
    std::filesystem::create_directories(stage);
    for (const std::string& d : dirs)
        std::filesystem::create_directories(stage.string() + d);
    for (const auto& [path, content] : files) {
        const std::filesystem::path host = stage.string() + path;
        std::filesystem::create_directories(host.parent_path());
        std::ofstream out(host, std::ios::binary);
        out.write(content.data(), static_cast<std::streamsize>(content.size()));
    }
    const bool ok =
        Mtools("sh -c " + Shell("cd " + Shell(stage.string()) + " && mcopy -s -o -i " +
                                Shell(std::filesystem::absolute(image).string()) + " * ::/"))
            .status == 0;
    std::filesystem::remove_all(stage);
    return ok;
}

/// Every file of the image with its bytes, as one "mcopy -s" extracts them ("/A/NAME", UTF-8).
inline std::map<std::string, std::string> ExtractAll(const std::filesystem::path& image) {
    std::map<std::string, std::string> files;
    const std::filesystem::path out = image.string() + ".out";
    std::filesystem::remove_all(out);
    std::filesystem::create_directories(out);
    Mtools("mcopy -s -n -i " + Shell(image.string()) + " '::*' " + Shell(out.string() + "/"));
    for (const auto& entry : std::filesystem::recursive_directory_iterator(out)) {
        if (!entry.is_regular_file()) continue;
        const std::string path =
            "/" + std::filesystem::relative(entry.path(), out).generic_string();
        std::ifstream in(entry.path(), std::ios::binary);
        files[path] =
            std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    std::filesystem::remove_all(out);
    return files;
}

/// The bytes of `fatPath` as mcopy reads them.
inline std::string ReadFile(const std::filesystem::path& image, const std::string& fatPath) {
    return Mtools("mcopy -n -i " + Shell(image.string()) + " " + Shell("::" + fatPath) + " -")
        .output;
}

/// Every path of the image as "mdir -/ -b" lists it ("/DIR/" for folders), UTF-8, sorted.
inline std::vector<std::string> ListTree(const std::filesystem::path& image) {
    const std::string out = Mtools("mdir -/ -b -i " + Shell(image.string()) + " ::").output;
    std::vector<std::string> paths;
    std::string line;
    for (char c : out) {
        if (c == '\n') {
            if (line.rfind("::", 0) == 0) paths.push_back(line.substr(2));
            line.clear();
        } else {
            line += c;
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

/// fsck.fat -n's verdict: empty when the image is clean, its report otherwise.
inline std::string FsckProblems(const std::filesystem::path& image) {
    const ToolResult r = RunCommand("fsck.fat -n " + Shell(image.string()) + " 2>&1");
    return r.status == 0 ? std::string() : r.output;
}

/// The first `count` bytes of a file (fewer when it is shorter): a boot sector without reading
/// a large image whole.
inline std::vector<unsigned char> LoadPrefix(const std::filesystem::path& file,
                                             std::size_t count = 512) {
    std::vector<unsigned char> bytes(count);
    std::ifstream in(file, std::ios::binary);
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(count));
    bytes.resize(static_cast<std::size_t>(in.gcount()));
    return bytes;
}

/// Deterministic file content: `size` bytes from a seed.
inline std::string Pattern(std::size_t size, std::uint32_t seed) {
    std::string s(size, '\0');
    std::uint32_t x = seed * 2654435761u + 1u;
    for (char& c : s) {
        x = x * 1103515245u + 12345u;
        c = static_cast<char>(x >> 23);
    }
    return s;
}

}  // namespace tn::test
