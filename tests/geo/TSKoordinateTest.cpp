#include <tnpackage/tnpackage.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <numbers>

#include "geo/KoordinateWarnings.h"
#include "support/WarningCapture.h"

using namespace tn;
using tn::test::WarningCapture;

namespace {
constexpr long double kPiL = std::numbers::pi_v<long double>;
constexpr const char* kBadMode = " Vorsicht: falscher Koordinaten-Modus: ";
}  // namespace

TEST(TSKoordinate, ValidityNeedsBothIntegers) {
    EXPECT_FALSE(TSKoordinate().IsValid());
    EXPECT_FALSE(TSKoordinate(0, 5).IsValid());
    EXPECT_FALSE(TSKoordinate(5, 0).IsValid());
    EXPECT_TRUE(TSKoordinate(1, 1).IsValid());
    EXPECT_TRUE(TSKoordinate(-1, -1).IsValid());
    TSKoordinate k(0, 5);
    k.SetValid(true);  // stands in the interface and does nothing
    EXPECT_FALSE(k.IsValid());
    EXPECT_EQ(&k.Create(), &k);
    EXPECT_EQ(k.IntLaenge(), 5);
}

TEST(TSKoordinate, DegreesAndRadians) {
    const TSKoordinate k(47.5, 11.25, kmGrad);
    EXPECT_EQ(k.IntBreite(), 475000000);
    EXPECT_EQ(k.IntLaenge(), 112500000);
    EXPECT_EQ(k.BreiteGrad(), 47.5);
    EXPECT_EQ(k.LaengeGrad(), 11.25);
    EXPECT_NEAR(static_cast<double>(k.Breite(kmBogen)), 47.5 * std::numbers::pi / 180, 1e-15);
    // Any mode other than radians reads degrees.
    EXPECT_EQ(static_cast<double>(k.Laenge(4711)), 11.25);

    const TSKoordinate r(std::numbers::pi / 4, -std::numbers::pi / 2, kmBogen);
    EXPECT_EQ(r.IntBreite(), 450000000);
    EXPECT_EQ(r.IntLaenge(), -900000000);

    // Rounded to the nearest unit.
    EXPECT_EQ(TSKoordinate(0.00000004, -0.00000006, kmGrad).IntBreite(), 0);
    EXPECT_EQ(TSKoordinate(0.00000004, -0.00000006, kmGrad).IntLaenge(), -1);

    // Raw units are truncated toward zero.
    const TSKoordinate raw(12.9, -12.9, kmInteger);
    EXPECT_EQ(raw.IntBreite(), 12);
    EXPECT_EQ(raw.IntLaenge(), -12);
    EXPECT_EQ(TSKoordinate(12.9, 5.0, kmLeer), TSKoordinate());

    EXPECT_EQ(TSKoordinate::BogenToGrad(std::numbers::pi), 180.0);
    EXPECT_EQ(TSKoordinate::GradToBogen(180.0), std::numbers::pi);
    EXPECT_EQ(TSKoordinate::GradToBogen(1.0), ArcProGrad);
}

TEST(TSKoordinate, SettersAndSetInteger) {
    TSKoordinate k;
    EXPECT_EQ(k.SetInteger(10.0, kmGrad), 100000000);
    EXPECT_EQ(k, TSKoordinate());  // SetInteger stores nothing
    EXPECT_EQ(k.SetBreite(-33.25, kmGrad), -332500000);
    EXPECT_EQ(k.SetLaenge(static_cast<double>(kPiL), kmBogen), 1800000000);
    EXPECT_EQ(k, TSKoordinate(-332500000, 1800000000));
    // Out of the integer range: the conversion gives the x86 indefinite integer, no UB.
    EXPECT_EQ(k.SetInteger(1e10, kmGrad), INT_MIN);
}

TEST(TSKoordinate, NonFiniteInputStaysDefined) {
    WarningCapture warnings;
    TSKoordinate k;
    EXPECT_EQ(k.SetInteger(std::nan(""), kmGrad), 0);
    EXPECT_EQ(k.SetInteger(HUGE_VAL, kmBogen), INT_MIN);
    EXPECT_EQ(warnings.Texts().size(), 2u);
    EXPECT_EQ(TSKoordinate(std::nan(""), HUGE_VAL, kmInteger), TSKoordinate(INT_MIN, INT_MIN));
}

