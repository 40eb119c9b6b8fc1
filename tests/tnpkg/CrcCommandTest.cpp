// `tnpkg crc` run as a program: presets and parameters, inputs, bad usage, unreadable files.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "support/RunTool.h"
#include "support/Scratch.h"

namespace {

// Runs in a scratch folder holding the check text (so that the printed names stay short);
// gives the exit status, ":" and the standard output.
std::string Crc(const std::string& arguments) {
    const std::filesystem::path folder = tn::test::ScratchFolder();
    std::ofstream(folder / "check.txt", std::ios::binary) << "123456789";
    const tn::test::ToolResult r =
        tn::test::RunCommand("cd '" + folder.string() + "' && '" + TN_TNPKG_PATH + "' crc " +
                             arguments + " 2>/dev/null");
    return std::to_string(r.status) + ":" + r.output;
}

TEST(CrcCommand, PresetsParametersInputsAndBadUsage) {
    TN_REQUIRE_SHELL();
    if (std::string(TN_TNPKG_PATH).empty()) GTEST_SKIP() << "tnpkg is not built";
    // Arguments, then the expected CRC of the check text.
    for (const std::string c :
         {"--preset xmodem 0x31C3", "--preset crc7 0xEB", "--preset kermit 0x2189",
          "--preset arc 0xBB3D", "--preset umts 0xFEE8", "--preset bzip2 0xFC891918",
          "--preset smbus 0xF4", "--preset hyperstone 0x2189", "--preset mcrf4xx 0x6F91",
          "--preset ibm-sdlc 0x906E", "--width 32 --poly 0x04C11DB7 --reflected 0xEA25D238",
          "--width 16 --poly 4129 --init 0xFFFF --xorout 0xFFFF 0xD64E",  // CRC-16/GENIBUS
          "--width 12 --poly 0x80F 0xF5B",           // width/4 digits, rounded up
          "--preset kermit --xorin 0xFF 0x1ADD"}) {  // KERMIT of the inverted text
        const std::size_t cut = c.rfind(' ');
        EXPECT_EQ(Crc(c.substr(0, cut) + " check.txt"), "0:" + c.substr(cut + 1) + "  check.txt\n");
    }
    EXPECT_EQ(Crc("< check.txt"), "0:0x31C3  -\n");  // xmodem is the default
    EXPECT_EQ(Crc("--preset crc7 check.txt /dev/null - < check.txt"),
              "0:0xEB  check.txt\n0x01  /dev/null\n0xEB  -\n");
    for (const char* arguments :
         {"--preset nosuch", "--width 33 --poly 7", "--width 0 --poly 7", "--width 16", "--poly 7",
          "--preset arc --width 16 --poly 7", "--reflected", "--preset arc --xorin 256",
          "--preset crc7 --init 1", "--preset arc --init 0x100000000", "--frobnicate", "--preset"})
        EXPECT_EQ(Crc(std::string(arguments) + " check.txt"), "2:") << arguments;
    EXPECT_EQ(Crc("no-such-file check.txt"), "1:0x31C3  check.txt\n");
}

}  // namespace
