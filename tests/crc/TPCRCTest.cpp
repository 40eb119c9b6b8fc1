// TPCRC: the check values of the catalogued CRCs, the settings, the kept reflected step of
// widths other than 16, and the eight-bytes-at-a-time form against the plain one.
#include <tnpackage/crc/TPCRC.h>
#include <tnpackage/util/Reflect.h>

#include <gtest/gtest.h>
#include <boost/crc.hpp>

#include <cstdint>
#include <random>
#include <vector>

#include "TextbookCrc.h"

namespace {

using namespace crctest;
using tn::TPCRC;

TEST(TPCRC, CheckValuesOfTheCatalogue) {
    struct Row {
        int width;
        std::uint32_t polynomial;
        int mode;
        std::uint32_t expected;
    };
    const Row rows[] = {
        {16, 0x1021, kNormal, 0x31C3},          // CRC-16/XMODEM
        {16, 0x1021, kReflected, 0x2189},       // CRC-16/KERMIT
        {16, 0x8005, kNormal, 0xFEE8},          // CRC-16/UMTS
        {16, 0x8005, kReflected, 0xBB3D},       // CRC-16/ARC
        {32, 0x04C11DB7, kNormal, 0xFC891918},  // CRC-32/BZIP2
        {32, 0x04C11DB7, kReflected, 0xEA25D238},
        {8, 0x07, kNormal, 0xF4},  // CRC-8/SMBUS
        {8, 0x07, kReflected, 0xB7},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "width " << row.width << " mode " << row.mode);
        const TPCRC crc = MakeCrc(row.width, row.polynomial, row.mode);
        EXPECT_EQ(crc.Create(CheckString(), kCheckLength), row.expected);
        EXPECT_EQ(crc.CreateByteByByte(CheckString(), kCheckLength), row.expected);
        EXPECT_EQ(crc.Create(tn::TPString("123456789")), row.expected);
    }
    // The common CRC-32 of the check string is 0xCBF43926; the reflected width-32 calculator
    // deliberately does not give it.
    EXPECT_NE(MakeCrc(32, 0x04C11DB7, kReflected).Create(CheckString(), kCheckLength), 0xCBF43926U);
}

TEST(TPCRC, ConstructionFollowsTheInsertModeOfItsTime) {
    InsertMode reflected(kReflected);
    const TPCRC crc(16, 0x1021);
    tn::CRCInsertMode = kNormal;  // changing the mode later leaves the object as it was
    EXPECT_EQ(crc.Create(CheckString(), kCheckLength), 0x2189U);
    EXPECT_EQ(crc.Mode(), kReflected);
    EXPECT_EQ(TPCRC(16, 0x1021).Create(CheckString(), kCheckLength), 0x31C3U);
    // Only 1 means reflected; any other value is the normal order.
    for (int mode : {2, -1, 0x101}) {
        tn::CRCInsertMode = mode;
        EXPECT_EQ(TPCRC(16, 0x1021).Create(CheckString(), kCheckLength), 0x31C3U) << mode;
    }
}

TEST(TPCRC, FieldsOfTheConstructor) {
    const TPCRC crc32 = MakeCrc(32, 0x04C11DB7, kNormal);
    EXPECT_EQ(crc32.Mask(), 0xFFFFFFFFU);
    EXPECT_EQ(crc32.Initial(), 0xFFFFFFFFU);
    EXPECT_EQ(crc32.FinalXor(), 0xFFFFFFFFU);
    EXPECT_EQ(crc32.ByteXor(), 0);
    // Below width 32 start and final XOR are 0.
    const TPCRC crc16 = MakeCrc(16, 0x1021, kNormal);
    EXPECT_EQ(crc16.Mask(), 0xFFFFU);
    EXPECT_EQ(crc16.Initial(), 0U);
    EXPECT_EQ(crc16.FinalXor(), 0U);
    // The normal CRC-32 table is the well-known one of the MPEG-2 CRC; the reflected one the
    // table of the common CRC-32 (the quirk lies in the step, not the table).
    EXPECT_EQ(crc32.Table()[1], 0x04C11DB7U);
    EXPECT_EQ(crc32.Table()[255], 0xB1F740B4U);
    const TPCRC reflected32 = MakeCrc(32, 0x04C11DB7, kReflected);
    EXPECT_EQ(reflected32.Table()[1], 0x77073096U);
    EXPECT_EQ(reflected32.Table()[255], 0x2D02EF8DU);
    EXPECT_EQ(MakeCrc(16, 0x1021, kReflected).Table()[1], 0x1189U);  // the KERMIT table
}

