// Carry-less-multiply folding on x86-64. Each function carries its own target attribute, so the
// library still builds for (and runs on) the baseline processor; callers check the processor
// first (CrcPath). 32-bit x86 builds leave folding out and stay on the portable path.
#pragma once

#include <cstddef>
#include <cstdint>

#include "crc/FoldConstants.h"

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define TN_CRC_FOLD_X86 1
#else
#define TN_CRC_FOLD_X86 0
#endif

namespace tn::crc {

/// What happens to every input byte before it enters the CRC: XOR with `xorValue`, then a shift
/// left by `shift` bits within the byte.
struct ByteMap {
    std::uint8_t xorValue;
    int shift;
};

#if TN_CRC_FOLD_X86
/// The 32-bit register (scaled as FoldConstants describes) after `n` bytes from `c`; `n` is a
/// multiple of 16 and at least 16; `k` holds kFoldWords constant words.
std::uint32_t FoldPclmul(const std::uint64_t* k, ByteMap map, std::uint32_t c,
                         const std::uint8_t* p, std::size_t n);
/// The same, 256 bits at a time.
std::uint32_t FoldVpclmul(const std::uint64_t* k, ByteMap map, std::uint32_t c,
                          const std::uint8_t* p, std::size_t n);
#endif

}  // namespace tn::crc
