#include "text/Utf8Decoder.h"

#include <cstdint>

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
static_assert(1 + 3 == kMaxSequence);

}  // namespace

Step Decode(const char* p, std::size_t available) {
    const auto first = static_cast<unsigned char>(p[0]);
    if (first < 0x80) return {1, true, first};
    Lead lead{};
    if (!Classify(first, lead)) return {1, false, 0};
    char32_t value = lead.bits;
    for (int i = 1; i <= lead.trailing; ++i) {
        if (static_cast<std::size_t>(i) >= available) return {i, false, 0};
        const auto b = static_cast<unsigned char>(p[i]);  // a NUL ends the piece here
        const unsigned char low = i == 1 ? lead.secondLow : kContinuationLow;
        const unsigned char high = i == 1 ? lead.secondHigh : kContinuationHigh;
        if (b < low || b > high) return {i, false, 0};  // the byte belongs to the next piece
        value = (value << 6) | (b & 0x3Fu);
    }
    return {lead.trailing + 1, true, value};
}

bool Next(const char*& p, char32_t& codePoint) {
    const Step step = Decode(p, SIZE_MAX);
    p += step.length;
    if (step.valid) codePoint = step.codePoint;
    return step.valid;
}

}  // namespace tn::utf8
