// `tnpkg crc` run as a program: the presets on the check text, standard input, several files,
// custom parameters, bad usage and unreadable files.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "ProcessRunner.h"
#include "TextbookCrc.h"
#include "support/RunTool.h"

namespace {

using namespace crctest;

class CrcCommand : public testing::Test {
  protected:
    // The tool runs in the scratch folder, so that file names stay short.
    void SetUp() override {
        if (std::string(TN_TNPKG_PATH).empty()) GTEST_SKIP() << "tnpkg is not built";
        folder_ = ScratchFolder();
        std::ofstream(folder_ / "check.txt", std::ios::binary) << "123456789";
        savedFolder_ = std::filesystem::current_path();
        std::filesystem::current_path(folder_);
    }
    void TearDown() override {
        if (!savedFolder_.empty()) std::filesystem::current_path(savedFolder_);
    }

    static tn::test::ToolResult Crc(const std::string& arguments) {
        return tn::test::RunTool("crc " + arguments);
    }

    std::filesystem::path folder_;

  private:
    std::filesystem::path savedFolder_;
};

TEST_F(CrcCommand, PresetsOnTheCheckText) {
    const std::pair<const char*, const char*> presets[] = {
        {"xmodem", "0x31C3"},   {"crc7", "0xEB"},         {"kermit", "0x2189"},
        {"arc", "0xBB3D"},      {"umts", "0xFEE8"},       {"bzip2", "0xFC891918"},
        {"smbus", "0xF4"},      {"hyperstone", "0x2189"}, {"mcrf4xx", "0x6F91"},
        {"ibm-sdlc", "0x906E"},
    };
    for (const auto& [name, value] : presets) {
        const tn::test::ToolResult r = Crc(std::string("--preset ") + name + " check.txt");
        EXPECT_EQ(r.status, 0) << name;
        EXPECT_EQ(r.output, std::string(value) + "  check.txt\n") << name;
    }
}

TEST_F(CrcCommand, StandardInputAndSeveralFiles) {
    tn::test::ToolResult r = Crc("< check.txt");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.output, "0x31C3  -\n");  // xmodem is the default

    std::ofstream(folder_ / "empty.bin", std::ios::binary).flush();
    r = Crc("--preset crc7 check.txt empty.bin - < check.txt");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.output, "0xEB  check.txt\n0x01  empty.bin\n0xEB  -\n");
}

TEST_F(CrcCommand, CustomParameters) {
    EXPECT_EQ(Crc("--width 32 --poly 0x04C11DB7 --reflected check.txt").output,
              "0xEA25D238  check.txt\n");
    // CRC-32/MPEG-2: width 32 with the final XOR switched off.
    EXPECT_EQ(Crc("--width 32 --poly 0x04C11DB7 --xorout 0 check.txt").output,
              "0x0376E6E7  check.txt\n");
    // CRC-16/GENIBUS: start and final XOR all ones, normal order.
    EXPECT_EQ(Crc("--width 16 --poly 4129 --init 0xFFFF --xorout 0xFFFF check.txt").output,
              "0xD64E  check.txt\n");
    // Width 12 prints three digits; width 5 two.
    EXPECT_EQ(Crc("--width 12 --poly 0x80F check.txt").output, "0xF5B  check.txt\n");
    EXPECT_EQ(Crc("--width 5 --poly 0x05 check.txt").output.size(),
              std::string("0x00  check.txt\n").size());
    // The byte XOR works on the input: the same as the CRC of the inverted text.
    std::vector<std::uint8_t> inverted(CheckString(), CheckString() + kCheckLength);
    for (auto& b : inverted)
        b ^= 0xFF;
    char expected[32];
    std::snprintf(expected, sizeof expected, "0x%04X  check.txt\n", TextbookCrc(kKermit, inverted));
    EXPECT_EQ(Crc("--preset kermit --xorin 0xFF check.txt").output, expected);
    EXPECT_EQ(Crc("--preset hyperstone --xorin 255 check.txt").output, expected);
}

TEST_F(CrcCommand, AgreesWithPythonOnALargeFile) {
    std::mt19937 rng(2026);
    const std::vector<std::uint8_t> data = RandomBytes(rng, 300000);
    std::ofstream(folder_ / "large.bin", std::ios::binary)
        .write(reinterpret_cast<const char*>(data.data()),
               static_cast<std::streamsize>(data.size()));
    const ProcessResult python = RunCommand(
        "python3 -c \"import binascii, sys; "
        "print('0x%04X  large.bin' % binascii.crc_hqx(open(sys.argv[1], 'rb').read(), "
        "0))\" " +
        Quoted(folder_ / "large.bin"));
    ASSERT_EQ(python.status, 0);
    EXPECT_EQ(Crc("large.bin").output, python.output);
}

TEST_F(CrcCommand, BadUsageAndUnreadableFiles) {
    for (const char* arguments :
         {"--preset nosuch check.txt", "--width 33 --poly 7 check.txt",
          "--width 0 --poly 7 check.txt", "--width 16 check.txt", "--poly 7 check.txt",
          "--preset arc --width 16 --poly 7 check.txt", "--reflected check.txt",
          "--preset arc --xorin 256 check.txt", "--preset crc7 --init 1 check.txt",
          "--preset arc --init 0x100000000 check.txt", "--frobnicate check.txt", "--preset"}) {
        const tn::test::ToolResult r = Crc(arguments);
        EXPECT_EQ(r.status, 2) << arguments;
        EXPECT_EQ(r.output, "") << arguments;
    }
    const tn::test::ToolResult r = Crc("no-such-file check.txt");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.output, "0x31C3  check.txt\n");
}

}  // namespace
