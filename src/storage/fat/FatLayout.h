// Where things lie in a FAT12/FAT16 volume: boot-sector fields, directory entries and
// long-name entries. Every offset of the on-media structures is stated here once.
#pragma once

#include <cstdint>
#include <cstring>

#include "util/LittleEndian.h"

namespace tn::fat {

// ---- boot sector ----------------------------------------------------------------------------
inline constexpr int kBootJump = 0;     // 3
inline constexpr int kBootOemName = 3;  // 8, the formatting system's name
inline constexpr int kBootOemNameLength = 8;
inline constexpr int kBootBytesPerSector = 11;  // 2
static_assert(kBootOemName + kBootOemNameLength == kBootBytesPerSector);
inline constexpr int kBootSectorsPerCluster = 13;   // 1
inline constexpr int kBootReservedSectors = 14;     // 2
inline constexpr int kBootNumberOfFATs = 16;        // 1
inline constexpr int kBootRootEntries = 17;         // 2
inline constexpr int kBootTotalSectors16 = 19;      // 2
inline constexpr int kBootMedia = 21;               // 1
inline constexpr int kBootSectorsPerFAT = 22;       // 2
inline constexpr int kBootSectorsPerTrack = 24;     // 2
inline constexpr int kBootHeads = 26;               // 2
inline constexpr int kBootHiddenSectors = 28;       // 4 (the low half is kept)
inline constexpr int kBootTotalSectors32 = 32;      // 4
inline constexpr int kBootSectorsPerFAT32Low = 36;  // 2 (low half of the FAT32 layout's size)
// The extended fields: after the common block in FAT12/FAT16, after the FAT32 block in FAT32.
inline constexpr int kBootDriveNumber = 36;  // 1
// 1: kExtendedSignature when the id, label and type text follow
inline constexpr int kBootExtendedSignature = 38;
inline constexpr int kBootVolumeId = 39;          // 4
inline constexpr int kBootVolumeLabel = 43;       // 11, "NO NAME    " without a label
inline constexpr int kBootTypeText = 54;          // 8, "FAT12   " / "FAT16   "
inline constexpr int kBootFat32DriveNumber = 64;  // 1
inline constexpr int kBootFat32ExtendedSignature = 66;
inline constexpr int kBootFat32VolumeId = 67;
inline constexpr int kBootFat32VolumeLabel = 71;
inline constexpr int kBootFat32TypeText = 82;  // 8, "FAT32   "
inline constexpr int kBootVolumeLabelLength = 11;
inline constexpr int kBootTypeTextLength = 8;
inline constexpr int kBootCode = 62;  // FAT12/FAT16: the boot code follows the type text
inline constexpr std::uint8_t kExtendedSignature = 0x29;
inline constexpr char kNoNameLabel[] = "NO NAME    ";
inline constexpr char kFat12TypeText[] = "FAT12   ";
inline constexpr char kFat16TypeText[] = "FAT16   ";
inline constexpr char kFat32TypeText[] = "FAT32   ";
static_assert(sizeof(kNoNameLabel) - 1 == kBootVolumeLabelLength);
static_assert(sizeof(kFat12TypeText) - 1 == kBootTypeTextLength);
static_assert(sizeof(kFat16TypeText) - 1 == kBootTypeTextLength);
static_assert(sizeof(kFat32TypeText) - 1 == kBootTypeTextLength);
// Each extended field lies where the one before it ends, in both layouts alike.
static_assert(kBootExtendedSignature == kBootDriveNumber + 2);  // one reserved byte between
static_assert(kBootVolumeId == kBootExtendedSignature + 1);
static_assert(kBootVolumeLabel == kBootVolumeId + 4);
static_assert(kBootTypeText == kBootVolumeLabel + kBootVolumeLabelLength);
static_assert(kBootCode == kBootTypeText + kBootTypeTextLength);
inline constexpr int kBootFat32Shift = kBootFat32DriveNumber - kBootDriveNumber;
static_assert(kBootFat32ExtendedSignature == kBootExtendedSignature + kBootFat32Shift);
static_assert(kBootFat32VolumeId == kBootVolumeId + kBootFat32Shift);
static_assert(kBootFat32VolumeLabel == kBootVolumeLabel + kBootFat32Shift);
static_assert(kBootFat32TypeText == kBootTypeText + kBootFat32Shift);
inline constexpr int kBootSignature = 510;  // 2, 0xAA55
inline constexpr std::uint16_t kSignature = 0xAA55;
inline constexpr int kBootSectorMinimum = 512;  // every field above lies in the first 512 bytes
static_assert(kBootSignature + 2 == kBootSectorMinimum);
static_assert(kBootTypeText + kBootTypeTextLength < kBootSignature);
static_assert(kBootFat32TypeText + kBootTypeTextLength < kBootSignature);

// ---- FAT --------------------------------------------------------------------------------------
inline constexpr std::int32_t kClusters12Limit = 0xFF5;   // below: 12-bit entries
inline constexpr std::int32_t kClusters16Limit = 0xFFF5;  // below: 16-bit entries
inline constexpr int kFat12Max = 0xFF0;  // 12-bit values above this read as negative
// As FAT defines the values: from the bad mark up, an entry names no cluster (the marks above
// it end a chain).
inline constexpr int kFat12Bad = 0xFF7;
inline constexpr int kFat16Bad = 0xFFF7;
inline constexpr int kFat12Values = 0x1000;
inline constexpr int kFat16Values = 0x10000;
static_assert(kClusters12Limit + 1 < kFat12Bad);  // the last data cluster stays below the marks
static_assert(kClusters16Limit + 1 < kFat16Bad);
inline constexpr std::uint8_t kType12 = 1;
inline constexpr std::uint8_t kType16 = 11;
/// The type codes a volume reads with 16-bit entries: kType16 and the partition types a host
/// may have stored in the field.
constexpr bool Is16BitType(std::uint8_t type) {
    switch (type) {
        case 4:
        case 5:
        case 6:
        case 11:
        case 12:
        case 14:
        case 15:
            return true;
        default:
            return false;
    }
}
static_assert(Is16BitType(kType16) && !Is16BitType(kType12));
/// FAT sector s is written at FAT offset s << kFatSectorShift, whatever the sector size (the
/// package's default; standard volumes use their sector size).
inline constexpr int kFatSectorShift = 9;
inline constexpr int kFirstDataCluster = 2;

// ---- directory entry ----------------------------------------------------------------------------
inline constexpr int kEntrySize = 32;
inline constexpr int kEntryName = 0;  // 11: 8 name + 3 extension, space padded
inline constexpr int kEntryNameLength = 11;
inline constexpr int kEntryBaseLength = 8;
inline constexpr int kEntryAttributes = 11;
inline constexpr int kEntryCase = 12;  // NT case bits
inline constexpr int kEntryCreateHundredths = 13;
inline constexpr int kEntryCreateTime = 14;
inline constexpr int kEntryCreateDate = 16;
inline constexpr int kEntryAccessDate = 18;
inline constexpr int kEntryClusterHigh = 20;
inline constexpr int kEntryTime = 22;  // the 32 bits from here: time, then date
inline constexpr int kEntryDate = 24;
inline constexpr int kEntryCluster = 26;
inline constexpr int kEntrySizeField = 28;
static_assert(kEntrySizeField + 4 == kEntrySize);
static_assert(kEntryName + kEntryNameLength == kEntryAttributes);

inline constexpr std::uint8_t kDeleted = 0xE5;
inline constexpr std::uint8_t kEndOfDirectory = 0x00;
inline constexpr std::uint8_t kCaseLowerBase = 0x08;
inline constexpr std::uint8_t kCaseLowerExtension = 0x10;

// attributes
inline constexpr std::uint8_t kAttrReadOnly = 0x01;
inline constexpr std::uint8_t kAttrHidden = 0x02;
inline constexpr std::uint8_t kAttrSystem = 0x04;
inline constexpr std::uint8_t kAttrVolume = 0x08;
inline constexpr std::uint8_t kAttrDirectory = 0x10;
inline constexpr std::uint8_t kAttrArchive = 0x20;
inline constexpr std::uint8_t kAttrLongName = 0x0F;
inline constexpr std::uint8_t kAttrKept = 0x07;  // read-only, hidden, system
inline constexpr std::uint8_t kAttrNewFile = kAttrArchive | kAttrReadOnly;  // 0x21

// ---- long-name entry ---------------------------------------------------------------------------
inline constexpr int kLfnSequence = 0;
inline constexpr int kLfnChars1 = 1;  // 5 characters
inline constexpr int kLfnAttributes = 11;
inline constexpr int kLfnType = 12;
inline constexpr int kLfnChecksum = 13;
inline constexpr int kLfnChars2 = 14;  // 6 characters
inline constexpr int kLfnCluster = 26;
inline constexpr int kLfnChars3 = 28;  // 2 characters
inline constexpr int kLfnCharsPerEntry = 13;
inline constexpr std::uint8_t kLfnLast = 0x40;
inline constexpr std::uint8_t kLfnNumberMask = 0x3F;
inline constexpr int kMaxLongName = 255;
/// Byte offsets of the 13 characters of a long-name piece.
inline constexpr int kLfnCharOffsets[kLfnCharsPerEntry] = {1,  3,  5,  7,  9,  14, 16,
                                                           18, 20, 22, 24, 28, 30};
static_assert(kLfnChars1 + 10 == kLfnAttributes);
static_assert(kLfnChars2 + 12 == kLfnCluster);
static_assert(kLfnChars3 + 4 == kEntrySize);

/// The long-name checksum of an 11-byte short name.
inline std::uint8_t ShortNameChecksum(const unsigned char* name) {
    unsigned s = 0;
    for (int i = 0; i < kEntryNameLength; ++i) {
        s = ((((s & 1u) << 7) | (s >> 1)) + name[i]) & 0xFFu;
    }
    return static_cast<std::uint8_t>(s);
}

}  // namespace tn::fat
