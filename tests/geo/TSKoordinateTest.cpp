// The coordinate value: units, validity, operators, text and binary forms (against byte
// patterns worked out by hand, the IEEE bits with Python's struct), and the constants.
#include <tnpackage/tnpackage.h>

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <string>
#include <tuple>
#include <vector>

#include "geo/KoordinateWarnings.h"
#include "support/WarningCapture.h"

using namespace tn;
using tn::test::WarningCapture;

namespace {
using Texts = std::vector<std::string>;
template <std::size_t N>
using Bytes = std::array<unsigned char, N>;

template <std::size_t N>
char* Chars(Bytes<N>& bytes) {
    return reinterpret_cast<char*>(bytes.data());
}
}  // namespace

TEST(TSKoordinate, UnitsAndValidity) {
    WarningCapture warnings;
    const TSKoordinate k(47.5, 11.25, kmGrad);
    EXPECT_EQ(k, TSKoordinate(475000000, 112500000));
    EXPECT_EQ(static_cast<double>(k.Laenge(4711)), 11.25);  // any mode but radians is degrees
    EXPECT_EQ(TSKoordinate(std::numbers::pi / 4, -std::numbers::pi, kmBogen),
              TSKoordinate(450000000, -1800000000));
    // Angles round to the nearest unit, raw units truncate toward zero.
    EXPECT_EQ(TSKoordinate(0.00000004, -0.00000006, kmGrad), TSKoordinate(0, -1));
    EXPECT_EQ(TSKoordinate(12.9, -12.9, kmInteger), TSKoordinate(12, -12));
    EXPECT_EQ(TSKoordinate(12.9, 5.0, kmLeer), TSKoordinate());
    TSKoordinate s;
    EXPECT_EQ(s.SetInteger(-33.25, kmGrad), -332500000);
    EXPECT_EQ(s, TSKoordinate());  // SetInteger stores nothing
    // Out of range or not finite: the x86 indefinite integer (0 for NaN), never UB.
    EXPECT_EQ(s.SetInteger(1e10, kmGrad), INT_MIN);
    EXPECT_EQ(TSKoordinate(std::nan(""), HUGE_VAL, kmInteger), TSKoordinate(INT_MIN, INT_MIN));
    EXPECT_EQ(TSKoordinate(std::nan(""), HUGE_VAL, kmGrad), TSKoordinate(0, INT_MIN));
    EXPECT_EQ(warnings.Texts().size(), 2u);  // the rounding refuses the non-finite angles

    // Valid only when both integers are non-zero; SetValid does nothing.
    EXPECT_TRUE(TSKoordinate(-1, 1).IsValid());
    for (TSKoordinate invalid : {TSKoordinate(), TSKoordinate(5, 0), TSKoordinate(0, 5)}) {
        invalid.SetValid(true);
        EXPECT_FALSE(invalid.IsValid()) << invalid.IntLaenge();
    }
}

TEST(TSKoordinate, OperatorsPlusMinusAndBadModes) {
    const TSKoordinate a(10, 20), c(10, 21), zero;
    EXPECT_TRUE(a == TSKoordinate(10, 20) && a != c);
    // Against a number, == holds only for (0, 0) and 0; != for any other pairing.
    const std::tuple<TSKoordinate, int, bool> numbers[] = {
        {zero, 0, true}, {a, 0, false}, {{0, 1}, 0, false}, {zero, 5, false}, {a, 5, false}};
    for (const auto& [k, n, equal] : numbers) {
        EXPECT_EQ(k == n, equal) << k.IntLaenge() << ' ' << n;
        EXPECT_EQ(k != n, !equal) << k.IntLaenge() << ' ' << n;
    }
    EXPECT_EQ(a - c, TSKoordinate(0, -1));
    EXPECT_EQ(TSKoordinate(INT_MAX, INT_MIN) + TSKoordinate(1, -1), TSKoordinate(INT_MIN, INT_MAX));
    const std::tuple<double, char, double> signs[] = {{-3, 'N', 0}, {-3, 'S', 0}, {3, 'S', -3},
                                                      {3, 'W', -3}, {3, 's', 3},  {3, 'w', 3},
                                                      {3, 'N', 3},  {3, 'E', 3},  {3, '\0', 3}};
    for (const auto& [betrag, richtung, result] : signs)
        EXPECT_EQ(TSKoordinate::PlusMinus(betrag, richtung), result) << betrag << richtung;

    WarningCapture warnings;
    TSKoordinate k(7, 8);
    EXPECT_EQ(k = 3, TSKoordinate(7, 8));
    EXPECT_EQ(k = 0, TSKoordinate());
    geo::ResetKoordinateWarnings();
    EXPECT_EQ(TSKoordinate(47.5, 11.25, 4803), TSKoordinate());
    EXPECT_EQ(TSKoordinate(47.5, 11.25, 12), TSKoordinate());  // once per process
    geo::ResetKoordinateWarnings();
    EXPECT_EQ(warnings.Texts(), (Texts{"Koodinaten-Operator != 0 nicht erlaubt!",
                                       " Vorsicht: falscher Koordinaten-Modus: 4803"}));
}

