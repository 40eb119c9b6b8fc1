// Binary forms against byte patterns worked out by hand (the IEEE bits with Python's struct).
#include <tnpackage/tnpackage.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>

using namespace tn;

namespace {
template <std::size_t N>
std::array<unsigned char, N> Bytes(const char (&buffer)[N]) {
    std::array<unsigned char, N> out{};
    std::memcpy(out.data(), buffer, N);
    return out;
}

std::array<unsigned char, 3> WrittenVolkslogger(int wert) {
    char buffer[3] = {};
    char* p = buffer;
    TSKoordinate::ToVolkslogger(p, wert);
    EXPECT_EQ(p, buffer + 3);
    return Bytes(buffer);
}

std::array<unsigned char, 4> WrittenZ80(double value) {
    char buffer[4] = {};
    TSKoordinate::ToZ80Float(buffer, value);
    return Bytes(buffer);
}

using B3 = std::array<unsigned char, 3>;
using B4 = std::array<unsigned char, 4>;
}  // namespace

TEST(Volkslogger, ReadingOneAngle) {
    char one[] = {0x00, 0x00, 0x01};
    char* p = one;
    EXPECT_EQ(TSKoordinate::FromVolkslogger(p, true, false), 249);  // 500/3 = 166, + 83
    EXPECT_EQ(p, one + 3);

    // 47 deg 30.000 min = 2850000 thousandths = 0x2B7CD0; with the south bit.
    char south[] = {static_cast<char>(0xAB), 0x7C, static_cast<char>(0xD0)};
    p = south;
    EXPECT_EQ(TSKoordinate::FromVolkslogger(p, true, false), -475000083);
    EXPECT_EQ(static_cast<unsigned char>(south[0]), 0x2B);  // the sign bit is cleared in place

    // A longitude's top bit is magnitude: 179 deg 59.999 min = 10799999 = 0xA4CB7F.
    char east[] = {static_cast<char>(0xA4), static_cast<char>(0xCB), 0x7F};
    p = east;
    EXPECT_EQ(TSKoordinate::FromVolkslogger(p, false, false), 1799999916);
    EXPECT_EQ(static_cast<unsigned char>(east[0]), 0xA4);
    p = east;
    EXPECT_EQ(TSKoordinate::FromVolkslogger(p, false, true), -1799999916);
    // The widest magnitude does not fit 32 bits; the reader's 64-bit result keeps it.
    char widest[] = {static_cast<char>(0xFF), static_cast<char>(0xFF), static_cast<char>(0xFF)};
    p = widest;
    EXPECT_EQ(TSKoordinate::FromVolkslogger(p, false, false), 2796202500LL + 83);
}

TEST(Volkslogger, Constructors) {
    // 47 deg 30 min N (0x2B7CD0), 11 deg 15 min (0x0A4CB8), then the sign byte: west.
    char after[] = {0x2B,
                    0x7C,
                    static_cast<char>(0xD0),
                    0x0A,
                    0x4C,
                    static_cast<char>(0xB8),
                    static_cast<char>(0x80)};
    EXPECT_EQ(TSKoordinate(after, kmVolkslogger), TSKoordinate(475000083, -112500083));
    char afterEast[] = {static_cast<char>(0xAB), 0x7C, static_cast<char>(0xD0), 0x0A, 0x4C,
                        static_cast<char>(0xB8), 0x7F};
    EXPECT_EQ(TSKoordinate(afterEast, kmVolkslogger), TSKoordinate(-475000083, 112500083));
    EXPECT_EQ(static_cast<unsigned char>(afterEast[0]), 0x2B);

    char front[] = {
        static_cast<char>(0x80), static_cast<char>(0xAB), 0x7C, static_cast<char>(0xD0), 0x0A, 0x4C,
        static_cast<char>(0xB8)};
    EXPECT_EQ(TSKoordinate(front, kmVolksloggerVorn), TSKoordinate(-475000083, -112500083));
    EXPECT_EQ(static_cast<unsigned char>(front[1]), 0x2B);
    char frontEast[] = {
        0x00, 0x2B, 0x7C, static_cast<char>(0xD0), 0x0A, 0x4C, static_cast<char>(0xB8)};
    EXPECT_EQ(TSKoordinate(frontEast, kmVolksloggerVorn), TSKoordinate(475000083, 112500083));
}

