// Dispatch of the folding, and the register's way into and out of the 32-bit form.
#include "crc/Fold.h"

#include "crc/CrcPath.h"

namespace tn::crc {

#if TN_CRC_FOLD_X86
namespace {

constexpr std::size_t kChunkMask = ~std::size_t{15};

std::uint32_t ToWide(std::uint64_t shape, std::uint32_t c) {
    if ((shape & kReflectedShape) != 0) return c;
    return c << (kWideBits - static_cast<int>(shape & kWidthBits));
}

std::uint32_t FromWide(std::uint64_t shape, std::uint32_t wide) {
    if ((shape & kReflectedShape) != 0) return wide;
    return wide >> (kWideBits - static_cast<int>(shape & kWidthBits));
}

}  // namespace
#endif

std::size_t FoldPrefix(const std::uint64_t* k, ByteMap map, std::uint32_t& c, const std::uint8_t* p,
                       std::size_t n) {
    const std::uint64_t shape = k[kShape];
    if (n < kFoldMinBytes || shape == 0) return 0;
#if TN_CRC_FOLD_X86
    const CrcPath path = ActiveCrcPath();
    if (path == CrcPath::kPortable) return 0;
    const std::size_t whole = n & kChunkMask;
    const std::uint32_t wide = ToWide(shape, c);
    c = FromWide(shape, path == CrcPath::kVpclmul ? FoldVpclmul(k, map, wide, p, whole)
                                                  : FoldPclmul(k, map, wide, p, whole));
    return whole;
#else
    (void)map;
    (void)c;
    (void)p;
    return 0;
#endif
}

}  // namespace tn::crc
