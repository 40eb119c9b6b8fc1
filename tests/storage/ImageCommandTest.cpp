// `tnpkg image`: create, info, dump, load and save on real files.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "support/Scratch.h"

#include "support/RunTool.h"

namespace {

namespace fs = std::filesystem;
using tn::test::RunTool;

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The bitwise definition (polynomial 0x1021, start 0), as four upper-case hex digits.
std::string Crc16Xmodem(const std::string& bytes) {
    unsigned crc = 0;
    for (const char c : bytes) {
        crc ^= static_cast<unsigned>(static_cast<unsigned char>(c)) << 8;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 0x8000) ? ((crc << 1) ^ 0x1021) : (crc << 1);
        crc &= 0xFFFF;
    }
    char text[8];
    std::snprintf(text, sizeof text, "%04X", crc);
    return text;
}

class ImageCommandTest : public ::testing::Test {
  protected:
    void SetUp() override { dir_ = tn::test::ScratchFolder(); }

    // `tnpkg image <arguments> --dir <test folder>`.
    tn::test::ToolResult Image(const std::string& arguments, bool withStderr = false) const {
        return RunTool("image " + arguments + " --dir '" + (dir_ / "images").string() + "'",
                       withStderr);
    }
    std::string Quoted(const char* name) const { return "'" + (dir_ / name).string() + "'"; }

    fs::path dir_;
};

TEST_F(ImageCommandTest, CreateLoadDumpAndSaveRoundTrip) {
    const auto created = Image("create MEM --size 40");
    ASSERT_EQ(created.status, 0) << created.output;
    EXPECT_EQ(ReadFile(dir_ / "images" / "MEM.DAT"), std::string(40, '\xFF'));

    std::ofstream(dir_ / "text.bin", std::ios::binary) << "Hallo Welt";
    ASSERT_EQ(Image("load MEM " + Quoted("text.bin") + " --offset 3").status, 0);
    // The rest of the image from offset 3 is the file, four 0x00, then erased bytes.
    const std::string expected =
        std::string(3, '\xFF') + "Hallo Welt" + std::string(4, '\0') + std::string(23, '\xFF');
    EXPECT_EQ(ReadFile(dir_ / "images" / "MEM.DAT"), expected);

    const auto dump = Image("dump MEM");
    EXPECT_EQ(dump.status, 0);
    EXPECT_EQ(dump.output,
              "00000000  FF FF FF 48 61 6C 6C 6F 20 57 65 6C 74 00 00 00  |...Hallo Welt...|\n"
              "00000010  00 FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF  |................|\n"
              "00000020  FF FF FF FF FF FF FF FF                          |........|\n");
    EXPECT_EQ(Image("dump MEM --offset 0x12 --length 3").output,
              "00000012  FF FF FF                                         |...|\n");

    ASSERT_EQ(Image("save MEM " + Quoted("slice.bin") + " --offset 4 --length 4").status, 0);
    EXPECT_EQ(ReadFile(dir_ / "slice.bin"), "allo");
    ASSERT_EQ(Image("save MEM " + Quoted("empty.bin") + " --offset 4 --length 0").status, 0);
    EXPECT_EQ(fs::file_size(dir_ / "empty.bin"), 0u);

    // --length limits a load to that many bytes.
    ASSERT_EQ(Image("load MEM " + Quoted("text.bin") + " --offset 30 --length 2").status, 0);
    EXPECT_EQ(ReadFile(dir_ / "images" / "MEM.DAT").substr(28),
              "\xFF\xFFHa\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF");
}

TEST_F(ImageCommandTest, InfoCountsErasedBytesAndGivesTheCrc) {
    // An image holding exactly the standard check text has the published check value.
    ASSERT_EQ(Image("create CHECK --size 9").status, 0);
    std::ofstream(dir_ / "check.bin", std::ios::binary) << "123456789";
    ASSERT_EQ(Image("load CHECK " + Quoted("check.bin") + " --offset 0").status, 0);
    const auto check = Image("info CHECK");
    EXPECT_NE(check.output.find("erased: 0 bytes\ncrc16:  0x31C3\n"), std::string::npos)
        << check.output;

    ASSERT_EQ(Image("create INFO --size 0x100").status, 0);
    std::ofstream(dir_ / "digits.bin", std::ios::binary) << "123456789";
    ASSERT_EQ(Image("load INFO " + Quoted("digits.bin") + " --offset 0 --length 9").status, 0);
    const auto info = Image("info INFO");
    EXPECT_EQ(info.status, 0);
    const std::string path = (dir_ / "images" / "INFO.DAT").string();
    EXPECT_NE(info.output.find("file:   " + path + "\n"), std::string::npos) << info.output;
    EXPECT_NE(info.output.find("size:   256 bytes (0x100)\n"), std::string::npos);
    EXPECT_NE(info.output.find("erased: 247 bytes\n"), std::string::npos);
    // CRC-16/XMODEM of the digits followed by 247 bytes 0xFF, computed independently.
    EXPECT_NE(
        info.output.find("crc16:  0x" + Crc16Xmodem("123456789" + std::string(247, '\xFF')) + "\n"),
        std::string::npos)
        << info.output;
}

TEST_F(ImageCommandTest, FailuresAndUsageErrors) {
    EXPECT_EQ(Image("info NONE").status, 1);
    EXPECT_EQ(Image("create MEM").status, 2);
    EXPECT_EQ(Image("create MEM --size 0").status, 2);
    EXPECT_EQ(Image("create MEM --size 4194305").status, 2);
    EXPECT_EQ(Image("create MEM --size 16 --bogus").status, 2);
    EXPECT_EQ(Image("frobnicate MEM").status, 2);
    EXPECT_EQ(RunTool("image").status, 2);
    EXPECT_EQ(Image("save MEM " + Quoted("x.bin") + " --offset 0").status, 2);
    EXPECT_EQ(Image("load MEM --offset 0").status, 2);

    ASSERT_EQ(Image("create MEM --size 16").status, 0);
    EXPECT_EQ(Image("create MEM --size 32").status, 1);  // exists
    EXPECT_EQ(fs::file_size(dir_ / "images" / "MEM.DAT"), 16u);
    EXPECT_EQ(Image("create MEM --size 32 --force").status, 0);
    EXPECT_EQ(fs::file_size(dir_ / "images" / "MEM.DAT"), 32u);

    // A file that is not there, and a slice outside the image, are reported by the package.
    const auto missing = Image("load MEM " + Quoted("absent.bin") + " --offset 0", true);
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.output.find("warning: Datei '"), std::string::npos) << missing.output;
    const auto outside = Image("save MEM " + Quoted("x.bin") + " --offset 40 --length 1", true);
    EXPECT_EQ(outside.status, 1);
    EXPECT_NE(outside.output.find("(40, -8)"), std::string::npos) << outside.output;
    EXPECT_FALSE(fs::exists(dir_ / "x.bin"));

    const auto help = RunTool("image --help");
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.output.rfind("usage: tnpkg image create", 0), 0u);
}

}  // namespace
