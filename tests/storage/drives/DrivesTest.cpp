// Volume information and the drive map, checked against what stat -f and findmnt say about the
// same folders.
#include <gtest/gtest.h>
#include <tnpackage/tnpackage.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/RunTool.h"
#include "support/Scratch.h"
#include "support/WarningCapture.h"

namespace tn {
namespace {

std::string Trim(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    return text;
}

// One line of a reference tool's answer, or empty when the tool is missing or fails.
std::string Ask(const std::string& command) {
    const test::ToolResult r = test::RunCommand(command + " 2>/dev/null");
    return r.status == 0 ? Trim(r.output) : std::string();
}

std::string Upper(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

class DrivesTest : public testing::Test {
  protected:
    void SetUp() override { SetDriveMap(""); }
    void TearDown() override { SetDriveMap(""); }
};

TEST_F(DrivesTest, LetterWithoutDriveIsReportedAsMissing) {
    EXPECT_FALSE(GetVolumeInfo('Q'));
    EXPECT_EQ(VolInfo.DriveType, 1u);
    EXPECT_EQ(std::string(VolInfo.RootPath, 3), std::string("Q:\0", 3));
    EXPECT_STREQ(DriveTypeName(VolInfo.DriveType), "Existiert nicht!");
#ifndef _WIN32
    // Without the map there are no drives at all.
    EXPECT_TRUE(DrivePath('Q').IsEmpty());
    EXPECT_TRUE(DriveFilePath('Q', "X.IGC").IsEmpty());
    EXPECT_EQ(AvailableDrives(), 0u);
#endif

    // The labels line up in one column; flags of 0 still show two digits.
    test::WarningCapture warnings;
    VolumeInfoShow('Q');
    ASSERT_EQ(warnings.Texts().size(), 1u);
    EXPECT_EQ(warnings.Texts()[0],
              "Volume                 = Q:\n"
              "VolumeNameBuffer       = \n"
              "VolumeSerialNumber     = 0x00000000\n"
              "MaximumComponentLength = 0\n"
              "FileSystemFlags        = 0x00\n"
              "FileSystemNameBuffer   = \n"
              "DriveType              = Existiert nicht!");

    const char* const names[] = {"Unbekannt",         "Existiert nicht!", "Diskette", "Festplatte",
                                 "Netzwerk-Laufwerk", "CD-ROM",           "RAM-Disk"};
    for (unsigned code = 0; code < 7; ++code)
        EXPECT_STREQ(DriveTypeName(code), names[code]);
    EXPECT_STREQ(DriveTypeName(7), "");
    EXPECT_STREQ(DriveTypeName(0xFFFFFFFFu), "");
}

TEST_F(DrivesTest, MappedFolderDescribesItsFileSystem) {
#ifdef _WIN32
    GTEST_SKIP() << "compared with stat and findmnt";
#endif
    const std::string folder = test::ScratchFolder().string();
    const std::string fsType = Ask("findmnt -n -o FSTYPE -T '" + folder + "' | tail -n 1");
    const std::string nameMax = Ask("stat -f -c %l '" + folder + "'");
    if (fsType.empty() || nameMax.empty()) GTEST_SKIP() << "findmnt or stat missing";

    ASSERT_TRUE(MapDrive('t', folder.c_str()));
    ASSERT_TRUE(GetVolumeInfo('T'));
    EXPECT_STREQ(VolInfo.RootPath, "T:");
    if (fsType == "vfat") {
        EXPECT_EQ(std::string(VolInfo.FileSystemName).rfind("FAT", 0), 0u);
    } else {
        EXPECT_EQ(VolInfo.FileSystemName, Upper(fsType));
    }
    EXPECT_EQ(std::to_string(VolInfo.MaximumComponentLength), nameMax);
    const bool readOnly =
        Ask("findmnt -n -o OPTIONS -T '" + folder + "' | tail -n 1").rfind("ro", 0) == 0;
    EXPECT_EQ((VolInfo.FileSystemFlags & 0x80000u) != 0, readOnly);
    EXPECT_GE(VolInfo.DriveType, 2u);
    EXPECT_LE(VolInfo.DriveType, 6u);
    if (!std::filesystem::exists("/dev/disk/by-uuid") && fsType != "vfat") {
        // Without an id of its own the serial number is the file system id, its halves XORed.
        const std::string id = Ask("stat -f -c %i '" + folder + "'");
        ASSERT_EQ(id.size(), 16u);
        const auto serial = static_cast<std::uint32_t>(std::stoul(id.substr(0, 8), nullptr, 16) ^
                                                       std::stoul(id.substr(8), nullptr, 16));
        EXPECT_EQ(VolInfo.SerialNumber, serial);
    }

    // A file system in memory is a RAM disk, whose names are case-sensitive.
    if (Ask("stat -f -c %T /dev/shm") == "tmpfs") {
        ASSERT_TRUE(MapDrive('R', "/dev/shm"));
        ASSERT_TRUE(GetVolumeInfo('R'));
        EXPECT_EQ(VolInfo.DriveType, 6u);
        EXPECT_STREQ(VolInfo.FileSystemName, "TMPFS");
        EXPECT_EQ(VolInfo.FileSystemFlags & 0x7u, 0x7u);
    }

    // A mapping to something that is not a folder is no drive.
    ASSERT_TRUE(MapDrive('M', (folder + "/missing").c_str()));
    EXPECT_FALSE(GetVolumeInfo('M'));
    EXPECT_EQ(VolInfo.DriveType, 1u);
    EXPECT_EQ(VolInfo.FileSystemName[0], '\0');
    std::FILE* f = std::fopen((folder + "/file").c_str(), "w");
    ASSERT_NE(f, nullptr);
    std::fclose(f);
    ASSERT_TRUE(MapDrive('M', (folder + "/file").c_str()));
    EXPECT_FALSE(GetVolumeInfo('M'));
    EXPECT_EQ(VolInfo.DriveType, 1u);
}

TEST_F(DrivesTest, DriveMapEntriesAndPaths) {
#ifdef _WIN32
    GTEST_SKIP() << "unmapped letters are the system's drives there";
#endif
    test::WarningCapture warnings;
    EXPECT_EQ(SetDriveMap(" C=/home/pilot; e = /media/card/ ;bad;Q=;1=/x;F:=/ ;;G=/g;g=/h"), 4);
    EXPECT_EQ(warnings.Texts(),
              (std::vector<std::string>{"Laufwerkszuordnung 'bad' ist ung\xFCltig!",
                                        "Laufwerkszuordnung 'Q=' ist ung\xFCltig!",
                                        "Laufwerkszuordnung '1=/x' ist ung\xFCltig!"}));
    EXPECT_EQ(ToStdString(DrivePath('E')), "/media/card");
    EXPECT_EQ(ToStdString(DrivePath('e')), "/media/card");
    EXPECT_EQ(ToStdString(DrivePath('F')), "/");
    EXPECT_EQ(ToStdString(DrivePath('G')), "/h");  // the later entry wins
    EXPECT_TRUE(DrivePath('Q').IsEmpty());
    EXPECT_EQ(AvailableDrives(), (1u << 2) | (1u << 4) | (1u << 5) | (1u << 6));

    EXPECT_EQ(ToStdString(DriveFilePath('E', "\\FLIGHTS\\X.IGC")), "/media/card/FLIGHTS/X.IGC");
    EXPECT_EQ(ToStdString(DriveFilePath('E', "FLIGHTS\\X.IGC")), "/media/card/FLIGHTS/X.IGC");
    EXPECT_EQ(ToStdString(DriveFilePath('F', "\\X.IGC")), "/X.IGC");
    EXPECT_EQ(ToStdString(DriveFilePath('E', "")), "/media/card");

    warnings.Clear();
    EXPECT_TRUE(MapDrive('E', ""));
    EXPECT_TRUE(DrivePath('E').IsEmpty());
    EXPECT_FALSE(MapDrive('1', "/x"));
    EXPECT_FALSE(MapDrive('\0', "/x"));
    EXPECT_EQ(warnings.Texts().size(), 2u);
    EXPECT_EQ(SetDriveMap(""), 0);
    EXPECT_EQ(AvailableDrives(), 0u);
}

}  // namespace
}  // namespace tn
