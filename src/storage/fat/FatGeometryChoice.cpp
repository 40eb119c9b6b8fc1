// The layout mkfs.fat would give a FAT12 or FAT16 volume of a given size, or why there is none.
#include <tnpackage/storage/FatFormat.h>

#include <algorithm>
#include <string>

#include "storage/fat/FatFormatLayout.h"

namespace tn {
namespace {

constexpr std::uint32_t kSector = fat::kFormatSector;
constexpr std::uint32_t kFats = fat::kFormatFats;
constexpr std::uint32_t kEntryBytes = fat::kEntrySize;
constexpr std::uint32_t kRootSectors = fat::kFormatRootSectors;

// Root sectors of the layout: mkfs.fat rounds an aligned root up to whole clusters, which
// only shows with clusters larger than the 512 entries' 16 KiB.
std::uint32_t RootSectors(std::uint32_t spc, bool align) {
    return align ? std::max(kRootSectors, spc) : kRootSectors;
}
constexpr std::uint32_t kMaxClusters12 = 4084;
constexpr std::uint32_t kMaxClusters16 = 65524;
constexpr std::uint32_t kMaxClusterBytes = 32 * 1024;
// Below this many sectors mkfs.fat packs the structures tightly; above it, it aligns the data
// area to whole clusters.
constexpr std::uint32_t kAlignFrom = 8192;

std::uint32_t CeilDiv(std::uint64_t a, std::uint64_t b) {
    return static_cast<std::uint32_t>((a + b - 1) / b);
}

// The pretend disk geometry mkfs.fat gives an image file of this size; the volume covers whole
// tracks only.
void TrackGeometry(std::uint64_t bytes, FatGeometry& g) {
    constexpr std::uint64_t kMiB = 1024 * 1024;
    const std::uint64_t sectors = bytes / kSector;
    struct Step {
        std::uint64_t upTo;
        std::uint16_t track, heads;
    };
    static constexpr Step kSteps[] = {{2 * kMiB, 16, 2},
                                      {16 * kMiB, 32, 2},
                                      {32 * kMiB, 32, 4},
                                      {128 * kMiB, 32, 8},
                                      {256 * kMiB, 32, 16}};
    g.sectorsPerTrack = 63;
    g.heads = sectors <= 1024u * 63 * 16 ? 16 : 32;
    for (const auto& s : kSteps) {
        if (bytes <= s.upTo) {
            g.sectorsPerTrack = s.track;
            g.heads = s.heads;
            break;
        }
    }
}

std::string FormatRefusal(std::uint64_t bytes, const FatFormatChoice& choice,
                          std::uint64_t clusters) {
    const std::string size = std::to_string(bytes) + " bytes";
    if (choice.clusterBytes == 0 && choice.fatBits == 0)
        return "no FAT12 or FAT16 layout fits " + size;
    if (choice.clusterBytes == 0) {
        return choice.fatBits == 12
                   ? "FAT12 needs fewer than 4085 data clusters: " + size + " is too large for it"
                   : "FAT16 needs 4085 to 65524 data clusters: " + size +
                         " is too small or too large for it with clusters up to 64 KiB";
    }
    const std::string per = " with clusters of " + std::to_string(choice.clusterBytes) + " bytes";
    const std::string gives = size + per + " gives " + std::to_string(clusters) + " data clusters";
    if (choice.fatBits == 12) return "FAT12 needs fewer than 4085 data clusters; " + gives;
    if (choice.fatBits == 16) return "FAT16 needs 4085 to 65524 data clusters; " + gives;
    return "FAT12 needs fewer than 4085 data clusters and FAT16 4085 to 65524; " + gives;
}

std::optional<FatGeometry> Choose(std::uint64_t bytes, const FatFormatChoice& choice,
                                  std::string& reason) {
    if (bytes < kFatFormatMinBytes || bytes > kFatFormatMaxBytes) {
        reason = "format makes volumes of " + std::to_string(kFatFormatMinBytes) + " to " +
                 std::to_string(kFatFormatMaxBytes) + " bytes";
        return std::nullopt;
    }
    if (choice.clusterBytes != 0 &&
        (choice.clusterBytes < kSector || choice.clusterBytes > kMaxClusterBytes ||
         (choice.clusterBytes & (choice.clusterBytes - 1)) != 0)) {
        reason = "the cluster size is a power of two from " + std::to_string(kSector) + " to " +
                 std::to_string(kMaxClusterBytes) + " bytes";
        return std::nullopt;
    }
    if (choice.fatBits != 0 && choice.fatBits != 12 && choice.fatBits != 16) {
        reason = "a FAT has 12 or 16 bits";
        return std::nullopt;
    }
    FatGeometry g;
    TrackGeometry(bytes, g);
    const auto sectors = static_cast<std::uint32_t>(bytes / kSector);
    g.totalSectors = sectors / g.sectorsPerTrack * g.sectorsPerTrack;
    const bool align = g.totalSectors > kAlignFrom;
    g.rootEntries = fat::kFormatRootEntries;

    // Without a choice the clusters start at 4 sectors, as mkfs.fat's do.
    const std::uint32_t fromSpc = choice.clusterBytes != 0 ? choice.clusterBytes / kSector : 4;
    const std::uint32_t toSpc = choice.clusterBytes != 0 ? fromSpc : 128;
    std::uint64_t shownClusters = 0;
    for (std::uint32_t spc = fromSpc; spc <= toSpc; spc *= 2) {
        const std::uint32_t reserved = align ? spc : 1;
        const auto alignUp = [&](std::uint32_t n) { return align ? CeilDiv(n, spc) * spc : n; };
        const std::uint32_t rootSectors = RootSectors(spc, align);
        if (g.totalSectors <= reserved + rootSectors) break;
        const std::uint64_t data = g.totalSectors - reserved - rootSectors;
        g.rootEntries = static_cast<std::uint16_t>(rootSectors * kSector / kEntryBytes);
        const std::uint64_t clusterBytes = std::uint64_t{spc} * kSector;
        // The same estimate and correction as mkfs.fat: guess the cluster count, size the FATs
        // for it, then count what really remains beside them.
        std::uint64_t c12 = 2 * (data * kSector + kFats * 3) / (2 * clusterBytes + kFats * 3);
        const std::uint32_t fat12 = alignUp(CeilDiv(((c12 + 2) * 3 + 1) / 2, kSector));
        c12 = data >= kFats * fat12 ? (data - kFats * fat12) / spc : 0;
        const std::uint64_t max12 =
            std::min<std::uint64_t>(fat12 * 2 * kSector / 3, kMaxClusters12);
        std::uint64_t c16 = (data * kSector + kFats * 4) / (clusterBytes + kFats * 2);
        const std::uint32_t fat16 = alignUp(CeilDiv((c16 + 2) * 2, kSector));
        c16 = data >= kFats * fat16 ? (data - kFats * fat16) / spc : 0;
        const std::uint64_t max16 = std::min<std::uint64_t>(fat16 * kSector / 2, kMaxClusters16);
        // Both typings must agree: the clusters counted over the whole volume stay in the range
        // of the FAT's own type.
        const std::uint32_t coarse = g.totalSectors / spc;
        g.sectorsPerCluster = static_cast<std::uint8_t>(spc);
        g.reservedSectors = static_cast<std::uint16_t>(reserved);
        shownClusters = choice.fatBits == 16 ? c16 : c12;
        if (choice.fatBits != 16 && c12 >= 1 && c12 <= max12 && coarse <= kMaxClusters12) {
            g.fatBits = 12;
            g.sectorsPerFat = static_cast<std::uint16_t>(fat12);
            g.dataClusters = static_cast<std::uint32_t>(c12);
            return g;
        }
        if (choice.fatBits != 12 && c16 > kMaxClusters12 && c16 <= max16 &&
            coarse <= kMaxClusters16) {
            g.fatBits = 16;
            g.sectorsPerFat = static_cast<std::uint16_t>(fat16);
            g.dataClusters = static_cast<std::uint32_t>(c16);
            return g;
        }
    }
    reason = FormatRefusal(bytes, choice, shownClusters);
    return std::nullopt;
}

}  // namespace

std::optional<FatGeometry> ChooseFatGeometry(std::uint64_t bytes) {
    std::string reason;
    return ChooseFatGeometry(bytes, FatFormatChoice{}, reason);
}

std::optional<FatGeometry> ChooseFatGeometry(std::uint64_t bytes, const FatFormatChoice& choice,
                                             std::string& reason) {
    try {
        return Choose(bytes, choice, reason);
    } catch (...) {
        return std::nullopt;  // only a failed allocation gets here
    }
}

}  // namespace tn
