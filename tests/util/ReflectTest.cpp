// Reflect: bit reversal of a field, against published reflected polynomials and against
// reversing the binary digits as text.
#include <tnpackage/util/Reflect.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bitset>
#include <cstdint>
#include <random>
#include <string>

namespace {

TEST(Reflect, PublishedReflectedPolynomials) {
    EXPECT_EQ(tn::Reflect(0x1021, 16), 0x8408);
    EXPECT_EQ(tn::Reflect(0x8005, 16), 0xA001);
    EXPECT_EQ(static_cast<std::uint32_t>(tn::Reflect(0x04C11DB7, 32)), 0xEDB88320U);
    EXPECT_EQ(tn::Reflect(0x07, 8), 0xE0);
    EXPECT_EQ(tn::Reflect(1, 8), 0x80);
    EXPECT_EQ(tn::Reflect(0x80, 8), 1);
}

TEST(Reflect, OnlyTheLowBitsCountAndEmptyFieldsGiveZero) {
    EXPECT_EQ(tn::Reflect(0xFF01, 8), 0x80);
    EXPECT_EQ(tn::Reflect(-1, 4), 0xF);
    EXPECT_EQ(tn::Reflect(3, 1), 1);
    EXPECT_EQ(tn::Reflect(0x1234, 0), 0);
    EXPECT_EQ(tn::Reflect(0x1234, -7), 0);
    // A field wider than 32 bits: reversed as a whole, then cut to 32 bits.
    EXPECT_EQ(tn::Reflect(1, 40), 0);
    EXPECT_EQ(tn::Reflect(static_cast<int>(0x80000000U), 40), 0x100);
    EXPECT_EQ(tn::Reflect(static_cast<int>(0x80000000U), 32), 1);
}

TEST(Reflect, EqualsReversedBinaryText) {
    std::mt19937 rng(31);
    std::uniform_int_distribution<std::uint32_t> word;
    for (int round = 0; round < 2000; ++round) {
        const std::uint32_t value = word(rng);
        const int bits = 1 + round % 32;
        std::string digits = std::bitset<32>(value).to_string().substr(32 - bits);
        std::reverse(digits.begin(), digits.end());
        const auto expected = static_cast<std::uint32_t>(std::stoul(digits, nullptr, 2));
        const int reflected = tn::Reflect(static_cast<int>(value), bits);
        ASSERT_EQ(static_cast<std::uint32_t>(reflected), expected) << value << " " << bits;
        // Reflecting twice gives the field back.
        const std::uint32_t field = bits == 32 ? value : value & ((1U << bits) - 1);
        ASSERT_EQ(static_cast<std::uint32_t>(tn::Reflect(reflected, bits)), field);
    }
}

}  // namespace
