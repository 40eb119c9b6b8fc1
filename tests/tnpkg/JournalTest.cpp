// Interrupting tnpkg's writes at every point: after each page of the journal and after each
// page written into the image, and by a disk that fails any one write half-way. The image ends
// as its old bytes exactly (rolled back by the failing command itself, or by the next one after
// a crash, which reports it) or as the finished result, and the volume passes fsck.fat -n.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/FatImages.h"
#include "support/RunTool.h"
#include "support/Scratch.h"
#include "tnpkg/ImageWriteSupport.h"

namespace {

namespace fs = std::filesystem;
using namespace tn::test;

constexpr const char* kInJournal = "TNPKG_TEST_CRASH_IN_JOURNAL";
constexpr const char* kAfterPages = "TNPKG_TEST_CRASH_AFTER";
constexpr const char* kFailWrite = "TNPKG_TEST_FAIL_WRITE";
constexpr int kMostPoints = 400;  // a bound on the loops, far above any write here

class JournalTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (std::string(TN_TNPKG_PATH).empty()) GTEST_SKIP() << "tnpkg is not built";
    }
    fs::path Path(const std::string& name) const { return dir_ / name; }
    const fs::path dir_ = ScratchFolder();
};

// Interrupts `write` (tnpkg arguments on `image`) at every point of one hook, each time from
// the image `before`, and lets `reader` recover. A crash leaves the journal for `reader` to play
// back; a failing write is rolled back by the command itself, which fails. Returns how many
// interruptions there were; the first run that finishes leaves its result in `image` for the
// caller to check.
int CrashAtEveryPoint(const char* hook, const fs::path& image, const std::string& before,
                      const std::string& write, const std::string& reader, bool fat) {
    const bool failing = std::string(hook) == kFailWrite;
    for (int n = failing ? 1 : 0; n < kMostPoints; ++n) {
        SCOPED_TRACE(std::string(hook) + "=" + std::to_string(n));
        WriteBytes(image, before);
        const auto run = RunWith(std::string(hook) + "=" + std::to_string(n), write);
        if (run.status == 0) {
            EXPECT_EQ(run.output.find("recovered"), std::string::npos) << run.output;
            return n;
        }
        if (failing) {
            EXPECT_EQ(run.status, 1) << run.output;
            EXPECT_NE(
                run.output.find("input/output error; " + image.string() + " was left unchanged"),
                std::string::npos)
                << run.output;
        } else {
            EXPECT_EQ(run.status, kCrashStatus) << run.output;
            EXPECT_TRUE(fs::exists(JournalOf(image)));
        }
        const auto next = RunWith("", reader);
        if (!failing) {
            EXPECT_NE(next.output.find("tnpkg: recovered " + image.string() + ": "),
                      std::string::npos)
                << next.output;
        }
        EXPECT_FALSE(fs::exists(JournalOf(image)));
        EXPECT_TRUE(LoadText(image) == before) << "not rolled back";
        if (fat) {
            EXPECT_EQ(FsckProblems(image), "");
        }
        if (::testing::Test::HasFailure()) return -1;
    }
    ADD_FAILURE() << "the write never finished";
    return -1;
}

