// Saving never loses the previous image: a save that fails part-way leaves the old file as it
// was and warns, and leaves no temporary file behind.
#include <tnpackage/tnpackage.h>

#include <unistd.h>

#include <cstring>

#include "storage/ImageTestSupport.h"

namespace {

using namespace imagetest;
using tn::TPImageSpeicher;

class ImageSaveTest : public ImageTest {};

TEST_F(ImageSaveTest, AFullDiskDuringTheSaveKeepsTheOldImage) {
    // /dev/full accepts the open and fails every write with "no space left", like a full disk.
    if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full here";
    const std::string old = Pattern(2048);
    WriteFile(Image("FULL"), old);
    {
        TPImageSpeicher image("FULL", 2048);
        std::memset(image.Buffer, 0x55, 2048);
        fs::create_symlink("/dev/full", dir_ / "FULL.DAT.tmp");
        image.Speichern();
        ASSERT_EQ(Warnings().size(), 1u);
        EXPECT_EQ(Warnings()[0], "Widerspruch bei 'Speicher'");
        EXPECT_EQ(ReadFile(Image("FULL")), old);
        EXPECT_FALSE(fs::exists(fs::symlink_status(dir_ / "FULL.DAT.tmp")));

        // The same for a slice saved into another file.
        WriteFile(dir_ / "slice.bin", "previous");
        fs::create_symlink("/dev/full", dir_ / "slice.bin.tmp");
        image.Speichern((dir_ / "slice.bin").string().c_str(), 0, 100);
        ASSERT_EQ(Warnings().size(), 2u);
        EXPECT_EQ(Warnings()[1],
                  "Widerspruch bei 'Speicher' (" + (dir_ / "slice.bin").string() + ")");
        EXPECT_EQ(ReadFile(dir_ / "slice.bin"), "previous");
        EXPECT_FALSE(fs::exists(fs::symlink_status(dir_ / "slice.bin.tmp")));
    }
    // Without the obstacle, the destructor's save goes through.
    EXPECT_EQ(ReadFile(Image("FULL")), std::string(2048, '\x55'));
    EXPECT_EQ(Warnings().size(), 2u);
}

TEST_F(ImageSaveTest, ASaveThatCannotStartLeavesTheOldImageSilently) {
    // A folder in the way of the temporary file: the save cannot even begin, which the image
    // treats like a file it cannot create, without a message.
    const std::string old = Pattern(512);
    WriteFile(Image("BLOCKED"), old);
    fs::create_directory(dir_ / "BLOCKED.DAT.tmp");
    {
        TPImageSpeicher image("BLOCKED", 512);
        std::memset(image.Buffer, 0, 512);
        image.Speichern();
        EXPECT_EQ(ReadFile(Image("BLOCKED")), old);
    }
    EXPECT_EQ(ReadFile(Image("BLOCKED")), old);
    EXPECT_TRUE(fs::is_directory(dir_ / "BLOCKED.DAT.tmp"));
    EXPECT_TRUE(Warnings().empty());
}

TEST_F(ImageSaveTest, ASaveThatCannotReplaceTheOldFileKeepsItAndWarns) {
    // The image's name is taken by a folder with something in it: the finished temporary file
    // cannot be renamed over it.
    fs::create_directories(Image("TAKEN") / "inside");
    {
        TPImageSpeicher image("TAKEN", 512);
        image.Speichern();
        ASSERT_EQ(Warnings().size(), 1u);
        EXPECT_EQ(Warnings()[0], "Widerspruch bei 'Speicher'");
    }
    EXPECT_TRUE(fs::is_directory(Image("TAKEN") / "inside"));
    EXPECT_FALSE(fs::exists(dir_ / "TAKEN.DAT.tmp"));
}

}  // namespace
