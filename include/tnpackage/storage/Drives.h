// The PC's drives: volume information and drive type by letter, and the drive map that gives
// letters to folders where the system has no drive letters of its own.
//
// On Windows a letter is the system's drive; a letter entered in the drive map names the volume
// that holds the mapped folder instead. Elsewhere only mapped letters are drives. The map starts
// from the environment variable TN_DRIVES ("C=/home/pilot;E=/media/card"), read at its first use.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/text/TPString.h>

#include <cstdint>

namespace tn {

/// What GetVolumeInfo found out about a drive, in the layout of the Windows query's results.
struct TPVolInfo {
    char RootPath[4];                      ///< letter, ":", NUL (no backslash)
    char VolumeName[256];                  ///< volume label
    std::uint32_t SerialNumber;            ///< volume serial number
    std::uint32_t MaximumComponentLength;  ///< longest name of one path component
    std::uint32_t FileSystemFlags;         ///< Windows FILE_* volume flag bits
    char FileSystemName[32];               ///< "FAT", "FAT32", "NTFS", "EXT4", ...
    std::uint32_t DriveType;               ///< Windows drive type code, see DriveTypeName
};

/// Filled by GetVolumeInfo.
TN_EXPORT extern TPVolInfo VolInfo;

/// Text of a drive type code: 0 "Unbekannt", 1 "Existiert nicht!", 2 "Diskette",
/// 3 "Festplatte", 4 "Netzwerk-Laufwerk", 5 "CD-ROM", 6 "RAM-Disk"; any other code "".
TN_EXPORT const char* DriveTypeName(std::uint32_t code);

/// Fills VolInfo for the drive `letter`; true when its volume information was obtained. The
/// root path and the drive type are filled either way (type 1 for a letter without a drive).
TN_EXPORT bool GetVolumeInfo(char letter);
/// GetVolumeInfo(letter), then its results as seven labelled lines.
TN_EXPORT TPString VolumeInfoText(char letter);
/// Reports VolumeInfoText(letter) through Warning.
TN_EXPORT void VolumeInfoShow(char letter);

/// Partition report of the disk that holds the drive named like "X:" (second character ":"),
/// through Warning; any other argument does nothing. See TPDriveLayout.
TN_EXPORT void GetPhysicalDrive(TPString drive);

// ---- drive map --------------------------------------------------------------------------------
/// Gives `letter` (A to Z, either case) to `folder`; an empty folder removes the mapping. False
/// (reported) for a character that is no drive letter.
TN_EXPORT bool MapDrive(char letter, TPString folder);
/// Replaces the whole map by the entries of `map`, "letter=folder" separated by ";". Entries
/// that are not of that form are reported and skipped. Returns the number of mapped letters.
TN_EXPORT int SetDriveMap(TPString map);
/// The folder a letter names: the mapped folder; on Windows otherwise "X:"; else empty.
TN_EXPORT TPString DrivePath(char letter);
/// DrivePath(letter) joined with the drive-relative path `rest` ("FLIGHTS\X.IGC"), whose
/// backslashes become the platform's separator; empty when the letter names no folder.
TN_EXPORT TPString DriveFilePath(char letter, TPString rest);
/// The letters that name drives, bit 0 for A: the mapped ones and the system's own.
TN_EXPORT std::uint32_t AvailableDrives();

}  // namespace tn