TEST(TPCRC, SetCutsToTheWidthAndTheByte) {
    TPCRC crc = MakeCrc(16, 0x1021, kNormal);
    crc.Set(0x12345, 0, 0);
    EXPECT_EQ(crc.Initial(), 0x2345U);
    crc.Set(-1, 0x7FFF0001, 0x1A5);
    EXPECT_EQ(crc.Initial(), 0xFFFFU);
    EXPECT_EQ(crc.FinalXor(), 0x0001U);
    EXPECT_EQ(crc.ByteXor(), 0xA5);
    crc.Set(1, 2);  // the two-argument form clears the byte XOR
    EXPECT_EQ(crc.ByteXor(), 0);

    // No bytes, negative lengths and missing data all give start XOR final.
    crc.Set(0x1234, 0x00FF);
    EXPECT_EQ(crc.Create(CheckString(), 0), 0x12CBU);
    EXPECT_EQ(crc.Create(CheckString(), -5), 0x12CBU);
    EXPECT_EQ(crc.Create(nullptr, 9), 0x12CBU);
    EXPECT_EQ(crc.Create(tn::TPString()), 0x12CBU);
    EXPECT_EQ(crc.CreateByteByByte(nullptr, 9), 0x12CBU);
    TPCRC crc32 = MakeCrc(32, 0x04C11DB7, kNormal);
    EXPECT_EQ(crc32.Create(CheckString(), 0), 0U);  // all ones XOR all ones
}

// Normal order at any width from 8 and the reflected order at width 16 are the textbook CRCs,
// for any polynomial, start, final XOR and byte XOR.
TEST(TPCRC, MatchesTheTextbookCrcOverRandomData) {
    std::mt19937 rng(20240611);
    std::uniform_int_distribution<std::uint32_t> word;
    for (int round = 0; round < 300; ++round) {
        const bool reflected = round % 3 == 0;
        const int width = reflected ? 16 : 8 + round % 25;
        const std::uint32_t polynomial = word(rng) | 1U;
        TPCRC crc = MakeCrc(width, polynomial, reflected ? kReflected : kNormal);
        const std::uint32_t initial = word(rng);
        const std::uint32_t finalXor = word(rng);
        const std::uint8_t byteXor = round % 4 == 0 ? static_cast<std::uint8_t>(word(rng)) : 0;
        crc.Set(AsInt(initial), AsInt(finalXor), byteXor);
        std::vector<std::uint8_t> data = RandomBytes(rng, word(rng) % 200);
        const std::uint32_t mask = crc.Mask();
        // The model starts from the register as stored; reflected, that register is the
        // reversed form of the textbook's.
        const std::uint32_t start =
            reflected ? static_cast<std::uint32_t>(ReverseBits(initial & mask, width)) : initial;
        const CrcModel model{width, polynomial, start, reflected, reflected, finalXor & mask};
        std::vector<std::uint8_t> input = data;
        for (auto& b : input)
            b ^= byteXor;
        SCOPED_TRACE(testing::Message() << "round " << round << " width " << width);
        EXPECT_EQ(crc.Create(data.data(), static_cast<int>(data.size())),
                  TextbookCrc(model, input));
    }
}

// Boost's bit-wise CRC with the model's parameters.
std::uint32_t BoostCrc(const CrcModel& m, const std::vector<std::uint8_t>& data) {
    auto run = [&](auto crc) {
        crc.process_bytes(data.data(), data.size());
        return static_cast<std::uint32_t>(crc.checksum());
    };
    switch (m.width) {
        case 8:
            return run(boost::crc_basic<8>(
                static_cast<std::uint8_t>(m.polynomial), static_cast<std::uint8_t>(m.initial),
                static_cast<std::uint8_t>(m.finalXor), m.reflectIn, m.reflectOut));
        case 16:
            return run(boost::crc_basic<16>(
                static_cast<std::uint16_t>(m.polynomial), static_cast<std::uint16_t>(m.initial),
                static_cast<std::uint16_t>(m.finalXor), m.reflectIn, m.reflectOut));
        default:
            return run(boost::crc_basic<32>(m.polynomial, m.initial, m.finalXor, m.reflectIn,
                                            m.reflectOut));
    }
}

