// Reading numbers from TPString.
#include <gtest/gtest.h>
#include <tnpackage/tnpackage.h>

#include <climits>

#include "TextTestHelpers.h"

using namespace tn;
using test::Owned;

TEST(TPStringNumbers, ToIntDefSkipsBlanksAndSignsAndReadsHex) {
    EXPECT_EQ(Owned("  -12").ToIntDef(7), -12);
    EXPECT_EQ(Owned("0x1F").ToIntDef(7), 31);
    EXPECT_EQ(Owned("Kanal 12").ToIntDef(7), 12);
    EXPECT_EQ(Owned("--5").ToIntDef(7), 5);  // each minus toggles the sign
    EXPECT_EQ(Owned("abc").ToIntDef(7), 7);
    EXPECT_EQ(Owned("99999999999").ToIntDef(7), INT_MAX);    // saturates like a 32-bit long
    EXPECT_EQ(Owned("-99999999999").ToIntDef(7), -INT_MAX);  // saturated, then negated
    EXPECT_EQ(TPString().ToIntDef(7), 7);
    EXPECT_EQ(TPString("17", 0).ToIntDef(7), 17);
    // Borrowed text is examined only up to its last character: a lone digit there is not read.
    EXPECT_EQ(TPString("5", 0).ToIntDef(7), 7);
    EXPECT_EQ(TPString("x5", 0).ToIntDef(7), 7);
}

TEST(TPStringNumbers, ToHexIntReadsOwnedTextOnly) {
    EXPECT_EQ(Owned("FF").ToHexInt(-1), 255);
    EXPECT_EQ(Owned("  -1a").ToHexInt(-1), -26);
    EXPECT_EQ(Owned("0x10").ToHexInt(-1), 16);
    EXPECT_EQ(Owned("zz").ToHexInt(-1), -1);
    EXPECT_EQ(Owned("80000000").ToHexInt(-1), INT_MAX);
    EXPECT_EQ(TPString("FF", 0).ToHexInt(-1), -1);  // size 0: nothing is examined
    EXPECT_EQ(TPString().ToHexInt(-1), -1);
}

TEST(TPStringNumbers, ToDoubleHonoursTheDecimalSeparator) {
    EXPECT_DOUBLE_EQ(TPString("3.25", 0).ToDouble(-1), 3.25);
    EXPECT_DOUBLE_EQ(TPString("3,25", 0).ToDouble(-1), 3.0);
    zkDecimalSeparator = ',';
    const TPString german("3,25", 0);
    EXPECT_DOUBLE_EQ(german.ToDouble(-1), 3.25);
    EXPECT_STREQ(german.c_str(), "3,25");  // restored afterwards
    zkDecimalSeparator = '.';
    EXPECT_DOUBLE_EQ(TPString("1e999", 0).ToDouble(-1), -1);
    EXPECT_DOUBLE_EQ(TPString().ToDouble(-1), -1);
    EXPECT_DOUBLE_EQ(TPString("abc", 0).ToDouble(-1), 0);
}
