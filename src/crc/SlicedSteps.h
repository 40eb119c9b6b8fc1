// The byte step shared by the package's table CRCs, and its eight-bytes-at-a-time form.
//
// One step takes the register c and an input byte b to F(c) XOR T[b]: T is the CRC table, F
// shifts the register and folds the byte that leaves it through T. T is built from shifts and
// conditional XORs only, so T[a ^ b] = T[a] ^ T[b], and F is linear over GF(2) as well. Eight
// steps therefore equal F^8(c) XOR the sum over j of F^(7-j)(T[b_j]); both parts come from
// precomputed tables, twelve independent lookups instead of a chain of eight dependent steps.
// This holds for every width and both bit orders, including the reflected step that shifts by
// width - 8 (whose width-32 result is not the common CRC-32).
#pragma once

#include <cstddef>
#include <cstdint>

namespace tn::crc {

inline constexpr int kTableSize = 256;
inline constexpr int kSliceBytes = 8;     // input bytes per block
inline constexpr int kRegisterBytes = 4;  // bytes of a 32-bit register
inline constexpr int kSliceTables = kSliceBytes + kRegisterBytes;
inline constexpr int kRegisterBits = 32;

// Tables 0..7: F^(7-j)(T[x]) for input byte j of a block (so table 7 is T itself);
// tables 8..11: F^8 of register byte k, that is F^8(x << 8k).
using SliceTables = std::uint32_t[kSliceTables][kTableSize];

/// Everything of a calculator that a step needs besides the input.
struct StepShape {
    bool reflected;
    int shift;  // width - 8 above width 8, else 0
    std::uint32_t mask;
    const std::uint32_t* table;  // kTableSize entries
};

/// v >> n, with the bits all gone for n >= 32 (only widths above 40 shift that far).
constexpr std::uint32_t ShiftRight(std::uint32_t v, int n) {
    return n < kRegisterBits ? v >> n : 0;
}
constexpr std::uint32_t ShiftLeft(std::uint32_t v, int n) {
    return n < kRegisterBits ? v << n : 0;
}

/// One step, exactly as the calculator defines it.
inline std::uint32_t Step(const StepShape& s, std::uint32_t c, std::uint8_t b,
                          std::uint8_t byteXor) {
    const std::uint32_t in = static_cast<std::uint32_t>(b ^ byteXor);
    if (s.reflected) return ShiftRight(c, s.shift) ^ s.table[(in ^ c) & 0xFF];
    return s.table[(ShiftRight(c, s.shift) & 0xFF) ^ in] ^ ((c << 8) & s.mask);
}

/// Byte-at-a-time run over `n` bytes from register `c`.
std::uint32_t RunByteByByte(const StepShape& s, std::uint32_t c, const std::uint8_t* p,
                            std::size_t n, std::uint8_t byteXor);

/// Fills `out` for the step `s` (whose table is copied into out[kSliceBytes - 1]).
void BuildSliceTables(const StepShape& s, SliceTables& out);

/// The same result as RunByteByByte, eight bytes at a time. `s.table` may be any table equal
/// to the one the slices were built from.
std::uint32_t RunSliced(const StepShape& s, const SliceTables& slices, std::uint32_t c,
                        const std::uint8_t* p, std::size_t n, std::uint8_t byteXor);

}  // namespace tn::crc
