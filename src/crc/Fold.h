// The fast front of every CRC: as many whole 16-byte chunks as folding takes, on the path the
// processor allows; the caller's own byte step does the rest.
#pragma once

#include <tnpackage/Export.h>

#include <cstddef>
#include <cstdint>

#include "crc/FoldConstants.h"
#include "crc/FoldX86.h"

namespace tn::crc {

/// Below this many bytes the set-up and the final reduction cost more than the tables.
inline constexpr std::size_t kFoldMinBytes = 64;

/// Runs the CRC of `k` over the longest prefix of `p` that folds and returns its length (0 on
/// the portable path, for short inputs or for constants that do not apply). `c` is the
/// register in the CRC's own width and bit order, before and after.
TN_EXPORT std::size_t FoldPrefix(const std::uint64_t* k, ByteMap map, std::uint32_t& c,
                                 const std::uint8_t* p, std::size_t n);

}  // namespace tn::crc
