#include "text/Windows1252.h"

namespace tn::cp1252 {

namespace {
// 0x80..0x9F; the rest of the code page equals Latin-1.
constexpr char16_t kHighControls[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // 80-87
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  // 88-8F
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 90-97
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,  // 98-9F
};
}  // namespace

char32_t ToUnicode(unsigned char byte) {
    if (byte >= 0x80 && byte < 0xA0) return kHighControls[byte - 0x80];
    return byte;
}

bool FromUnicode(char32_t codePoint, unsigned char& byte) {
    if (codePoint < 0x80 || (codePoint >= 0xA0 && codePoint <= 0xFF)) {
        byte = static_cast<unsigned char>(codePoint);
        return true;
    }
    for (int i = 0; i < 32; ++i) {
        if (kHighControls[i] == codePoint) {
            byte = static_cast<unsigned char>(0x80 + i);
            return true;
        }
    }
    return false;
}

}  // namespace tn::cp1252
