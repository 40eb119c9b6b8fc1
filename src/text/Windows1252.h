// Windows-1252 to Unicode and back, for all 256 byte values. The five bytes that the code page
// leaves undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D) map to the C1 control characters of the same
// value, as Windows' own conversion does, so that every byte survives a round trip.
#pragma once

#include <cstdint>

namespace tn::cp1252 {

/// The characters of 0x80..0x9F; the rest of the code page equals Latin-1.
inline constexpr char16_t kHighControls[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // 80-87
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  // 88-8F
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 90-97
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,  // 98-9F
};

/// Unicode code point of a Windows-1252 byte.
constexpr char32_t ToUnicode(unsigned char byte) {
    if (byte >= 0x80 && byte < 0xA0) return kHighControls[byte - 0x80];
    return byte;
}
static_assert(ToUnicode(0x80) == 0x20AC && ToUnicode(0x9F) == 0x0178 && ToUnicode(0xE4) == 0xE4);

/// Windows-1252 byte of a code point; false when the code page lacks it.
bool FromUnicode(char32_t codePoint, unsigned char& byte);

}  // namespace tn::cp1252
