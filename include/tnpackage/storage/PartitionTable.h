// The primary partitions of a memory card or disk image, read from its first sector.
//
// A card formatted by a camera or a PC carries a master boot record whose four entries point at
// the volumes; a card formatted by the instrument (and every ".DAT" memory image) starts with the
// FAT boot sector itself. PartitionTable tells the two apart and answers where a FAT volume
// begins, as a 64-bit byte offset from the start of the image. CHS fields are ignored: only the
// LBA fields are used, with 512-byte sectors.
#pragma once

#include <tnpackage/Export.h>

#include <cstddef>
#include <cstdint>

namespace tn {

class TN_EXPORT PartitionTable {
  public:
    /// Bytes of the sector a table is read from; partition LBAs count in these units.
    static constexpr int kSectorSize = 512;
    /// Number of primary entries.
    static constexpr int kEntries = 4;
    /// Where the first entry lies in the sector, and the size of each.
    static constexpr int kTableOffset = 446;
    static constexpr int kEntrySize = 16;

    /// What the first sector of an image holds.
    enum class SectorKind {
        Unknown,        ///< neither (too short, no signature, or implausible fields)
        FatBootSector,  ///< a bare FAT volume starts here
        BootRecord,     ///< a master boot record with a partition table
    };

    /// How a partition type relates to the FAT volumes this package mounts.
    enum class FatSupport {
        None,         ///< not a FAT type (empty, extended, Linux, NTFS, ...)
        Supported,    ///< FAT12 or FAT16, visible or hidden
        NotSupported  ///< FAT32: recognised, but this package cannot mount it
    };

    struct Entry {
        std::uint8_t bootFlag = 0;  ///< 0x80 active, 0x00 inactive
        std::uint8_t type = 0;      ///< the partition type byte; 0 for an unused slot
        std::uint32_t firstLba = 0;
        std::uint32_t sectorCount = 0;

        bool IsUsed() const { return type != 0 && sectorCount != 0; }
        bool IsActive() const { return bootFlag == 0x80; }
        /// Byte offset of the partition's first sector.
        std::int64_t Offset() const { return static_cast<std::int64_t>(firstLba) * kSectorSize; }
        /// Length in bytes.
        std::int64_t Length() const { return static_cast<std::int64_t>(sectorCount) * kSectorSize; }
    };

    /// An empty table (no entries, not valid).
    PartitionTable() = default;
    /// Reads the first `length` bytes of an image (normally its first sector; fewer than 512
    /// bytes never make a valid table). Nothing beyond `length` is read.
    PartitionTable(const void* sector, std::size_t length);

    /// Classifies a first sector without reading beyond `length` bytes.
    static SectorKind Classify(const void* sector, std::size_t length);
    /// Whether `type` is a FAT type and whether this package can mount it.
    static FatSupport Support(std::uint8_t type);
    /// A short English name of a partition type ("FAT16", "Linux", ...), "unknown" otherwise.
    static const char* TypeName(std::uint8_t type);

    /// Whether the sector was a master boot record with a plausible table.
    bool IsValid() const { return valid_; }
    /// What the sector was.
    SectorKind Kind() const { return kind_; }
    /// The entry in slot `index` (0 to 3); an unused entry for any other index.
    const Entry& At(int index) const;
    /// Number of used slots.
    int UsedCount() const;

    /// 1-based number of the first partition of a mountable FAT type, or 0 when there is none.
    int FirstFat() const;
    /// Byte offset of partition `number` (1 to 4), or -1 when that slot is unused or the table
    /// is not valid.
    std::int64_t VolumeBase(int number) const;
    /// Byte offset of the first mountable FAT partition, or -1.
    std::int64_t FirstFatBase() const;

  private:
    Entry entries_[kEntries]{};
    SectorKind kind_ = SectorKind::Unknown;
    bool valid_ = false;
};

}  // namespace tn
