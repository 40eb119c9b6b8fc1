// Hexadecimal text of a number as the CRC messages show it.
#pragma once

#include <tnpackage/text/TPString.h>

namespace tn::crc {

/// At least `digits` upper-case hexadecimal digits of the 32-bit two's complement of `value`
/// (so -1 is FFFFFFFF), as the package's zkIntToHex makes them.
TPString HexText(int value, int digits);

}  // namespace tn::crc
