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

}  // namespace