TEST(TSKoordinate, BadModeWarnsOncePerProcess) {
    WarningCapture warnings;
    geo::ResetKoordinateWarnings();
    const TSKoordinate a(47.5, 11.25, 4803);
    EXPECT_EQ(a, TSKoordinate());
    const TSKoordinate b(47.5, 11.25, 12);
    EXPECT_EQ(b, TSKoordinate());
    ASSERT_EQ(warnings.Texts().size(), 1u);
    EXPECT_EQ(warnings.Texts()[0], std::string(kBadMode) + "4803");

    // Silenced warnings still use up the one showing.
    geo::ResetKoordinateWarnings();
    warnings.Clear();
    WrnEnabled = false;
    TSKoordinate(1.0, 1.0, 7);
    WrnEnabled = true;
    TSKoordinate(1.0, 1.0, 8);
    EXPECT_TRUE(warnings.Texts().empty());
    geo::ResetKoordinateWarnings();
}

TEST(TSKoordinate, Operators) {
    const TSKoordinate a(10, 20), b(10, 20), c(10, 21), zero;
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a != b);
    EXPECT_TRUE(a != c);
    EXPECT_TRUE(zero == 0);
    EXPECT_FALSE(a == 0);
    EXPECT_FALSE(zero == 5);
    EXPECT_TRUE(a != 0);
    EXPECT_FALSE(zero != 0);
    EXPECT_TRUE(zero != 5);  // any non-zero number
    EXPECT_TRUE(a != 5);
    EXPECT_TRUE(TSKoordinate(0, 1) != 0);

    EXPECT_EQ(a + c, TSKoordinate(20, 41));
    EXPECT_EQ(a - c, TSKoordinate(0, -1));
    // Sums wrap like 32-bit integers.
    EXPECT_EQ(TSKoordinate(INT_MAX, INT_MIN) + TSKoordinate(1, -1), TSKoordinate(INT_MIN, INT_MAX));
    EXPECT_EQ(TSKoordinate(INT_MIN, 0) - TSKoordinate(1, 0), TSKoordinate(INT_MAX, 0));

    WarningCapture warnings;
    TSKoordinate k(7, 8);
    TSKoordinate copy = (k = 3);
    EXPECT_EQ(k, TSKoordinate(7, 8));
    EXPECT_EQ(copy, TSKoordinate(7, 8));
    ASSERT_EQ(warnings.Texts().size(), 1u);
    EXPECT_EQ(warnings.Texts()[0], "Koodinaten-Operator != 0 nicht erlaubt!");
    k = 0;
    EXPECT_EQ(k, TSKoordinate());
    EXPECT_EQ(warnings.Texts().size(), 1u);
    k = c;
    EXPECT_EQ(k, c);
}

TEST(TSKoordinate, PlusMinus) {
    EXPECT_EQ(TSKoordinate::PlusMinus(-3.0, 'N'), 0.0);
    EXPECT_EQ(TSKoordinate::PlusMinus(-3.0, 'S'), 0.0);
    EXPECT_EQ(TSKoordinate::PlusMinus(3.0, 'S'), -3.0);
    EXPECT_EQ(TSKoordinate::PlusMinus(3.0, 'W'), -3.0);
    EXPECT_EQ(TSKoordinate::PlusMinus(3.0, 's'), 3.0);  // upper case only
    EXPECT_EQ(TSKoordinate::PlusMinus(3.0, 'w'), 3.0);
    EXPECT_EQ(TSKoordinate::PlusMinus(3.0, 'N'), 3.0);
    EXPECT_EQ(TSKoordinate::PlusMinus(3.0, 'E'), 3.0);
    EXPECT_EQ(TSKoordinate::PlusMinus(3.0, '\0'), 3.0);
}

