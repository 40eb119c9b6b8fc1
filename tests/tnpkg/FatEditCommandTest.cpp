// `tnpkg fat rm`, `mv`, `label`, `put --force`, `get --force/-p` and `format --fat/--cluster`
// against the reference tools: what they refuse leaves the image byte for byte as it was, what
// they do passes fsck.fat -n and reads back through mtools as meant.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/FatImages.h"
#include "support/RunTool.h"
#include "support/Scratch.h"
#include "tnpkg/ImageWriteSupport.h"

namespace {

namespace fs = std::filesystem;
using tn::test::LoadText;
using tn::test::Mtools;
using tn::test::Q;

tn::test::ToolResult Fat(const std::string& arguments) {
    return tn::test::RunTool("fat " + arguments, true);
}

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// The fields mkfs.fat decides: geometry, media, type text.
std::string BootFields(const fs::path& image) {
    const auto prefix = tn::test::LoadPrefix(image);
    const std::string boot(prefix.begin(), prefix.end());
    return boot.substr(11, 25) + boot.substr(54, 8) + boot.substr(510, 2);
}

class FatEditCommandTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (std::string(TN_TNPKG_PATH).empty()) GTEST_SKIP() << "tnpkg is not built";
        TN_REQUIRE_SHELL();
        TN_REQUIRE_FAT_TOOLS();
    }

    // A FAT image filled by mtools: long names, a nested folder, a few clusters of content.
    fs::path Card(const std::string& options, int kib) {
        const fs::path image = dir_ / "card.img";
        EXPECT_TRUE(tn::test::MakeFatImage(image, kib, options));
        EXPECT_TRUE(
            tn::test::PutTree(image,
                              {"/Fl\xC3\xBC"
                               "ge 2024/Juli",
                               "/Leer"},
                              {{"/Fl\xC3\xBC"
                                "ge 2024/Juli/Erster Flug.igc",
                                tn::test::Pattern(5000, 1)},
                               {"/Fl\xC3\xBC"
                                "ge 2024/notes.txt",
                                "notes"},
                               {"/README.TXT", "read me"},
                               {"/Logbuch mit langem Namen.txt", tn::test::Pattern(700, 2)}}));
        return image;
    }

    // Runs a write that must be refused with `message` and leave the image as it was.
    void ExpectRefused(const fs::path& image, const std::string& arguments,
                       const std::string& message, int status = 1) {
        const std::string before = LoadText(image);
        const auto r = Fat(arguments);
        EXPECT_EQ(r.status, status) << arguments << "\n" << r.output;
        EXPECT_TRUE(Has(r.output, message)) << arguments << "\n" << r.output;
        EXPECT_TRUE(LoadText(image) == before) << arguments;
    }

    const fs::path dir_ = tn::test::ScratchFolder();
};

TEST_F(FatEditCommandTest, RmRemovesFilesAndFoldersAndRefusesTheRest) {
    for (const char* options : {"-F 12 -s 1", "-F 16 -S 2048 -s 1"}) {
        SCOPED_TRACE(options);
        const fs::path image = Card(options, Has(options, "-F 16") ? 12288 : 1440);
        const std::string img = Q(image);
        ExpectRefused(image, "rm " + img + " /", "the root cannot be removed");
        ExpectRefused(image, "rm " + img + " /nothing.txt", "no /nothing.txt in the image");
        ExpectRefused(image,
                      "rm " + img +
                          " '/Fl\xC3\xBC"
                          "ge 2024'",
                      "is a folder that is not empty");
        // Nothing of a list is removed when one path of it is refused.
        ExpectRefused(image, "rm " + img + " /README.TXT /missing", "no /missing in the image");

        ASSERT_EQ(Fat("rm " + img + " /readme.txt '/Logbuch mit langem Namen.txt' /Leer").status,
                  0);
        EXPECT_EQ(tn::test::FsckProblems(image), "");
        ASSERT_EQ(Fat("rm -r " + img +
                      " '/fl\xC3\xBC"
                      "ge 2024'")
                      .status,
                  0);
        EXPECT_EQ(tn::test::FsckProblems(image), "");
        EXPECT_TRUE(tn::test::ListTree(image).empty());
        // Every cluster is free again and no entry (long-name pieces included) is left in use.
        EXPECT_TRUE(Has(Fat("info " + img).output, "content:             0 files, 0 folders"));
        const std::string root = Mtools("mdir -a -i " + img + " ::").output;
        EXPECT_TRUE(Has(root, "No files")) << root;
    }
}

