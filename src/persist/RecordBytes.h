// Bytes of records: their words are little-endian (util/LittleEndian.h), and handing bytes to a
// writer.
#pragma once

#include <tnpackage/persist/TPWriter.h>

#include <cstdint>

#include "util/LittleEndian.h"

namespace tn::detail {

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
