#include "fat/FatFormat.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>

#include "util/LittleEndian.h"

namespace tnpkg {
namespace {

constexpr std::uint32_t kSector = 512;
constexpr std::uint32_t kFats = 2;
constexpr std::uint32_t kRootEntries = 512;
constexpr std::uint32_t kEntryBytes = 32;
constexpr std::uint32_t kRootSectors = kRootEntries * kEntryBytes / kSector;

// Root sectors of the layout: mkfs.fat rounds an aligned root up to whole clusters, which
// only shows with clusters larger than the 512 entries' 16 KiB.
std::uint32_t RootSectors(std::uint32_t spc, bool align) {
    return align ? std::max(kRootSectors, spc) : kRootSectors;
}
constexpr std::uint32_t kMaxClusters12 = 4084;
constexpr std::uint32_t kMaxClusters16 = 65524;
constexpr std::uint8_t kMedia = 0xF8;
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

std::string FormatRefusal(std::uint64_t bytes, const FormatChoice& choice, std::uint64_t clusters) {
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

}  // namespace

std::optional<FatGeometry> ChooseFatGeometry(std::uint64_t bytes) {
    std::string reason;
    return ChooseFatGeometry(bytes, FormatChoice{}, reason);
}

std::optional<FatGeometry> ChooseFatGeometry(std::uint64_t bytes, const FormatChoice& choice,
                                             std::string& reason) {
    if (bytes < kFormatMinBytes || bytes > kFormatMaxBytes) {
        reason = "format makes volumes of " + std::to_string(kFormatMinBytes) + " to " +
                 std::to_string(kFormatMaxBytes) + " bytes";
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
        reason = "--fat takes 12 or 16";
        return std::nullopt;
    }
    FatGeometry g;
    TrackGeometry(bytes, g);
    const auto sectors = static_cast<std::uint32_t>(bytes / kSector);
    g.totalSectors = sectors / g.sectorsPerTrack * g.sectorsPerTrack;
    const bool align = g.totalSectors > kAlignFrom;
    g.rootEntries = kRootEntries;

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

std::vector<unsigned char> FatSystemArea(const FatGeometry& g, const std::string& label,
                                         std::uint32_t serial, std::uint32_t fatDateTime) {
    const std::uint32_t sectors =
        g.reservedSectors + kFats * g.sectorsPerFat + g.rootEntries * kEntryBytes / kSector;
    std::vector<unsigned char> area(static_cast<std::size_t>(sectors) * kSector, 0);
    unsigned char* b = area.data();
    // Boot sector: a short jump over the parameter block to a stub that hands the boot on.
    static constexpr unsigned char kJump[3] = {0xEB, 0x3C, 0x90};
    std::memcpy(b, kJump, 3);
    std::memcpy(b + 3, "TNPKG1.0", 8);
    tn::WriteLE16(b + 11, kSector);
    b[13] = g.sectorsPerCluster;
    tn::WriteLE16(b + 14, g.reservedSectors);
    b[16] = kFats;
    tn::WriteLE16(b + 17, g.rootEntries);
    tn::WriteLE16(b + 19, g.totalSectors < 0x10000 ? g.totalSectors : 0);
    b[21] = kMedia;
    tn::WriteLE16(b + 22, g.sectorsPerFat);
    tn::WriteLE16(b + 24, g.sectorsPerTrack);
    tn::WriteLE16(b + 26, g.heads);
    tn::WriteLE32(b + 28, 0);  // hidden sectors: the volume starts the image
    tn::WriteLE32(b + 32, g.totalSectors < 0x10000 ? 0 : g.totalSectors);
    b[36] = 0x80;  // drive number
    b[38] = 0x29;  // extended boot signature: serial, label and type follow
    tn::WriteLE32(b + 39, serial);
    std::string name = label.empty() ? std::string("NO NAME") : label;
    name.resize(11, ' ');
    std::memcpy(b + 43, name.data(), 11);
    std::memcpy(b + 54, g.fatBits == 12 ? "FAT12   " : "FAT16   ", 8);
    // int 18h (no bootable medium: let the firmware try the next one), then halt for good.
    static constexpr unsigned char kStub[] = {0xCD, 0x18, 0xF4, 0xEB, 0xFD};
    std::memcpy(b + 62, kStub, sizeof kStub);
    b[510] = 0x55;
    b[511] = 0xAA;

    // Both FATs: the media byte in entry 0, end of chain in entry 1, everything else free.
    for (std::uint32_t f = 0; f < kFats; ++f) {
        unsigned char* fat = b + (g.reservedSectors + f * g.sectorsPerFat) * kSector;
        fat[0] = kMedia;
        fat[1] = 0xFF;
        fat[2] = 0xFF;
        if (g.fatBits == 16) fat[3] = 0xFF;
    }
    if (!label.empty()) {
        unsigned char* root = b + (g.reservedSectors + kFats * g.sectorsPerFat) * kSector;
        std::memcpy(root, name.data(), 11);
        root[11] = 0x08;
        tn::WriteLE16(root + 22, fatDateTime & 0xFFFF);
        tn::WriteLE16(root + 24, fatDateTime >> 16);
    }
    return area;
}

std::string CheckVolumeLabel(std::string& label) {
    if (label.size() > 11) return "a volume label has at most 11 characters";
    for (char& c : label) {
        const auto u = static_cast<unsigned char>(c);
        // Short names are in the reader's OEM code page: only ASCII reads the same everywhere.
        if (u >= 0x7F) return "a volume label holds ASCII characters only";
        if (u < 0x20 || std::strchr("\"*+,./:;<=>?[\\]|", c) != nullptr) {
            return std::string("a volume label cannot hold '") +
                   (u < 0x20 ? std::string("control character") : std::string(1, c)) + "'";
        }
        c = static_cast<char>(std::toupper(u));
    }
    if (!label.empty() && label[0] == ' ') return "a volume label cannot start with a blank";
    return {};
}

}  // namespace tnpkg