TEST(TPCRC, CatalogueCrcsOverRandomData) {
    struct Case {
        int width;
        std::uint32_t polynomial;
        int mode;
        CrcModel model;
    };
    const Case cases[] = {
        {16, 0x1021, kNormal, kXmodem},    {16, 0x1021, kReflected, kKermit},
        {16, 0x8005, kNormal, kUmts},      {16, 0x8005, kReflected, kArc},
        {32, 0x04C11DB7, kNormal, kBzip2}, {8, 0x07, kNormal, kSmbus},
    };
    std::mt19937 rng(7);
    for (const Case& c : cases) {
        const TPCRC crc = MakeCrc(c.width, c.polynomial, c.mode);
        for (std::size_t n : {1U, 7U, 8U, 9U, 64U, 1000U, 4097U}) {
            const std::vector<std::uint8_t> data = RandomBytes(rng, n);
            const std::uint32_t expected = BoostCrc(c.model, data);
            EXPECT_EQ(TextbookCrc(c.model, data), expected);
            EXPECT_EQ(crc.Create(data.data(), static_cast<int>(n)), expected)
                << "width " << c.width << " mode " << c.mode << " bytes " << n;
        }
    }
}

// The reflected step shifts the register by width - 8. Built from the textbook's one-byte
// table, the step c = (c >> (width - 8)) ^ T[(b ^ c) & 0xFF] must give what the calculator
// gives; at width 16 that is the common reflected CRC, elsewhere it is not.
TEST(TPCRC, ReflectedStepShiftsByWidthMinusEight) {
    std::mt19937 rng(99);
    std::uniform_int_distribution<std::uint32_t> word;
    for (int width : {8, 9, 12, 16, 24, 31, 32}) {
        const std::uint32_t polynomial = width == 32 ? 0x04C11DB7 : (word(rng) | 1U);
        TPCRC crc = MakeCrc(width, polynomial, kReflected);
        const std::uint32_t mask = crc.Mask();
        const CrcModel oneByte{width, polynomial, 0, true, true, 0};
        std::uint32_t table[256];
        for (int b = 0; b < 256; ++b) {
            const auto byte = static_cast<std::uint8_t>(b);
            table[b] = TextbookCrc(oneByte, &byte, 1);
            ASSERT_EQ(crc.Table()[b], table[b]) << "width " << width << " index " << b;
        }
        const std::uint32_t initial = word(rng) & mask;
        crc.Set(AsInt(initial), 0x5A5A5A5A, 0x3C);
        const std::vector<std::uint8_t> data = RandomBytes(rng, 333);
        std::uint32_t c = initial;
        for (std::uint8_t b : data)
            c = (c >> (width - 8)) ^ table[(b ^ c ^ 0x3C) & 0xFF];
        EXPECT_EQ(crc.Create(data.data(), static_cast<int>(data.size())), c ^ (0x5A5A5A5AU & mask))
            << "width " << width;
    }
}

// Below width 8 the table only sees the low `width` bits of its index: entry i is
// (i mod 2^width) times x^8, reduced by the polynomial.
TEST(TPCRC, NarrowWidthsKeepTheirTable) {
    for (int width = 1; width < 8; ++width) {
        const std::uint32_t polynomial = (0x5BU >> (8 - width)) | 1U;
        const TPCRC crc = MakeCrc(width, polynomial, kNormal);
        const std::uint32_t mask = (1U << width) - 1;
        const std::uint8_t zero = 0;
        for (int i = 0; i < 256; ++i) {
            const CrcModel times256{width, polynomial, static_cast<std::uint32_t>(i) & mask,
                                    false, false,      0};
            ASSERT_EQ(crc.Table()[i], TextbookCrc(times256, &zero, 1)) << width << " " << i;
        }
        const TPCRC reflected = MakeCrc(width, polynomial, kReflected);
        for (int i = 0; i < 256; ++i) {
            ASSERT_EQ(
                reflected.Table()[tn::Reflect(i, 8)],
                static_cast<std::uint32_t>(tn::Reflect(static_cast<int>(crc.Table()[i]), width)));
        }
    }
}

// The eight-bytes-at-a-time Create must equal the plain byte step for every width, order,
// setting, length and alignment, including the widths that make no ordinary CRC.
TEST(TPCRC, FastFormEqualsByteByByte) {
    std::mt19937 rng(1234);
    std::uniform_int_distribution<std::uint32_t> word;
    const std::vector<std::uint8_t> pool = RandomBytes(rng, 600);
    std::vector<int> widths;
    for (int w = 1; w <= 32; ++w)
        widths.push_back(w);
    for (int w : {0, -3, 33, 39, 40, 64})
        widths.push_back(w);
    for (int width : widths) {
        for (int mode : {kNormal, kReflected}) {
            TPCRC crc = MakeCrc(width, word(rng), mode);
            for (int round = 0; round < 12; ++round) {
                crc.Set(AsInt(word(rng)), AsInt(word(rng)), round % 2 ? AsInt(word(rng)) : 0);
                const std::size_t offset = word(rng) % 16;
                const int len = static_cast<int>(word(rng) % 300);
                const std::uint8_t* p = pool.data() + offset;
                ASSERT_EQ(crc.Create(p, len), crc.CreateByteByByte(p, len))
                    << "width " << width << " mode " << mode << " len " << len;
            }
        }
    }
}

