// The raw side of changing a folder: which 32-byte slots make up an entry's set (its long-name
// pieces and its short entry), marking them deleted, and freeing cluster chains. The package's
// tree remembers only the short entry's address; the long-name pieces are found where FAT puts
// them, right before it.
#pragma once

#include <tnpackage/tnpackage.h>

#include <cstdint>
#include <vector>

namespace tnpkg {

/// The first byte of a deleted entry.
inline constexpr unsigned char kDeletedEntry = 0xE5;
/// The attribute byte of a long-name piece.
inline constexpr unsigned char kLongNameAttributes = 0x0F;
/// The attribute bit of the volume label.
inline constexpr unsigned char kLabelAttribute = 0x08;
/// Offsets inside a 32-byte entry.
inline constexpr int kEntryAttributes = 11;
inline constexpr int kEntryCaseFlags = 12;
inline constexpr int kEntryLongChecksum = 13;
inline constexpr int kEntryTime = 22;
inline constexpr int kEntryFirstCluster = 26;
inline constexpr int kEntryFirstClusterHigh = 20;
static_assert(kEntryFirstCluster + 2 + 4 == tn::TPDirEintrag::kEntrySize,
              "the size field closes the entry");

/// The long-name checksum of an 11-byte short name.
std::uint8_t ShortNameChecksum(const unsigned char* name);

/// Medium addresses of the node's entry set: the long-name pieces that belong to it (checksum
/// matched, in the slots right before it) and its short entry last. Empty when the node has no
/// entry on the medium.
std::vector<std::int64_t> EntrySetAddresses(tn::TPVolumeFAT& v, tn::TPDirEintrag& node);

/// Marks each slot deleted.
void MarkDeleted(tn::TPVolumeFAT& v, const std::vector<std::int64_t>& slots);

/// Frees the chain starting at `first` (in the FAT buffer; WriteClusterBuffer writes every copy);
/// the number of clusters freed. Stops at the chain's end, at a free or out-of-range cluster and
/// after as many steps as the data area has clusters.
std::uint32_t FreeChain(tn::TPVolumeFAT& v, std::int32_t first);

/// Clusters of the chain starting at `first`, bounded as FreeChain is.
std::uint32_t ChainLength(tn::TPVolumeFAT& v, std::int32_t first);

/// Removes a file, or a folder with everything below it: chains freed, entry sets marked
/// deleted (deepest first), the node taken out of the tree and destroyed. The clusters freed.
std::uint32_t RemoveNode(tn::TPVolumeFAT& v, tn::TPDirEintrag* node);

}  // namespace tnpkg
