#include "text/Utf8Decoder.h"

namespace tn::utf8 {

namespace {

constexpr unsigned char kContinuationLow = 0x80;
constexpr unsigned char kContinuationHigh = 0xBF;

// Bounds of the second byte where the first one narrows them (no overlong forms, no
// surrogates, nothing above U+10FFFF); every later byte is a plain continuation byte.
struct Lead {
    int trailing;  // continuation bytes that follow
    unsigned char secondLow, secondHigh;
    char32_t bits;  // payload of the lead byte
};

bool Classify(unsigned char b, Lead& lead) {
    if (b >= 0xC2 && b <= 0xDF) {
        lead = {1, kContinuationLow, kContinuationHigh, b & 0x1Fu};
    } else if (b >= 0xE0 && b <= 0xEF) {
        lead = {2, b == 0xE0 ? static_cast<unsigned char>(0xA0) : kContinuationLow,
                b == 0xED ? static_cast<unsigned char>(0x9F) : kContinuationHigh, b & 0x0Fu};
    } else if (b >= 0xF0 && b <= 0xF4) {
        lead = {3, b == 0xF0 ? static_cast<unsigned char>(0x90) : kContinuationLow,
                b == 0xF4 ? static_cast<unsigned char>(0x8F) : kContinuationHigh, b & 0x07u};
    } else {
        return false;  // a continuation byte without lead, or a byte UTF-8 never uses
    }
    return true;
}

}  // namespace

bool Next(const char*& p, char32_t& codePoint) {
    const auto first = static_cast<unsigned char>(*p++);
    if (first < 0x80) {
        codePoint = first;
        return true;
    }
    Lead lead{};
    if (!Classify(first, lead)) return false;
    char32_t value = lead.bits;
    for (int i = 0; i < lead.trailing; ++i) {
        const auto b = static_cast<unsigned char>(*p);  // the NUL ends the piece here
        const unsigned char low = i == 0 ? lead.secondLow : kContinuationLow;
        const unsigned char high = i == 0 ? lead.secondHigh : kContinuationHigh;
        if (b < low || b > high) return false;  // the byte is left for the next call
        value = (value << 6) | (b & 0x3Fu);
        ++p;
    }
    codePoint = value;
    return true;
}

}  // namespace tn::utf8
