#include "text/OemCodePage.h"

#include "text/GermanLetters.h"

namespace tn::cp850 {

namespace {

// The string class's own OEM conversion knows only the German letters; they must be the same
// characters here. Their Windows-1252 bytes are their code points (Latin-1).
constexpr bool GermanLettersAgree() {
    for (const german::Letter& l : german::kLetters) {
        if (ToUnicode(l.oem) != l.ansi) return false;
    }
    return true;
}
static_assert(GermanLettersAgree());

}  // namespace

bool FromUnicode(char32_t codePoint, unsigned char& byte) {
    if (codePoint < 0x80) {
        byte = static_cast<unsigned char>(codePoint);
        return true;
    }
    for (int i = 0; i < 128; ++i) {
        if (kUpperHalf[i] == codePoint) {
            byte = static_cast<unsigned char>(0x80 + i);
            return true;
        }
    }
    return false;
}

}  // namespace tn::cp850
