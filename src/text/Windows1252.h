// Windows-1252 to Unicode and back, for all 256 byte values. The five bytes that the code page
// leaves undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D) map to the C1 control characters of the same
// value, as Windows' own conversion does, so that every byte survives a round trip.
#pragma once

#include <cstdint>

namespace tn::cp1252 {

/// Unicode code point of a Windows-1252 byte.
char32_t ToUnicode(unsigned char byte);
/// Windows-1252 byte of a code point; false when the code page lacks it.
bool FromUnicode(char32_t codePoint, unsigned char& byte);

}  // namespace tn::cp1252
