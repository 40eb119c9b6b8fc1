// `tnpkg image`: create, load, dump, save and info on real files.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "support/RunTool.h"
#include "support/Scratch.h"

namespace {

using tn::test::RunTool;

class ImageCommandTest : public ::testing::Test {
  protected:
    // `tnpkg image <arguments> --dir <test folder>/images`.
    tn::test::ToolResult Tool(const std::string& arguments, bool withStderr = false) const {
        return RunTool("image " + arguments + " --dir '" + Path("images") + "'", withStderr);
    }
    std::string Path(const std::string& name) const { return (dir_ / name).string(); }
    std::string Read(const std::string& name) const {
        std::ifstream in(Path(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    const std::filesystem::path dir_ = tn::test::ScratchFolder();
};

TEST_F(ImageCommandTest, CreateLoadDumpSaveAndInfo) {
    ASSERT_EQ(Tool("create MEM --size 40").status, 0);
    EXPECT_EQ(Read("images/MEM.DAT"), std::string(40, '\xFF'));
    std::ofstream(Path("text.bin"), std::ios::binary) << "Hallo Welt";
    ASSERT_EQ(Tool("load MEM '" + Path("text.bin") + "' --offset 3").status, 0);
    ASSERT_EQ(Tool("load MEM '" + Path("text.bin") + "' --offset 30 --length 2").status, 0);
    EXPECT_EQ(Read("images/MEM.DAT"), std::string(3, '\xFF') + "Hallo Welt" + std::string(4, '\0') +
                                          std::string(13, '\xFF') + "Ha" + std::string(8, '\xFF'));
    EXPECT_EQ(Tool("dump MEM").output,
              "00000000  FF FF FF 48 61 6C 6C 6F 20 57 65 6C 74 00 00 00  |...Hallo Welt...|\n"
              "00000010  00 FF FF FF FF FF FF FF FF FF FF FF FF FF 48 61  |..............Ha|\n"
              "00000020  FF FF FF FF FF FF FF FF                          |........|\n");
    EXPECT_EQ(Tool("dump MEM --offset 0x12 --length 3").output,
              "00000012  FF FF FF                                         |...|\n");
    ASSERT_EQ(Tool("save MEM '" + Path("slice.bin") + "' --offset 4 --length 4").status, 0);
    EXPECT_EQ(Read("slice.bin"), "allo");

    // The CRC-16/XMODEM of the whole image, from python's binascii.crc_hqx.
    const auto crc = tn::test::RunCommand(
        "python3 -c \"import binascii, sys; sys.stdout.write('%04X' % binascii.crc_hqx("
        "open(sys.argv[1], 'rb').read(), 0))\" '" +
        Path("images/MEM.DAT") + "'");
    ASSERT_EQ(crc.status, 0);
    EXPECT_EQ(Tool("info MEM").output, "file:   " + Path("images/MEM.DAT") +
                                           "\nsize:   40 bytes (0x28)\nerased: 24 bytes\n"
                                           "crc16:  0x" +
                                           crc.output + "\n");
}

TEST_F(ImageCommandTest, UsageErrorsAndPackageWarnings) {
    for (const char* usage : {"", "create MEM", "create MEM --size 0", "create MEM --size 4194305",
                              "create MEM --size 16 --bogus", "frobnicate MEM",
                              "save MEM x.bin --offset 0", "load MEM --offset 0"})
        EXPECT_EQ(Tool(usage).status, 2) << usage;
    EXPECT_EQ(Tool("info NONE").status, 1);
    ASSERT_EQ(Tool("create MEM --size 32").status, 0);
    EXPECT_EQ(Tool("create MEM --size 16").status, 1);  // exists
    const auto outside = Tool("save MEM '" + Path("x.bin") + "' --offset 40 --length 1", true);
    EXPECT_EQ(outside.status, 1);
    EXPECT_NE(outside.output.find("(40, -8)"), std::string::npos) << outside.output;
    EXPECT_EQ(RunTool("image --help").output.rfind("usage: tnpkg image create", 0), 0u);
}

}  // namespace