TEST(TSKoordinate, TextForms) {
    WarningCapture warnings;
    EXPECT_EQ(TSKoordinate(TPString("0000000N00000000W"), 0), TSKoordinate());
    // 28.123 min = 28123 * 500 / 3 units = 4687166.67, rounded to the nearest.
    char bytes[] = "4728123N01134567E";
    EXPECT_EQ(TSKoordinate(bytes, 0), TSKoordinate(474687167, 115761167));
    EXPECT_EQ(TSKoordinate(static_cast<char*>(nullptr), 0), TSKoordinate());
    // Spaces and lower case are read; a rounded-up minute carries into the degrees.
    EXPECT_STREQ(TSKoordinate(TPString(" 3352123s15112345w "), 0).IGCString().c_str(),
                 "3352123S15112345W");
    EXPECT_STREQ(TSKoordinate(479999999, -1800000000).IGCString().c_str(), "4800000N18000000W");
    // Below half a thousandth of a minute the letter is the positive one, as zero reads back.
    EXPECT_STREQ(TSKoordinate(-83, -47).IGCString().c_str(), "0000000N00000000E");
    EXPECT_STREQ(TSKoordinate(-84, -84).IGCString().c_str(), "0000001S00000001W");
    for (int t = 0; t < 60000 * 2; t += 7) {  // every few thousandths of two degrees round-trip
        char text[32];
        std::snprintf(text, sizeof text, "%02d%05dS%03d%05dE", 10 + t / 60000, t % 60000,
                      170 + t / 60000, t % 60000);
        ASSERT_STREQ(TSKoordinate(TPString(text), 0).IGCString().c_str(), text);
    }
    EXPECT_TRUE(warnings.Texts().empty());
    for (const char* bad :
         {"", "4728123N01134567", "4728123X01134567E", "4760123N01134567E", "9100000N01134567E",
          "4728123N18100000E", "47281a3N01134567E", "4728123N01134567EE"}) {
        warnings.Clear();
        EXPECT_EQ(TSKoordinate(TPString(bad), 0), TSKoordinate()) << bad;
        EXPECT_EQ(warnings.Texts(), Texts{std::string("Koordinate nicht lesbar: \"") + bad + "\""});
    }
    // The mark-up form of the two-text constructor.
    warnings.Clear();
    EXPECT_EQ(TSKoordinate(TPString("47&deg;30'N"), TPString("11&deg;15.000' E"), kmHTML),
              TSKoordinate(475000000, 112500000));
    EXPECT_EQ(TSKoordinate(TPString("S 33\xB0 52' 30\""), TPString("W151&deg;12&prime;36&Prime;"),
                           kmHTML),
              TSKoordinate(-338750000, -1512100000));
    EXPECT_EQ(TSKoordinate(TPString("-12.5"), TPString("8,25 O"), kmHTML),
              TSKoordinate(-125000000, 82500000));
    EXPECT_TRUE(warnings.Texts().empty());
    const std::string tooLong = "1" + std::string(400, '0');  // beyond every double
    for (const char* bad : {"47&deg;61'N", "N 47 S", "hallo", tooLong.c_str()})
        EXPECT_EQ(TSKoordinate::HTMLKoordinate(TPString(bad)), 0.0) << bad;
    EXPECT_EQ(warnings.Texts().size(), 4u);
}

