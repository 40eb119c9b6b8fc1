#include "crc/HexText.h"

#include <cstdint>
#include <cstdio>

namespace tn::crc {

TPString HexText(int value, int digits) {
    constexpr int kMaxDigits = 32;  // more padding than any message needs
    if (digits < 0) digits = 0;
    if (digits > kMaxDigits) digits = kMaxDigits;
    char buffer[kMaxDigits + 1] = {};
    std::snprintf(buffer, sizeof buffer, "%0*X", digits,
                  static_cast<unsigned>(static_cast<std::uint32_t>(value)));
    return TPString(static_cast<char*>(buffer));
}

}  // namespace tn::crc