TEST(Volkslogger, Writing) {
    EXPECT_EQ(WrittenVolkslogger(475000000), (B3{0x2B, 0x7C, 0xD0}));
    EXPECT_EQ(WrittenVolkslogger(475000083), (B3{0x2B, 0x7C, 0xD0}));
    EXPECT_EQ(WrittenVolkslogger(166), (B3{0x00, 0x00, 0x00}));  // 498 / 500 truncates
    EXPECT_EQ(WrittenVolkslogger(167), (B3{0x00, 0x00, 0x01}));
    // No sign bit: a negative value writes the low bytes of the negative quotient.
    EXPECT_EQ(WrittenVolkslogger(-475000000), (B3{0xD4, 0x83, 0x30}));
    // Up to 715827882 units the product fits: 2147483646 / 500 = 4294967 = 0x418937.
    EXPECT_EQ(WrittenVolkslogger(715827882), (B3{0x41, 0x89, 0x37}));
    // One more and it wraps to -2147483647, / 500 = -4294967 = 0xFFBE76C9.
    EXPECT_EQ(WrittenVolkslogger(715827883), (B3{0xBE, 0x76, 0xC9}));
    // 80 degrees: 2400000000 wraps to -1894967296, / 500 = -3789934 = 0xFFC62B92.
    EXPECT_EQ(WrittenVolkslogger(800000000), (B3{0xC6, 0x2B, 0x92}));
}

TEST(Z80Float, Writing) {
    // pi/4 times 4 is pi: IEEE 0x40490FDB.
    EXPECT_EQ(WrittenZ80(0.78539816339744831), (B4{0x80, 0x49, 0x0F, 0xDB}));
    EXPECT_EQ(WrittenZ80(-0.78539816339744831), (B4{0x80, 0xC9, 0x0F, 0xDB}));
    EXPECT_EQ(WrittenZ80(0.0), (B4{0x00, 0x00, 0x00, 0x00}));
    EXPECT_EQ(WrittenZ80(0.25), (B4{0x7F, 0x00, 0x00, 0x00}));  // 1.0 = 0x3F800000
    // 0.001 times 4 = 0.004: IEEE 0x3B83126F.
    EXPECT_EQ(WrittenZ80(0.001), (B4{0x77, 0x03, 0x12, 0x6F}));
}

TEST(Z80Float, Reading) {
    const char pi4[] = {static_cast<char>(0x80), 0x49, 0x0F, static_cast<char>(0xDB)};
    EXPECT_EQ(TSKoordinate::FromZ80Float(pi4), 13176795.0 / 16777216.0);  // 0xC90FDB / 2^24
    // A negative mantissa is read as two's complement: -(2^23 - 0x490FDB) / 2^24.
    const char minusPi4[] = {static_cast<char>(0x80), static_cast<char>(0xC9), 0x0F,
                             static_cast<char>(0xDB)};
    EXPECT_EQ(TSKoordinate::FromZ80Float(minusPi4), -3600421.0 / 16777216.0);
    // Exponent 0 is zero whatever follows.
    const char zero[] = {0x00, static_cast<char>(0xFF), static_cast<char>(0xFF), 0x12};
    EXPECT_EQ(TSKoordinate::FromZ80Float(zero), 0.0);
    // Exponent 0x77: shift 152 - 119 = 33, taken modulo 32 as 1.
    const char small[] = {0x77, 0x03, 0x12, 0x6F};
    EXPECT_EQ(TSKoordinate::FromZ80Float(small), 0x83126F / 2.0);
    // Exponent 121: shift 31, and 1 << 31 is a negative divisor.
    const char e121[] = {0x79, 0x00, 0x00, 0x00};
    EXPECT_EQ(TSKoordinate::FromZ80Float(e121), -0.00390625);
    // Exponent 0x7F: 1.0 / 4... read back as 0.25 (hidden bit only).
    const char quarter[] = {0x7F, 0x00, 0x00, 0x00};
    EXPECT_EQ(TSKoordinate::FromZ80Float(quarter), 0.25);
}

TEST(Z80Float, CoordinateForms) {
    // 45 deg N, 45 deg W in radians as Z80 floats.
    char out[8] = {};
    TSKoordinate(450000000, -450000000).ToVXCFloat(out);
    EXPECT_EQ(Bytes(out),
              (std::array<unsigned char, 8>{0x80, 0x49, 0x0F, 0xDB, 0x80, 0xC9, 0x0F, 0xDB}));
    // Read back: the float of pi/4 is 45.0000012522... degrees; the negative half reads as
    // -(2^23 - fraction) / 2^24 radians.
    const TSKoordinate back(out, kmZ80Float);
    EXPECT_EQ(back.IntBreite(), 450000013);
    EXPECT_EQ(back.IntLaenge(), -122957783);  // -0.2146018147468567 rad

    // PC floats: little-endian IEEE singles.
    char pc[] = {static_cast<char>(0xDB), 0x0F, 0x49, 0x3F,
                 static_cast<char>(0xDB), 0x0F, 0x49, static_cast<char>(0xBF)};
    EXPECT_EQ(TSKoordinate::PCFloatToBogen(pc), 13176795.0 / 16777216.0);
    EXPECT_EQ(TSKoordinate(pc, kmPCFloat), TSKoordinate(450000013, -450000013));
}
