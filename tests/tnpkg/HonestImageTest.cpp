// `tnpkg image` says when a write did not happen and why, refuses ranges outside the image,
// reads standard input, takes NAME.DAT and sizes with K and M, and prints JSON even on failure.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/FatImages.h"
#include "support/RunTool.h"
#include "support/Scratch.h"

namespace {

namespace fs = std::filesystem;
using tn::test::RunCommand;
using tn::test::Shell;

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

class HonestImageTest : public ::testing::Test {
  protected:
    tn::test::ToolResult Image(const std::string& arguments, bool withStderr = true) const {
        return tn::test::RunTool("image " + arguments + " --dir " + Shell(dir_.string()),
                                 withStderr);
    }
    std::string In(const std::string& name) const { return Shell((dir_ / name).string()); }
    const fs::path dir_ = tn::test::ScratchFolder();
};

TEST_F(HonestImageTest, RangesOutsideTheImageAreRefusedWithItsSize) {
    TN_REQUIRE_SHELL();
    ASSERT_EQ(Image("create MEM --size 64K").status, 0);
    EXPECT_EQ(fs::file_size(dir_ / "MEM.DAT"), 65536u);

    const auto save = Image("save MEM " + In("x.bin") + " --offset 65000 --length 1000");
    EXPECT_EQ(save.status, 1);
    EXPECT_TRUE(Has(save.output, "65536 bytes")) << save.output;
    EXPECT_FALSE(fs::exists(dir_ / "x.bin"));

    std::ofstream(dir_ / "twelve.bin", std::ios::binary) << "ABCDEFGHIJKL";
    const auto load = Image("load MEM " + In("twelve.bin") + " --offset 65530 --length 12");
    EXPECT_EQ(load.status, 1);
    EXPECT_TRUE(Has(load.output, "65536 bytes")) << load.output;
    EXPECT_EQ(Image("dump MEM --offset 65530", false).output.substr(0, 9), "0000FFFA ");
    EXPECT_TRUE(Has(Image("dump MEM --offset 65530", false).output, "FF FF FF FF FF FF"));

    const auto negative = Image("dump MEM --offset -1");
    EXPECT_EQ(negative.status, 2);
    EXPECT_TRUE(Has(negative.output, "offset must be 0 or more")) << negative.output;
}

TEST_F(HonestImageTest, WritesThatDidNotHappenFailWithTheSystemsReason) {
    TN_REQUIRE_SHELL();
    ASSERT_EQ(Image("create MEM --size 1K").status, 0);
    const auto full = Image("save MEM /dev/full --offset 0 --length 16");
    EXPECT_EQ(full.status, 1);
    EXPECT_TRUE(Has(full.output, "no space left on device")) << full.output;
    EXPECT_FALSE(Has(full.output, "saved")) << full.output;

    const auto folder = Image("save MEM " + In("") + " --offset 0 --length 16");
    EXPECT_EQ(folder.status, 1);
    EXPECT_TRUE(Has(folder.output, "is a folder")) << folder.output;

    const auto noFolder = Image("save MEM /proc/x.bin --offset 0 --length 16");
    EXPECT_EQ(noFolder.status, 1);
    EXPECT_TRUE(Has(noFolder.output, "/proc/x.bin")) << noFolder.output;

    const auto missing = Image("load MEM " + In("nothere") + " --offset 0");
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(Has(missing.output, "nothere: no such file")) << missing.output;

    const auto readFolder = Image("load MEM /tmp --offset 0");
    EXPECT_EQ(readFolder.status, 1);
    EXPECT_TRUE(Has(readFolder.output, "/tmp is a folder, not a file")) << readFolder.output;

    const auto proc = tn::test::RunTool("image create X --size 16 --dir /proc", true);
    EXPECT_EQ(proc.status, 1);
    EXPECT_FALSE(Has(proc.output, "created")) << proc.output;
}

TEST_F(HonestImageTest, StandardInputNamesWithDatAndJson) {
    TN_REQUIRE_SHELL();
    ASSERT_EQ(Image("create MEM.DAT --size 0x20").status, 0);
    EXPECT_TRUE(fs::exists(dir_ / "MEM.DAT"));
    const auto load = RunCommand("printf hello | " + Shell(TN_TNPKG_PATH) + " image load MEM.DAT" +
                                 " - --offset 4 --length 8 --dir " + Shell(dir_.string()));
    EXPECT_EQ(load.status, 0);
    EXPECT_EQ(Image("dump MEM.DAT", false).output,
              "00000000  FF FF FF FF 68 65 6C 6C 6F 00 00 00 FF FF FF FF  |....hello.......|\n"
              "00000010  FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF  |................|\n");

    const auto info = Image("info MEM.DAT --json", false);
    EXPECT_EQ(info.status, 0);
    EXPECT_TRUE(Has(info.output, "\"size\":32,\"erased\":24,")) << info.output;
    const auto missing = Image("info NOTHERE --json", false);
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.output, "{\"error\":\"cannot open " + (dir_ / "NOTHERE.DAT").string() +
                                  ": no such file\"}\n");
}

}  // namespace

namespace {

TEST(HonestInput, ConvertReadsAFileOrStandardInput) {
    TN_REQUIRE_SHELL();
    const fs::path text = tn::test::ScratchFolder() / "g.txt";
    std::ofstream(text, std::ios::binary) << "Gr\xFC\xDF"
                                             "e\n";
    EXPECT_EQ(tn::test::RunTool("convert --to uml " + Shell(text.string())).output, "Gruesse\n");
    const auto piped =
        RunCommand("printf 'Gr\\374\\337e\\n' | " + Shell(TN_TNPKG_PATH) + " convert --to utf8 -");
    EXPECT_EQ(piped.output,
              "Gr\xC3\xBC\xC3\x9F"
              "e\n");
    const auto missing = tn::test::RunTool("convert --to uml " + Shell(text.string() + "x"), true);
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(Has(missing.output, "no such file")) << missing.output;
}

}  // namespace
