// 64 bytes at a time: shifting each byte's bit m to its top lets one movemask collect plane m
// of 16 or 32 bytes; the masks of 64 bytes leave as one 8-byte store per plane.
#include "crc/BytePlanes.h"

#include "crc/FoldX86.h"

#include <cstring>

#if TN_CRC_FOLD_X86
#include <immintrin.h>
#endif

namespace tn::crc {

namespace {

constexpr std::size_t kBlock = 64;

#if TN_CRC_FOLD_X86
void StorePlane(std::uint8_t* out, std::uint64_t bits) {
    std::memcpy(out, &bits, sizeof bits);
}

void SplitSse2(const std::uint8_t* p, std::size_t n, std::uint8_t byteXor, std::uint8_t* planes,
               std::size_t stride) {
    const __m128i x = _mm_set1_epi8(static_cast<char>(byteXor));
    for (std::size_t i = 0; i < n; i += kBlock) {
        __m128i v[4];
        for (int q = 0; q < 4; ++q) {
            v[q] = _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i) + q), x);
        }
        for (int m = kPlanes - 1; m >= 0; --m) {
            std::uint64_t bits = 0;
            for (int q = 0; q < 4; ++q) {
                bits |= static_cast<std::uint64_t>(_mm_movemask_epi8(v[q]) & 0xFFFF) << (16 * q);
                v[q] = _mm_add_epi8(v[q], v[q]);  // the next lower bit to the top of each byte
            }
            StorePlane(planes + m * stride + i / 8, bits);
        }
    }
}

__attribute__((target("avx2"))) void SplitAvx2(const std::uint8_t* p, std::size_t n,
                                               std::uint8_t byteXor, std::uint8_t* planes,
                                               std::size_t stride) {
    const __m256i x = _mm256_set1_epi8(static_cast<char>(byteXor));
    for (std::size_t i = 0; i < n; i += kBlock) {
        const auto* q = reinterpret_cast<const __m256i*>(p + i);
        __m256i a = _mm256_xor_si256(_mm256_loadu_si256(q), x);
        __m256i b = _mm256_xor_si256(_mm256_loadu_si256(q + 1), x);
        for (int m = kPlanes - 1; m >= 0; --m) {
            const auto low = static_cast<std::uint32_t>(_mm256_movemask_epi8(a));
            const auto high = static_cast<std::uint32_t>(_mm256_movemask_epi8(b));
            StorePlane(planes + m * stride + i / 8, std::uint64_t{high} << 32 | low);
            a = _mm256_add_epi8(a, a);
            b = _mm256_add_epi8(b, b);
        }
    }
}
#endif

[[maybe_unused]] void SplitPortable(const std::uint8_t* p, std::size_t n, std::uint8_t byteXor,
                                    std::uint8_t* planes, std::size_t stride) {
    for (std::size_t i = 0; i < n; i += 8) {
        for (int m = 0; m < kPlanes; ++m) {
            unsigned bits = 0;
            for (std::size_t j = 0; j < 8; ++j)
                bits |= (((p[i + j] ^ byteXor) >> m) & 1U) << j;
            planes[m * stride + i / 8] = static_cast<std::uint8_t>(bits);
        }
    }
}

}  // namespace

void SplitPlanes(const std::uint8_t* p, std::size_t n, std::uint8_t byteXor, std::uint8_t* planes,
                 std::size_t stride, bool wide) {
#if TN_CRC_FOLD_X86
    if (wide) {
        SplitAvx2(p, n, byteXor, planes, stride);
    } else {
        SplitSse2(p, n, byteXor, planes, stride);
    }
#else
    (void)wide;
    SplitPortable(p, n, byteXor, planes, stride);
#endif
}

}  // namespace tn::crc
