// The XOR of all bytes of a buffer.
//
// The reflected table CRC of width 4 and below never feeds its register back into the table
// index (the table reads only the index's top `width` bits, the register holds the low ones),
// so its result is the start XOR T[b_1] XOR ... XOR T[b_n], and by the table's linearity
// T[b_1 XOR ... XOR b_n]: one pass of XORs over the input.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tn::crc {

std::uint8_t XorOfBytes(const std::uint8_t* p, std::size_t n);

}  // namespace tn::crc
