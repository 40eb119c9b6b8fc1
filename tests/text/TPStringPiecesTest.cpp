// Pieces, padding, trimming, case and edits of TPString.
#include <gtest/gtest.h>
#include <tnpackage/tnpackage.h>

#include <string>

#include "support/WarningCapture.h"

#include "TextTestHelpers.h"

using namespace tn;
using test::Owned;

TEST(TPStringPieces, SubStringCountsFromOneAndAnswersZeroOnError) {
    test::WarningCapture capture;
    const TPString s("abcdef", 0);
    EXPECT_EQ(ToStdString(s.SubString(2, 3)), "bcd");
    EXPECT_EQ(ToStdString(s.SubString(3, 0)), "cdef");
    EXPECT_EQ(ToStdString(s.SubString(0, 2)), "ab");  // start 0 is offset 0
    EXPECT_EQ(ToStdString(s.SubString(5, 10)), "ef");
    EXPECT_EQ(ToStdString(s.SubString(7, 2)), "");
    EXPECT_TRUE(capture.Texts().empty());

    EXPECT_EQ(ToStdString(s.SubString(1, 5000)), "0");
    EXPECT_EQ(ToStdString(s.SubString(1, 4096)), "0");
    EXPECT_EQ(ToStdString(s.SubString(-2, 3)), "0");  // would read in front of the text
    ASSERT_EQ(capture.Texts().size(), 3u);
    EXPECT_EQ(capture.Texts()[0], "SubString zu gro\xDF: 5000");
    EXPECT_EQ(capture.Texts()[1], "SubString zu gro\xDF: 4096");
    EXPECT_EQ(capture.Texts()[2], "Exception");

    const std::string longText(5000, 'x');
    EXPECT_EQ(ToStdString(TPString(longText.c_str(), 0).SubString(1, 0)).size(), 4095u);
}

TEST(TPStringPieces, LeftAndRightPadInAFieldOfAtMost255) {
    const TPString ab("ab", 0);
    EXPECT_EQ(ToStdString(ab.Left(5)), "ab   ");
    EXPECT_EQ(ToStdString(ab.Right(5)), "   ab");
    EXPECT_EQ(ToStdString(TPString("abcdef", 0).Left(3)), "abc");
    EXPECT_EQ(ToStdString(TPString("abcdef", 0).Right(2)), "ef");
    EXPECT_EQ(ToStdString(ab.Left(400)).size(), 255u);
    EXPECT_EQ(ToStdString(ab.Left(-3)), "");
    const std::string source(300, 'q');
    const TPString big(source.c_str(), 0);
    EXPECT_EQ(ToStdString(big.Left(3)), std::string(255, 'q'));
    EXPECT_EQ(ToStdString(big.Right(3)), std::string(255, 'q'));
}

TEST(TPStringPieces, SetLengthCutsInPlace) {
    TPString s = Owned("abcdef");
    EXPECT_EQ(ToStdString(s.SetLength(3)), "abc");
    EXPECT_EQ(ToStdString(s), "abc");
    EXPECT_EQ(s.Size(), 4);
    EXPECT_EQ(ToStdString(s.SetLength(10)), "abc");  // longer: unchanged
    EXPECT_EQ(s.Size(), 4);
    TPString empty;
    EXPECT_EQ(ToStdString(empty.SetLength(2)), "0");
    TPString literal("abcdef", 0);
    EXPECT_EQ(ToStdString(literal.SetLength(2)), "ab");
}

TEST(TPStringPieces, TrimRemovesSpaceAnd160ButLeavesBorrowedTextAlone) {
    EXPECT_EQ(ToStdString(Owned(" \t\xA0"
                                "ab c\xA0\n ")
                              .Trim()),
              "ab c");
    EXPECT_EQ(ToStdString(Owned("   ").Trim()), "");
    EXPECT_EQ(ToStdString(TPString("  ab  ", 0).Trim()), "  ab  ");  // owns no buffer: a plain copy
    EXPECT_EQ(ToStdString(TPString("  ab  ", 0).TrimLeft()), "ab  ");
    EXPECT_EQ(ToStdString(TPString("  ab  ", 0).TrimRight()), "  ab");
    EXPECT_TRUE(TPString::IsSpace('\xA0'));
    EXPECT_FALSE(TPString::IsSpace('a'));
}

