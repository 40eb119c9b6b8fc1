// The reverse look-up shared by the code pages: which byte of a block of a code page stands for
// a character. The blocks are short (32 and 128 characters), so a scan is all it takes.
#pragma once

#include <cstddef>

namespace tn::codepage {

/// The byte `first + i` when `block[i]` is `codePoint`; false when the block lacks it.
template <std::size_t N>
bool FindInBlock(const char16_t (&block)[N], unsigned char first, char32_t codePoint,
                 unsigned char& byte) {
    static_assert(N <= 256);
    for (std::size_t i = 0; i < N; ++i) {
        if (block[i] == codePoint) {
            byte = static_cast<unsigned char>(first + i);
            return true;
        }
    }
    return false;
}

}  // namespace tn::codepage
