// Construction, ownership and release of TPString.
#include <gtest/gtest.h>
#include <tnpackage/tnpackage.h>

#include <cstring>
#include <string>

#include "TextTestHelpers.h"

using namespace tn;
using test::Owned;

TEST(TPString, LiteralsAreBorrowedUnlessCutAndAssignmentAlwaysCopies) {
    static const char literal[] = "abcdef";
    TPString borrowed(literal, 0);
    EXPECT_EQ(borrowed.c_str(), literal);
    EXPECT_EQ(borrowed.Size(), 0);
    EXPECT_FALSE(borrowed.IsValid());
    borrowed.Delete();  // must not release the literal (the sanitizer build would object)
    EXPECT_EQ(borrowed.c_str(), nullptr);

    TPString cut(literal, 3);
    EXPECT_NE(cut.c_str(), literal);
    EXPECT_EQ(ToStdString(cut), "abc");
    EXPECT_EQ(cut.Size(), 4);
    EXPECT_TRUE(cut.IsValid());
    EXPECT_EQ(TPString(literal, 10).c_str(), literal);  // a longer limit cuts nothing

    char buffer[] = "xyz";
    TPString owned(buffer);
    EXPECT_NE(owned.c_str(), buffer);
    EXPECT_EQ(owned.Size(), 4);

    TPString assigned;
    assigned = literal;
    EXPECT_NE(assigned.c_str(), literal);
    EXPECT_EQ(assigned.Size(), 7);
    assigned = assigned;  // self-assignment keeps the text
    EXPECT_EQ(ToStdString(assigned), "abcdef");

    TPString copy(borrowed = TPString(literal, 0));
    EXPECT_EQ(copy.Size(), 7);  // copies of anything non-empty own their text
    EXPECT_TRUE(TPString("").IsEmpty());
    EXPECT_EQ(TPString("", 0).c_str(), nullptr);
}

TEST(TPString, NumbersCharactersAndConcatenation) {
    EXPECT_EQ(ToStdString(TPString(-2147483647 - 1)), "-2147483648");
    EXPECT_EQ(ToStdString(TPString('x')), "x");
    EXPECT_EQ(TPString('x').Size(), 2);
    EXPECT_EQ(TPString('\0').c_str(), nullptr);
    TPString s("abc", 0);
    EXPECT_EQ(ToStdString(s + 5), "abc5");
    EXPECT_EQ(ToStdString(s + "de" + TPString("f", 0)), "abcdef");
    EXPECT_EQ(ToStdString(TPString::Add(nullptr, "b")), "b");
    EXPECT_EQ(TPString::Add(nullptr, nullptr).c_str(), nullptr);
    EXPECT_EQ(ToStdString(TPString() + TPString()), "");
}

TEST(TPString, EveryAppendAllocatesExactlyWhatIsNeeded) {
    TPString s;
    s += '\0';
    EXPECT_EQ(s.c_str(), nullptr);
    s += 'a';
    EXPECT_EQ(s.Size(), 2);
    const char* before = s.c_str();
    s += 'b';
    EXPECT_EQ(s.Size(), 3);
    EXPECT_NE(s.c_str(), before);  // never grown in place

    TPString borrowed("xy", 0);
    TPString result = borrowed += 'z';
    EXPECT_EQ(ToStdString(borrowed), "xyz");
    EXPECT_EQ(borrowed.Size(), 4);  // length + 1 of the borrowed text, plus one
    EXPECT_EQ(ToStdString(result), "xyz");

    s += TPString("cd", 0);
    EXPECT_EQ(ToStdString(s), "abcd");
    EXPECT_EQ(s.Size(), 5);
    s += s;
    EXPECT_EQ(ToStdString(s), "abcdabcd");
    s += L"\u00E4\u20AC\u4E2D";
    EXPECT_EQ(ToStdString(s), "abcdabcd\xE4\x80?");
}

TEST(TPString, ExternalBufferStringsWriteNoTerminatorAndAreNeverReleased) {
    char buffer[8];
    std::memset(buffer, 'Z', sizeof buffer);
    {
        TPString s("abcdef", buffer, 3);
        EXPECT_EQ(s.c_str(), buffer);
        EXPECT_EQ(s.Size(), 4);
        EXPECT_EQ(std::string(buffer, 4), "abcZ");  // no NUL written behind the text
    }                                               // released without freeing the caller's buffer
    std::memset(buffer, 0, sizeof buffer);
    TPString whole(TPString("hi", 0), buffer, 0);
    EXPECT_EQ(ToStdString(whole), "hi");
    EXPECT_EQ(whole.Size(), 3);

    std::memset(buffer, 'Q', sizeof buffer);
    TPString none("", buffer, 4);
    EXPECT_EQ(none.c_str(), nullptr);
    EXPECT_EQ(buffer[0], 'Q');  // untouched
    TPString noBuffer("abc", nullptr, 0);
    EXPECT_EQ(noBuffer.c_str(), nullptr);
    EXPECT_EQ(noBuffer.Size(), 0);

    wchar_t wide[] = L"\u00FCber";
    std::memset(buffer, 0, sizeof buffer);
    TPString narrowed(wide, buffer, 0);
    EXPECT_EQ(ToStdString(narrowed),
              "\xFC"
              "ber");
}

