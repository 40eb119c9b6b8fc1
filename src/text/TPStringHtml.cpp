// TPString: HTML references of the German letters, URL encoding and the decoding of character
// references.
#include <tnpackage/text/Conversions.h>
#include <tnpackage/text/Standards.h>
#include <tnpackage/text/TPString.h>

#include <cstdint>

#include "text/GermanLetters.h"
#include "text/HtmlEntities.h"
#include "text/Windows1252.h"
#include "text/WorkBuffer.h"

namespace tn {

namespace {

constexpr int kEntityBuffer = 1024;  // Ansi2HTML
constexpr int kUrlBuffer = 4096;     // HTMLCodierung
constexpr int kDecodeBuffer = 4096;  // HTMLDecodierung2 (member)

constexpr char32_t kLastCodePoint = 0x10FFFF;
// Numeric references to 128..159 name the Windows-1252 byte of that value on real pages.
constexpr char32_t kFirstLegacyControl = 0x80;
constexpr char32_t kLastLegacyControl = 0x9F;

bool IsAsciiLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
bool IsAsciiDigit(char c) {
    return c >= '0' && c <= '9';
}
// The URL form keeps only ASCII letters and digits, whatever the C library's locale says.
bool IsAsciiAlnum(char c) {
    return IsAsciiLetter(c) || IsAsciiDigit(c);
}

bool KeptInUrl(char c) {
    return IsAsciiAlnum(c) || c == '\0' || c == '%' || c == '&' || c == '=' || c == '_';
}

int HexValue(char c) {
    if (IsAsciiDigit(c)) return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

bool NumericByte(char32_t codePoint, unsigned char& byte) {
    if (codePoint >= kFirstLegacyControl && codePoint <= kLastLegacyControl) {
        byte = static_cast<unsigned char>(codePoint);
        return true;
    }
    return codePoint != 0 && cp1252::FromUnicode(codePoint, byte);
}

// "&#228;" or "&#xE4;" at p (p[0] = '&', p[1] = '#'); the length of the reference, 0 when it is
// not one this decoder replaces.
int ReadNumericReference(const char* p, unsigned char& byte) {
    int i = 2;
    const bool hex = p[i] == 'x' || p[i] == 'X';
    if (hex) ++i;
    const int firstDigit = i;
    std::uint32_t value = 0;
    for (;; ++i) {
        const int digit = hex ? HexValue(p[i]) : (IsAsciiDigit(p[i]) ? p[i] - '0' : -1);
        if (digit < 0) break;
        // Saturates above the last code point, so that any number of digits is safe.
        value = value > kLastCodePoint ? value
                                       : value * (hex ? 16u : 10u) + static_cast<unsigned>(digit);
    }
    if (i == firstDigit || p[i] != ';' || value > kLastCodePoint) return 0;
    return NumericByte(value, byte) ? i + 1 : 0;
}

// "&auml;" at p; the length of the reference, or 0.
int ReadNamedReference(const char* p, unsigned char& byte) {
    std::size_t n = 0;
    // Never looks further than one character behind the longest name.
    while (n <= html::kLongestName && IsAsciiAlnum(p[1 + n]))
        ++n;
    if (n > html::kLongestName || p[1 + n] != ';') return 0;
    if (!html::LookupEntity(p + 1, n, byte)) return 0;
    if (byte == 0xA0) byte = ' ';  // the non-breaking space becomes a plain blank
    return static_cast<int>(n) + 2;
}

// Decodes `source`, handing each output character to `put` until it refuses one.
template <class Put>
void DecodeReferences(const char* source, Put put) {
    for (const char* p = source; *p != '\0';) {
        unsigned char byte = 0;
        int length = 0;
        if (*p == '&')
            length = p[1] == '#' ? ReadNumericReference(p, byte) : ReadNamedReference(p, byte);
        if (length > 0) {
            if (!put(static_cast<char>(byte))) return;
            p += length;
        } else {
            if (!put(*p)) return;
            ++p;
        }
    }
}

}  // namespace

TPString TPString::Ansi2HTML(bool markup) const {
    if (text_ == nullptr) return TPString();
    detail::WorkBuffer<kEntityBuffer> out;
    for (const char* p = text_; *p != '\0'; ++p) {
        const char* entity = german::HtmlEntity(*p, markup);
        if (!(entity != nullptr ? out.Put(entity) : out.Put(*p))) break;
    }
    return TPString(out.Text());
}

TPString Ansi2HTML(TPString text, bool markup) {
    return text.Ansi2HTML(markup);
}

void TPString::HTMLCodierung() {
    if (text_ == nullptr) return;
    detail::WorkBuffer<kUrlBuffer> out;
    for (const char* p = text_; *p != '\0'; ++p) {
        bool fits;
        if (KeptInUrl(*p)) {
            fits = out.Put(*p);
        } else {
            // The byte is read as a signed number, so every byte from 0x80 on comes out as
            // "%FF": the first two digits of its 32-bit two's complement. Kept so, for the
            // receivers that expect it.
            const TPString hex = zkIntToHex(static_cast<signed char>(*p), 2);
            const char escape[] = {'%', hex.c_str()[0], hex.c_str()[1], '\0'};
            fits = out.Put(escape);
        }
        if (!fits) break;
    }
    *this = out.Text();
}

void HTMLDecodierung2(const char* source, char* target) {
    if (target == nullptr) return;
    if (source == nullptr) {
        *target = '\0';
        return;
    }
    // Every reference is longer than its character, so the write position never overtakes the
    // read position: decoding in place is safe.
    char* out = target;
    DecodeReferences(source, [&out](char c) {
        *out++ = c;
        return true;
    });
    *out = '\0';
}

void TPString::HTMLDecodierung2() {
    if (text_ == nullptr) return;
    detail::WorkBuffer<kDecodeBuffer> out;
    DecodeReferences(text_, [&out](char c) { return out.Put(c); });
    *this = out.Text();
}

}  // namespace tn