TEST_F(FatEditCommandTest, MvRenamesAndMovesAndRefusesWhatFatCannotDo) {
    for (const char* options : {"-F 12 -s 1", "-F 16 -S 1024 -s 1"}) {
        SCOPED_TRACE(options);
        const fs::path image = Card(options, Has(options, "-F 16") ? 8192 : 1440);
        const std::string img = Q(image);
        const std::string flights =
            "'/Fl\xC3\xBC"
            "ge 2024'";
        ExpectRefused(image, "mv " + img + " " + flights + " " + flights + "/Juli/",
                      "cannot move into itself or a folder below it");
        ExpectRefused(image, "mv " + img + " /README.TXT '/Logbuch mit langem Namen.txt'",
                      "exists already (--force replaces it)");
        ExpectRefused(image, "mv " + img + " /Leer /README.TXT --force",
                      "only a file replaces a file");
        ExpectRefused(image, "mv " + img + " /README.TXT '/a*b.txt'", "FAT cannot hold the name");
        ExpectRefused(image, "mv " + img + " /missing /x", "no /missing in the image");
        ExpectRefused(image, "mv " + img + " /README.TXT /nowhere/x", "no folder /nowhere");

        // A folder moves into another one: its ".." names the new parent (fsck.fat checks it).
        ASSERT_EQ(Fat("mv " + img + " " + flights + "/Juli /Leer/").status, 0);
        EXPECT_EQ(tn::test::FsckProblems(image), "");
        EXPECT_EQ(tn::test::ReadFile(image, "/Leer/Juli/Erster Flug.igc"),
                  tn::test::Pattern(5000, 1));
        // ... and back to the root under a new name.
        ASSERT_EQ(Fat("mv " + img +
                      " /Leer/Juli '/Sommer Fl\xC3\xBC"
                      "ge'")
                      .status,
                  0);
        EXPECT_EQ(tn::test::FsckProblems(image), "");
        EXPECT_EQ(Mtools("mcopy -i " + img +
                         " '::/Sommer Fl\xC3\xBC"
                         "ge/../README.TXT' -")
                      .output,
                  "read me");
        // A rename that changes only the case keeps the entry.
        ASSERT_EQ(Fat("mv " + img + " /README.TXT /ReadMe.txt").status, 0);
        EXPECT_EQ(
            tn::test::ListTree(image),
            (std::vector<std::string>{"/Fl\xC3\xBC"
                                      "ge 2024/",
                                      "/Fl\xC3\xBC"
                                      "ge 2024/notes.txt",
                                      "/Leer/", "/Logbuch mit langem Namen.txt", "/ReadMe.txt",
                                      "/Sommer Fl\xC3\xBC"
                                      "ge/",
                                      "/Sommer Fl\xC3\xBC"
                                      "ge/Erster Flug.igc"}));
        // --force replaces a file; its old clusters are free again.
        ASSERT_EQ(Fat("mv --force " + img + " /ReadMe.txt '/Logbuch mit langem Namen.txt'").status,
                  0);
        EXPECT_EQ(tn::test::FsckProblems(image), "");
        EXPECT_EQ(tn::test::ReadFile(image, "/Logbuch mit langem Namen.txt"), "read me");
        EXPECT_EQ(tn::test::ListTree(image).size(), 6u);

        // A full volume: a move needs no cluster, so it still works.
        const std::string info = Fat("info " + img + " --json").output;
        const std::size_t free = std::stoull(info.substr(info.find("\"freeBytes\":") + 12));
        ASSERT_TRUE(tn::test::PutFile(image, "/FILL.BIN", tn::test::Pattern(free, 7)));
        ASSERT_TRUE(Has(Fat("info " + img).output, "free:                0 clusters"));
        const auto full = Fat("mv " + img + " /FILL.BIN '/Leer/Voll bis zum Rand.bin'");
        ASSERT_EQ(full.status, 0) << full.output;
        EXPECT_EQ(tn::test::FsckProblems(image), "");
        EXPECT_EQ(tn::test::ReadFile(image, "/Leer/Voll bis zum Rand.bin"),
                  tn::test::Pattern(free, 7));
    }
}

