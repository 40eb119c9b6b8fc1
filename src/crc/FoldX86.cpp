// The folding loops: four independent accumulators hide the multiplier's latency, then they
// are folded into one 128-bit lane, reduced to 64 bits and finished by Barrett reduction.
#include "crc/FoldX86.h"

#if TN_CRC_FOLD_X86

#include <immintrin.h>

#define TN_TARGET_CLMUL __attribute__((target("pclmul,sse4.1,ssse3")))
#define TN_TARGET_VCLMUL __attribute__((target("vpclmulqdq,avx2,pclmul,sse4.1,ssse3")))

namespace tn::crc {

namespace {

constexpr std::size_t kLaneBytes = 16;
constexpr std::size_t kWideBytes = 32;
constexpr int kAccumulators = 4;
constexpr int kDistance128 = 0, kDistance256 = 1, kDistance512 = 2, kDistance1024 = 3;
constexpr std::size_t kWideMinBytes = 256;  // below this the 128-bit loop is as fast

// The bytes of one 128-bit lane as the loops want them: mapped, and in normal order reversed,
// so that the first message bit is the lane's highest power in both orders.
struct LaneMap {
    __m128i xorBytes;
    __m128i keepBits;
    __m128i shift;
    bool shifts;
};

TN_TARGET_CLMUL LaneMap MakeLaneMap(ByteMap map) {
    const auto keep = static_cast<char>((0xFF << map.shift) & 0xFF);
    return {_mm_set1_epi8(static_cast<char>(map.xorValue)), _mm_set1_epi8(keep),
            _mm_cvtsi32_si128(map.shift), map.shift != 0};
}

TN_TARGET_CLMUL inline __m128i ByteReversal() {
    return _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
}

template <bool Reflected>
TN_TARGET_CLMUL inline __m128i Load(const LaneMap& m, const std::uint8_t* p) {
    __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    v = _mm_xor_si128(v, m.xorBytes);
    if (m.shifts) v = _mm_and_si128(_mm_sll_epi16(v, m.shift), m.keepBits);
    return Reflected ? v : _mm_shuffle_epi8(v, ByteReversal());
}

template <bool Reflected>
TN_TARGET_VCLMUL inline __m256i LoadWide(const LaneMap& m, const std::uint8_t* p) {
    __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    v = _mm256_xor_si256(v, _mm256_broadcastsi128_si256(m.xorBytes));
    if (m.shifts) {
        v = _mm256_and_si256(_mm256_sll_epi16(v, m.shift), _mm256_broadcastsi128_si256(m.keepBits));
    }
    return Reflected ? v : _mm256_shuffle_epi8(v, _mm256_broadcastsi128_si256(ByteReversal()));
}

// The start register enters as an XOR into the message's first 32 bits.
template <bool Reflected>
TN_TARGET_CLMUL inline __m128i Start(std::uint32_t c) {
    const auto v = static_cast<int>(c);
    return Reflected ? _mm_cvtsi32_si128(v) : _mm_set_epi32(v, 0, 0, 0);
}

TN_TARGET_CLMUL inline __m128i Factors(const std::uint64_t* k, int distance) {
    return _mm_set_epi64x(static_cast<long long>(k[kFoldFirst + 2 * distance + 1]),
                          static_cast<long long>(k[kFoldFirst + 2 * distance]));
}

TN_TARGET_CLMUL inline __m128i Word(const std::uint64_t* k, int index) {
    return _mm_cvtsi64_si128(static_cast<long long>(k[index]));
}

// acc moved forward by the distance of `factors`, plus the lane that lies there.
TN_TARGET_CLMUL inline __m128i Fold(__m128i acc, __m128i factors, __m128i next) {
    const __m128i low = _mm_clmulepi64_si128(acc, factors, 0x00);
    const __m128i high = _mm_clmulepi64_si128(acc, factors, 0x11);
    return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

TN_TARGET_VCLMUL inline __m256i FoldWide(__m256i acc, __m256i factors, __m256i next) {
    const __m256i low = _mm256_clmulepi64_epi128(acc, factors, 0x00);
    const __m256i high = _mm256_clmulepi64_epi128(acc, factors, 0x11);
    return _mm256_xor_si256(_mm256_xor_si256(low, high), next);
}

// (X * x^32) mod P for the lane X, most significant bit first: X = H * x^64 + L gives
// H * (x^96 mod P) + L * x^32 (96 bits), whose top 32 bits fold by x^64 mod P into 64 bits.
TN_TARGET_CLMUL std::uint32_t ReduceNormal(const std::uint64_t* k, __m128i x) {
    const __m128i t = _mm_xor_si128(_mm_clmulepi64_si128(x, Word(k, kReduce96), 0x01),
                                    _mm_slli_si128(_mm_move_epi64(x), 4));
    const __m128i u = _mm_xor_si128(
        _mm_move_epi64(t), _mm_clmulepi64_si128(_mm_srli_si128(t, 8), Word(k, kReduce), 0x00));
    const __m128i q =
        _mm_srli_epi64(_mm_clmulepi64_si128(_mm_srli_epi64(u, 32), Word(k, kBarrett), 0x00), 32);
    const __m128i r = _mm_xor_si128(u, _mm_clmulepi64_si128(q, Word(k, kModulus), 0x00));
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(r));
}

// The same in reflected order, where the low bits hold the high powers: a product of a 64-bit
// half and a 33-bit constant then holds bit k as x^(95 - k), the frame of H * (x^96 mod P) +
// L * x^32; its low 32 bits are the top that x^64 mod P folds into the remaining 64.
TN_TARGET_CLMUL std::uint32_t ReduceReflected(const std::uint64_t* k, __m128i x) {
    const __m128i low32 = _mm_set_epi32(0, 0, 0, -1);
    const __m128i t =
        _mm_xor_si128(_mm_clmulepi64_si128(x, Word(k, kReduce96), 0x00), _mm_srli_si128(x, 8));
    const __m128i u =
        _mm_xor_si128(_mm_srli_si128(t, 4),
                      _mm_clmulepi64_si128(_mm_and_si128(t, low32), Word(k, kReduce), 0x00));
    const __m128i q = _mm_and_si128(
        _mm_clmulepi64_si128(_mm_and_si128(u, low32), Word(k, kBarrett), 0x00), low32);
    const __m128i r = _mm_xor_si128(u, _mm_clmulepi64_si128(q, Word(k, kModulus), 0x00));
    return static_cast<std::uint32_t>(_mm_extract_epi32(r, 1));
}

template <bool Reflected>
TN_TARGET_CLMUL std::uint32_t Reduce(const std::uint64_t* k, __m128i x) {
    return Reflected ? ReduceReflected(k, x) : ReduceNormal(k, x);
}

// One lane at a time to the end, then the reduction.
template <bool Reflected>
TN_TARGET_CLMUL std::uint32_t Finish(const std::uint64_t* k, const LaneMap& m, __m128i acc,
                                     const std::uint8_t* p, std::size_t n) {
    const __m128i factors = Factors(k, kDistance128);
    for (; n >= kLaneBytes; n -= kLaneBytes, p += kLaneBytes)
        acc = Fold(acc, factors, Load<Reflected>(m, p));
    return Reduce<Reflected>(k, acc);
}

template <bool Reflected>
TN_TARGET_CLMUL std::uint32_t Lanes(const std::uint64_t* k, ByteMap map, std::uint32_t c,
                                    const std::uint8_t* p, std::size_t n) {
    const LaneMap m = MakeLaneMap(map);
    __m128i acc = _mm_xor_si128(Load<Reflected>(m, p), Start<Reflected>(c));
    p += kLaneBytes;
    n -= kLaneBytes;
    constexpr std::size_t kBlock = kAccumulators * kLaneBytes;
    if (n >= kBlock - kLaneBytes) {
        __m128i a[kAccumulators] = {acc, Load<Reflected>(m, p), Load<Reflected>(m, p + 16),
                                    Load<Reflected>(m, p + 32)};
        p += kBlock - kLaneBytes;
        n -= kBlock - kLaneBytes;
        const __m128i far = Factors(k, kDistance512);
        for (; n >= kBlock; n -= kBlock, p += kBlock) {
            for (int i = 0; i < kAccumulators; ++i)
                a[i] = Fold(a[i], far, Load<Reflected>(m, p + kLaneBytes * i));
        }
        const __m128i near = Factors(k, kDistance128);
        acc = a[0];
        for (int i = 1; i < kAccumulators; ++i)
            acc = Fold(acc, near, a[i]);
    }
    return Finish<Reflected>(k, m, acc, p, n);
}

template <bool Reflected>
TN_TARGET_VCLMUL std::uint32_t Wide(const std::uint64_t* k, ByteMap map, std::uint32_t c,
                                    const std::uint8_t* p, std::size_t n) {
    if (n < kWideMinBytes) return Lanes<Reflected>(k, map, c, p, n);
    const LaneMap m = MakeLaneMap(map);
    constexpr std::size_t kBlock = kAccumulators * kWideBytes;
    __m256i a[kAccumulators];
    for (int i = 0; i < kAccumulators; ++i)
        a[i] = LoadWide<Reflected>(m, p + kWideBytes * i);
    a[0] = _mm256_xor_si256(a[0], _mm256_set_m128i(_mm_setzero_si128(), Start<Reflected>(c)));
    p += kBlock;
    n -= kBlock;
    const __m256i far = _mm256_broadcastsi128_si256(Factors(k, kDistance1024));
    for (; n >= kBlock; n -= kBlock, p += kBlock) {
        for (int i = 0; i < kAccumulators; ++i)
            a[i] = FoldWide(a[i], far, LoadWide<Reflected>(m, p + kWideBytes * i));
    }
    const __m256i near = _mm256_broadcastsi128_si256(Factors(k, kDistance256));
    __m256i acc = a[0];
    for (int i = 1; i < kAccumulators; ++i)
        acc = FoldWide(acc, near, a[i]);
    for (; n >= kWideBytes; n -= kWideBytes, p += kWideBytes)
        acc = FoldWide(acc, near, LoadWide<Reflected>(m, p));
    // The low lane holds the earlier bytes, the higher powers.
    const __m128i lane = Fold(_mm256_castsi256_si128(acc), Factors(k, kDistance128),
                              _mm256_extracti128_si256(acc, 1));
    return Finish<Reflected>(k, m, lane, p, n);
}

}  // namespace

std::uint32_t FoldPclmul(const std::uint64_t* k, ByteMap map, std::uint32_t c,
                         const std::uint8_t* p, std::size_t n) {
    return (k[kShape] & kReflectedShape) != 0 ? Lanes<true>(k, map, c, p, n)
                                              : Lanes<false>(k, map, c, p, n);
}

std::uint32_t FoldVpclmul(const std::uint64_t* k, ByteMap map, std::uint32_t c,
                          const std::uint8_t* p, std::size_t n) {
    return (k[kShape] & kReflectedShape) != 0 ? Wide<true>(k, map, c, p, n)
                                              : Wide<false>(k, map, c, p, n);
}

}  // namespace tn::crc

#endif
