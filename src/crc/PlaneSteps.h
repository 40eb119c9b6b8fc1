// The table step as a linear recurrence, run through the bit planes of the input.
//
// Every table step is c' = A c + B b over GF(2): A the step with input 0, B b = the step of b
// from register 0. After n bytes, c_n = A^n c_0 + sum over bit positions m of P_m(A) B e_m, where
// P_m(z) = sum_j bit m of b_j * z^(n-1-j) is the polynomial of plane m. With Q the minimal
// polynomial of A, P_m(A) = (P_m mod Q)(A), and P_m mod Q is a plain reflected CRC of the plane
// modulo Q, which folding computes. This covers the reflected steps that are not a CRC of the
// bit stream themselves (those that move the register by width - 8 bits, not 8).
#pragma once

#include <cstddef>
#include <cstdint>

#include "crc/SlicedSteps.h"

namespace tn::crc {

/// Below this the minimal polynomial and the evaluation cost more than the tables save.
inline constexpr std::size_t kPlanesMinBytes = 65536;

/// The register after `n` bytes from `c`, as RunSliced gives it; false (and `c` unchanged)
/// where this way does not apply: the portable path, short inputs, widths outside 1..32.
bool RunByPlanes(const StepShape& s, const SliceTables& slices, int width, std::uint32_t& c,
                 const std::uint8_t* p, std::size_t n, std::uint8_t byteXor);

}  // namespace tn::crc
