// Little-endian words at any alignment: every on-media and in-record number of the package is
// stored this way, whatever the byte order of the computer reading it.
#pragma once

#include <cstdint>

namespace tn {

inline std::uint16_t ReadLE16(const std::uint8_t* p) {
    return static_cast<std::uint16_t>(p[0] | p[1] << 8);
}

inline std::uint32_t ReadLE32(const std::uint8_t* p) {
    return ReadLE16(p) | std::uint32_t{ReadLE16(p + 2)} << 16;
}

inline std::uint64_t ReadLE64(const std::uint8_t* p) {
    return ReadLE32(p) | std::uint64_t{ReadLE32(p + 4)} << 32;
}

/// Writes the low 16 bits of `v` (FAT fields are often computed in wider words).
inline void WriteLE16(std::uint8_t* p, std::uint32_t v) {
    p[0] = static_cast<std::uint8_t>(v);
    p[1] = static_cast<std::uint8_t>(v >> 8);
}

inline void WriteLE32(std::uint8_t* p, std::uint32_t v) {
    WriteLE16(p, v);
    WriteLE16(p + 2, v >> 16);
}

inline void WriteLE64(std::uint8_t* p, std::uint64_t v) {
    WriteLE32(p, static_cast<std::uint32_t>(v));
    WriteLE32(p + 4, static_cast<std::uint32_t>(v >> 32));
}

}  // namespace tn
