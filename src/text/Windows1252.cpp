#include "text/Windows1252.h"

namespace tn::cp1252 {

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
