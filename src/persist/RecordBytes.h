// Bytes of records: little-endian words at any alignment, and handing bytes to a writer.
#pragma once

#include <tnpackage/persist/TPWriter.h>

#include <cstdint>

namespace tn::detail {

inline void PutLe16(unsigned char* p, std::uint16_t v) {
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
}

inline void PutLe32(unsigned char* p, std::uint32_t v) {
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<unsigned char>(v >> (8 * i));
}

inline std::uint16_t GetLe16(const unsigned char* p) {
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

inline std::uint32_t GetLe32(const unsigned char* p) {
    return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
           (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

/// Moves a device address held in an int by `n` bytes, wrapping as the 32-bit bus does.
inline void AdvanceAddress(int& address, std::uint32_t n) {
    address = static_cast<int>(static_cast<std::uint32_t>(address) + n);
}

/// Hands `size` bytes to the writer, one address each, from `address` on (which advances).
inline void HandOut(const void* bytes, int size, int& address, const TPWriter& writer) {
    const auto* p = static_cast<const unsigned char*>(bytes);
    for (int i = 0; i < size; ++i) {
        writer(address, static_cast<char>(p[i]));
        AdvanceAddress(address, 1);
    }
}

}  // namespace tn::detail
