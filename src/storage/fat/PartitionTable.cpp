// The primary partitions of an image, read from its first sector.
#include <tnpackage/storage/PartitionTable.h>

#include <tnpackage/storage/FatGlobals.h>

#include "storage/fat/FatLayout.h"
#include "util/LittleEndian.h"

namespace tn {

namespace {

constexpr std::uint8_t kActive = 0x80;
// Fields of one table slot.
constexpr int kSlotBootFlag = 0;
constexpr int kSlotType = 4;
constexpr int kSlotFirstLba = 8;
constexpr int kSlotSectorCount = 12;
static_assert(kSlotSectorCount + 4 == PartitionTable::kEntrySize);

bool IsPowerOfTwo(unsigned v) {
    return v != 0 && (v & (v - 1)) == 0;
}

// Boot loaders of partitioned disks may start with the same jump (GRUB does), but their
// parameter block is empty; a formatted volume has sane geometry there.
bool HasPlausibleGeometry(const std::uint8_t* s) {
    const unsigned bytesPerSector = ReadLE16(s + fat::kBootBytesPerSector);
    const unsigned sectorsPerCluster = s[fat::kBootSectorsPerCluster];
    const unsigned reserved = ReadLE16(s + fat::kBootReservedSectors);
    const unsigned fats = s[fat::kBootNumberOfFATs];
    return bytesPerSector >= 128 && bytesPerSector <= 4096 && IsPowerOfTwo(bytesPerSector) &&
           IsPowerOfTwo(sectorsPerCluster) && reserved >= 1 && fats >= 1;
}

bool HasSignature(const std::uint8_t* s) {
    return ReadLE16(s + fat::kBootSignature) == fat::kSignature;
}

PartitionTable::Entry ReadEntry(const std::uint8_t* e) {
    PartitionTable::Entry entry;
    entry.bootFlag = e[kSlotBootFlag];
    entry.type = e[kSlotType];
    entry.firstLba = ReadLE32(e + kSlotFirstLba);
    entry.sectorCount = ReadLE32(e + kSlotSectorCount);
    return entry;
}

// A table is believed when every boot flag is one of the two legal values and at least one slot
// describes a partition that does not start at the table itself.
bool HasPlausibleTable(const std::uint8_t* s) {
    bool anyUsed = false;
    for (int i = 0; i < PartitionTable::kEntries; ++i) {
        const auto entry =
            ReadEntry(s + PartitionTable::kTableOffset + i * PartitionTable::kEntrySize);
        if (entry.bootFlag != 0 && entry.bootFlag != kActive) return false;
        if (!entry.IsUsed()) continue;
        if (entry.firstLba == 0) return false;
        anyUsed = true;
    }
    return anyUsed;
}

}  // namespace

PartitionTable::PartitionTable(const void* sector, std::size_t length)
    : kind_(Classify(sector, length)) {
    if (kind_ != SectorKind::BootRecord) return;
    const auto* s = static_cast<const std::uint8_t*>(sector);
    for (int i = 0; i < kEntries; ++i)
        entries_[i] = ReadEntry(s + kTableOffset + i * kEntrySize);
    valid_ = true;
}

PartitionTable::SectorKind PartitionTable::Classify(const void* sector, std::size_t length) {
    if (sector == nullptr || length < static_cast<std::size_t>(kSectorSize)) {
        return SectorKind::Unknown;
    }
    const auto* s = static_cast<const std::uint8_t*>(sector);
    // The volume's own boot-sector test (it only reads the sector).
    const bool jump = IsFATSector(const_cast<std::uint8_t*>(s));
    if (jump && HasPlausibleGeometry(s)) return SectorKind::FatBootSector;
    if (HasSignature(s) && HasPlausibleTable(s)) return SectorKind::BootRecord;
    // A jump without usable geometry and without a table: the volume's own test still takes it,
    // and mounting it is the only way to find out more.
    return jump ? SectorKind::FatBootSector : SectorKind::Unknown;
}

PartitionTable::FatSupport PartitionTable::Support(std::uint8_t type) {
    switch (type) {
        case 0x01:  // FAT12
        case 0x04:  // FAT16 below 32 MiB
        case 0x06:  // FAT16
        case 0x0E:  // FAT16, LBA
        case 0x11:  // the same four, hidden
        case 0x14:
        case 0x16:
        case 0x1E:
            return FatSupport::Supported;
        case 0x0B:  // FAT32
        case 0x0C:  // FAT32, LBA
        case 0x1B:
        case 0x1C:
            return FatSupport::NotSupported;
        default:
            return FatSupport::None;
    }
}

const char* PartitionTable::TypeName(std::uint8_t type) {
    switch (type) {
        case 0x00:
            return "empty";
        case 0x01:
            return "FAT12";
        case 0x04:
            return "FAT16 <32M";
        case 0x05:
            return "Extended";
        case 0x06:
            return "FAT16";
        case 0x07:
            return "HPFS/NTFS/exFAT";
        case 0x0B:
            return "FAT32";
        case 0x0C:
            return "FAT32 (LBA)";
        case 0x0E:
            return "FAT16 (LBA)";
        case 0x0F:
            return "Extended (LBA)";
        case 0x11:
            return "Hidden FAT12";
        case 0x14:
            return "Hidden FAT16 <32M";
        case 0x16:
            return "Hidden FAT16";
        case 0x1B:
            return "Hidden FAT32";
        case 0x1C:
            return "Hidden FAT32 (LBA)";
        case 0x1E:
            return "Hidden FAT16 (LBA)";
        case 0x82:
            return "Linux swap";
        case 0x83:
            return "Linux";
        case 0x85:
            return "Linux extended";
        case 0x8E:
            return "Linux LVM";
        case 0xEE:
            return "GPT";
        case 0xEF:
            return "EFI System";
        default:
            return "unknown";
    }
}

const PartitionTable::Entry& PartitionTable::At(int index) const {
    static const Entry unused{};
    return index >= 0 && index < kEntries ? entries_[index] : unused;
}

int PartitionTable::UsedCount() const {
    int used = 0;
    for (const auto& e : entries_)
        used += e.IsUsed() ? 1 : 0;
    return used;
}

int PartitionTable::FirstFat() const {
    if (!valid_) return 0;
    for (int i = 0; i < kEntries; ++i) {
        if (entries_[i].IsUsed() && Support(entries_[i].type) == FatSupport::Supported) {
            return i + 1;
        }
    }
    return 0;
}

std::int64_t PartitionTable::VolumeBase(int number) const {
    if (!valid_ || number < 1 || number > kEntries) return -1;
    const Entry& e = entries_[number - 1];
    return e.IsUsed() ? e.Offset() : -1;
}

std::int64_t PartitionTable::FirstFatBase() const {
    const int first = FirstFat();
    return first == 0 ? -1 : VolumeBase(first);
}

}  // namespace tn
