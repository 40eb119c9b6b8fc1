// Names as other FAT programs use them: entries whose 8.3 name begins with "." (other than a
// folder's "." and "..") are files like any other, listed and extracted as mcopy does; names
// that one put makes equal (case of any letter, a cut at 255 characters) are numbered within
// the limit.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/FatImages.h"
#include "support/RunTool.h"
#include "support/Scratch.h"

namespace {

namespace fs = std::filesystem;
using tn::test::Shell;

constexpr std::size_t kEntry = 32;
constexpr std::size_t kName = 11;
constexpr unsigned char kLongName = 0x0F;

unsigned char Checksum(const unsigned char* name) {
    unsigned s = 0;
    for (std::size_t i = 0; i < kName; ++i)
        s = ((((s & 1u) << 7) | (s >> 1)) + name[i]) & 0xFFu;
    return static_cast<unsigned char>(s);
}

// Renames the short entry `from` to `to` (11 bytes each) wherever it stands, and gives the
// long-name pieces before it the new checksum.
void RenameShort(std::vector<unsigned char>& image, const std::string& from,
                 const std::string& to) {
    for (std::size_t at = 0; at + kEntry <= image.size(); at += kEntry) {
        if (std::string(image.begin() + static_cast<std::ptrdiff_t>(at),
                        image.begin() + static_cast<std::ptrdiff_t>(at + kName)) != from ||
            image[at + kName] == kLongName)
            continue;
        std::copy(to.begin(), to.end(), image.begin() + static_cast<std::ptrdiff_t>(at));
        const unsigned char sum = Checksum(&image[at]);
        for (std::size_t piece = at; piece >= kEntry && image[piece - kEntry + kName] == kLongName;
             piece -= kEntry)
            image[piece - kEntry + 13] = sum;
        return;
    }
    ADD_FAILURE() << "no entry " << from;
}

std::map<std::string, std::string> Files(const fs::path& root) {
    std::map<std::string, std::string> files;
    for (const auto& e : fs::recursive_directory_iterator(root)) {
        const std::string rel = fs::relative(e.path(), root).generic_string();
        if (e.is_directory()) {
            files[rel + "/"] = "";
            continue;
        }
        const auto bytes = tn::test::LoadBytes(e.path());
        files[rel] = std::string(bytes.begin(), bytes.end());
    }
    return files;
}

TEST(FatNames, DotLeadingEntriesAreListedAndExtractedAsMcopyDoes) {
    TN_REQUIRE_SHELL();
    TN_REQUIRE_FAT_TOOLS();
    const fs::path dir = tn::test::ScratchFolder();
    const fs::path image = dir / "dots.img";
    ASSERT_TRUE(tn::test::MakeFatImage(image, 1024, "-F 12"));
    ASSERT_TRUE(tn::test::PutTree(image, {"/XCONFIG", "/PLAIN"},
                                  {{"/XPROFILE", "profile\n"},
                                   {"/XHID.TXT", "hidden\n"},
                                   {"/Long dotted name.txt", "long\n"},
                                   {"/XCONFIG/XINNER", "inner\n"},
                                   {"/PLAIN/A.TXT", "a\n"}}));
    auto bytes = tn::test::LoadBytes(image);
    RenameShort(bytes, "XPROFILE   ", ".PROFILE   ");
    RenameShort(bytes, "XHID    TXT", ".HID    TXT");
    RenameShort(bytes, "LONGDO~1TXT", ".LONGDO1TXT");  // keeps its long name
    RenameShort(bytes, "XCONFIG    ", ".CONFIG    ");
    RenameShort(bytes, "XINNER     ", ".INNER     ");
    std::ofstream(image, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));

    const fs::path reference = dir / "mcopy";
    fs::create_directories(reference);
    ASSERT_EQ(tn::test::Mtools("mcopy -s -n -i " + Shell(image.string()) + " '::/*' " +
                               Shell(reference.string()))
                  .status,
              0);
    const auto expected = Files(reference);
    ASSERT_EQ(expected.count(".PROFILE") + expected.count(".profile"), 1u);