TEST(TPCRC, OddWidthsNeverFault) {
    for (int width : {0, -1, -40, 33, 40, 64, 1000}) {
        const TPCRC crc = MakeCrc(width, 0x1021, kNormal);
        SCOPED_TRACE(width);
        if (width <= 0) {
            EXPECT_EQ(crc.Mask(), 0U);
            EXPECT_EQ(crc.Create(CheckString(), kCheckLength), 0U);
        } else {
            EXPECT_EQ(crc.Mask(), 0xFFFFFFFFU);  // 2^width no longer fits: top value 0
        }
        for (int i = 0; i < 256; ++i)
            EXPECT_EQ(crc.Table()[i], 0U);
    }
}

TEST(TPCRC, HyperstoneCheckValues) {
    // The table is not used: any width and polynomial serve, start and final come from Set.
    TPCRC crc = MakeCrc(16, 0x1234, kNormal);
    EXPECT_EQ(crc.CreateHyperstone(CheckString(), kCheckLength), 0x2189);  // KERMIT
    EXPECT_EQ(crc.CreateHS(CheckString(), kCheckLength), 0x2189);
    crc.Set(0xFFFF, 0);
    EXPECT_EQ(crc.CreateHyperstone(CheckString(), kCheckLength), 0x6F91);  // MCRF4XX
    EXPECT_EQ(crc.CreateHS(CheckString(), kCheckLength), 0x6F91);
    crc.Set(0xFFFF, 0xFFFF);
    EXPECT_EQ(crc.CreateHyperstone(CheckString(), kCheckLength), 0x906E);  // IBM-SDLC
    EXPECT_EQ(crc.CreateHS(CheckString(), kCheckLength), 0x906E);
    EXPECT_EQ(crc.CreateHyperstone(CheckString(), 0), 0);  // start XOR final
    EXPECT_EQ(crc.CreateHS(nullptr, 4), 0);

    TPCRC wide = MakeCrc(24, 0, kReflected);
    wide.Set(0xABFFFF, 0);  // only the low 16 bits of the start reach the register
    EXPECT_EQ(wide.CreateHyperstone(CheckString(), kCheckLength), 0x6F91);
}

TEST(TPCRC, HyperstoneFormsAgreeForEveryStateAndByte) {
    TPCRC crc = MakeCrc(16, 0x1021, kNormal);
    int mismatches = 0;
    for (int state = 0; state < 0x10000; ++state) {
        crc.Set(state, 0);
        for (int b = 0; b < 256; ++b) {
            const auto byte = static_cast<std::uint8_t>(b);
            if (crc.CreateHyperstone(&byte, 1) != crc.CreateHS(&byte, 1)) ++mismatches;
        }
    }
    EXPECT_EQ(mismatches, 0);
}

TEST(TPCRC, HyperstoneIsTheReflectedCcittCrc) {
    std::mt19937 rng(5);
    std::uniform_int_distribution<std::uint32_t> word;
    TPCRC hyper = MakeCrc(16, 0, kNormal);
    TPCRC table = MakeCrc(16, 0x1021, kReflected);
    for (int round = 0; round < 200; ++round) {
        const int initial = AsInt(word(rng) & 0xFFFF);
        const int finalXor = AsInt(word(rng) & 0xFFFF);
        const int byteXor = round % 2 ? AsInt(word(rng) & 0xFF) : 0;
        hyper.Set(initial, finalXor, byteXor);
        table.Set(initial, finalXor, byteXor);
        const std::vector<std::uint8_t> data = RandomBytes(rng, word(rng) % 100);
        const int n = static_cast<int>(data.size());
        EXPECT_EQ(hyper.CreateHyperstone(data.data(), n), table.Create(data.data(), n));
        EXPECT_EQ(hyper.CreateHS(data.data(), n), table.Create(data.data(), n));
    }
    for (const CrcModel& m : {kKermit, kMcrf4xx, kIbmSdlc}) {
        hyper.Set(AsInt(m.initial), AsInt(m.finalXor));
        const std::vector<std::uint8_t> data = RandomBytes(rng, 777);
        EXPECT_EQ(hyper.CreateHyperstone(data.data(), 777), TextbookCrc(m, data));
    }
}

TEST(TPCRC, SharedSlotsStartEmpty) {
    // The package never fills them; an application may.
    EXPECT_EQ(tn::CRC16, nullptr);
    EXPECT_EQ(tn::CRC7, nullptr);
    EXPECT_EQ(tn::CRC32, nullptr);
    EXPECT_EQ(tn::CRCInsertMode, 0);
}

}  // namespace
