#include <tnpackage/text/Encodings.h>

#include "text/OemCodePage.h"
#include "text/Utf8Decoder.h"
#include "text/Windows1252.h"

namespace tn {

namespace {

using ToUnicodeFn = char32_t (*)(unsigned char);
using FromUnicodeFn = bool (*)(char32_t, unsigned char&);

// Room for the common case of two-byte characters without a second allocation.
constexpr std::size_t Estimate(std::size_t bytes) {
    return bytes + bytes / 2;
}

std::string ToUtf8(std::string_view text, ToUnicodeFn toUnicode) {
    std::string out;
    out.reserve(Estimate(text.size()));
    for (const char c : text)
        AppendUtf8(out, toUnicode(static_cast<unsigned char>(c)));
    return out;
}

// A bad byte is replaced alone and decoding resumes right after it, so text that follows a
// damaged piece is never lost with it.
std::string FromUtf8(std::string_view utf8, FromUnicodeFn fromUnicode, char replacement) {
    std::string out;
    out.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();) {
        const utf8::Step step = utf8::Decode(utf8.data() + i, utf8.size() - i);
        unsigned char byte = 0;
        if (!step.valid) {
            out.push_back(replacement);
            ++i;
        } else {
            out.push_back(fromUnicode(step.codePoint, byte) ? static_cast<char>(byte)
                                                            : replacement);
            i += static_cast<std::size_t>(step.length);
        }
    }
    return out;
}

}  // namespace

std::string Win1252ToUtf8(std::string_view text) {
    std::string out;
    out.reserve(Estimate(text.size()));
    AppendWin1252AsUtf8(out, text);
    return out;
}

void AppendWin1252AsUtf8(std::string& out, std::string_view text) {
    std::size_t i = 0;
    while (i < text.size()) {
        // Runs of ASCII, most of a name, go over as they are.
        std::size_t ascii = i;
        while (ascii < text.size() && static_cast<unsigned char>(text[ascii]) < 0x80)
            ++ascii;
        out.append(text.data() + i, ascii - i);
        if (ascii == text.size()) break;
        AppendUtf8(out, cp1252::ToUnicode(static_cast<unsigned char>(text[ascii])));
        i = ascii + 1;
    }
}

std::string Utf8ToWin1252(std::string_view utf8, char replacement) {
    return FromUtf8(utf8, cp1252::FromUnicode, replacement);
}

std::string OemToUtf8(std::string_view text) {
    return ToUtf8(text, cp850::ToUnicode);
}

std::string Utf8ToOem(std::string_view utf8, char replacement) {
    return FromUtf8(utf8, cp850::FromUnicode, replacement);
}

void AppendUtf8(std::string& out, char32_t codePoint) {
    const auto put = [&out](char32_t bits) { out.push_back(static_cast<char>(bits)); };
    if (codePoint < 0x80) {
        put(codePoint);
    } else if (codePoint < 0x800) {
        put(0xC0 | (codePoint >> 6));
        put(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        put(0xE0 | (codePoint >> 12));
        put(0x80 | ((codePoint >> 6) & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    } else {
        put(0xF0 | (codePoint >> 18));
        put(0x80 | ((codePoint >> 12) & 0x3F));
        put(0x80 | ((codePoint >> 6) & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    }
}

}  // namespace tn
