// The raw side of changing a folder: which 32-byte slots make up an entry's set (its long-name
// pieces and its short entry), marking them deleted, and freeing cluster chains. The package's
// tree remembers only the short entry's address; the long-name pieces are found where FAT puts
// them, right before it.
#pragma once

#include <tnpackage/tnpackage.h>

#include <cstdint>
#include <vector>

#include "storage/fat/FatLayout.h"

namespace tnpkg {

// The entry layout as the library states it, under the names the tool's folder code uses.
inline constexpr unsigned char kDeletedEntry = tn::fat::kDeleted;
inline constexpr unsigned char kLongNameAttributes = tn::fat::kAttrLongName;
inline constexpr unsigned char kLabelAttribute = tn::fat::kAttrVolume;
inline constexpr int kEntryAttributes = tn::fat::kEntryAttributes;
inline constexpr int kEntryCaseFlags = tn::fat::kEntryCase;
inline constexpr int kEntryLongChecksum = tn::fat::kLfnChecksum;
inline constexpr int kEntryTime = tn::fat::kEntryTime;
inline constexpr int kEntryFirstCluster = tn::fat::kEntryCluster;
inline constexpr int kEntryFirstClusterHigh = tn::fat::kEntryClusterHigh;
static_assert(tn::fat::kEntrySize == tn::TPDirEintrag::kEntrySize);

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