TEST(TPStringPieces, CaseConversions) {
    EXPECT_EQ(ToStdString(TPString("aBc1", 0).UpperCase()), "ABC1");
    EXPECT_EQ(ToStdString(TPString("aBc1", 0).LowerCase()), "abc1");
    EXPECT_EQ(ToStdString(TPString("hAUS", 0).NormalCase()), "Haus");
    EXPECT_EQ(ToStdString(TPString("IM", 0).NormalCase()), "im");
    EXPECT_EQ(ToStdString(TPString("Bei", 0).NormalCase()), "bei");
    EXPECT_EQ(ToStdString(TPString("bein", 0).NormalCase()), "Bein");
    EXPECT_EQ(ToStdString(TPString("x", 0).NormalCase()), "X");
    EXPECT_EQ(TPString().NormalCase().c_str(), nullptr);
}

TEST(TPStringPieces, ReplaceStringsNeverCopiesTheLastPatternLengthMinusOne) {
    const TPString s("abcabc", 0);
    EXPECT_EQ(ToStdString(s.ReplaceStrings(TPString("bc", 0), TPString("X", 0))), "aXcaX");
    EXPECT_EQ(ToStdString(s.ReplaceStrings(TPString("c", 0), TPString("--", 0))), "ab--ab--");
    EXPECT_EQ(ToStdString(s.ReplaceStrings(TPString("zz", 0), TPString("X", 0))), "abcab");
    EXPECT_EQ(ToStdString(s.ReplaceStrings(TPString("BC", 0), TPString("X", 0))), "aXcaX");
    TPString::CaseSensitive = true;
    EXPECT_EQ(ToStdString(s.ReplaceStrings(TPString("BC", 0), TPString("X", 0))), "abcab");
    TPString::CaseSensitive = false;
    EXPECT_EQ(ToStdString(s.ReplaceStrings(TPString(), TPString("!", 0))), "abcabc!");
    EXPECT_EQ(TPString().ReplaceStrings(TPString("a", 0), TPString("b", 0)).c_str(), nullptr);

    const std::string wide(3000, 'a');
    const TPString many(wide.c_str(), 0);
    EXPECT_EQ(ToStdString(many.ReplaceStrings(TPString("a", 0), TPString("bb", 0))).size(), 4095u);
}

TEST(TPStringPieces, EditsWithoutAndWithCharacters) {
    EXPECT_EQ(ToStdString(TPString("a-b-c", 0).WithoutChar(TPString("-", 0))), "abc");
    EXPECT_EQ(ToStdString(TPString("-", 0).WithoutChar(TPString("-", 0))), "");
    EXPECT_EQ(ToStdString(TPString("abc", 0).WithoutChar(TPString("-", 0))), "abc");
    EXPECT_EQ(ToStdString(TPString("a.b.c", 0).ChangeChar('.', ',')), "a,b,c");

    TPString s = Owned("1.234,5");
    s.DeleteDelimiter(TPString(".,", 0));
    EXPECT_EQ(ToStdString(s), "12345");
    EXPECT_EQ(s.Size(), 6);
    static const char literal[] = "x-y";
    TPString borrowed(literal, 0);
    borrowed.DeleteDelimiter(TPString("-", 0));
    EXPECT_EQ(ToStdString(borrowed), "xy");
    EXPECT_STREQ(literal, "x-y");  // a literal is never written to

    EXPECT_EQ(ToStdString(TPString::StringOfChar('*', 3)), "***");
    EXPECT_EQ(TPString::StringOfChar('*', -1).c_str(), nullptr);

    TPString swap = Owned("abc");
    swap.SwapText();
    EXPECT_EQ(ToStdString(swap), "cba");
}
