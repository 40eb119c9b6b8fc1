#include <tnpackage/tnpackage.h>

#include <gtest/gtest.h>

#include "support/DeviceWindow.h"
#include "support/WarningCapture.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

using tn::DeviceAddressSpace;
using tn::TPString;
using tn::TPWriter;

using Window = tn::test::DeviceWindow;

TEST(TPStringPersistence, SaveWritesTheBufferAndThenReadsItFromTheImage) {
    Window image(0x00100000, 64);
    TPString s("Kurs");
    s += '!';  // an owned buffer of 6 bytes
    ASSERT_EQ(s.Size(), 6);
    int address = 0x00100008;
    EXPECT_EQ(s.Save(address, image.Writer(), 0), 6);
    EXPECT_EQ(address, 0x00100008 + 6);
    EXPECT_EQ(std::memcmp(image.CharAt(0x00100008), "Kurs!", 6), 0);
    // The string now lives in the image: same text, read there, never released.
    EXPECT_EQ(s.c_str(), image.CharAt(0x00100008));
    EXPECT_EQ(s.Length(), 5);
    EXPECT_TRUE(s == TPString("kurs!"));
    TPString copy(s);
    EXPECT_NE(copy.c_str(), s.c_str());
    EXPECT_STREQ(copy.c_str(), "Kurs!");

    // Copy hands out the same bytes again and leaves the string where it is.
    std::vector<char> copied;
    address = 0;
    EXPECT_EQ(s.Copy(address, [&](int, char b) { copied.push_back(b); }), 6);
    EXPECT_EQ(address, 6);
    EXPECT_EQ(std::string(copied.data()), "Kurs!");
    EXPECT_EQ(s.c_str(), image.CharAt(0x00100008));
    EXPECT_EQ(s.Copy(address, TPWriter()), 0);
}

TEST(TPStringPersistence, TheOffsetRelocatesTheReference) {
    Window local(0x00200000, 32);
    Window target(0x00300000, 32);
    std::memcpy(target.CharAt(0x00300000), "Ziel", 5);
    TPString s("Quelle", 0u);
    TPString owned(s);
    int address = 0x00200000;
    EXPECT_EQ(owned.Save(address, local.Writer(), 0x00100000), 7);
    EXPECT_EQ(std::memcmp(local.CharAt(0x00200000), "Quelle", 7), 0);
    EXPECT_STREQ(owned.c_str(), "Ziel");  // refers to where the image will stand

    owned.SetOffset(-0x00100000);
    EXPECT_STREQ(owned.c_str(), "Quelle");
    owned.SetOffset(0x00500000);  // maps nowhere: no text, and nothing to release
    EXPECT_EQ(owned.c_str(), nullptr);
    EXPECT_TRUE(owned.IsEmpty());
    owned.SetOffset(-0x00500000);
    EXPECT_STREQ(owned.c_str(), "Quelle");
}

TEST(TPStringPersistence, SaveOfBorrowedEmptyOrWriterlessStrings) {
    Window image(0x00400000, 32);
    std::memcpy(image.CharAt(0x00400010), "da", 3);

    TPString empty;
    int address = 0x00400000;
    EXPECT_EQ(empty.Save(address, image.Writer(), 0), 0);
    EXPECT_EQ(address, 0x00400000);
    EXPECT_EQ(empty.c_str(), nullptr);

    // Borrowed text owns no bytes: nothing is written, yet the reference moves.
    TPString borrowed("literal", 0u);
    EXPECT_EQ(borrowed.Size(), 0);
    address = 0x00400010;
    EXPECT_EQ(borrowed.Save(address, image.Writer(), 0), 0);
    EXPECT_EQ(address, 0x00400010);
    EXPECT_STREQ(borrowed.c_str(), "da");

    // Without a writer nothing is written either, but the string still moves.
    TPString owned("Weg");
    owned = "Weg";
    address = 0x00400010;
    EXPECT_EQ(owned.Save(address, TPWriter(), 0), 0);
    EXPECT_STREQ(owned.c_str(), "da");
}

TEST(TPStringPersistence, CStrNeverDanglesOnceTheWindowIsGone) {
    std::vector<char> block(16, 0);
    ASSERT_TRUE(DeviceAddressSpace::Map(0x00600000, block.data(), 16));
    TPString s("abc");
    s = "abc";
    int address = 0x00600000;
    s.Save(
        address, [&](int a, char b) { block[static_cast<std::size_t>(a - 0x00600000)] = b; }, 0);
    EXPECT_EQ(s.c_str(), block.data());
    DeviceAddressSpace::Unmap(0x00600000);
    EXPECT_EQ(s.c_str(), nullptr);
    s.Delete();
    EXPECT_EQ(s.c_str(), nullptr);
    EXPECT_EQ(s.Size(), 0);
}

TEST(TPStringPersistence, SavingCopiesIntoMemoryAndFollowsTheCopy) {
    tn::test::WarningCapture warnings;
    TPString empty;
    char out[16] = {};
    EXPECT_EQ(empty.Saving(out, 0), 0);

    TPString blank("x");
    blank = "x";
    blank.SetLength(0);  // an owned, empty buffer
    ASSERT_NE(blank.c_str(), nullptr);
    EXPECT_EQ(blank.Saving(out, 0), 0);
    EXPECT_EQ(blank.c_str(), nullptr);
    EXPECT_EQ(blank.Size(), 0);

    TPString s;
    s = "Hallo";
    EXPECT_EQ(s.Saving(out, 0), 6);
    EXPECT_STREQ(out, "Hallo");
    EXPECT_EQ(s.c_str(), out);
    EXPECT_TRUE(warnings.Texts().empty());

    // Into a window, with an offset: the reference is a device address.
    Window local(0x00700000, 32);
    Window target(0x00780000, 32);
    std::memcpy(target.CharAt(0x00780004), "dort", 5);
    TPString t;
    t = "hier";
    EXPECT_EQ(t.Saving(local.CharAt(0x00700004), 0x80000), 5);
    EXPECT_STREQ(local.CharAt(0x00700004), "hier");
    EXPECT_STREQ(t.c_str(), "dort");

    // Ordinary memory has no address to offset: the string keeps the copy, with a warning.
    char plain[8] = {};
    TPString u;
    u = "neu";
    EXPECT_EQ(u.Saving(plain, 12), 4);
    EXPECT_EQ(u.c_str(), plain);
    EXPECT_EQ(warnings.Texts().size(), 1u);
}

TEST(TPStringPersistence, SetOffsetMovesTextThatLiesInAWindow) {
    tn::test::WarningCapture warnings;
    Window w(0x00800000, 32);
    std::memcpy(w.CharAt(0x00800000), "eins", 5);
    std::memcpy(w.CharAt(0x00800008), "zwei", 5);
    TPString s(w.CharAt(0x00800000), 0u);  // owned copy: in ordinary memory
    TPString in(static_cast<const char*>(w.CharAt(0x00800000)), 0u);  // borrowed: in the window
    in.SetOffset(8);
    EXPECT_STREQ(in.c_str(), "zwei");
    s.SetOffset(8);
    EXPECT_STREQ(s.c_str(), "eins");
    EXPECT_EQ(warnings.Texts().size(), 1u);
    TPString none;
    none.SetOffset(8);
    EXPECT_EQ(none.c_str(), nullptr);
}

}  // namespace
