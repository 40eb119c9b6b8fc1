// `tnpkg image`: create, load, dump, save and info on real files.
#include <fstream>

#include <gtest/gtest.h>

#include "support/RunTool.h"
#include "support/Scratch.h"

namespace {

class ImageCommandTest : public ::testing::Test {
  protected:
    // `tnpkg image <arguments> --dir <test folder>/images`, with FILE standing for `file`.
    tn::test::ToolResult Tool(std::string arguments, const char* file = "x.bin") const {
        if (const auto at = arguments.find("FILE"); at != std::string::npos)
            arguments.replace(at, 4, "'" + Path(file) + "'");
        return tn::test::RunTool("image " + arguments + " --dir '" + Path("images") + "'", true);
    }
    std::string Path(const std::string& name) const { return (dir_ / name).string(); }
    const std::filesystem::path dir_ = tn::test::ScratchFolder();
};

TEST_F(ImageCommandTest, CreateLoadDumpSaveInfoAndFailures) {
    TN_REQUIRE_SHELL();
    ASSERT_EQ(Tool("create MEM --size 40").status, 0);
    std::ofstream(Path("text.bin"), std::ios::binary) << "Hallo Welt";
    ASSERT_EQ(Tool("load MEM FILE --offset 3", "text.bin").status, 0);
    ASSERT_EQ(Tool("load MEM FILE --offset 30 --length 2", "text.bin").status, 0);
    EXPECT_EQ(Tool("dump MEM").output,
              "00000000  FF FF FF 48 61 6C 6C 6F 20 57 65 6C 74 00 00 00  |...Hallo Welt...|\n"
              "00000010  00 FF FF FF FF FF FF FF FF FF FF FF FF FF 48 61  |..............Ha|\n"
              "00000020  FF FF FF FF FF FF FF FF                          |........|\n");
    ASSERT_EQ(Tool("save MEM FILE --offset 0x4 --length 4", "slice.bin").status, 0);
    EXPECT_EQ(tn::test::RunCommand("cat '" + Path("slice.bin") + "'").output, "allo");
    EXPECT_NE(Tool("info MEM").output.find("size:   40 bytes (0x28)\nerased: 24 bytes\n"),
              std::string::npos);
    // An image holding just the standard check text has the published CRC-16/XMODEM value.
    std::ofstream(Path("check.bin"), std::ios::binary) << "123456789";
    ASSERT_EQ(Tool("create CHECK --size 9").status, 0);
    ASSERT_EQ(Tool("load CHECK FILE --offset 0", "check.bin").status, 0);
    EXPECT_EQ(Tool("info CHECK").output, "file:   " + Path("images/CHECK.DAT") +
                                             "\nsize:   9 bytes (0x9)\nerased: 0 bytes\n"
                                             "crc16:  0x31C3\n");

    EXPECT_EQ(Tool("save MEM FILE --offset 0").status, 2);  // usage: a save needs --length
    const auto outside = Tool("save MEM FILE --offset 50 --length 1");
    EXPECT_EQ(outside.status, 1);
    EXPECT_NE(outside.output.find("which has 40 bytes"), std::string::npos) << outside.output;
}

}  // namespace
