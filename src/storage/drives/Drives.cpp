// Volume information and drive type of the PC's drives by letter.
#include <tnpackage/frame/Messages.h>
#include <tnpackage/storage/Drives.h>
#include <tnpackage/storage/TPDriveLayout.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "platform/Platform.h"
#include "storage/drives/DriveMap.h"
#include "storage/fat/FatBootIdentity.h"
#include "storage/media/SpeicherMessages.h"

namespace tn {

constinit TPVolInfo VolInfo{};

namespace {

constexpr std::uint32_t kNoRoot = 1;

const char* const kDriveTypeNames[] = {"Unbekannt",  "Existiert nicht!",  "Diskette",
                                       "Festplatte", "Netzwerk-Laufwerk", "CD-ROM",
                                       "RAM-Disk"};

// Copies text into a fixed field, cut to leave room for the NUL.
template <std::size_t N>
void CopyField(char (&field)[N], const std::string& text) {
    const std::size_t n = std::min(text.size(), N - 1);
    std::memcpy(field, text.data(), n);
    field[n] = '\0';
}

}  // namespace

const char* DriveTypeName(std::uint32_t code) {
    return code < std::size(kDriveTypeNames) ? kDriveTypeNames[code] : "";
}

bool GetVolumeInfo(char letter) {
    VolInfo = TPVolInfo{};
    VolInfo.RootPath[0] = letter;
    VolInfo.RootPath[1] = ':';
    const std::string root = storage::DriveRoot(letter);
    if (root.empty()) {
        VolInfo.DriveType = kNoRoot;
        return false;
    }
    const platform::VolumeDetails v = platform::QueryVolume(root.c_str());
    VolInfo.DriveType = v.driveType;
    if (!v.known) return false;
    CopyField(VolInfo.VolumeName, v.label);
    VolInfo.SerialNumber = v.serial;
    VolInfo.MaximumComponentLength = v.maxComponentLength;
    VolInfo.FileSystemFlags = v.flags;
    CopyField(VolInfo.FileSystemName, v.fileSystem);
    if (const auto id = fat::ReadBootIdentity(v.bootSector.data(), v.bootSector.size())) {
        CopyField(VolInfo.VolumeName, id->label);
        VolInfo.SerialNumber = id->serial;
        CopyField(VolInfo.FileSystemName, id->fileSystem);
    }
    return true;
}

TPString VolumeInfoText(char letter) {
    GetVolumeInfo(letter);
    char numbers[3][16];
    std::snprintf(numbers[0], sizeof numbers[0], "%08X",
                  static_cast<unsigned>(VolInfo.SerialNumber));
    std::snprintf(numbers[1], sizeof numbers[1], "%u",
                  static_cast<unsigned>(VolInfo.MaximumComponentLength));
    std::snprintf(numbers[2], sizeof numbers[2], "%02X",
                  static_cast<unsigned>(VolInfo.FileSystemFlags));
    const std::string text =
        std::string("Volume                 = ") + VolInfo.RootPath +
        "\nVolumeNameBuffer       = " + VolInfo.VolumeName + "\nVolumeSerialNumber     = 0x" +
        numbers[0] + "\nMaximumComponentLength = " + numbers[1] + "\nFileSystemFlags        = 0x" +
        numbers[2] + "\nFileSystemNameBuffer   = " + VolInfo.FileSystemName +
        "\nDriveType              = " + DriveTypeName(VolInfo.DriveType);
    return storage::Owned(text);
}

void VolumeInfoShow(char letter) {
    Warning(VolumeInfoText(letter));
}

void GetPhysicalDrive(TPString drive) {
    if (drive.Length() < 2 || drive[2] != ':') return;
    TPDriveLayout layout;
    if (layout.ReadDrive(drive)) Warning(layout.Report());
}

}  // namespace tn
