// The folding CRC paths against the portable one, on every length and alignment; the folding
// engine against Boost's CRC and the published check values of a catalogue of CRCs.
#include <tnpackage/crc/CrcFunctions.h>
#include <tnpackage/crc/TPCRC.h>

#include <gtest/gtest.h>
#include <boost/crc.hpp>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "crc/CrcPath.h"
#include "crc/CrcTestSupport.h"
#include "crc/Fold.h"
#include "crc/FoldConstants.h"

namespace {

using tn::test::MakeCrc;

using Bytes = std::vector<std::uint8_t>;
using tn::TPCRC;
using tn::crc::CrcPath;

constexpr std::size_t kMaxLength = 4096;
constexpr std::size_t kAlignments = 16;

// Restores the path in force when the test began.
class PathGuard {
  public:
    PathGuard() : saved_(tn::crc::ActiveCrcPath()) {}
    ~PathGuard() { tn::crc::SelectCrcPath(saved_); }
    PathGuard(const PathGuard&) = delete;
    PathGuard& operator=(const PathGuard&) = delete;

  private:
    CrcPath saved_;
};

// The folding paths this processor has, best first.
std::vector<CrcPath> FoldingPaths() {
    std::vector<CrcPath> paths;
    for (CrcPath p : {CrcPath::kVpclmul, CrcPath::kPclmul}) {
        if (static_cast<int>(p) <= static_cast<int>(tn::crc::AvailableCrcPath()))
            paths.push_back(p);
    }
    return paths;
}

// Calculators of every width and both orders with random settings, and one CCITT for the
// Hyperstone routines.
std::vector<TPCRC> Calculators(std::mt19937& rng) {
    std::vector<TPCRC> all;
    for (int width = 1; width <= 32; ++width) {
        for (bool reflected : {false, true}) {
            TPCRC crc = MakeCrc(width, static_cast<std::uint32_t>(rng()), reflected);
            crc.Set(static_cast<int>(rng()), static_cast<int>(rng()),
                    rng() % 2 == 0 ? 0 : static_cast<int>(rng()));
            all.push_back(crc);
        }
    }
    return all;
}

// Every result that may take a folding path, for one buffer.
std::vector<std::uint32_t> AllResults(const std::vector<TPCRC>& calculators, std::size_t pick,
                                      const std::uint8_t* p, int n) {
    const TPCRC& crc = calculators[pick % calculators.size()];
    return {tn::CreateCRC16(p, n), tn::CreateCRC7(p, n), crc.Create(p, n),
            crc.CreateHyperstone(p, n), crc.CreateHS(p, n)};
}

// Each length from 0 to 4096 at each alignment: the portable results, then every folding path
// must give the same. Calculators rotate, so that every width and order meets many lengths.
TEST(CrcFolding, EveryPathGivesThePortableResults) {
    PathGuard guard;
    tn::InitCRC16();
    std::mt19937 rng(4711);
    const std::vector<TPCRC> calculators = Calculators(rng);
    Bytes pool(kMaxLength + kAlignments);
    for (auto& b : pool)
        b = static_cast<std::uint8_t>(rng());
    const std::vector<CrcPath> paths = FoldingPaths();
    if (paths.empty()) GTEST_SKIP() << "no carry-less multiply on this processor";
    std::size_t pick = 0;
    for (std::size_t n = 0; n <= kMaxLength; ++n) {
        for (std::size_t align = 0; align < kAlignments; ++align, ++pick) {
            // An exactly sized copy, so that the sanitizer sees any read behind the end.
            const Bytes data(pool.begin() + align, pool.begin() + align + n);
            const int len = static_cast<int>(n);
            tn::crc::SelectCrcPath(CrcPath::kPortable);
            const auto expected = AllResults(calculators, pick, data.data(), len);
            for (CrcPath path : paths) {
                tn::crc::SelectCrcPath(path);
                ASSERT_EQ(AllResults(calculators, pick, data.data(), len), expected)
                    << n << " bytes, alignment " << align << ", path " << static_cast<int>(path)
                    << ", calculator " << pick % calculators.size();
            }
        }
    }
}

// Long buffers, with the byte step as the reference: they run through every loop of the paths.
TEST(CrcFolding, LongBuffersMatchTheByteStep) {
    PathGuard guard;
    tn::InitCRC16();
    std::mt19937 rng(99);
    Bytes data(262147);
    for (auto& b : data)
        b = static_cast<std::uint8_t>(rng());
    const std::vector<TPCRC> calculators = Calculators(rng);
    for (int n : {262147, 65541, 4099, 257}) {
        const std::uint16_t crc16 = tn::CreateCRC16ByteByByte(data.data(), n);
        std::vector<std::uint32_t> expected;
        for (const TPCRC& crc : calculators)
            expected.push_back(crc.CreateByteByByte(data.data(), n));
        for (CrcPath path : FoldingPaths()) {
            tn::crc::SelectCrcPath(path);
            EXPECT_EQ(tn::CreateCRC16(data.data(), n), crc16);
            for (std::size_t i = 0; i < calculators.size(); ++i) {
                ASSERT_EQ(calculators[i].Create(data.data(), n), expected[i])
                    << calculators[i].Width() << " " << calculators[i].Mode() << " " << n;
            }
        }
    }
}

// One entry of the catalogue of parametrised CRCs, with its published check value.
struct Catalogued {
    const char* name;
    int width;
    std::uint32_t poly, init;
    bool refin, refout;
    std::uint32_t xorout, check;
};

const Catalogued kCatalogue[] = {
    {"CRC-3/GSM", 3, 0x3, 0x0, false, false, 0x7, 0x4},
    {"CRC-3/ROHC", 3, 0x3, 0x7, true, true, 0x0, 0x6},
    {"CRC-4/G-704", 4, 0x3, 0x0, true, true, 0x0, 0x7},
    {"CRC-4/INTERLAKEN", 4, 0x3, 0xF, false, false, 0xF, 0xB},
    {"CRC-5/EPC-C1G2", 5, 0x09, 0x09, false, false, 0x00, 0x00},
    {"CRC-5/G-704", 5, 0x15, 0x00, true, true, 0x00, 0x07},
    {"CRC-5/USB", 5, 0x05, 0x1F, true, true, 0x1F, 0x19},
    {"CRC-6/CDMA2000-A", 6, 0x27, 0x3F, false, false, 0x00, 0x0D},
    {"CRC-6/G-704", 6, 0x03, 0x00, true, true, 0x00, 0x06},
    {"CRC-7/MMC", 7, 0x09, 0x00, false, false, 0x00, 0x75},
    {"CRC-7/ROHC", 7, 0x4F, 0x7F, true, true, 0x00, 0x53},
    {"CRC-8/SMBUS", 8, 0x07, 0x00, false, false, 0x00, 0xF4},
    {"CRC-8/MAXIM-DOW", 8, 0x31, 0x00, true, true, 0x00, 0xA1},
    {"CRC-8/AUTOSAR", 8, 0x2F, 0xFF, false, false, 0xFF, 0xDF},
    {"CRC-8/ROHC", 8, 0x07, 0xFF, true, true, 0x00, 0xD0},
    {"CRC-10/ATM", 10, 0x233, 0x000, false, false, 0x000, 0x199},
    {"CRC-11/FLEXRAY", 11, 0x385, 0x01A, false, false, 0x000, 0x5A3},
    {"CRC-12/UMTS", 12, 0x80F, 0x000, false, true, 0x000, 0xDAF},
    {"CRC-12/DECT", 12, 0x80F, 0x000, false, false, 0x000, 0xF5B},
    {"CRC-13/BBC", 13, 0x1CF5, 0x0000, false, false, 0x0000, 0x04FA},
    {"CRC-14/DARC", 14, 0x0805, 0x0000, true, true, 0x0000, 0x082D},
    {"CRC-15/CAN", 15, 0x4599, 0x0000, false, false, 0x0000, 0x059E},
    {"CRC-16/ARC", 16, 0x8005, 0x0000, true, true, 0x0000, 0xBB3D},
    {"CRC-16/XMODEM", 16, 0x1021, 0x0000, false, false, 0x0000, 0x31C3},
    {"CRC-16/KERMIT", 16, 0x1021, 0x0000, true, true, 0x0000, 0x2189},
    {"CRC-16/IBM-3740", 16, 0x1021, 0xFFFF, false, false, 0x0000, 0x29B1},
    {"CRC-16/MODBUS", 16, 0x8005, 0xFFFF, true, true, 0x0000, 0x4B37},
    {"CRC-16/USB", 16, 0x8005, 0xFFFF, true, true, 0xFFFF, 0xB4C8},
    {"CRC-16/IBM-SDLC", 16, 0x1021, 0xFFFF, true, true, 0xFFFF, 0x906E},
    {"CRC-16/DNP", 16, 0x3D65, 0x0000, true, true, 0xFFFF, 0xEA82},
    {"CRC-16/UMTS", 16, 0x8005, 0x0000, false, false, 0x0000, 0xFEE8},
    {"CRC-17/CAN-FD", 17, 0x1685B, 0x00000, false, false, 0x00000, 0x04F03},
    {"CRC-21/CAN-FD", 21, 0x102899, 0x000000, false, false, 0x000000, 0x0ED841},
    {"CRC-24/OPENPGP", 24, 0x864CFB, 0xB704CE, false, false, 0x000000, 0x21CF02},
    {"CRC-24/BLE", 24, 0x00065B, 0x555555, true, true, 0x000000, 0xC25A56},
    {"CRC-30/CDMA", 30, 0x2030B9C7, 0x3FFFFFFF, false, false, 0x3FFFFFFF, 0x04C34ABF},
    {"CRC-31/PHILIPS", 31, 0x04C11DB7, 0x7FFFFFFF, false, false, 0x7FFFFFFF, 0x0CE9E46C},
    {"CRC-32/ISO-HDLC", 32, 0x04C11DB7, 0xFFFFFFFF, true, true, 0xFFFFFFFF, 0xCBF43926},
    {"CRC-32/BZIP2", 32, 0x04C11DB7, 0xFFFFFFFF, false, false, 0xFFFFFFFF, 0xFC891918},
    {"CRC-32/ISCSI", 32, 0x1EDC6F41, 0xFFFFFFFF, true, true, 0xFFFFFFFF, 0xE3069283},
    {"CRC-32/MPEG-2", 32, 0x04C11DB7, 0xFFFFFFFF, false, false, 0x00000000, 0x0376E6E7},
    {"CRC-32/CKSUM", 32, 0x04C11DB7, 0x00000000, false, false, 0xFFFFFFFF, 0x765E7680},
    {"CRC-32/XFER", 32, 0x000000AF, 0x00000000, false, false, 0x00000000, 0xBD0BE338},
    {"CRC-32/AIXM", 32, 0x814141AB, 0x00000000, false, false, 0x00000000, 0x3010BF7F},
    {"CRC-32/BASE91-D", 32, 0xA833982B, 0xFFFFFFFF, true, true, 0xFFFFFFFF, 0x87315576},
};

std::uint32_t Mask(int width) {
    return width == 32 ? 0xFFFFFFFFU : (1U << width) - 1;
}

std::uint32_t Reverse(std::uint32_t v, int bits) {
    std::uint32_t r = 0;
    for (int i = 0; i < bits; ++i)
        r |= ((v >> i) & 1U) << (bits - 1 - i);
    return r;
}

// The entry's CRC through the folding engine (on the path in force), the bytes it leaves
// one bit at a time.
std::uint32_t EngineCrc(const Catalogued& e, const std::uint8_t* p, std::size_t n) {
    const tn::crc::FoldConstants k = tn::crc::MakeFoldConstants(e.width, e.poly, e.refin);
    const std::uint32_t mask = Mask(e.width);
    std::uint32_t c = e.refin ? Reverse(e.init, e.width) : e.init;
    const std::size_t folded = tn::crc::FoldPrefix(k.word, {0, 0}, c, p, n);
    for (std::size_t i = folded; i < n; ++i) {
        for (int bit = 0; bit < 8; ++bit) {
            if (e.refin) {
                const bool low = ((c ^ (p[i] >> bit)) & 1U) != 0;
                c = (c >> 1) ^ (low ? Reverse(e.poly, e.width) : 0);
            } else {
                const bool top = (((c >> (e.width - 1)) ^ (p[i] >> (7 - bit))) & 1U) != 0;
                c = ((c << 1) & mask) ^ (top ? e.poly & mask : 0);
            }
        }
    }
    if (e.refin != e.refout) c = Reverse(c, e.width);
    return (c ^ e.xorout) & mask;
}

// Boost's CRC with the entry's parameters; the width is a template argument there.
template <int W>
std::uint32_t BoostCrcOf(const Catalogued& e, const std::uint8_t* p, std::size_t n) {
    using Value = typename boost::crc_basic<W>::value_type;
    boost::crc_basic<W> crc(static_cast<Value>(e.poly), static_cast<Value>(e.init),
                            static_cast<Value>(e.xorout), e.refin, e.refout);
    crc.process_bytes(p, n);
    return static_cast<std::uint32_t>(crc.checksum());
}

template <int... W>
std::uint32_t BoostCrc(const Catalogued& e, const std::uint8_t* p, std::size_t n,
                       std::integer_sequence<int, W...>) {
    std::uint32_t result = 0;
    ((e.width == W + 1 ? (result = BoostCrcOf<W + 1>(e, p, n), 0) : 0), ...);
    return result;
}

std::uint32_t BoostCrc(const Catalogued& e, const std::uint8_t* p, std::size_t n) {
    return BoostCrc(e, p, n, std::make_integer_sequence<int, 32>{});
}

// The calculators can be set to what they express: normal order from width 8 (below, they
// read only the low bits of each byte) and the reflected order at width 16.
bool CalculatorExpresses(const Catalogued& e) {
    if (e.refin != e.refout) return false;
    return e.refin ? e.width == 16 : e.width >= 8;
}

TEST(CrcFolding, CatalogueCheckValuesOnEveryPath) {
    PathGuard guard;
    const std::string check = "123456789";
    const auto* checkBytes = reinterpret_cast<const std::uint8_t*>(check.data());
    std::mt19937 rng(2024);
    Bytes data(5000);
    for (auto& b : data)
        b = static_cast<std::uint8_t>(rng());
    std::vector<CrcPath> paths = FoldingPaths();
    paths.push_back(CrcPath::kPortable);
    for (CrcPath path : paths) {
        tn::crc::SelectCrcPath(path);
        for (const Catalogued& e : kCatalogue) {
            const std::string where =
                std::string(e.name) + ", path " + std::to_string(static_cast<int>(path));
            EXPECT_EQ(BoostCrc(e, checkBytes, 9), e.check) << where;
            EXPECT_EQ(EngineCrc(e, checkBytes, 9), e.check) << where;
            for (std::size_t n : {64, 100, 256, 1000, 4999}) {
                const std::uint8_t* p = data.data() + n % 7;
                EXPECT_EQ(EngineCrc(e, p, n), BoostCrc(e, p, n)) << where << ", " << n;
            }
            if (!CalculatorExpresses(e)) continue;
            TPCRC crc = MakeCrc(e.width, e.poly, e.refin);
            crc.Set(static_cast<int>(e.init), static_cast<int>(e.xorout));
            EXPECT_EQ(crc.Create(check.data(), 9), e.check) << where;
            EXPECT_EQ(crc.Create(data.data() + 3, 4000), BoostCrc(e, data.data() + 3, 4000))
                << where;
        }
    }
}

void SetEnvironment(const char* name, const char* value) {
#ifdef _WIN32
    _putenv_s(name, value);
#else
    setenv(name, value, 1);
#endif
}

// The variable is read once, at the first CRC of a process: fresh processes show its effect.
TEST(CrcFoldingDeathTest, EnvironmentForcesThePortablePath) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const char* saved = std::getenv("TN_CRC_PORTABLE");
    const std::string before = saved != nullptr ? saved : "";
    SetEnvironment("TN_CRC_PORTABLE", "1");
    EXPECT_EXIT(std::exit(tn::crc::ActiveCrcPath() == CrcPath::kPortable ? 0 : 1),
                testing::ExitedWithCode(0), "");
    SetEnvironment("TN_CRC_PORTABLE", "0");
    EXPECT_EXIT(std::exit(tn::crc::ActiveCrcPath() == tn::crc::AvailableCrcPath() ? 0 : 1),
                testing::ExitedWithCode(0), "");
    SetEnvironment("TN_CRC_PORTABLE", before.c_str());
    // Asking for more than the processor has gives what it has.
    PathGuard guard;
    EXPECT_EQ(tn::crc::SelectCrcPath(CrcPath::kVpclmul), tn::crc::AvailableCrcPath());
    EXPECT_EQ(tn::crc::SelectCrcPath(CrcPath::kPortable), CrcPath::kPortable);
}

}  // namespace
