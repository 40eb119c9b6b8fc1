// Splitting bytes into their eight bit planes: plane m holds bit m of every byte, one bit per
// byte, the first byte in bit 0 of the plane's first byte.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tn::crc {

inline constexpr int kPlanes = 8;
inline constexpr std::size_t kPlaneGroup = 128;  // input bytes per 16 plane bytes

/// Writes the planes of `n` bytes (a multiple of kPlaneGroup), each XORed with `byteXor`, to
/// planes[m * stride ...]; every plane gets n / 8 bytes. `wide`: the processor has AVX2.
void SplitPlanes(const std::uint8_t* p, std::size_t n, std::uint8_t byteXor, std::uint8_t* planes,
                 std::size_t stride, bool wide);

}  // namespace tn::crc
