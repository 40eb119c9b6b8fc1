#include "text/Windows1252.h"

#include "text/CodePageBlock.h"

namespace tn::cp1252 {

bool FromUnicode(char32_t codePoint, unsigned char& byte) {
    if (codePoint < 0x80 || (codePoint >= 0xA0 && codePoint <= 0xFF)) {
        byte = static_cast<unsigned char>(codePoint);
        return true;
    }
    return codepage::FindInBlock(kHighControls, 0x80, codePoint, byte);
}

}  // namespace tn::cp1252