TEST_F(FatEditCommandTest, PutForceReplacesFilesButNeverAFolderOrByAFolder) {
    const fs::path image = Card("-F 16 -s 1", 4096);
    const std::string img = Q(image);
    tn::test::WriteBytes(dir_ / "README.TXT", tn::test::Pattern(9000, 7));
    fs::create_directories(dir_ / "host" / "Leer");
    tn::test::WriteBytes(dir_ / "host" / "Leer" / "inside.txt", "inside");
    tn::test::WriteBytes(dir_ / "Leer", "a file named like the folder");
    ExpectRefused(image, "put " + img + " " + Q(dir_ / "README.TXT"),
                  "exists already in the image; not overwritten (--force replaces it)");
    ExpectRefused(image, "put --force " + img + " " + Q(dir_ / "Leer"),
                  "/Leer is a folder in the image");
    fs::remove(dir_ / "Leer");
    ASSERT_EQ(Fat("put --force " + img + " " + Q(dir_ / "README.TXT")).status, 0);
    EXPECT_EQ(tn::test::ReadFile(image, "/README.TXT"), tn::test::Pattern(9000, 7));
    EXPECT_EQ(tn::test::FsckProblems(image), "");
    // A folder merges into the folder of its name; a folder never replaces a file.
    fs::create_directories(dir_ / "dir2" / "README.TXT");
    ExpectRefused(image, "put --force " + img + " " + Q(dir_ / "dir2" / "README.TXT"),
                  "is a file in the image");
    ASSERT_EQ(Fat("put --force " + img + " " + Q(dir_ / "host" / "Leer")).status, 0);
    EXPECT_EQ(tn::test::ReadFile(image, "/Leer/inside.txt"), "inside");
    EXPECT_EQ(tn::test::FsckProblems(image), "");
}

TEST_F(FatEditCommandTest, GetKeepsPcFilesUnlessForcedAndPreservesTimesAsMcopyDoes) {
    const fs::path image = Card("-F 12", 1440);
    const std::string img = Q(image);
    // Entries with times far from now, so that a copy that kept "now" shows.
    ASSERT_EQ(tn::test::RunCommand("touch -d '2019-03-04 05:06:08' " + Q(dir_ / "old.txt") +
                                   " && mkdir -p " + Q(dir_ / "Alt") + " && touch -d " +
                                   "'2018-01-02 03:04:06' " + Q(dir_ / "Alt"))
                  .status,
              0);
    ASSERT_EQ(
        Mtools("mcopy -m -i " + img + " " + Q(dir_ / "old.txt") + " " + Q(dir_ / "Alt") + " ::/")
            .status,
        0);
    const fs::path ours = dir_ / "ours", theirs = dir_ / "theirs";
    fs::create_directories(theirs);
    ASSERT_EQ(Fat("get -p " + img + " / --to " + Q(ours)).status, 0);
    ASSERT_EQ(Mtools("mcopy -s -m -i " + img + " '::*' " + Q(theirs)).status, 0);
    for (const char* path : {"old.txt", "Alt", "README.TXT",
                             "Fl\xC3\xBC"
                             "ge 2024/Juli/Erster Flug.igc",
                             "Fl\xC3\xBC"
                             "ge 2024"}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(fs::last_write_time(ours / path), fs::last_write_time(theirs / path));
    }
    const auto year2019 = fs::last_write_time(ours / "old.txt");
    EXPECT_LT(year2019, fs::last_write_time(ours / "README.TXT") - std::chrono::hours(24 * 365));

    // A second get refuses every existing file, and --force replaces them.
    tn::test::WriteBytes(ours / "README.TXT", "changed on the PC");
    const auto again = Fat("get " + img + " /README.TXT /old.txt --to " + Q(ours));
    EXPECT_EQ(again.status, 1);
    EXPECT_TRUE(Has(again.output, "README.TXT exists already; not overwritten")) << again.output;
    EXPECT_EQ(LoadText(ours / "README.TXT"), "changed on the PC");
    ASSERT_EQ(Fat("get --force " + img + " /README.TXT --to " + Q(ours)).status, 0);
    EXPECT_EQ(LoadText(ours / "README.TXT"), "read me");
}

