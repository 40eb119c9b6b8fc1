// Comparison and search in TPString.
#include <gtest/gtest.h>
#include <tnpackage/tnpackage.h>

#include <string>

#include "TextTestHelpers.h"

using namespace tn;
using test::Owned;

TEST(TPStringSearch, EqualityFollowsCaseSensitive) {
    EXPECT_TRUE(TPString("ABC", 0) == TPString("abc", 0));
    EXPECT_TRUE(TPString("ABC", 0) == "abc");
    TPString::CaseSensitive = true;
    EXPECT_FALSE(TPString("ABC", 0) == TPString("abc", 0));
    EXPECT_TRUE(TPString("ABC", 0) != "abc");
    TPString::CaseSensitive = false;
    EXPECT_FALSE(TPString::StrCmpU("abc", "abcd"));
    EXPECT_TRUE(TPString::StrCmpU(nullptr, ""));
    EXPECT_TRUE(TPString::StrCmpS("", ""));
    EXPECT_FALSE(TPString::StrCmpS("a", "A"));
    EXPECT_TRUE(TPString() == TPString());
}

TEST(TPStringSearch, PositionsAreOneBasedAndZeroWhenAbsent) {
    const TPString s("abcabc", 0);
    EXPECT_EQ(s.Pos(TPString("bc", 0)), 2);
    EXPECT_EQ(s.Pos(TPString("bc", 0), 3), 5);
    EXPECT_EQ(s.Pos(TPString("bc", 0), 0), 2);
    EXPECT_EQ(s.Pos(TPString("bc", 0), 7), 0);
    EXPECT_EQ(s.Pos(TPString("x", 0)), 0);
    EXPECT_EQ(s.Pos(TPString()), 0);
    EXPECT_EQ(TPString().Pos(TPString("a", 0)), 0);
    EXPECT_EQ(s.Pos('c'), 3);
    EXPECT_EQ(s.Pos('\0'), 0);

    const TPString set(",;", 0);
    const TPString fields("a,b;c,d", 0);
    EXPECT_EQ(fields.FirstDelimiter(set), 2);
    EXPECT_EQ(fields.LastDelimiter(set), 6);
    EXPECT_TRUE(fields.IsDelimiter(set, 4));
    EXPECT_FALSE(fields.IsDelimiter(set, 3));
    EXPECT_FALSE(fields.IsDelimiter(set, 0));
    EXPECT_FALSE(fields.IsDelimiter(set, 99));
    EXPECT_EQ(fields.Delimiter(set, 1), 2);
    EXPECT_EQ(fields.Delimiter(set, 3), 6);
    EXPECT_EQ(fields.Delimiter(set, 4), 0);
    EXPECT_EQ(fields.Delimiter(set, 0), 0);
}

TEST(TPStringSearch, CutOnFirstKeepsWhatStandsBeforeTheMarker) {
    EXPECT_EQ(ToStdString(TPString("Name=Wert", 0).CutOnFirst(TPString("=", 0))), "Name");
    EXPECT_EQ(ToStdString(TPString("Name", 0).CutOnFirst(TPString("=", 0))), "Name");
    // A marker in front: SubString(1, 0) reads a count of 0 as "to the end".
    EXPECT_EQ(ToStdString(TPString("=Wert", 0).CutOnFirst(TPString("=", 0))), "=Wert");
}

TEST(TPStringSearch, LookForPlaceholderFindsTheTextBetweenMarkers) {
    const TPString s("Pfad $(ZKS) und $(TMP)", 0);
    int position = 0;
    EXPECT_EQ(ToStdString(s.LookForPlaceholder(position, TPString("$(", 0), TPString(")", 0))),
              "ZKS");
    EXPECT_EQ(position, 6);
    position = 7;
    EXPECT_EQ(ToStdString(s.LookForPlaceholder(position, TPString("$(", 0), TPString(")", 0))),
              "TMP");
    EXPECT_EQ(position, 17);

    int p2 = 0;
    EXPECT_EQ(
        ToStdString(TPString("a%X%b", 0).LookForPlaceholder(p2, TPString("%", 0), TPString())),
        "X");
    int p3 = 0;
    EXPECT_EQ(
        ToStdString(
            TPString("a $(open", 0).LookForPlaceholder(p3, TPString("$(", 0), TPString(")", 0))),
        "0");
    EXPECT_EQ(p3, 0);
    int p4 = 0;  // markers next to each other enclose nothing: the error text "0"
    EXPECT_EQ(ToStdString(TPString("%%", 0).LookForPlaceholder(p4, TPString("%", 0), TPString())),
              "0");
}
