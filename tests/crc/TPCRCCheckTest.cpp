// TPCRC::Check on loaded file blocks: a good file, a damaged one with the exact warning, the
// silent zero length, and length words that point past the block.
#include <tnpackage/crc/TPCRC.h>
#include <tnpackage/frame/Globals.h>
#include <tnpackage/storage/TPDateiInfo.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "TextbookCrc.h"
#include "support/WarningCapture.h"

namespace {

using namespace crctest;

class CheckTest : public testing::Test {
  protected:
    const std::vector<std::string>& Warnings() const { return capture_.Texts(); }
    void ClearWarnings() { capture_.Clear(); }

  private:
    tn::test::WarningCapture capture_;
};

void PutLittleEndian(std::vector<std::uint8_t>& block, std::size_t at, std::uint32_t value) {
    for (int i = 0; i < 4; ++i)
        block[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(value >> (8 * i));
}

// A file of `length` bytes of content (its length word at 12 included) and the CRC-32/BZIP2
// of those bytes behind them.
std::vector<std::uint8_t> MakeFile(int length, std::mt19937& rng) {
    std::vector<std::uint8_t> block = RandomBytes(rng, static_cast<std::size_t>(length) + 4);
    PutLittleEndian(block, 12, static_cast<std::uint32_t>(length));
    const std::uint32_t crc = TextbookCrc(kBzip2, block.data(), static_cast<std::size_t>(length));
    PutLittleEndian(block, static_cast<std::size_t>(length), crc);
    return block;
}

tn::TPDateiInfo Node(const std::vector<std::uint8_t>& block) {
    tn::TPDateiInfo node;
    node.SetBlock(block.data(), static_cast<int>(block.size()));
    return node;
}

TEST_F(CheckTest, GoodAndDamagedFiles) {
    std::mt19937 rng(12);
    const tn::TPCRC crc = MakeCrc(32, 0x04C11DB7, kNormal);
    std::vector<std::uint8_t> file = MakeFile(1000, rng);
    tn::TPDateiInfo node = Node(file);
    EXPECT_TRUE(crc.Check(&node));
    EXPECT_TRUE(Warnings().empty());

    file[500] ^= 0x10;
    const std::uint32_t computed = TextbookCrc(kBzip2, file.data(), 1000);
    const std::uint32_t stored = file[1000] | file[1001] << 8 | file[1002] << 16 |
                                 static_cast<std::uint32_t>(file[1003]) << 24;
    EXPECT_FALSE(crc.Check(&node));
    ASSERT_EQ(Warnings().size(), 1U);
    char expected[64];
    std::snprintf(expected, sizeof expected, "%08X (000003E8 Bytes) <==> %08X", computed, stored);
    EXPECT_EQ(Warnings()[0], expected);

    // Bytes after the stored CRC are not the check's business.
    std::vector<std::uint8_t> longer = MakeFile(64, rng);
    longer.resize(200, 0xEE);
    tn::TPDateiInfo longerNode = Node(longer);
    EXPECT_TRUE(crc.Check(&longerNode));
}

TEST_F(CheckTest, WarningShowsEightDigitsEvenForSmallValues) {
    // A calculator with start 0 and no final XOR over 16 zero bytes gives CRC 0; the stored
    // word is 1: both print with leading zeros.
    tn::TPCRC plain = MakeCrc(32, 0x04C11DB7, kNormal);
    plain.Set(0, 0);
    std::vector<std::uint8_t> block(20, 0);
    PutLittleEndian(block, 12, 16);  // the content: twelve zeros and the length word
    PutLittleEndian(block, 16, 1);
    const std::uint32_t computed = plain.Create(block.data(), 16);
    tn::TPDateiInfo node = Node(block);
    EXPECT_FALSE(plain.Check(&node));
    ASSERT_EQ(Warnings().size(), 1U);
    char expected[64];
    std::snprintf(expected, sizeof expected, "%08X (00000010 Bytes) <==> 00000001", computed);
    EXPECT_EQ(Warnings()[0], expected);
}

TEST_F(CheckTest, ShortLengthsAreCheckedAsTheyStand) {
    // A length below 16 puts the stored CRC inside the first sixteen bytes.
    const tn::TPCRC crc = MakeCrc(16, 0x1021, kNormal);
    std::vector<std::uint8_t> block(16, 0);
    block[12] = 4;  // L = 4: CRC of bytes 0..3, stored at 4..7
    const std::uint32_t value = crc.Create(block.data(), 4);
    PutLittleEndian(block, 4, value);
    tn::TPDateiInfo node = Node(block);
    EXPECT_TRUE(crc.Check(&node));
    EXPECT_TRUE(Warnings().empty());
}

TEST_F(CheckTest, ZeroOrNegativeLengthIsFalseWithoutMessage) {
    const tn::TPCRC crc = MakeCrc(32, 0x04C11DB7, kNormal);
    std::vector<std::uint8_t> block(64, 0);
    tn::TPDateiInfo node = Node(block);
    EXPECT_FALSE(crc.Check(&node));
    PutLittleEndian(block, 12, 0x80000000U);
    EXPECT_FALSE(crc.Check(&node));
    PutLittleEndian(block, 12, 0xFFFFFFFFU);
    EXPECT_FALSE(crc.Check(&node));
    EXPECT_TRUE(Warnings().empty());
    // Nothing to check at all: no node, or nothing loaded.
    EXPECT_FALSE(crc.Check(nullptr));
    tn::TPDateiInfo empty;
    EXPECT_FALSE(crc.Check(&empty));
    EXPECT_TRUE(Warnings().empty());
}

TEST_F(CheckTest, LengthWordPastTheBlockIsAMismatchWithoutReadingThere) {
    const tn::TPCRC crc = MakeCrc(32, 0x04C11DB7, kNormal);
    // Exactly sized blocks, so that the sanitizer sees any read behind them.
    for (std::uint32_t length : {61U, 62U, 64U, 1000U, 0x7FFFFFFFU}) {
        std::vector<std::uint8_t> block(64, 0x33);
        PutLittleEndian(block, 12, length);
        tn::TPDateiInfo node = Node(block);
        ClearWarnings();
        EXPECT_FALSE(crc.Check(&node)) << length;
        ASSERT_EQ(Warnings().size(), 1U) << length;
        EXPECT_NE(Warnings()[0].find("(64 Bytes)"), std::string::npos) << Warnings()[0];
    }
    // L = 60 is the last length whose CRC word still fits.
    std::vector<std::uint8_t> fits(64, 0x33);
    PutLittleEndian(fits, 12, 60);
    tn::TPDateiInfo fitsNode = Node(fits);
    ClearWarnings();
    EXPECT_FALSE(crc.Check(&fitsNode));
    ASSERT_EQ(Warnings().size(), 1U);
    EXPECT_NE(Warnings()[0].find(" (0000003C Bytes) <==> 33333333"), std::string::npos)
        << Warnings()[0];

    // A block too short to hold the length word.
    std::vector<std::uint8_t> tiny(15, 0);
    tn::TPDateiInfo tinyNode = Node(tiny);
    ClearWarnings();
    EXPECT_FALSE(crc.Check(&tinyNode));
    EXPECT_EQ(Warnings().size(), 1U);
}

}  // namespace