TEST_F(FatEditCommandTest, LabelIsSetShownAndClearedAsMlabelReadsIt) {
    for (const char* options : {"-F 12", "-F 16 -S 2048 -s 1", "-F 12 -n OLDLABEL"}) {
        SCOPED_TRACE(options);
        const fs::path image = Card(options, Has(options, "-F 16") ? 12288 : 1440);
        const std::string img = Q(image);
        const std::string old = Has(options, "OLDLABEL") ? "OLDLABEL" : "(none)";
        EXPECT_EQ(tn::test::RunTool("fat label " + img).output, old + "\n");
        ExpectRefused(image, "label " + img + " 'TWELVE CHARS'", "at most 11 characters", 2);
        ExpectRefused(image, "label " + img + " 'A/B'", "cannot hold '/'", 2);
        ExpectRefused(image, "label " + img + " X --clear", "either a NAME or --clear", 2);
        ASSERT_EQ(Fat("label " + img + " 'flights 24'").status, 0);
        EXPECT_EQ(Mtools("mlabel -s -i " + img + " ::").output, " Volume label is FLIGHTS 24 \n");
        EXPECT_EQ(LoadText(image).substr(43, 11), "FLIGHTS 24 ");
        EXPECT_EQ(tn::test::RunTool("fat label " + img).output, "FLIGHTS 24\n");
        EXPECT_EQ(tn::test::FsckProblems(image), "");
        ASSERT_EQ(Fat("label " + img + " --clear").status, 0);
        EXPECT_EQ(Mtools("mlabel -s -i " + img + " ::").output, " Volume has no label\n");
        EXPECT_EQ(LoadText(image).substr(43, 11), "NO NAME    ");
        EXPECT_EQ(tn::test::RunTool("fat label " + img).output, "(none)\n");
        EXPECT_EQ(tn::test::FsckProblems(image), "");
    }
    // mlabel gives a mixed-case label a long-name piece; a new label takes it away with the
    // old name (the root of a 1440 KiB mkfs.fat volume starts at sector 19).
    const fs::path image = dir_ / "mixed.img";
    ASSERT_TRUE(tn::test::MakeFatImage(image, 1440, "-F 12"));
    ASSERT_EQ(Mtools("mlabel -i " + Q(image) + " '::My Card'").status, 0);
    constexpr std::size_t kRoot = 19 * 512;
    ASSERT_EQ(static_cast<unsigned char>(LoadText(image)[kRoot + 11]), 0x0F);
    ASSERT_EQ(Fat("label " + Q(image) + " NEW").status, 0);
    EXPECT_EQ(static_cast<unsigned char>(LoadText(image)[kRoot]), 0xE5);
    EXPECT_EQ(LoadText(image).substr(kRoot + 32, 12), "NEW        \x08");
    EXPECT_EQ(Mtools("mlabel -s -i " + Q(image) + " ::").output, " Volume label is NEW        \n");
}

TEST_F(FatEditCommandTest, FormatTakesTheTypeAndClusterSizeFatCanHold) {
    struct Choice {
        int fat;
        int cluster;
        int kib;
    };
    const Choice choices[] = {{12, 512, 1024},    {12, 1024, 2048},    {12, 4096, 8192},
                              {12, 32768, 50000}, {16, 512, 4096},     {16, 2048, 16384},
                              {16, 4096, 20000},  {16, 16384, 100000}, {16, 32768, 140000}};
    for (const Choice& c : choices) {
        SCOPED_TRACE(std::to_string(c.fat) + "/" + std::to_string(c.cluster) + "/" +
                     std::to_string(c.kib));
        const fs::path ours = dir_ / "ours.img", theirs = dir_ / "theirs.img";
        fs::remove(ours);
        const auto made = Fat("format " + Q(ours) + " --size " + std::to_string(c.kib) +
                              "K --fat " + std::to_string(c.fat) + " --cluster " +
                              std::to_string(c.cluster) + " --label CARD");
        ASSERT_EQ(made.status, 0) << made.output;
        ASSERT_TRUE(tn::test::MakeFatImage(
            theirs, c.kib,
            "-F " + std::to_string(c.fat) + " -s " + std::to_string(c.cluster / 512)));
        EXPECT_EQ(BootFields(ours), BootFields(theirs));
        EXPECT_EQ(tn::test::FsckProblems(ours), "");
    }
    const fs::path no = dir_ / "no.img";
    const std::pair<const char*, const char*> refused[] = {
        {"--size 100M --fat 12 --cluster 512", "FAT12 needs fewer than 4085 data clusters"},
        {"--size 1M --fat 16", "FAT16 needs 4085 to 65524 data clusters"},
        {"--size 400M --fat 16 --cluster 2K", "FAT16 needs 4085 to 65524 data clusters"},
        {"--size 1M --cluster 3000", "a power of two from 512 to 32768"},
        {"--size 1M --cluster 64K", "a power of two from 512 to 32768"},
    };
    for (const auto& [arguments, message] : refused) {
        const auto r = Fat("format " + Q(no) + " " + arguments);
        EXPECT_EQ(r.status, 1) << arguments << "\n" << r.output;
        EXPECT_TRUE(Has(r.output, message)) << arguments << "\n" << r.output;
        EXPECT_FALSE(fs::exists(no));
    }
    EXPECT_EQ(Fat("format " + Q(no) + " --size 1M --fat 32").status, 2);
}

}  // namespace
