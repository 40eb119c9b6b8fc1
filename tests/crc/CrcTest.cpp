// The CRCs against published check values, python3's binascii.crc_hqx, Boost and the textbook
// bit-at-a-time CRC; the fast forms against the byte step; Check on file blocks; Reflect.
#include <tnpackage/crc/CrcFunctions.h>
#include <tnpackage/crc/TPCRC.h>
#include <tnpackage/storage/TPDateiInfo.h>
#include <tnpackage/util/Reflect.h>

#include <gtest/gtest.h>
#include <boost/crc.hpp>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "crc/CrcTestSupport.h"
#include "support/RunTool.h"
#include "support/Scratch.h"
#include "support/WarningCapture.h"

namespace {

using tn::test::MakeCrc;

using Bytes = std::vector<std::uint8_t>;
using tn::TPCRC;
constexpr char kCheck[] = "123456789";

Bytes RandomBytes(std::mt19937& rng, std::size_t n) {
    Bytes v(n);
    for (auto& b : v)
        b = static_cast<std::uint8_t>(rng());
    return v;
}

std::uint64_t ReverseBits(std::uint64_t value, int bits) {
    std::uint64_t r = 0;
    for (int i = 0; i < bits; ++i)
        r |= ((value >> i) & 1U) << (bits - 1 - i);
    return r;
}

// The CRC by its definition: the message bits, most significant first (each byte reversed
// first when reflected), through a register of `width` bits.
std::uint32_t Textbook(int width, std::uint32_t poly, std::uint32_t start, bool reflected,
                       const Bytes& data, std::uint32_t finalXor = 0) {
    const std::uint64_t mask = (std::uint64_t{1} << width) - 1;
    std::uint64_t r = start & mask;
    for (std::uint8_t b : data) {
        for (int bit = 7; bit >= 0; --bit) {
            const bool top = (((r >> (width - 1)) ^ (b >> (reflected ? 7 - bit : bit))) & 1U) != 0;
            r = ((r << 1) & mask) ^ (top ? poly & mask : 0);
        }
    }
    return static_cast<std::uint32_t>(((reflected ? ReverseBits(r, width) : r) ^ finalXor) & mask);
}

// Normal, reflected: XMODEM, KERMIT; UMTS, ARC; BZIP2, deliberately not CRC-32; SMBUS. Then the
// Hyperstone CRC, whose table is not used: any width and polynomial serve.
TEST(TPCRC, CheckValuesOfTheCatalogue) {
    const std::uint32_t rows[][4] = {{16, 0x1021, 0x31C3, 0x2189},
                                     {16, 0x8005, 0xFEE8, 0xBB3D},
                                     {32, 0x04C11DB7, 0xFC891918, 0xEA25D238},
                                     {8, 0x07, 0xF4, 0xB7}};
    for (const auto& [width, poly, normal, reflected] : rows) {
        for (const TPCRC& crc : {MakeCrc(width, poly, false), MakeCrc(width, poly, true)}) {
            const std::uint32_t expected = crc.Mode() == 1 ? reflected : normal;
            EXPECT_EQ(crc.Create(kCheck, 9), expected) << width << " " << crc.Mode();
            EXPECT_EQ(crc.Create(tn::TPString(kCheck)), expected);
        }
    }
    TPCRC crc = MakeCrc(24, 0x1234, false);
    crc.Set(0, 0, 0x77);
    // KERMIT, MCRF4XX, IBM-SDLC; Set clears the byte XOR; only 16 bits of the start count.
    const std::tuple<int, int, int> hyperstone[] = {
        {0, 0, 0x2189}, {0xFFFF, 0, 0x6F91}, {0xABFFFF, 0, 0x6F91}, {0xFFFF, 0xFFFF, 0x906E}};
    for (const auto& [start, finalXor, expected] : hyperstone) {
        crc.Set(start, finalXor);
        EXPECT_EQ(crc.CreateHyperstone(kCheck, 9), expected);
        EXPECT_EQ(crc.CreateHS(kCheck, 9), expected);
    }
}

// Any width (odd ones must not fault), order, settings, length and alignment. The reflected step
// shifts by width - 8 (the common reflected CRC only at 16); Hyperstone is reflected CCITT.
TEST(TPCRC, MatchesTheTextbookCrcForAnySettings) {
    std::mt19937 rng(20240611);
    std::uniform_int_distribution<std::uint32_t> word;
    const Bytes pool = RandomBytes(rng, 600);
    for (int round = 0; round < 2000; ++round) {
        const bool reflected = round % 2 == 0;
        const int width = round % 4 == 0 ? 16 : static_cast<int>(word(rng) % 50) - 5;
        const std::uint32_t poly = word(rng) | 1U, start = word(rng), finalXor = word(rng);
        const std::uint32_t byteXor = round % 3 ? word(rng) : 0;
        TPCRC crc = MakeCrc(width, poly, reflected);
        crc.Set(start, finalXor, byteXor);
        const std::uint8_t* p = pool.data() + word(rng) % 16;
        const int len = word(rng) % 300;
        const std::uint32_t got = crc.Create(p, len);
        ASSERT_EQ(got, crc.CreateByteByByte(p, len)) << round;
        ASSERT_TRUE(width > 0 || got == 0U) << round;  // no mask, no CRC
        Bytes data(p, p + len);
        for (auto& b : data)
            b ^= static_cast<std::uint8_t>(byteXor);
        if (width < 8 || width > 32) continue;
        const std::uint32_t mask = 0xFFFFFFFFU >> (32 - width);
        std::uint32_t expected = Textbook(width, poly, start, false, data);
        if (reflected) {  // with the textbook's one-byte table
            std::uint32_t c = start & mask;
            for (std::uint8_t b : data)
                c = (c >> (width - 8)) ^ Textbook(width, poly, 0, true, {std::uint8_t(b ^ c)});
            expected = c;
        }
        EXPECT_EQ(got, (expected ^ finalXor) & mask) << round;
        if (width < 16) continue;
        const std::uint16_t hyperstone = crc.CreateHyperstone(p, len);
        EXPECT_EQ(crc.CreateHS(p, len), hyperstone) << round;
        const auto start16 = static_cast<std::uint32_t>(ReverseBits(start & 0xFFFF, 16));
        EXPECT_EQ(hyperstone, Textbook(16, 0x1021, start16, true, data, finalXor)) << round;
    }
}

TEST(TPCRC, InsertModeSetAndEmptyInput) {
    EXPECT_TRUE(tn::CRCInsertMode == 0 && !tn::CRC16 && !tn::CRC7 && !tn::CRC32);  // at start
    const TPCRC reflected = MakeCrc(16, 0x1021, true);
    for (int mode : {0, 2, -1, 0x101}) {  // only 1 means reflected
        tn::CRCInsertMode = mode;
        EXPECT_EQ(TPCRC(16, 0x1021).Create(kCheck, 9), 0x31C3U) << mode;
    }
    tn::CRCInsertMode = 0;
    EXPECT_EQ(reflected.Create(kCheck, 9), 0x2189U);  // built before: unchanged
    TPCRC crc = MakeCrc(16, 0x1021, false);
    crc.Set(0x12345, 0, 0);
    EXPECT_EQ(crc.Initial(), 0x2345U);
    crc.Set(0x1234, 0xFF);  // start XOR final for no bytes, negative lengths, missing data
    for (std::uint32_t v : {crc.Create(kCheck, 0), crc.Create(kCheck, -5), crc.Create(nullptr, 9),
                            crc.Create(tn::TPString()), crc.CreateByteByByte(nullptr, 9)})
        EXPECT_EQ(v, 0x12CBU);
}

void Put32(Bytes& block, std::size_t at, std::uint32_t littleEndian) {
    for (std::size_t i = 0; i < 4; ++i)
        block[at + i] = static_cast<std::uint8_t>(littleEndian >> (8 * i));
}

// Blocks are exactly sized, so that the sanitizer sees any read behind them.
TEST(TPCRC, CheckOfFileBlocks) {
    tn::test::WarningCapture warnings;
    const TPCRC crc = MakeCrc(32, 0x04C11DB7, false);
    const auto check = [&](Bytes block, std::uint32_t length) {
        if (block.size() >= 16) Put32(block, 12, length);
        warnings.Clear();
        tn::TPDateiInfo node;
        node.SetBlock(block.data(), static_cast<int>(block.size()));
        return crc.Check(&node);
    };
    // 1000 bytes with their length word, their CRC-32/BZIP2, then bytes the check leaves alone.
    std::mt19937 rng(12);
    Bytes file = RandomBytes(rng, 1030);
    Put32(file, 12, 1000);
    const std::uint32_t sum = Textbook(32, 0x04C11DB7, ~0U, false, {&file[0], &file[1000]}, ~0U);
    Put32(file, 1000, sum);
    EXPECT_TRUE(check(file, 1000) && warnings.Texts().empty());
    file[1000] ^= 0x10;
    char text[64];
    std::snprintf(text, sizeof text, "%08X (000003E8 Bytes) <==> %08X", sum, sum ^ 0x10);
    EXPECT_FALSE(check(file, 1000));
    EXPECT_EQ(warnings.Texts(), std::vector<std::string>{text});
    const Bytes block(64, 0x33);
    for (std::uint32_t length : {0U, 0x80000000U, 0xFFFFFFFFU})  // silently false
        EXPECT_FALSE(check(block, length) || !warnings.Texts().empty()) << length;
    tn::TPDateiInfo empty;
    EXPECT_FALSE(crc.Check(&empty) || crc.Check(nullptr) || !warnings.Texts().empty());
    // A stored CRC behind the block's end, or no room for the length word: a mismatch.
    for (std::uint32_t length : {61U, 64U, 1000U, 0x7FFFFFFFU}) {
        EXPECT_FALSE(check(block, length));
        EXPECT_NE(warnings.Texts().at(0).find("(64 Bytes)"), std::string::npos) << length;
    }
    EXPECT_TRUE(!check(Bytes(15, 0), 0) && warnings.Texts().size() == 1);
}

// A freshly started copy of this program, where nothing has filled the table yet.
TEST(CreateCRC16DeathTest, GivesZeroBeforeInitCRC16) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const bool zero =
                (tn::CreateCRC16(kCheck, 9) | tn::CreateCRC16ByteByByte(kCheck, 9)) == 0;
            tn::InitCRC16();
            std::exit(zero && tn::CreateCRC16(kCheck, 9) == 0x31C3 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(CreateCRC16, MatchesPythonAndTheByteStep) {
    tn::InitCRC16();
    EXPECT_EQ(tn::CreateCRC16(kCheck, 9), 0x31C3);
    EXPECT_EQ(
        tn::CreateCRC16(kCheck, 0) | tn::CreateCRC16(kCheck, -1) | tn::CreateCRC16(nullptr, 9), 0);
    std::mt19937 rng(42);
    const Bytes data = RandomBytes(rng, 70000);
    const std::string file = (tn::test::ScratchFolder() / "hqx.bin").string();
    std::ofstream(file, std::ios::binary).write(reinterpret_cast<const char*>(data.data()), 70000);
    const std::string lengths = "1 2 7 8 9 15 16 17 100 1023 65536 70000";
    TN_REQUIRE_SHELL();
    const tn::test::ToolResult python = tn::test::RunCommand(
        "python3 -c \"import binascii, sys; d = open(sys.argv[1], 'rb').read(); "
        "print(*[binascii.crc_hqx(d[:int(n)], 0) for n in sys.argv[2:]])\" '" +
        file + "' " + lengths);
    ASSERT_EQ(python.status, 0) << "python3 is needed for this test";
    std::istringstream expected(python.output), lens(lengths);
    for (int n = 0, crc = 0; lens >> n && expected >> crc;)
        EXPECT_EQ(tn::CreateCRC16(data.data(), n), crc) << n << " bytes";
    for (int len = 0; len < 200; ++len)  // every alignment
        ASSERT_EQ(tn::CreateCRC16(&data[len % 8], len),
                  tn::CreateCRC16ByteByByte(&data[len % 8], len));
}

TEST(CreateCRC7, CheckValueFramesAndBoost) {
    EXPECT_EQ(tn::CreateCRC7(kCheck, 9), 0xEB);  // CRC 0x75, end bit set
    EXPECT_EQ(tn::CreateCRC7(kCheck, 0) & tn::CreateCRC7(kCheck, -3) & tn::CreateCRC7(nullptr, 5),
              1);
    // The last byte of the SD card commands GO_IDLE_STATE and SEND_IF_COND.
    const std::uint8_t cmd0[] = {0x40, 0, 0, 0, 0}, cmd8[] = {0x48, 0, 0, 0x01, 0xAA};
    EXPECT_EQ(tn::CreateCRC7(cmd0, 5), 0x95);
    EXPECT_EQ(tn::CreateCRC7(cmd8, 5), 0x87);
    // Long inputs too: the register grows above its low byte, which must not matter.
    std::mt19937 rng(77);
    for (int n : {1, 2, 5, 31, 64, 5000}) {
        const Bytes data = RandomBytes(rng, n);
        boost::crc_optimal<7, 0x09, 0, 0, false, false> mmc;
        mmc.process_bytes(data.data(), data.size());
        EXPECT_EQ(tn::CreateCRC7(data.data(), n), mmc.checksum() << 1 | 1) << n;
    }
}

TEST(Reflect, PublishedPolynomialsAndEdges) {
    const auto reflected = [](std::uint32_t value, int bits) {
        return static_cast<std::uint32_t>(tn::Reflect(static_cast<int>(value), bits));
    };
    EXPECT_EQ(reflected(0x1021, 16), 0x8408U);
    EXPECT_EQ(reflected(0x04C11DB7, 32), 0xEDB88320U);
    EXPECT_EQ(reflected(0xFF03, 5), 0x18U);  // only the low bits count
    EXPECT_EQ(reflected(0x1234, 0) | reflected(0x1234, -7), 0U);
    EXPECT_EQ(reflected(0x80000001U, 40), 0x100U);  // reversed as a whole, cut to 32 bits
}

}  // namespace
