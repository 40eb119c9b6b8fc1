// CreateCRC16 against Python's binascii.crc_hqx (CRC-16/XMODEM), CreateCRC7 against the
// published memory-card frames, Boost and the textbook CRC-7/MMC.
#include <tnpackage/crc/CrcFunctions.h>
#include <tnpackage/crc/TPCRC.h>

#include <gtest/gtest.h>
#include <boost/crc.hpp>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "ProcessRunner.h"
#include "TextbookCrc.h"

namespace {

using namespace crctest;

// Runs in a freshly started copy of this test program, where nothing has filled the table.
TEST(CreateCRC16DeathTest, GivesZeroBeforeInitCRC16) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const std::vector<std::uint8_t> data(100, 0xA5);
            const bool allZero = tn::CreateCRC16(CheckString(), kCheckLength) == 0 &&
                                 tn::CreateCRC16(data.data(), 100) == 0 &&
                                 tn::CreateCRC16ByteByByte(data.data(), 100) == 0;
            tn::InitCRC16();
            const bool filled = tn::CreateCRC16(CheckString(), kCheckLength) == 0x31C3;
            std::exit(allZero && filled ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(CreateCRC16, CheckValueAndEmptyInput) {
    tn::InitCRC16();
    EXPECT_EQ(tn::CreateCRC16(CheckString(), kCheckLength), 0x31C3);
    EXPECT_EQ(tn::CreateCRC16ByteByByte(CheckString(), kCheckLength), 0x31C3);
    EXPECT_EQ(tn::CreateCRC16(CheckString(), 0), 0);
    EXPECT_EQ(tn::CreateCRC16(CheckString(), -1), 0);
    EXPECT_EQ(tn::CreateCRC16(nullptr, 9), 0);
    tn::InitCRC16();  // filling it again changes nothing
    EXPECT_EQ(tn::CreateCRC16(CheckString(), kCheckLength), 0x31C3);
}

TEST(CreateCRC16, MatchesPythonCrcHqx) {
    tn::InitCRC16();
    std::mt19937 rng(42);
    const std::filesystem::path folder = ScratchFolder();
    const std::vector<std::size_t> lengths = {1, 2, 7, 8, 9, 15, 16, 17, 100, 1023, 65536};
    std::vector<std::vector<std::uint8_t>> inputs;
    std::string names;
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        inputs.push_back(RandomBytes(rng, lengths[i]));
        const std::filesystem::path file = folder / ("hqx" + std::to_string(i) + ".bin");
        std::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<const char*>(inputs.back().data()),
                   static_cast<std::streamsize>(inputs.back().size()));
        names += " " + Quoted(file);
    }
    const ProcessResult python = RunCommand(
        "python3 -c \"import binascii, sys\n"
        "for name in sys.argv[1:]: print(binascii.crc_hqx(open(name, 'rb').read(), 0))\"" +
        names);
    ASSERT_EQ(python.status, 0) << "python3 is needed for this test";
    std::istringstream lines(python.output);
    for (const auto& data : inputs) {
        unsigned expected = 0;
        ASSERT_TRUE(lines >> expected);
        const int n = static_cast<int>(data.size());
        EXPECT_EQ(tn::CreateCRC16(data.data(), n), expected) << n << " bytes";
        EXPECT_EQ(tn::CreateCRC16ByteByByte(data.data(), n), expected) << n << " bytes";
    }
}

TEST(CreateCRC16, FastFormEqualsByteByByteAndTheTableCalculator) {
    tn::InitCRC16();
    std::mt19937 rng(3);
    const std::vector<std::uint8_t> pool = RandomBytes(rng, 400);
    const tn::TPCRC xmodem = MakeCrc(16, 0x1021, kNormal);
    for (int offset = 0; offset < 8; ++offset) {
        for (int len = 0; len < 120; ++len) {
            const std::uint8_t* p = pool.data() + offset;
            ASSERT_EQ(tn::CreateCRC16(p, len), tn::CreateCRC16ByteByByte(p, len)) << len;
            ASSERT_EQ(tn::CreateCRC16(p, len), xmodem.Create(p, len)) << len;
        }
    }
}

TEST(CreateCRC7, CheckValueAndMemoryCardFrames) {
    EXPECT_EQ(tn::CreateCRC7(CheckString(), kCheckLength), 0xEB);  // CRC 0x75, end bit set
    EXPECT_EQ(tn::CreateCRC7(CheckString(), 0), 1);
    EXPECT_EQ(tn::CreateCRC7(CheckString(), -3), 1);
    EXPECT_EQ(tn::CreateCRC7(nullptr, 5), 1);
    // The last byte of the published SD card commands GO_IDLE_STATE and SEND_IF_COND.
    const std::uint8_t cmd0[] = {0x40, 0x00, 0x00, 0x00, 0x00};
    const std::uint8_t cmd8[] = {0x48, 0x00, 0x00, 0x01, 0xAA};
    EXPECT_EQ(tn::CreateCRC7(cmd0, 5), 0x95);
    EXPECT_EQ(tn::CreateCRC7(cmd8, 5), 0x87);
}

TEST(CreateCRC7, MatchesBoostAndTheTextbookOverRandomData) {
    std::mt19937 rng(77);
    // Long inputs too: the register keeps growing above its low byte, which must not matter.
    for (std::size_t n : {1U, 2U, 5U, 6U, 31U, 64U, 5000U}) {
        const std::vector<std::uint8_t> data = RandomBytes(rng, n);
        boost::crc_basic<7> boostCrc(0x09, 0, 0, false, false);
        boostCrc.process_bytes(data.data(), data.size());
        const auto expected = static_cast<unsigned>(boostCrc.checksum() << 1 | 1U);
        EXPECT_EQ(tn::CreateCRC7(data.data(), static_cast<int>(n)), expected) << n;
        EXPECT_EQ(TextbookCrc(kMmc7, data) << 1 | 1U, expected) << n;
    }
}

}  // namespace
