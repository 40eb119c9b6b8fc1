// Listings count as live only records with the magic "ZK" and a valid checksum; the others are
// shown with --all, marked damaged, and their count goes to standard error. `flash write`
// refuses an odd offset, where the bytes would land one lower.
#include <tnpackage/tnpackage.h>

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

struct Note : tn::TPSaveObject {
    std::uint8_t text[16] = {'F', 'l', 'u', 'g', 'b', 'u', 'c', 'h'};
    Note() : tn::TPSaveObject(9, 32, 1) {}
};

constexpr std::size_t kRecord = 32;
constexpr std::size_t kSector = 0x20000;

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// An intact record, one whose payload changed after its checksum, and one without "ZK".
std::vector<char> ThreeRecords() {
    Note note;
    std::vector<char> bytes(3 * kRecord);
    for (int i = 0; i < 3; ++i)
        note.Saving(bytes.data() + i * kRecord);
    bytes[kRecord + 20] ^= 0x01;
    bytes[2 * kRecord] = 'X';
    return bytes;
}

void WriteFile(const fs::path& path, const std::vector<char>& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

int Lines(const std::string& text) {
    int n = 0;
    for (const char c : text)
        n += c == '\n';
    return n;
}

TEST(HonestRecords, DamagedRecordsAreShownOnlyWithAll) {
    TN_REQUIRE_SHELL();
    const fs::path dir = tn::test::ScratchFolder();
    const auto records = ThreeRecords();
    WriteFile(dir / "records.bin", records);
    const std::string file = Shell((dir / "records.bin").string());

    const auto plain = RunTool("records " + file + " --quiet");
    EXPECT_EQ(plain.status, 0);
    EXPECT_EQ(Lines(plain.output), 2) << plain.output;  // the heading and the intact record
    EXPECT_FALSE(Has(plain.output, "damaged"));
    const auto note = tn::test::RunCommand(Shell(TN_TNPKG_PATH) + " records " + file +
                                           " --quiet 2>&1 >/dev/null");
    EXPECT_TRUE(Has(note.output, "passed over 2 damaged records")) << note.output;

    const auto all = RunTool("records " + file + " --quiet --all");
    EXPECT_EQ(Lines(all.output), 4) << all.output;
    EXPECT_TRUE(
        Has(all.output, "0x00000020      9        1     32  0xFFFF  0x7FFF  invalid  damaged"))
        << all.output;
    const auto json = RunTool("records " + file + " --quiet --all --json");
    EXPECT_TRUE(Has(json.output, "\"checksum\":\"valid\"},")) << json.output;
    EXPECT_TRUE(Has(json.output, "\"damaged\":true}")) << json.output;

    std::vector<char> chips(2 * kSector, static_cast<char>(0xFF));
    std::copy(records.begin(), records.end(), chips.begin() + kSector);
    WriteFile(dir / "chips.bin", chips);
    const std::string image = Shell((dir / "chips.bin").string());
    const auto info = RunTool("flash info " + image, true);
    EXPECT_TRUE(Has(info.output, "records: 1 live\n  type 9: 1\n")) << info.output;
    EXPECT_TRUE(Has(info.output, "passed over 2 damaged records")) << info.output;
    EXPECT_TRUE(
        Has(RunTool("flash info " + image + " --json").output, "\"records\":1,\"damaged\":2"));
    EXPECT_EQ(Lines(RunTool("flash records " + image).output), 2);
    EXPECT_EQ(Lines(RunTool("flash records " + image + " --all").output), 4);
}

TEST(HonestRecords, FlashWriteRefusesAnOddOffset) {
    TN_REQUIRE_SHELL();
    const fs::path dir = tn::test::ScratchFolder();
    WriteFile(dir / "chips.bin", std::vector<char>(kSector, static_cast<char>(0xFF)));
    WriteFile(dir / "eight.bin", std::vector<char>(8, 0x11));
    const auto odd = RunTool("flash write " + Shell((dir / "chips.bin").string()) + " " +
                                 Shell((dir / "eight.bin").string()) + " --offset 0x11",
                             true);
    EXPECT_EQ(odd.status, 2);
    EXPECT_TRUE(Has(odd.output, "--offset must be even")) << odd.output;
    EXPECT_FALSE(Has(odd.output, "programmed 8 bytes")) << odd.output;
    const auto bytes = tn::test::LoadBytes(dir / "chips.bin");
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 0xFF), static_cast<long>(kSector));
}

}  // namespace
