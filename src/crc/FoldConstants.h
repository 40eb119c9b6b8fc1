// The constants of carry-less folding for one CRC, computed from its polynomial.
//
// A CRC of width w <= 32 with generator G (degree w) is run as a 32-bit CRC modulo
// P = G * x^(32 - w): the register scaled by x^(32 - w) stays a multiple of it through every
// step, so the w-bit register is the 32-bit one shifted (normal order) or unchanged (reflected
// order, where the low bits hold the high powers). P need not be irreducible: folding and
// Barrett reduction only use that x^k mod P is congruent to x^k.
//
// Folding a 128-bit chunk X = H * x^64 + L forward by D bits replaces X * x^D with
// H * (x^(D + 64) mod P) + L * (x^D mod P), two 64 x 32-bit carry-less products. In reflected
// order a 64 x 64 product of reflected operands lands one bit lower than the reflected product,
// and the constants are kept as 33-bit reflected values: that moves each of them by x^-32, so
// they are x^(D + 32) mod P and x^(D - 32) mod P there.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tn::crc {

/// Fold distances in bits: one 128-bit lane, two (one 256-bit register), four and eight.
inline constexpr int kFoldDistances[] = {128, 256, 512, 1024};
inline constexpr int kFoldDistanceCount = 4;

/// Layout of the constant words. Each fold distance has two: the factor of the low 64-bit half
/// of a lane and the factor of its high half, as the multiplier reads them.
enum FoldWord : int {
    kFoldFirst = 0,                                 // 2 * kFoldDistanceCount words from here
    kReduce = kFoldFirst + 2 * kFoldDistanceCount,  // x^64 mod P, for the last 128 -> 64 steps
    kReduce96,                                      // x^96 mod P
    kBarrett,                                       // floor(x^64 / P)
    kModulus,                                       // P itself, 33 bits
    kShape,  // width in the low byte, 0x100 when reflected; 0 when folding does not apply
    kFoldWords
};
inline constexpr std::uint64_t kReflectedShape = 0x100;
inline constexpr std::uint64_t kWidthBits = 0xFF;
inline constexpr int kWideBits = 32;

struct FoldConstants {
    std::uint64_t word[kFoldWords];
};

namespace detail {

inline constexpr int kHighestPower = 1024 + 64;
static_assert(kFoldDistances[kFoldDistanceCount - 1] + 64 == kHighestPower);

// x^e mod P for every e up to kHighestPower, P = x^32 + low: one run of the shift register.
struct Powers {
    std::uint32_t of[kHighestPower + 1];
};

constexpr Powers PowersModulo(std::uint32_t low) {
    Powers p{};
    std::uint32_t r = 1;
    for (int e = 0; e <= kHighestPower; ++e) {
        p.of[e] = r;
        r = (r << 1) ^ ((r >> 31) != 0 ? low : 0);
    }
    return p;
}

// floor(x^64 / P) by long division: the dividend's bits enter a 33-bit window from the top;
// after the bit of x^d has entered, the window's top bit stands for x^(d + 32).
constexpr std::uint64_t Barrett(std::uint32_t low) {
    const std::uint64_t p = (std::uint64_t{1} << 32) | low;
    std::uint64_t window = 0, quotient = 0;
    for (int degree = 64; degree >= 0; --degree) {
        window = (window << 1) | (degree == 64 ? 1U : 0U);
        if (((window >> 32) & 1U) != 0) {
            window ^= p;
            quotient |= std::uint64_t{1} << degree;
        }
    }
    return quotient;
}

constexpr std::uint64_t Reflect33(std::uint64_t v) {
    std::uint64_t r = 0;
    for (int i = 0; i <= 32; ++i)
        r |= ((v >> i) & 1U) << (32 - i);
    return r;
}

}  // namespace detail

/// The constants for a CRC of `width` bits (1..32) and generator `polynomial` (without its top
/// term, normal form, bits above the width ignored). Other widths give constants that say
/// folding does not apply.
constexpr FoldConstants MakeFoldConstants(int width, std::uint32_t polynomial, bool reflected) {
    FoldConstants k{};
    if (width < 1 || width > kWideBits) return k;
    const int scale = kWideBits - width;
    const std::uint32_t mask = width == kWideBits ? 0xFFFFFFFFU : (1U << width) - 1;
    const std::uint32_t low = (polynomial & mask) << scale;
    const detail::Powers powers = detail::PowersModulo(low);
    const auto power = [&powers, reflected](int e) -> std::uint64_t {
        const std::uint64_t v = powers.of[e];
        return reflected ? detail::Reflect33(v) : v;
    };
    for (int i = 0; i < kFoldDistanceCount; ++i) {
        const int d = kFoldDistances[i];
        k.word[kFoldFirst + 2 * i] = reflected ? power(d + 32) : power(d);
        k.word[kFoldFirst + 2 * i + 1] = reflected ? power(d - 32) : power(d + 64);
    }
    k.word[kReduce] = power(64);
    k.word[kReduce96] = power(96);
    const std::uint64_t barrett = detail::Barrett(low);
    const std::uint64_t modulus = (std::uint64_t{1} << 32) | low;
    k.word[kBarrett] = reflected ? detail::Reflect33(barrett) : barrett;
    k.word[kModulus] = reflected ? detail::Reflect33(modulus) : modulus;
    k.word[kShape] = static_cast<std::uint64_t>(width) | (reflected ? kReflectedShape : 0);
    return k;
}

}  // namespace tn::crc