    const fs::path out = dir / "tnpkg";
    const auto got = tn::test::RunTool(
        "fat get " + Shell(image.string()) + " / --to " + Shell(out.string()) + " --quiet", true);
    ASSERT_EQ(got.status, 0) << got.output;
    EXPECT_EQ(Files(out), expected);

    // Listed too, and a folder's own "." and ".." entries are not.
    const auto listed = tn::test::RunTool("fat ls -R " + Shell(image.string()));
    for (const char* name : {".PROFILE", ".HID.TXT", "Long dotted name.txt", ".CONFIG",
                             ".CONFIG/.INNER", "PLAIN/A.TXT"}) {
        EXPECT_NE(listed.output.find(std::string("  ") + name + "\n"), std::string::npos)
            << name << "\n"
            << listed.output;
    }
    EXPECT_EQ(listed.output.find("  PLAIN/.\n"), std::string::npos) << listed.output;
    EXPECT_EQ(listed.output.find("  PLAIN/..\n"), std::string::npos) << listed.output;
    EXPECT_EQ(tn::test::RunTool("fat check " + Shell(image.string())).status, 0);
}

// Puts the files of `host` into a new image; the names mcopy then extracts, with contents.
std::map<std::string, std::string> PutAndExtract(const fs::path& dir, const fs::path& host) {
    const fs::path image = dir / "names.img";
    EXPECT_TRUE(tn::test::MakeFatImage(image, 1024, "-F 12"));
    const auto put = tn::test::RunTool(
        "fat put " + Shell(image.string()) + " " + Shell(host.string()) + " --quiet", true);
    EXPECT_EQ(put.status, 0) << put.output;
    EXPECT_EQ(tn::test::FsckProblems(image), "");
    const fs::path out = dir / "out";
    fs::remove_all(out);
    fs::create_directories(out);
    EXPECT_EQ(tn::test::Mtools("mcopy -s -n -i " + Shell(image.string()) + " '::/*' " +
                               Shell(out.string()))
                  .status,
              0);
    auto files = Files(out);
    std::erase_if(files, [](const auto& f) { return f.first.back() == '/'; });
    return files;
}

TEST(FatNames, EqualAfterMappingAreNumberedWithinTheLimit) {
    TN_REQUIRE_SHELL();
    TN_REQUIRE_FAT_TOOLS();
    const fs::path dir = tn::test::ScratchFolder();
    // Names that differ only in the case of a non-ASCII letter.
    const fs::path umlauts = dir / "umlauts";
    fs::create_directories(umlauts);
    std::ofstream(umlauts / "\xC3\xA4.txt") << "small";
    std::ofstream(umlauts / "\xC3\x84.txt") << "capital";
    auto files = PutAndExtract(dir, umlauts);
    ASSERT_EQ(files.size(), 2u);
    std::set<std::string> contents;
    for (const auto& [name, content] : files)
        contents.insert(content);
    EXPECT_EQ(contents, (std::set<std::string>{"small", "capital"}));

    // Two names of 255 characters that become one when FAT's forbidden characters are replaced.
    const fs::path longNames = dir / "long";
    fs::create_directories(longNames);
    const std::string stem(250, 'n');
    std::ofstream(longNames / (stem + ":.txt")) << "colon";
    std::ofstream(longNames / (stem + "?.txt")) << "question";
    files = PutAndExtract(dir, longNames);
    ASSERT_EQ(files.size(), 2u);
    contents.clear();
    for (const auto& [name, content] : files) {
        EXPECT_LE(name.size(), 255u + 5u) << name;  // "long/" and at most 255 characters
        contents.insert(content);
    }
    EXPECT_EQ(contents, (std::set<std::string>{"colon", "question"}));
}

}  // namespace
