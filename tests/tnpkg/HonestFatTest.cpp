// A truncated card image: `fat info` says how much of the volume is missing, `fat get` names
// each file it could not read whole once and removes it unless --keep-partial. And any command
// asked for --json prints a JSON object when it fails.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/FatImages.h"
#include "support/RunTool.h"
#include "support/Scratch.h"

namespace {

namespace fs = std::filesystem;
using tn::test::RunTool;
using tn::test::Shell;

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

int Count(const std::string& text, const std::string& part) {
    int n = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++n;
    return n;
}

TEST(HonestFat, TruncatedImageIsNamedAndClippedFilesAreNotLeftBehind) {
    TN_REQUIRE_SHELL();
    const fs::path dir = tn::test::ScratchFolder();
    const fs::path image = dir / "card.img";
    ASSERT_TRUE(tn::test::MakeFatImage(image, 1024, ""));
    ASSERT_TRUE(tn::test::PutFile(image, "/BIG.BIN", std::string(200000, 'x')));
    fs::resize_file(image, 100000);
    const std::string card = Shell(image.string());

    const auto info = RunTool("fat info " + card, true);
    EXPECT_EQ(info.status, 1);
    EXPECT_TRUE(Has(info.output, "948576 bytes")) << info.output;
    EXPECT_TRUE(Has(RunTool("fat info " + card + " --json").output, "\"missingBytes\":948576"));

    const auto get =
        RunTool("fat get " + card + " BIG.BIN --to " + Shell((dir / "out").string()), true);
    EXPECT_EQ(get.status, 1);
    EXPECT_EQ(Count(get.output, "BIG.BIN"), 2) << get.output;  // the file, and its removal
    EXPECT_EQ(Count(get.output, "\n"), 1) << get.output;
    EXPECT_TRUE(Has(get.output, "bytes lie beyond the end of the image")) << get.output;
    EXPECT_FALSE(fs::exists(dir / "out" / "BIG.BIN"));

    const auto kept = RunTool(
        "fat get " + card + " BIG.BIN --keep-partial --to " + Shell((dir / "kept").string()), true);
    EXPECT_EQ(kept.status, 1);
    EXPECT_TRUE(fs::exists(dir / "kept" / "BIG.BIN"));
}

TEST(HonestFat, FailuresAskedForJsonPrintAnErrorObject) {
    TN_REQUIRE_SHELL();
    const std::string missing = Shell((tn::test::ScratchFolder() / "nothere.img").string());
    for (const std::string& command :
         {"fat info " + missing, "fat ls " + missing, "records " + missing, "flash info " + missing,
          "image info NOTHERE --dir " + missing}) {
        const auto failed = RunTool(command + " --json");
        EXPECT_EQ(failed.status, 1) << command;
        EXPECT_EQ(failed.output.rfind("{\"error\":\"", 0), 0u) << command << "\n" << failed.output;
        EXPECT_EQ(RunTool(command).status, 1) << command;
    }
    const auto usage = RunTool("fat info " + missing + " --json --bogus");
    EXPECT_EQ(usage.status, 2);
    EXPECT_TRUE(Has(usage.output, "{\"error\":\"info does not take the option --bogus\"}"))
        << usage.output;
}

}  // namespace

namespace {

TEST(HonestJson, DistanceAndCourseComeAsJson) {
    TN_REQUIRE_SHELL();
    EXPECT_EQ(RunTool("dist 47 11 48 11 --json").output, "{\"metres\":111195,\"mode\":2}\n");
    EXPECT_EQ(RunTool("course 47 11 48 11 --json").output.rfind("{\"degrees\":", 0), 0u);
    const auto bad = RunTool("dist 47 11 nan 11 --json");
    EXPECT_EQ(bad.status, 2);
    EXPECT_EQ(bad.output, "{\"error\":\"not a latitude in degrees or an IGC fix: nan\"}\n");
}

TEST(HonestJson, DateComesAsJson) {
    TN_REQUIRE_SHELL();
    EXPECT_EQ(RunTool("date 150712 32 --json").output,
              "{\"days\":41105,\"text\":\"150712000000\"}\n");
    EXPECT_EQ(RunTool("date --fat 0x40EF38A4 --json").output,
              "{\"days\":41105.295231481483,\"date\":\"15.07.2012\",\"time\":\"07:05:08\"}\n");
    const auto now = RunTool("date --now --json").output;
    EXPECT_EQ(now.rfind("{\"utcOffsetHours\":", 0), 0u) << now;
    EXPECT_TRUE(Has(now, "\"utc\":{\"days\":")) << now;
}

TEST(HonestMessages, MissingFilesAndFoldersAreNamedWithTheReason) {
    TN_REQUIRE_SHELL();
    const fs::path dir = tn::test::ScratchFolder();
    const std::string missing = (dir / "nothere.img").string();
    const std::string folder = dir.string();
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"fat info " + Shell(missing), "cannot open " + missing + ": no such file"},
        {"fat put " + Shell(missing) + " " + Shell(missing),
         "cannot open " + missing + ": no such file"},
        {"records " + Shell(missing), "cannot open " + missing + ": no such file"},
        {"crc " + Shell(missing), "cannot open " + missing + ": no such file"},
        {"fat info " + Shell(folder), folder + " is a folder, not an image"},
        {"fat mkdir " + Shell(folder) + " X", folder + " is a folder, not an image"},
        {"crc " + Shell(folder), folder + " is a folder, not a file"},
        {"records " + Shell(folder), folder + " is a folder, not a file"}};
    for (const auto& [command, message] : cases) {
        const auto r = RunTool(command, true);
        EXPECT_EQ(r.status, 1) << command;
        EXPECT_TRUE(Has(r.output, message)) << command << "\n" << r.output;
    }
}

TEST(HonestFat, StandardInputIsPutUnderTheNameGiven) {
    TN_REQUIRE_SHELL();
    if (!tn::test::HaveFatTools()) GTEST_SKIP() << "mkfs.fat or mtools missing";
    const fs::path card = tn::test::ScratchFolder() / "card.img";
    ASSERT_TRUE(tn::test::MakeFatImage(card, 1024, "-F 12"));
    const std::string image = Shell(card.string());
    const auto put =
        tn::test::RunCommand("printf 'Thermik\\n' | '" + std::string(TN_TNPKG_PATH) + "' fat put " +
                             image + " - --as 'Gr\xC3\xBC\xC3\x9F" + "e.txt' --to LOG 2>&1");
    EXPECT_EQ(put.status, 0) << put.output;
    EXPECT_EQ(tn::test::ReadFile(card,
                                 "/LOG/Gr\xC3\xBC\xC3\x9F"
                                 "e.txt"),
              "Thermik\n");
    EXPECT_EQ(tn::test::FsckProblems(card), "");
    // Standard input has no name of its own, --as names one file only, and is a name.
    const std::string before = tn::test::ReadFile(card,
                                                  "/LOG/Gr\xC3\xBC\xC3\x9F"
                                                  "e.txt");
    for (const std::string& bad : {"fat put " + image + " -", "fat put " + image + " - - --as A",
                                   "fat put " + image + " - --as A/B"}) {
        EXPECT_EQ(tn::test::RunCommand("true | '" + std::string(TN_TNPKG_PATH) + "' " + bad +
                                       " 2>/dev/null")
                      .status,
                  2)
            << bad;
    }
    EXPECT_EQ(tn::test::ListTree(card).size(), 2u);
    EXPECT_EQ(tn::test::ReadFile(card,
                                 "/LOG/Gr\xC3\xBC\xC3\x9F"
                                 "e.txt"),
              before);
}

}  // namespace
