// tnpkg's writes on the only copy of a card: killed at random moments, raced by other tnpkg
// commands, reached through links, refused where no journal can be kept, and cheap on large
// images. The image is always the old one or the new one, never a lost write reported as done.
// Everything here drives the tool through a POSIX shell and looks at POSIX file metadata (links,
// modes, owners, allocated blocks), so Windows builds leave it out.
#if !defined(_WIN32)
#include <gtest/gtest.h>
#include <unistd.h>

#include <sys/stat.h>
#include <chrono>
#include <filesystem>
#include <random>
#include <string>

#include "support/FatImages.h"
#include "support/RunTool.h"
#include "support/Scratch.h"
#include "tnpkg/ImageWriteSupport.h"

namespace {

namespace fs = std::filesystem;
using namespace tn::test;

class WriteSafetyTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (std::string(TN_TNPKG_PATH).empty()) GTEST_SKIP() << "tnpkg is not built";
        TN_REQUIRE_SHELL();
        TN_REQUIRE_FAT_TOOLS();
    }
    fs::path Path(const std::string& name) const { return dir_ / name; }
    const fs::path dir_ = ScratchFolder();
};

// A folder of `count` small files with seeded contents.
std::map<std::string, std::string> MakeFiles(const fs::path& folder, int count, unsigned seed) {
    std::map<std::string, std::string> files;
    std::mt19937 random(seed);
    fs::create_directories(folder);
    for (int i = 0; i < count; ++i) {
        const std::string name = "f" + std::to_string(i) + ".bin";
        files["/" + folder.filename().string() + "/" + name] =
            Pattern(std::uniform_int_distribution<std::size_t>(1, 3000)(random), seed + i);
        WriteBytes(folder / name, files["/" + folder.filename().string() + "/" + name]);
    }
    return files;
}

// Whether every one of `files` reads back from the image (mcopy, not tnpkg).
bool HoldsAll(const fs::path& image, const std::map<std::string, std::string>& files) {
    const auto found = ExtractAll(image);
    for (const auto& [path, content] : files) {
        const auto hit = found.find(path);
        if (hit == found.end() || hit->second != content) return false;
    }
    return true;
}

TEST_F(WriteSafetyTest, KilledAtRandomMomentsTheImageIsTheOldOrTheNewOne) {
    const fs::path image = Path("card.img");
    ASSERT_TRUE(MakeFatImage(image, 4096, "-F 12"));
    ASSERT_TRUE(PutFile(image, "/KEEP.TXT", "kept\n"));
    const std::string before = LoadText(image);
    const auto files = MakeFiles(Path("flights"), 150, 11);
    std::mt19937 random(20261125);
    int rolledBack = 0, finished = 0;
    for (int round = 0; round < 10; ++round) {
        WriteBytes(image, before);
        const int delayMs = std::uniform_int_distribution<int>(0, 60)(random);
        SCOPED_TRACE("killed after " + std::to_string(delayMs) + " ms");
        const auto run = RunCommand(
            TnpkgLine("fat put " + Q(image) + " " + Q(Path("flights")) + " --quiet") +
            " >/dev/null 2>&1 & p=$!; sleep 0." + (delayMs < 10 ? "00" : "0") +
            std::to_string(delayMs) + "; kill -9 $p 2>/dev/null; wait $p 2>/dev/null; echo $?");
        ASSERT_EQ(RunWith("", "fat ls " + Q(image)).status, 0);
        EXPECT_FALSE(fs::exists(JournalOf(image)));
        EXPECT_EQ(FsckProblems(image), "");
        if (LoadText(image) == before) {
            EXPECT_NE(run.output, "0\n") << "a write reported as done is lost";
            ++rolledBack;
        } else {
            EXPECT_TRUE(HoldsAll(image, files)) << "neither the old nor the new image";
            ++finished;
        }
    }
    RecordProperty("rolledBack", rolledBack);
    RecordProperty("finished", finished);
}