TEST(TSKoordinate, VolksloggerForm) {
    // Thousandths of a minute: 47 deg 30 min = 2850000 = 0x2B7CD0 (bit 7 of a latitude: south);
    // 179 deg 59.999 min = 10799999 = 0xA4CB7F (a longitude's top bit is magnitude).
    const std::tuple<Bytes<3>, bool, bool, std::int64_t> cases[] = {
        {{0x00, 0x00, 0x01}, true, false, 249},  // 500 / 3 = 166, + 83
        {{0xAB, 0x7C, 0xD0}, true, false, -475000083},
        {{0xA4, 0xCB, 0x7F}, false, false, 1799999916},
        {{0xFF, 0xFF, 0xFF}, false, false, 2796202500LL + 83}};  // wider than 32 bits
    for (auto [bytes, breite, negativ, units] : cases) {
        const Bytes<3> before = bytes;
        char* p = Chars(bytes);
        EXPECT_EQ(TSKoordinate::FromVolkslogger(p, breite, negativ), units);
        EXPECT_EQ(p, Chars(bytes) + 3);
        EXPECT_EQ(bytes[0], breite ? before[0] & 0x7F : before[0]) << units;
    }
    // The same angles with 11 deg 15 min (0x0A4CB8); the longitude's sign (W) after or in front.
    const std::tuple<Bytes<7>, int, TSKoordinate> forms[] = {
        {{0x2B, 0x7C, 0xD0, 0x0A, 0x4C, 0xB8, 0x80}, kmVolkslogger, {475000083, -112500083}},
        {{0xAB, 0x7C, 0xD0, 0x0A, 0x4C, 0xB8, 0x7F}, kmVolkslogger, {-475000083, 112500083}},
        {{0x80, 0xAB, 0x7C, 0xD0, 0x0A, 0x4C, 0xB8}, kmVolksloggerVorn, {-475000083, -112500083}},
        {{0x00, 0x2B, 0x7C, 0xD0, 0x0A, 0x4C, 0xB8}, kmVolksloggerVorn, {475000083, 112500083}}};
    for (auto [bytes, mode, expected] : forms) {
        EXPECT_EQ(TSKoordinate(Chars(bytes), mode), expected) << expected.IntBreite();
        EXPECT_EQ(bytes[mode == kmVolkslogger ? 0 : 1], 0x2B);
    }
    // Writing: no sign bit, and wert * 3 wraps in 32 bits above 715827882 (71.58 degrees).
    const std::pair<int, Bytes<3>> written[] = {
        {475000083, {0x2B, 0x7C, 0xD0}},    // 1425000249 / 500 = 2850000, truncated
        {-475000000, {0xD4, 0x83, 0x30}},   // no sign bit: the low bytes of -2850000
        {715827882, {0x41, 0x89, 0x37}},    // 2147483646 / 500 = 4294967 = 0x418937
        {715827883, {0xBE, 0x76, 0xC9}},    // wraps to -2147483647, / 500 = 0xFFBE76C9
        {800000000, {0xC6, 0x2B, 0x92}},    // -1894967296 / 500 = -3789934 = 0xFFC62B92
        {-800000000, {0x39, 0xD4, 0x6E}}};  // 1894967296 / 500 = 3789934 = 0x39D46E
    for (auto [wert, expected] : written) {
        Bytes<3> bytes{};
        char* p = Chars(bytes);
        TSKoordinate::ToVolkslogger(p, wert);
        EXPECT_EQ(p, Chars(bytes) + 3);
        EXPECT_EQ(bytes, expected) << wert;
    }
}

TEST(TSKoordinate, FloatForms) {
    Bytes<4> small{};
    TSKoordinate::ToZ80Float(Chars(small), 0.001);
    EXPECT_EQ(small, (Bytes<4>{0x77, 0x03, 0x12, 0x6F}));  // 0.004 is IEEE 0x3B83126F
    // 45 deg N, 45 deg W in radians: pi/4 * 4 = pi is IEEE 0x40490FDB; the sign goes to byte 1.
    Bytes<8> z80{};
    TSKoordinate(450000000, -450000000).ToVXCFloat(Chars(z80));
    EXPECT_EQ(z80, (Bytes<8>{0x80, 0x49, 0x0F, 0xDB, 0x80, 0xC9, 0x0F, 0xDB}));
    // Read back, pi/4 as a float is 45.0000012522 degrees; the negative mantissa reads as two's
    // complement: -(2^23 - 0x490FDB) / 2^24 = -0.2146018147 rad.
    EXPECT_EQ(TSKoordinate(Chars(z80), kmZ80Float), TSKoordinate(450000013, -122957783));
    const std::pair<Bytes<4>, double> read[] = {
        {{0x00, 0xFF, 0xFF, 0x12}, 0.0},             // exponent 0 is zero whatever follows
        {{0x77, 0x03, 0x12, 0x6F}, 0x83126F / 2.0},  // shift 152 - 119 = 33, modulo 32 is 1
        {{0x79, 0x00, 0x00, 0x00}, -0.00390625}};    // shift 31: 1 << 31 is a negative divisor
    for (auto [bytes, expected] : read)
        EXPECT_EQ(TSKoordinate::FromZ80Float(Chars(bytes)), expected) << expected;
    Bytes<8> pc{0xDB, 0x0F, 0x49, 0x3F, 0xDB, 0x0F, 0x49, 0xBF};  // little-endian IEEE singles
    EXPECT_EQ(TSKoordinate(Chars(pc), kmPCFloat), TSKoordinate(450000013, -450000013));
}

TEST(Constants, ComputedAtPackageStart) {
    EXPECT_EQ(MilesPerKm, 0.5399568034557235);
    EXPECT_EQ(Pi_2 * 4, Pi2);
    EXPECT_EQ(Pi, std::numbers::pi);
    EXPECT_EQ(e, std::numbers::e);
    DistanzModus = 4;
    KoordinatenMinutenFormat = 3;
    PackageExit();
    PackageStart();  // computes the constants and sets the settings again
    EXPECT_EQ(DistanzModus, 2);
    EXPECT_EQ(KoordinatenMinutenFormat, 0);
    EXPECT_EQ(ArcProGrad, 0.017453292519943295);
    EXPECT_EQ(Tag, 1.0);
}
