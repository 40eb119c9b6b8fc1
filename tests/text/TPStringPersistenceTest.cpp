#include <tnpackage/tnpackage.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/DeviceWindow.h"
#include "support/WarningCapture.h"

namespace {

using tn::TPString;
using Window = tn::test::DeviceWindow;

TPString Owned(const char* text) {
    TPString s;
    s = text;
    return s;
}

TEST(TPStringPersistence, SaveWritesTheBufferAndThenRefersToTheImage) {
    Window image(0x00100000, 64), target(0x00300000, 32);
    std::memcpy(target.CharAt(0x00300010), "Ziel", 5);
    TPString s = Owned("Kurs!");
    int address = 0x00100008;
    EXPECT_EQ(s.Save(address, image.Writer(), 0), 6);
    EXPECT_EQ(s.c_str(), image.CharAt(0x00100008));  // read there, never released
    EXPECT_TRUE(s == TPString("kurs!"));
    std::string copied;  // Copy hands out the same bytes and leaves the string alone
    EXPECT_EQ(s.Copy(address, [&](int, char b) { copied += b; }), 6);
    EXPECT_EQ(s.Copy(address, nullptr) + TPString().Save(address, image.Writer(), 0), 0);
    EXPECT_EQ(copied, std::string("Kurs!", 6));
    EXPECT_EQ(address, 0x00100008 + 12);

    // With an offset it refers to where the image will stand; SetOffset moves it, and a
    // place that maps nowhere gives no text rather than a dangling one.
    TPString moved = Owned("Quelle");
    address = 0x00100020;
    EXPECT_EQ(moved.Save(address, image.Writer(), 0x00200000 - 0x10), 7);
    EXPECT_STREQ(moved.c_str(), "Ziel");
    moved.SetOffset(0x00500000);
    EXPECT_EQ(moved.c_str(), nullptr);
    moved.SetOffset(-0x00500000 - 0x00200000 + 0x10);
    EXPECT_STREQ(moved.c_str(), "Quelle");

    // Borrowed text, or no writer: nothing is written, yet the reference moves.
    TPString borrowed("literal", 0u), writerless = Owned("Weg");
    address = 0x00300010;
    EXPECT_EQ(borrowed.Save(address, image.Writer(), 0) + writerless.Save(address, nullptr, 0), 0);
    EXPECT_EQ(std::string(borrowed.c_str()) + writerless.c_str(), "ZielZiel");
}

TEST(TPStringPersistence, SavingCopiesIntoMemoryAndFollowsTheCopy) {
    tn::test::WarningCapture warnings;
    char out[16] = {};
    TPString blank = Owned("x");
    blank.SetLength(0);  // an owned, empty buffer
    EXPECT_EQ(TPString().Saving(out, 0) + blank.Saving(out, 0), 0);
    EXPECT_EQ(blank.c_str(), nullptr);
    EXPECT_EQ(blank.Size(), 0);

    // Into a window with an offset, the reference is a device address.
    Window local(0x00700000, 32), target(0x00780000, 32);
    std::memcpy(target.CharAt(0x00780004), "dort", 5);
    TPString t = Owned("hier");
    EXPECT_EQ(t.Saving(local.CharAt(0x00700004), 0x80000), 5);
    EXPECT_STREQ(local.CharAt(0x00700004), "hier");
    EXPECT_STREQ(t.c_str(), "dort");
    TPString in(static_cast<const char*>(local.CharAt(0x00700004)), 0u);  // borrowed, in a window
    in.SetOffset(0x80000);
    EXPECT_STREQ(in.c_str(), "dort");
    EXPECT_TRUE(warnings.Texts().empty());

    // Ordinary memory has no address to move: the string keeps the copy, with a warning; the
    // same for SetOffset of text outside every window.
    TPString u = Owned("neu");
    EXPECT_EQ(u.Saving(out, 12), 4);
    u.SetOffset(8);
    EXPECT_EQ(u.c_str(), out);
    EXPECT_STREQ(out, "neu");
    EXPECT_EQ(warnings.Texts().size(), 2u);
}

}  // namespace