TEST_F(WriteSafetyTest, ConcurrentCommandsTakeTurnsOrAreRefused) {
    const fs::path image = Path("card.img");
    ASSERT_TRUE(MakeFatImage(image, 2048, "-F 12"));
    for (int round = 0; round < 4; ++round) {
        SCOPED_TRACE(round);
        const auto a = MakeFiles(Path("a" + std::to_string(round)), 40, 100 + round);
        const auto b = MakeFiles(Path("b" + std::to_string(round)), 40, 200 + round);
        const std::string putA = TnpkgLine("fat put " + Q(image) + " " +
                                           Q(Path("a" + std::to_string(round))) + " --quiet");
        const std::string putB = TnpkgLine("fat put " + Q(image) + " " +
                                           Q(Path("b" + std::to_string(round))) + " --quiet");
        const auto run = RunCommand("(" + putA + " 2>&1 >/dev/null; echo a$?) & (" + putB +
                                    " 2>&1 >/dev/null; echo b$?) & wait");
        // Both wait for each other and succeed, or (on a machine too slow for the wait) one is
        // refused saying why; a success must never lose its files.
        const bool aDone = run.output.find("a0") != std::string::npos;
        const bool bDone = run.output.find("b0") != std::string::npos;
        EXPECT_TRUE(aDone || bDone) << run.output;
        EXPECT_TRUE((aDone && bDone) ||
                    run.output.find("is in use by another tnpkg command") != std::string::npos)
            << run.output;
        EXPECT_TRUE(!aDone || HoldsAll(image, a));
        EXPECT_TRUE(!bDone || HoldsAll(image, b));
        EXPECT_EQ(FsckProblems(image), "");
    }

    // A command that holds the image too long: the writer and a reader give up after about
    // five seconds with the message, and the image stays as it was.
    const std::string before = LoadText(image);
    WriteBytes(Path("late.txt"), "late");
    const auto start = std::chrono::steady_clock::now();
    const auto run = RunCommand("flock -x " + Q(image) + " sleep 7 & sleep 0.2; (" +
                                TnpkgLine("fat put " + Q(image) + " " + Q(Path("late.txt"))) +
                                " 2>&1; echo put=$?) & (" + TnpkgLine("fat ls " + Q(image)) +
                                " 2>&1; echo ls=$?) & wait");
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_NE(
        run.output.find("tnpkg fat: " + image.string() + " is in use by another tnpkg command"),
        std::string::npos)
        << run.output;
    EXPECT_NE(run.output.find("put=1"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("ls=1"), std::string::npos) << run.output;
    EXPECT_GE(waited, std::chrono::seconds(5));
    EXPECT_EQ(LoadText(image), before);

    // `flash info` during a `flash write`: the write's data is in the image afterwards.
    const fs::path flash = Path("chips.bin");
    WriteBytes(flash, std::string(0x400000, '\xFF'));
    WriteBytes(Path("program.bin"), Pattern(0x300000, 9));
    const auto both = RunCommand(
        "(" + TnpkgLine("flash write " + Q(flash) + " " + Q(Path("program.bin")) + " --offset 0") +
        " >/dev/null 2>&1; echo write=$?) & (" + TnpkgLine("flash info " + Q(flash)) +
        " 2>&1 >/dev/null; echo info=$?) & wait");
    EXPECT_NE(both.output.find("write=0"), std::string::npos) << both.output;
    // The reader either took its turn or, when the write held the image longer than it waits
    // (a slow machine, a sanitizer build), gave up saying why.
    EXPECT_TRUE(both.output.find("info=0") != std::string::npos ||
                both.output.find("is in use by another tnpkg command") != std::string::npos)
        << both.output;
    EXPECT_TRUE(LoadText(flash).substr(0, 0x300000) == Pattern(0x300000, 9));
}

TEST_F(WriteSafetyTest, LinksModeAndOwnerOfTheImageStay) {
    const fs::path real = Path("real.img");
    ASSERT_TRUE(MakeFatImage(real, 1024, "-F 12"));
    fs::create_directories(Path("links"));
    fs::create_symlink(real, Path("links/via-symlink.img"));
    fs::create_hard_link(real, Path("hard.img"));
    ASSERT_EQ(chmod(real.c_str(), 0640), 0);
    struct stat old {};
    ASSERT_EQ(stat(real.c_str(), &old), 0);
    WriteBytes(Path("one.txt"), "one");
    WriteBytes(Path("two.txt"), "two");

    ASSERT_EQ(RunWith("", "fat put " + Q(Path("links/via-symlink.img")) + " " + Q(Path("one.txt")))
                  .status,
              0);
    EXPECT_TRUE(fs::is_symlink(Path("links/via-symlink.img")));
    EXPECT_EQ(ReadFile(real, "/one.txt"), "one");
    EXPECT_FALSE(fs::exists(Path("links/via-symlink.img.tnpkg-journal")));
    ASSERT_EQ(RunWith("", "fat mkdir " + Q(Path("hard.img")) + " /NEU").status, 0);
    ASSERT_EQ(RunWith("", "fat put " + Q(real) + " " + Q(Path("two.txt")) + " --to /NEU").status,
              0);
    EXPECT_EQ(ReadFile(Path("hard.img"), "/NEU/two.txt"), "two");
    struct stat now {};
    ASSERT_EQ(stat(real.c_str(), &now), 0);
    EXPECT_EQ(now.st_ino, old.st_ino);
    EXPECT_EQ(now.st_nlink, 2u);
    EXPECT_EQ(now.st_mode, old.st_mode);
    EXPECT_EQ(now.st_uid, old.st_uid);
    EXPECT_EQ(now.st_gid, old.st_gid);

    // A crash through the link leaves the journal beside the real image, where a command
    // through either path finds it.
    ASSERT_EQ(RunWith("TNPKG_TEST_CRASH_AFTER=1", "fat put " + Q(Path("links/via-symlink.img")) +
                                                      " " + Q(Path("one.txt")) + " --to /X")
                  .status,
              kCrashStatus);
    EXPECT_TRUE(fs::exists(JournalOf(real)));
    EXPECT_NE(RunWith("", "fat ls " + Q(real)).output.find("recovered"), std::string::npos);
    EXPECT_EQ(FsckProblems(real), "");
}

TEST_F(WriteSafetyTest, WithoutAWritableFolderWritesAreRefusedUnlessTheJournalIsWaived) {
    if (RunCommand("command -v setpriv >/dev/null").status != 0 && geteuid() == 0) {
        GTEST_SKIP() << "root ignores folder permissions and setpriv is missing";
    }
    // Root may write into any folder: the tool runs as nobody then.
    const std::string as =
        geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : "";
    const fs::path folder = Path("locked");
    fs::create_directories(folder);
    const fs::path image = folder / "card.img";
    ASSERT_TRUE(MakeFatImage(image, 1024, "-F 12"));
    WriteBytes(Path("note.txt"), "note");
    fs::permissions(dir_, fs::perms::all);
    fs::permissions(Path("note.txt"), fs::perms::all);
    fs::permissions(image, fs::perms::all);
    fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::group_read |
                                fs::perms::group_exec | fs::perms::others_read |
                                fs::perms::others_exec);
    const std::string before = LoadText(image);
    auto run =
        RunCommand(as + TnpkgLine("fat put " + Q(image) + " " + Q(Path("note.txt"))) + " 2>&1");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("cannot keep a journal in the folder " + folder.string()),
              std::string::npos)
        << run.output;
    EXPECT_NE(run.output.find("--no-journal"), std::string::npos);
    EXPECT_EQ(LoadText(image), before);
    run = RunCommand(
        as + TnpkgLine("fat put --no-journal " + Q(image) + " " + Q(Path("note.txt"))) + " 2>&1");
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(ReadFile(image, "/note.txt"), "note");
    EXPECT_EQ(FsckProblems(image), "");

    // A journal that a reader cannot play back there: refused with the reason.
    fs::permissions(folder, fs::perms::all);
    ASSERT_EQ(RunWith("TNPKG_TEST_CRASH_AFTER=1", "fat mkdir " + Q(image) + " /D").status,
              kCrashStatus);
    fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read |
                                fs::perms::others_exec);
    run = RunCommand(as + TnpkgLine("fat ls " + Q(image)) + " 2>&1");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("cannot be played back: the folder " + folder.string() +
                              " is not writable"),
              std::string::npos)
        << run.output;
    fs::permissions(folder, fs::perms::all);
    EXPECT_EQ(RunWith("", "fat ls " + Q(image)).status, 0);  // recovers
    EXPECT_NE(ReadFile(image, "/note.txt"), "");

    // An image the user may read but not write: named, and left as it is.
    fs::permissions(image, fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    const std::string readable = LoadText(image);
    run = RunCommand(as + TnpkgLine("fat mkdir " + Q(image) + " /E") + " 2>&1");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find(image.string() + " is read-only"), std::string::npos) << run.output;
    EXPECT_EQ(LoadText(image), readable);
    fs::permissions(image, fs::perms::all);
}

