// TPString: UTF-8 text to Windows-1252 and to text with HTML references.
#include <tnpackage/text/TPString.h>

#include <cstdio>
#include <string>

#include "text/GermanLetters.h"
#include "text/Utf8Decoder.h"
#include "text/Windows1252.h"

namespace tn {

namespace {

constexpr char kUnknown = '?';

// Meaning of the bits of UTF8toHTML's argument.
constexpr int kEscapeMarkup = 1;  // also "&", "<" and ">"
constexpr int kAsciiOnly = 2;     // every character beyond ASCII as a reference

void PutReference(std::string& out, char32_t codePoint) {
    char reference[16];
    std::snprintf(reference, sizeof reference, "&#%u;", static_cast<unsigned>(codePoint));
    out += reference;
}

}  // namespace

// Every code point Windows-1252 has becomes its byte, everything else (ill-formed pieces
// included) one "?".
TPString TPString::UTF8toAscii() const {
    std::string out;
    for (const char* p = text_; p != nullptr && *p != '\0';) {
        char32_t codePoint = 0;
        unsigned char byte = 0;
        const bool known = utf8::Next(p, codePoint) && cp1252::FromUnicode(codePoint, byte);
        out += known ? static_cast<char>(byte) : kUnknown;
    }
    return TPString(out.data());
}

// `mode` is a set of bits: 1 escapes the mark-up characters "&", "<", ">" as Ansi2HTML(true)
// does; 2 writes every character beyond ASCII as a numeric reference, for pure ASCII pages.
// Without 2, the German letters and the degree sign become the references of Ansi2HTML, other
// characters Windows-1252 has their byte, and the rest numeric references. An ill-formed piece
// becomes "?" in every mode.
TPString TPString::UTF8toHTML(int mode) const {
    const bool markup = (mode & kEscapeMarkup) != 0;
    const bool asciiOnly = (mode & kAsciiOnly) != 0;
    std::string out;
    for (const char* p = text_; p != nullptr && *p != '\0';) {
        char32_t codePoint = 0;
        if (!utf8::Next(p, codePoint)) {
            out += kUnknown;
            continue;
        }
        unsigned char byte = 0;
        const bool inCodePage = cp1252::FromUnicode(codePoint, byte);
        if (codePoint < 0x80 || (inCodePage && !asciiOnly)) {
            const char* entity = german::HtmlEntity(static_cast<char>(byte), markup);
            if (entity != nullptr) {
                out += entity;
            } else {
                out += static_cast<char>(byte);
            }
        } else {
            PutReference(out, codePoint);
        }
    }
    return TPString(out.data());
}

}  // namespace tn
