// A strict UTF-8 decoder. Malformed input (a stray continuation byte, a sequence cut short, an
// overlong form, a surrogate, a value above U+10FFFF) is reported with the length of its maximal
// ill-formed piece, so that a caller may skip that piece as a whole (as the Unicode standard
// recommends) or only its first byte. The decoder stops at the first byte that does not fit, so
// it never reads past the end it is given, nor past a terminating NUL.
#pragma once

#include <cstddef>

namespace tn::utf8 {

/// Longest UTF-8 sequence.
inline constexpr int kMaxSequence = 4;

/// One step of decoding: the bytes it covers and, when `valid`, the character they encode.
struct Step {
    int length;  // at least 1
    bool valid;
    char32_t codePoint;  // set when `valid`
};

/// Decodes the character at `p`, reading at most `available` bytes (at least 1).
Step Decode(const char* p, std::size_t available);

/// Decodes the next character of NUL-terminated text at `p` and advances `p` past it. Returns
/// false for an ill-formed piece (skipped as a whole); `codePoint` is then unset. Must not be
/// called at the NUL.
bool Next(const char*& p, char32_t& codePoint);

}  // namespace tn::utf8