TEST(TPString, TextInsideAMappedDeviceWindowIsNeverReleased) {
    static char image[64] = {};
    ASSERT_TRUE(DeviceAddressSpace::Map(DeviceAddressSpace::kInstrumentBase, image, sizeof image));
    {
        TPString s("Flug", image, 0);
        EXPECT_TRUE(DeviceAddressSpace::InInstrumentRange(s.c_str()));
    }
    EXPECT_EQ(std::string(image), "Flug");
    DeviceAddressSpace::Clear();
}

TEST(TPString, WideStringsMapAll256BytesBothWays) {
    std::string all;
    for (int b = 1; b < 256; ++b)
        all.push_back(static_cast<char>(b));
    const TPString bytes(all.c_str(), 0);
    const UnicodeString wide(bytes);
    ASSERT_EQ(wide.size(), 255u);
    EXPECT_EQ(wide[0x80 - 1], L'\u20AC');
    EXPECT_EQ(wide[0x81 - 1], L'\u0081');  // undefined in the code page: kept as C1 control
    EXPECT_EQ(wide[0x9F - 1], L'\u0178');
    EXPECT_EQ(wide[0xE4 - 1], L'\u00E4');
    EXPECT_EQ(ToStdString(TPString(wide)), all);
    EXPECT_EQ(ToStdString(TPString(UnicodeString(L"\u4E2D\u00DF"))), "?\xDF");
    EXPECT_TRUE(UnicodeString(TPString()).empty());
}

TEST(TPString, EmptinessAndValidity) {
    EXPECT_TRUE(TPString::IsEmptyText(nullptr));
    EXPECT_TRUE(TPString::IsEmptyText(reinterpret_cast<const char*>(0x100)));
    EXPECT_TRUE(TPString::IsEmptyText(reinterpret_cast<const char*>(0x3FFF)));
    EXPECT_TRUE(TPString::IsEmptyText(""));
    EXPECT_FALSE(TPString::IsEmptyText("a"));

    TPString s("abc");
    s = "abc";
    EXPECT_TRUE(s.IsValid());
    s[2] = '\0';  // someone wrote into the buffer
    EXPECT_FALSE(s.IsValid());
    EXPECT_EQ(s.Length(), 1);
    EXPECT_TRUE(TPString().IsValid());
    EXPECT_EQ(TPString().Length(), 0);
    EXPECT_EQ(TPString("xyz", 0).LastChar(), 'z');
    EXPECT_EQ(TPString().LastChar(), '\0');
    EXPECT_EQ(TPString("a.b.c", 0).CountChar('.'), 2);
}

TEST(TPString, TrustedCopiesUpToTheFirstNulAndOwnsItsBuffer) {
    std::string text = "Ordner\xE4";
    TPString copy = TPString::Trusted(text);
    text[0] = 'X';
    EXPECT_STREQ(copy.c_str(), "Ordner\xE4");
    EXPECT_TRUE(copy.IsValid());
    EXPECT_STREQ(TPString::Trusted(std::string("ab\0cd", 5)).c_str(), "ab");
    EXPECT_TRUE(TPString::Trusted("").IsEmpty());
    EXPECT_EQ(TPString::Trusted(static_cast<const char*>(nullptr)).c_str(), nullptr);
}

// Swapping exchanges the texts as they are: an owned buffer stays the same buffer and stays
// owned, a borrowed literal stays borrowed, and each is released by its new holder only.
TEST(TPString, SwapExchangesTextsWithoutCopying) {
    static const char literal[] = "borrowed";
    TPString owned = TPString::Trusted("owned text");
    TPString borrowed(literal);
    const char* ownedText = owned.c_str();
    owned.Swap(borrowed);
    EXPECT_EQ(owned.c_str(), literal);
    EXPECT_EQ(owned.Size(), 0);
    EXPECT_EQ(borrowed.c_str(), ownedText);
    EXPECT_EQ(borrowed.Size(), static_cast<int>(sizeof "owned text"));
    EXPECT_TRUE(borrowed.IsValid());

    TPString empty;
    empty.Swap(borrowed);
    EXPECT_EQ(borrowed.c_str(), nullptr);
    EXPECT_STREQ(empty.c_str(), "owned text");
}