TEST_F(WriteSafetyTest, AWarningThatDoesNotStopAWriteLeavesItsSuccess) {
    // A valid tree 66 folders deep: mounting it warns, but the write is done and committed.
    const fs::path image = Path("deep.img");
    ASSERT_TRUE(MakeFatImage(image, 2048, "-F 12"));
    std::string path;
    for (int level = 0; level < 66; ++level) {
        path += "/D";
        ASSERT_TRUE(MakeDir(image, path));
    }
    WriteBytes(Path("x.txt"), "x");
    const auto put = RunWith("", "fat put " + Q(image) + " " + Q(Path("x.txt")));
    EXPECT_EQ(put.status, 0) << put.output;
    EXPECT_NE(put.output.find("while mounting"), std::string::npos) << put.output;
    EXPECT_EQ(ReadFile(image, "/x.txt"), "x");
    EXPECT_EQ(RunWith("", "fat mkdir " + Q(image) + " /NEU").status, 0);
    const auto ls = RunWith("", "fat ls " + Q(image));  // a reader shows the note as well
    EXPECT_EQ(ls.status, 0) << ls.output;
    EXPECT_NE(ls.output.find("tnpkg fat: while mounting"), std::string::npos) << ls.output;
    EXPECT_EQ(FsckProblems(image), "");
}

