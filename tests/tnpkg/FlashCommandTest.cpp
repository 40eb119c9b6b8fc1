// `tnpkg flash` on real image files: info, records, erase and write, failures and usage.
#include <tnpackage/tnpackage.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/RunTool.h"
#include "support/Scratch.h"

namespace {

namespace fs = std::filesystem;

struct Note : tn::TPSaveObject {
    std::uint8_t text[16] = {'F', 'l', 'u', 'g', 'b', 'u', 'c', 'h'};
    Note() : tn::TPSaveObject(9, 32, 1) {}
};

class FlashCommandTest : public ::testing::Test {
  protected:
    tn::test::ToolResult Tool(const std::string& arguments) const {
        return tn::test::RunTool("flash " + arguments, true);
    }
    std::string Path(const std::string& name) const { return "'" + (dir_ / name).string() + "'"; }
    std::vector<unsigned char> Read(const std::string& name) const {
        return tn::test::LoadBytes(dir_ / name);
    }
    void Write(const std::string& name, const std::vector<unsigned char>& bytes) const {
        std::ofstream(dir_ / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
    }
    const fs::path dir_ = tn::test::ScratchFolder();
};

TEST_F(FlashCommandTest, InfoRecordsEraseAndWrite) {
    TN_REQUIRE_SHELL();
    Write("chips.bin", std::vector<unsigned char>(0x40000, 0xFF));
    Note note;
    std::vector<unsigned char> record(32);
    note.Saving(reinterpret_cast<char*>(record.data()));
    Write("note.bin", record);

    auto info = Tool("info " + Path("chips.bin"));
    EXPECT_EQ(info.status, 0);
    EXPECT_NE(info.output.find("sectors: 2 of 128 KiB, 2 blank: 0 1\nrecords: 0 live\n"),
              std::string::npos)
        << info.output;

    const std::string write = "write " + Path("chips.bin") + " " + Path("note.bin");
    ASSERT_EQ(Tool(write + " --offset 0x20000").status, 0);
    auto records = Tool("records " + Path("chips.bin"));
    EXPECT_EQ(records.output,
              "offset       type  version   size  stride  state   checksum\n"
              "0x00020000      9        1     32  0xFFFF  0x7FFF  valid\n");
    info = Tool("info " + Path("chips.bin"));
    EXPECT_NE(info.output.find("1 blank: 0\nrecords: 1 live\n  type 9: 1\n"), std::string::npos);
    const auto written = Read("chips.bin");
    EXPECT_EQ(std::vector<unsigned char>(written.begin() + 0x20000, written.begin() + 0x20020),
              record);

    // Writing over it erases its sector first; the image keeps only the new bytes there.
    ASSERT_EQ(Tool(write + " --offset 0x20010").status, 0);
    const auto again = Read("chips.bin");
    EXPECT_EQ(std::vector<unsigned char>(again.begin() + 0x20000, again.begin() + 0x20010),
              std::vector<unsigned char>(16, 0xFF));
    EXPECT_EQ(std::vector<unsigned char>(again.begin() + 0x20010, again.begin() + 0x20030), record);

    const auto erase = Tool("erase " + Path("chips.bin") + " --sector 1");
    EXPECT_EQ(erase.output, "erased sector 1 (offset 0x20000)\n");
    EXPECT_EQ(Read("chips.bin"), std::vector<unsigned char>(0x40000, 0xFF));
    EXPECT_EQ(Tool("write " + Path("chips.bin") + " " + Path("note.bin") + " --offset 0").status,
              0);
    EXPECT_EQ(Tool("erase " + Path("chips.bin") + " --chip").output,
              "erased the chip pair (262144 bytes)\n");
    EXPECT_EQ(Read("chips.bin"), std::vector<unsigned char>(0x40000, 0xFF));
    EXPECT_FALSE(fs::exists(dir_ / "chips.bin.tnpkg-journal"));  // each commit removed it
}

TEST_F(FlashCommandTest, ChipFailuresLeaveTheImageAsItWas) {
    TN_REQUIRE_SHELL();
    std::vector<unsigned char> image(0x40000, 0xFF);
    image[0x20010] = 0x42;
    Write("chips.bin", image);
    Write("data.bin", std::vector<unsigned char>(64, 0x21));

    auto result = Tool("write " + Path("chips.bin") + " " + Path("data.bin") +
                       " --offset 0x100 --stuck 0x120");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("tnpkg flash: programming failed"), std::string::npos)
        << result.output;
    result = Tool("erase " + Path("chips.bin") + " --sector 1 --bad-sector 1");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("erase of sector 1 failed"), std::string::npos) << result.output;
    result = Tool("erase " + Path("chips.bin") + " --chip --bad-sector 0");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(Read("chips.bin"), image);

    Write("odd.bin", std::vector<unsigned char>(1000, 0xFF));
    result = Tool("info " + Path("odd.bin"));
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("is not a flash image"), std::string::npos);
    EXPECT_EQ(Tool("erase " + Path("chips.bin")).status, 2);
    EXPECT_EQ(Tool("erase " + Path("chips.bin") + " --sector 2").status, 2);
    EXPECT_EQ(Tool("write " + Path("chips.bin") + " " + Path("data.bin")).status, 2);
    EXPECT_EQ(Tool("info " + Path("missing.bin")).status, 1);
    EXPECT_EQ(Read("chips.bin"), image);
}

}  // namespace
