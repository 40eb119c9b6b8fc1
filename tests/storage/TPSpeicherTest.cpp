// The memory image: loading, erased fill, saving with the 4 MiB cap, partial loads and saves,
// the strict InSide test and single bytes in the file.
#include <tnpackage/tnpackage.h>

#include <unistd.h>

#include <cstring>
#include <memory>

#include "storage/ImageTestSupport.h"

namespace {

using namespace imagetest;
using tn::TPImageSpeicher;
using tn::TPSpeicher;
using tn::TPString;

class TPSpeicherTest : public ImageTest {};

std::string Contents(const TPSpeicher& image) {
    return std::string(image.Buffer, static_cast<std::size_t>(image.Size));
}

TEST_F(TPSpeicherTest, MissingFileGivesErasedImageAndEmptyFileThatTheDestructorFills) {
    {
        TPImageSpeicher image("MISSING", 1024);
        EXPECT_EQ(std::string(image.FileName.c_str()), (dir_ / "MISSING.DAT").string());
        EXPECT_EQ(image.Size, 1024);
        EXPECT_EQ(Contents(image), std::string(1024, '\xFF'));
        EXPECT_EQ(image.UsedLength, 0);
        EXPECT_EQ(image.Reserved1, 0);
        EXPECT_FALSE(image.ReservedFlag);
        ASSERT_TRUE(fs::exists(Image("MISSING")));
        EXPECT_EQ(fs::file_size(Image("MISSING")), 0u);
        image.Buffer[3] = 'x';
    }
    std::string expected(1024, '\xFF');
    expected[3] = 'x';
    EXPECT_EQ(ReadFile(Image("MISSING")), expected);
    EXPECT_TRUE(Warnings().empty());
    EXPECT_FALSE(fs::exists(dir_ / "MISSING.DAT.tmp"));
}

TEST_F(TPSpeicherTest, FileOfTheRightLengthIsLoadedAndOfAnotherLengthIgnored) {
    WriteFile(Image("RIGHT"), Pattern(4096));
    {
        TPImageSpeicher image("RIGHT", 4096);
        EXPECT_EQ(Contents(image), Pattern(4096));
        image.Buffer[0] = '!';
    }
    EXPECT_EQ(ReadFile(Image("RIGHT"))[0], '!');

    // One byte too long and one too short: neither is read, and the file waits for the save.
    for (const std::size_t length : {4097u, 4095u}) {
        WriteFile(Image("WRONG"), Pattern(length));
        {
            TPImageSpeicher image("WRONG", 4096);
            EXPECT_EQ(Contents(image), std::string(4096, '\xFF'));
            EXPECT_EQ(ReadFile(Image("WRONG")), Pattern(length));
        }
        EXPECT_EQ(ReadFile(Image("WRONG")), std::string(4096, '\xFF'));
    }
    EXPECT_TRUE(Warnings().empty());
}

TEST_F(TPSpeicherTest, SizeZeroHasNoBufferAndTouchesNoFile) {
    {
        TPImageSpeicher image("NONE", 0);
        EXPECT_EQ(image.Buffer, nullptr);
        EXPECT_FALSE(image.InSide(nullptr));
        image.Speichern();
    }
    TPImageSpeicher negative("NEGATIVE", -5);
    EXPECT_EQ(negative.Buffer, nullptr);
    EXPECT_FALSE(fs::exists(Image("NONE")));
    EXPECT_FALSE(fs::exists(Image("NEGATIVE")));
}

TEST_F(TPSpeicherTest, ShortReadOfARightSizedFileWarnsWithTheName) {
    // A kernel attribute reports a length of one page but delivers only a few bytes: the only
    // file that gives a short read of a correctly sized file without a race.
    const char* attribute = "/sys/kernel/profiling";
    if (::access(attribute, R_OK | W_OK) != 0 || fs::file_size(attribute) != 4096) {
        GTEST_SKIP() << "no kernel attribute of one page here";
    }
    fs::create_symlink(attribute, Image("SHORT"));
    {
        TPImageSpeicher image("SHORT", 4096);
        ASSERT_EQ(Warnings().size(), 1u);
        EXPECT_EQ(Warnings()[0], "Widerspruch bei 'Speicher' (SHORT)");
        EXPECT_EQ(image.Buffer[4095], '\xFF');  // what was not read stays erased
    }
    // The save replaces the link itself, never the attribute behind it.
    EXPECT_FALSE(fs::is_symlink(Image("SHORT")));
    EXPECT_EQ(fs::file_size(Image("SHORT")), 4096u);
}

TEST_F(TPSpeicherTest, WholeSaveIsCappedAtFourMebibytesAndTheSizeStaysShrunk) {
    constexpr int kFiveMiB = 5 * 1024 * 1024;
    TPImageSpeicher image("BIG", kFiveMiB);
    const std::string pattern = Pattern(kFiveMiB);
    std::memcpy(image.Buffer, pattern.data(), pattern.size());
    image.Speichern();
    EXPECT_EQ(image.Size, 0x400000);
    EXPECT_EQ(ReadFile(Image("BIG")), pattern.substr(0, 0x400000));
    // InSide follows the shrunk size.
    EXPECT_TRUE(image.InSide(image.Buffer + 0x3FFFFF));
    EXPECT_FALSE(image.InSide(image.Buffer + 0x400000));
    EXPECT_TRUE(Warnings().empty());
}

TEST_F(TPSpeicherTest, InSideExcludesBothEnds) {
    TPImageSpeicher image("INSIDE", 100);
    EXPECT_FALSE(image.InSide(image.Buffer));
    EXPECT_TRUE(image.InSide(image.Buffer + 1));
    EXPECT_TRUE(image.InSide(image.Buffer + 99));
    EXPECT_FALSE(image.InSide(image.Buffer + 100));
    EXPECT_FALSE(image.InSide(nullptr));
    const char elsewhere = 0;
    EXPECT_FALSE(image.InSide(&elsewhere));
}

TEST_F(TPSpeicherTest, LadenPadsAShortFileWithFourZerosThenErasedBytes) {
    TPImageSpeicher image("LOAD", 64);
    std::memset(image.Buffer, 'a', 64);
    WriteFile(dir_ / "ten.bin", "0123456789");

    image.Laden((dir_ / "ten.bin").string().c_str(), 8, 16);
    EXPECT_EQ(Contents(image).substr(7, 18), Bytes("a0123456789\0\0\0\0\xFF\xFF"
                                                   "a",
                                                   18));

    // Count 0 means the whole image; the slice stops at its end.
    image.Laden((dir_ / "ten.bin").string().c_str(), 0, 0);
    EXPECT_EQ(Contents(image), "0123456789" + std::string(4, '\0') + std::string(50, '\xFF'));
    std::memset(image.Buffer, 'a', 64);
    image.Laden((dir_ / "ten.bin").string().c_str(), 60, 100);
    EXPECT_EQ(Contents(image).substr(58), "aa0123");

    // Fewer than four bytes missing: only zeros.
    image.Laden((dir_ / "ten.bin").string().c_str(), 0, 12);
    EXPECT_EQ(Contents(image).substr(0, 13), Bytes("0123456789\0\0a", 13));
    EXPECT_TRUE(Warnings().empty());
}

TEST_F(TPSpeicherTest, LadenOfAMissingFileOrOutsideTheBufferChangesNothingAndWarns) {
    TPImageSpeicher image("LOADFAIL", 32);
    std::memset(image.Buffer, 'a', 32);
    image.Laden((dir_ / "absent.bin").string().c_str(), 4, 8);
    image.Laden((dir_ / "absent.bin").string().c_str(), -1, 8);
    image.Laden((dir_ / "absent.bin").string().c_str(), 40, 8);
    EXPECT_EQ(Contents(image), std::string(32, 'a'));
    ASSERT_EQ(Warnings().size(), 3u);
    EXPECT_EQ(Warnings()[0], "Datei '" + (dir_ / "absent.bin").string() +
                                 "' kann nicht ge\xF6"
                                 "ffnet werden");
    EXPECT_EQ(Warnings()[1],
              "Bereich au\xDF"
              "erhalb von 'Speicher' (-1, 8)");
    EXPECT_EQ(Warnings()[2],
              "Bereich au\xDF"
              "erhalb von 'Speicher' (40, -8)");
}

TEST_F(TPSpeicherTest, PartialSaveTakesTheUsedLengthAndStopsAtTheEnd) {
    TPImageSpeicher image("PART", 32);
    const std::string pattern = Pattern(32);
    std::memcpy(image.Buffer, pattern.data(), 32);
    const std::string slice = (dir_ / "slice.bin").string();

    image.Speichern(slice.c_str(), 0, 0);  // used length 0: an empty file
    ASSERT_TRUE(fs::exists(slice));
    EXPECT_EQ(fs::file_size(slice), 0u);

    image.UsedLength = 5;
    image.Speichern(slice.c_str(), 3, 0);
    EXPECT_EQ(ReadFile(slice), pattern.substr(3, 5));

    image.Speichern(slice.c_str(), 30, 10);
    EXPECT_EQ(ReadFile(slice), pattern.substr(30, 2));
    EXPECT_TRUE(Warnings().empty());

    image.Speichern(slice.c_str(), 40, 4);
    EXPECT_EQ(ReadFile(slice), pattern.substr(30, 2));  // untouched
    EXPECT_EQ(Warnings().size(), 1u);
}

TEST_F(TPSpeicherTest, GetCharAndPutCharWorkOnTheFileNotTheBuffer) {
    WriteFile(Image("BYTES"), "ABCDEFGH");
    TPImageSpeicher image("BYTES", 8);
    image.PutChar(2, 'z');
    EXPECT_EQ(image.Buffer[2], 'C');
    EXPECT_EQ(image.GetChar(2), 'z');
    EXPECT_EQ(image.GetChar(7), 'H');
    EXPECT_EQ(image.GetChar(8), '\0');  // past the end: nothing read
    EXPECT_EQ(image.GetChar(-1), '\0');
    image.PutChar(-1, 'q');
    EXPECT_EQ(ReadFile(Image("BYTES")), "ABzDEFGH");
}

TEST_F(TPSpeicherTest, RelativeFolderIsMadeBelowTheProgramFolderButUsedAsGiven) {
    const TPString savedProgramDir = tn::ProgramDir;
    const fs::path savedCurrent = fs::current_path();
    fs::create_directories(dir_ / "cwd");
    fs::current_path(dir_ / "cwd");
    tn::ProgramDir = (dir_ / "prog").string().c_str();
    tn::SpeicherPfad = "images";
    {
        TPImageSpeicher image("REL", 16);
        EXPECT_STREQ(image.FileName.c_str(), "images/REL.DAT");
        EXPECT_TRUE(fs::is_directory(dir_ / "prog" / "images"));
        EXPECT_FALSE(fs::exists(dir_ / "cwd" / "images"));
    }
    // Once the folder exists where the image is opened, the image lands there.
    fs::create_directories(dir_ / "cwd" / "images");
    { TPImageSpeicher image("REL", 16); }
    EXPECT_EQ(fs::file_size(dir_ / "cwd" / "images" / "REL.DAT"), 16u);

    fs::current_path(savedCurrent);
    tn::ProgramDir = savedProgramDir;
    tn::SpeicherPfad = (dir_ / "deeper" / "still").string().c_str();
    { TPImageSpeicher image("ABS", 16); }  // an absolute folder is made where it is named
    EXPECT_EQ(fs::file_size(dir_ / "deeper" / "still" / "ABS.DAT"), 16u);

    tn::SpeicherPfad = "";
    TPImageSpeicher bare("", 0);
    EXPECT_STREQ(bare.FileName.c_str(), ".DAT");
}

}  // namespace