TEST_F(JournalTest, FatWritesInterruptedAnywhereAreRolledBackOrFinished) {
    TN_REQUIRE_SHELL();
    TN_REQUIRE_FAT_TOOLS();
    const fs::path image = Path("card.img");
    ASSERT_TRUE(MakeFatImage(image, 1024, "-F 12 -s 1"));
    ASSERT_TRUE(PutFile(image, "/OLD.TXT", "already there\n"));
    const std::string before = LoadText(image);
    WriteBytes(Path("small.txt"), "abc");
    const std::string big = Pattern(9 * 512 + 100, 7);  // ten clusters
    WriteBytes(Path("big.bin"), big);

    struct Case {
        std::string write;
        std::string check;  // a file that must read back after the finished write, or a folder
        std::string content;
        bool gone = false;  // `check` must be missing after the write
    };
    fs::create_directories(Path("new"));
    WriteBytes(Path("new") / "OLD.TXT", "replaced");
    const std::vector<Case> cases = {
        {"fat put " + Q(image) + " " + Q(Path("small.txt")), "/small.txt", "abc"},
        {"fat put " + Q(image) + " " + Q(Path("big.bin")) + " --to /A/B", "/A/B/big.bin", big},
        {"fat mkdir " + Q(image) + " /Flugbuch/2024", "/Flugbuch/2024", ""},
        {"fat put --force " + Q(image) + " " + Q(Path("new") / "OLD.TXT"), "/OLD.TXT", "replaced"},
        {"fat mv " + Q(image) + " /OLD.TXT '/Alter Name.txt'", "/Alter Name.txt",
         "already there\n"},
        {"fat rm " + Q(image) + " /OLD.TXT", "/OLD.TXT", "", true},
        {"fat label " + Q(image) + " KARTE", "/OLD.TXT", "already there\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.write);
        // A failing disk, at every write of the commands that add content.
        std::vector<const char*> hooks = {kInJournal, kAfterPages};
        if (c.write.rfind("fat put", 0) == 0 || c.write.rfind("fat mkdir", 0) == 0)
            hooks.push_back(kFailWrite);
        for (const char* hook : hooks) {
            const int crashes =
                CrashAtEveryPoint(hook, image, before, c.write, "fat ls " + Q(image), true);
            ASSERT_GT(crashes, 1);
            EXPECT_EQ(FsckProblems(image), "");
            if (c.gone) {
                EXPECT_TRUE(tn::test::ListTree(image).empty());
            } else if (c.content.empty()) {
                EXPECT_TRUE(MakeDir(image, c.check + "/PROBE")) << "the folder is missing";
            } else {
                EXPECT_EQ(ReadFile(image, c.check), c.content);
            }
        }
    }

    // What recovery found is part of `fat info`, in text and JSON.
    WriteBytes(image, before);
    ASSERT_EQ(RunWith(std::string(kAfterPages) + "=1", cases[0].write).status, kCrashStatus);
    const auto json = RunWith("", "fat info --json " + Q(image));
    EXPECT_NE(json.output.find("\"recovered\":\"rolled back an interrupted tnpkg command\""),
              std::string::npos)
        << json.output;
    ASSERT_EQ(RunWith(std::string(kInJournal) + "=1", cases[0].write).status, kCrashStatus);
    const auto text = RunWith("", "fat info " + Q(image));
    EXPECT_NE(text.output.find("recovered:           removed the incomplete journal"),
              std::string::npos)
        << text.output;
    EXPECT_EQ(LoadText(image), before);
}

TEST_F(JournalTest, AnInterruptedFormatOfANewImageLeavesNoImage) {
    TN_REQUIRE_SHELL();
    TN_REQUIRE_FAT_TOOLS();
    const fs::path image = Path("new.img");
    const std::string format = "fat format " + Q(image) + " --size 1M";
    for (int n = 0; n < kMostPoints; ++n) {
        SCOPED_TRACE(n);
        fs::remove(image);
        const auto run = RunWith(std::string(kAfterPages) + "=" + std::to_string(n), format);
        if (run.status == 0) {
            EXPECT_GT(n, 2);
            EXPECT_EQ(FsckProblems(image), "");
            return;
        }
        ASSERT_EQ(run.status, kCrashStatus) << run.output;
        const auto next = RunWith("", "fat info " + Q(image));
        EXPECT_EQ(next.status, 1);
        EXPECT_NE(next.output.find("tnpkg: recovered " + image.string()), std::string::npos)
            << next.output;
        EXPECT_FALSE(fs::exists(image));
        EXPECT_FALSE(fs::exists(JournalOf(image)));
    }
    ADD_FAILURE() << "the format never finished";
}

TEST_F(JournalTest, TheJournalHoldsTheOldPagesUnderAChecksumZlibAgreesWith) {
    TN_REQUIRE_SHELL();
    TN_REQUIRE_FAT_TOOLS();
    if (RunCommand("command -v python3 >/dev/null").status != 0) GTEST_SKIP() << "no python3";
    // A crash right after the journal was made durable leaves it for inspection.
    const fs::path image = Path("card.img");
    ASSERT_EQ(RunCommand("truncate -s 16M " + Q(image)).status, 0);
    ASSERT_EQ(RunCommand("mkfs.fat -F 12 -s 16 " + Q(image) + " >/dev/null").status, 0);
    WriteBytes(Path("three.txt"), "xyz");
    const std::string put = "fat put " + Q(image) + " " + Q(Path("three.txt"));
    ASSERT_EQ(RunWith(std::string(kAfterPages) + "=0", put).status, kCrashStatus);
    const std::string journal = LoadText(JournalOf(image));
    ASSERT_GE(journal.size(), 68u);
    EXPECT_EQ(journal.substr(0, 8), "TNPKGJNL");
    auto u32 = [&](std::size_t at) {
        std::uint32_t v = 0;
        for (int i = 3; i >= 0; --i)
            v = v << 8 | static_cast<unsigned char>(journal[at + static_cast<std::size_t>(i)]);
        return v;
    };
    const std::uint32_t pages = u32(36);
    EXPECT_EQ(journal.size(), 68u + 520u * pages);
    EXPECT_GE(pages, 3u);  // two FAT copies and the root folder at least
    EXPECT_LE(pages, 8u);
    // Each old page equals the image's bytes at its offset, which the crash left untouched.
    const std::string old = LoadText(image);
    for (std::uint32_t i = 0; i < pages; ++i) {
        std::uint64_t offset = 0;
        for (int b = 7; b >= 0; --b)
            offset = offset << 8 | static_cast<unsigned char>(journal[64 + 8 * i + b]);
        EXPECT_EQ(journal.substr(64 + 8 * pages + 512 * i, 512), old.substr(offset, 512));
    }
    const auto crc = RunCommand(
        "python3 -c 'import sys,zlib; d=open(sys.argv[1],\"rb\").read(); "
        "print(zlib.crc32(d[:-4]) == int.from_bytes(d[-4:], \"little\"))' " +
        Q(JournalOf(image)));
    EXPECT_EQ(crc.output, "True\n");

    // A damaged journal counts as incomplete: it is removed, the image is left as it is.
    std::string damaged = journal;
    damaged[100] = static_cast<char>(damaged[100] ^ 1);
    WriteBytes(JournalOf(image), damaged);
    const auto info = RunWith("", "fat info " + Q(image));
    EXPECT_NE(info.output.find("removed the incomplete journal"), std::string::npos);
    EXPECT_EQ(LoadText(image), old);
    EXPECT_EQ(RunWith("", put).status, 0);
    EXPECT_EQ(ReadFile(image, "/three.txt"), "xyz");
}

TEST_F(JournalTest, FlashWriteAndImageLoadInterruptedAnywhereAreRolledBack) {
    TN_REQUIRE_SHELL();
    const fs::path flash = Path("chips.bin");
    std::string before(0x40000, '\xFF');
    before.replace(0x21000, 64, Pattern(64, 3));
    before.replace(0x30000, 64, Pattern(64, 5));
    WriteBytes(Path("data.bin"), Pattern(2500, 4));
    // Onto blank flash: only the programmed pages change; every point is tried.
    const std::string blank =
        "flash write " + Q(flash) + " " + Q(Path("data.bin")) + " --offset 0x100";
    for (const char* hook : {kInJournal, kAfterPages}) {
        ASSERT_GT(CrashAtEveryPoint(hook, flash, before, blank, "flash info " + Q(flash), false),
                  1);
        EXPECT_EQ(LoadText(flash).substr(0x100, 2500), Pattern(2500, 4));
    }
    // Over programmed bytes the sector is erased first, and whatever else it held is lost.
    const std::string erasing =
        "flash write " + Q(flash) + " " + Q(Path("data.bin")) + " --offset 0x20F00";
    ASSERT_GT(
        CrashAtEveryPoint(kAfterPages, flash, before, erasing, "flash records " + Q(flash), false),
        1);
    EXPECT_EQ(LoadText(flash).substr(0x20F00, 2500), Pattern(2500, 4));
    EXPECT_EQ(LoadText(flash).substr(0x30000, 64), std::string(64, '\xFF'));

    // image load, through its own session.
    fs::create_directories(Path("mem"));
    const std::string memory(4096, '\x5A');
    WriteBytes(Path("mem/MEM.DAT"), memory);
    const std::string load =
        "image load MEM " + Q(Path("data.bin")) + " --offset 100 --dir " + Q(Path("mem"));
    ASSERT_GT(CrashAtEveryPoint(kAfterPages, Path("mem/MEM.DAT"), memory, load,
                                "image info MEM --dir " + Q(Path("mem")), false),
              1);
    const std::string loaded = LoadText(Path("mem/MEM.DAT"));
    EXPECT_EQ(loaded.substr(100, 2500), Pattern(2500, 4));
    EXPECT_EQ(loaded.substr(2600, 4), std::string(4, '\0'));  // Laden's padding
}

}  // namespace