TEST(TSKoordinate, IGCText) {
    WarningCapture warnings;
    EXPECT_EQ(TSKoordinate(TPString("0000000N00000000E"), 0), TSKoordinate());
    EXPECT_EQ(TSKoordinate(TPString("0000000N00000000W"), 0), TSKoordinate());

    // 47 deg 28.123 min = 47 + 28123/60000 deg; units rounded to the nearest.
    const TSKoordinate k(TPString("4728123N01134567E"), 0);
    EXPECT_EQ(k.IntBreite(), 470000000 + 4687167);  // 28123 * 500 / 3 = 4687166.67
    EXPECT_EQ(k.IntLaenge(), 110000000 + 5761167);  // 34567 * 500 / 3 = 5761166.67
    EXPECT_STREQ(k.IGCString().c_str(), "4728123N01134567E");

    const TSKoordinate sw(TPString(" 3352123s15112345w "), 4701);
    EXPECT_LT(sw.IntBreite(), 0);
    EXPECT_LT(sw.IntLaenge(), 0);
    EXPECT_STREQ(sw.IGCString().c_str(), "3352123S15112345W");
    EXPECT_STREQ(TSKoordinate(900000000, -1800000000).IGCString().c_str(), "9000000N18000000W");
    // Thousandths of a minute round; a full minute carries into the degrees.
    EXPECT_STREQ(TSKoordinate(479999999, 1).IGCString().c_str(), "4800000N00000000E");
    EXPECT_TRUE(warnings.Texts().empty());

    // The byte-pointer constructor reads the same text.
    char bytes[] = "4728123N01134567E";
    EXPECT_EQ(TSKoordinate(bytes, 0), k);
    EXPECT_EQ(TSKoordinate(static_cast<char*>(nullptr), 0), TSKoordinate());
    EXPECT_TRUE(warnings.Texts().empty());

    for (const char* bad :
         {"", "4728123N01134567", "4728123X01134567E", "4760123N01134567E", "9100000N01134567E",
          "4728123N18100000E", "47281a3N01134567E", "4728123N01134567EE"}) {
        warnings.Clear();
        EXPECT_EQ(TSKoordinate(TPString(bad), 0), TSKoordinate()) << bad;
        ASSERT_EQ(warnings.Texts().size(), 1u) << bad;
        EXPECT_EQ(warnings.Texts()[0], std::string("Koordinate nicht lesbar: \"") + bad + "\"");
    }
}

TEST(TSKoordinate, IGCTextRoundTripsEveryThousandth) {
    // Every thousandth of a minute of a few degrees survives reading and writing.
    for (int t = 0; t < 60000 * 2; t += 7) {
        char text[32];
        std::snprintf(text, sizeof text, "%02d%05dS%03d%05dE", 10 + t / 60000, t % 60000,
                      170 + t / 60000, t % 60000);
        const TSKoordinate k(TPString(text), 0);
        ASSERT_STREQ(k.IGCString().c_str(), text);
    }
}

TEST(TSKoordinate, MarkupAngles) {
    WarningCapture warnings;
    const TSKoordinate k(TPString("47&deg;30'N"), TPString("11&deg;15.000' E"), kmHTML);
    EXPECT_EQ(k, TSKoordinate(475000000, 112500000));
    const TSKoordinate s(TPString("S 33\xB0 52' 30\""), TPString("W151&deg;12&prime;36&Prime;"),
                         kmHTML);
    EXPECT_EQ(s, TSKoordinate(-338750000, -1512100000));
    EXPECT_EQ(TSKoordinate(TPString("-12.5"), TPString("8,25 O"), kmHTML),
              TSKoordinate(-125000000, 82500000));
    EXPECT_TRUE(warnings.Texts().empty());

    // Other modes leave the coordinate empty.
    EXPECT_EQ(TSKoordinate(TPString("47"), TPString("11"), kmGrad), TSKoordinate());
    EXPECT_TRUE(warnings.Texts().empty());

    EXPECT_EQ(TSKoordinate::HTMLKoordinate(TPString("47&deg;61'N")), 0.0);
    EXPECT_EQ(TSKoordinate::HTMLKoordinate(TPString("N 47 S")), 0.0);
    EXPECT_EQ(TSKoordinate::HTMLKoordinate(TPString("hallo")), 0.0);
    EXPECT_EQ(warnings.Texts().size(), 3u);
}