TEST_F(WriteSafetyTest, LargeImagesCostWhatChangesNotTheirSize) {
    // 2 GiB FAT16, sparse: reading it touches only its FAT and folders.
    const fs::path card = Path("card16.img");
    ASSERT_EQ(RunCommand("truncate -s 2G " + Q(card)).status, 0);
    ASSERT_EQ(RunCommand("mkfs.fat -F 16 " + Q(card) + " >/dev/null").status, 0);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(RunWith("", "fat info " + Q(card)).status, 0);
    EXPECT_EQ(RunWith("", "fat ls " + Q(card)).status, 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));

    // 127 MiB FAT12 (32 KiB clusters): 3 bytes in, in about the time mcopy needs.
    const fs::path image = Path("card12.img");
    ASSERT_EQ(RunCommand("truncate -s 127M " + Q(image)).status, 0);
    ASSERT_EQ(RunCommand("mkfs.fat -F 12 -s 64 " + Q(image) + " >/dev/null").status, 0);
    WriteBytes(Path("abc.txt"), "abc");
    const std::string put = "fat put " + Q(image) + " " + Q(Path("abc.txt"));
    // The journal holds the pages that change (FATs, root folder), not the image.
    ASSERT_EQ(RunWith("TNPKG_TEST_CRASH_AFTER=0", put).status, kCrashStatus);
    EXPECT_LE(fs::file_size(JournalOf(image)), 68u + 520u * 8u);
    EXPECT_EQ(RunWith("", "fat ls " + Q(image)).status, 0);
    EXPECT_FALSE(fs::exists(JournalOf(image)));
    start = std::chrono::steady_clock::now();
    EXPECT_EQ(RunWith("", put).status, 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
    EXPECT_EQ(ReadFile(image, "/abc.txt"), "abc");
    // Still sparse: nothing but the written pages took disk space.
    struct stat info {};
    ASSERT_EQ(stat(image.c_str(), &info), 0);
    EXPECT_LT(info.st_blocks * 512, 4 * 1024 * 1024);
}

}  // namespace

#endif  // !_WIN32
