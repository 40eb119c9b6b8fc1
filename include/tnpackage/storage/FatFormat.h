// A fresh FAT12 or FAT16 volume for a new memory image or card image, laid out as mkfs.fat lays
// out a volume of the same size (hard-disk style: media 0xF8, two FATs, 512 root entries,
// clusters from 4 sectors up), so that fsck.fat, mtools and the instrument agree on it.
#pragma once

#include <tnpackage/Export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tn {

/// Where the parts of a new volume lie, in 512-byte sectors.
struct FatGeometry {
    std::uint32_t totalSectors = 0;  ///< sectors the volume covers (a multiple of the track)
    std::uint16_t reservedSectors = 1;
    std::uint8_t sectorsPerCluster = 4;
    std::uint16_t sectorsPerFat = 0;
    std::uint16_t rootEntries = 512;
    std::uint16_t sectorsPerTrack = 32;
    std::uint16_t heads = 2;
    std::uint32_t dataClusters = 0;
    int fatBits = 12;  ///< 12 or 16
};

/// Smallest and largest volume formatted (larger ones would be FAT32 for mkfs.fat).
inline constexpr std::uint64_t kFatFormatMinBytes = 64 * 1024;
inline constexpr std::uint64_t kFatFormatMaxBytes = 512ull * 1024 * 1024 - 1;

/// What the user chose for a new volume; 0: chosen as mkfs.fat would.
struct FatFormatChoice {
    int fatBits = 0;                 ///< 12 or 16
    std::uint32_t clusterBytes = 0;  ///< a power of two from 512 to 32 KiB
};

/// The layout of a volume filling `bytes` bytes, or nothing when no FAT12/FAT16 layout fits.
/// The cluster count never lands where the volume's two ways of typing a FAT (by data clusters,
/// or by total sectors over sectors per cluster) would disagree: such a volume gets the next
/// cluster size instead.
TN_EXPORT std::optional<FatGeometry> ChooseFatGeometry(std::uint64_t bytes);

/// The layout with the user's choices, or nothing with `reason` saying why FAT cannot hold
/// that combination on `bytes` bytes.
TN_EXPORT std::optional<FatGeometry> ChooseFatGeometry(std::uint64_t bytes,
                                                       const FatFormatChoice& choice,
                                                       std::string& reason);

/// The first sectors of the volume: boot sector, both FATs and the root directory (with the
/// label entry when `label` is not empty; `label` is Windows-1252, at most 11 bytes, already
/// checked; `fatDateTime` is its packed FAT date, TPDateTime::FileDate). Everything after them
/// is zero on a fresh volume. Empty when the geometry cannot be laid out.
TN_EXPORT std::vector<std::uint8_t> FatSystemArea(const FatGeometry& g, const std::string& label,
                                                  std::uint32_t serial, std::uint32_t fatDateTime);

/// Why `label` cannot be a volume label, or empty when it can (then `label` is upper-cased).
TN_EXPORT std::string CheckVolumeLabel(std::string& label);

}  // namespace tn
