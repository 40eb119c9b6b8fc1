#include "text/OemCodePage.h"

#include "text/CodePageBlock.h"
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
    return codepage::FindInBlock(kUpperHalf, 0x80, codePoint, byte);
}

}  // namespace tn::cp850
