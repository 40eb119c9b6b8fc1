// Four independent 64-bit lanes, so that the loads and XORs overlap (and the compiler may widen
// them); the lanes and the bytes of the result word are folded together at the end.
#include "crc/ByteSum.h"

#include <cstring>

namespace tn::crc {

namespace {

constexpr std::size_t kWord = sizeof(std::uint64_t);
constexpr std::size_t kLanes = 4;

std::uint64_t LoadWord(const std::uint8_t* p) {
    std::uint64_t w;
    std::memcpy(&w, p, kWord);
    return w;
}

}  // namespace

std::uint8_t XorOfBytes(const std::uint8_t* p, std::size_t n) {
    std::uint64_t lane[kLanes] = {};
    for (; n >= kLanes * kWord; n -= kLanes * kWord, p += kLanes * kWord) {
        for (std::size_t i = 0; i < kLanes; ++i)
            lane[i] ^= LoadWord(p + i * kWord);
    }
    std::uint64_t w = lane[0] ^ lane[1] ^ lane[2] ^ lane[3];
    for (; n >= kWord; n -= kWord, p += kWord)
        w ^= LoadWord(p);
    for (int shift = 32; shift >= 8; shift /= 2)
        w ^= w >> shift;
    auto sum = static_cast<std::uint8_t>(w);
    for (; n > 0; --n, ++p)
        sum = static_cast<std::uint8_t>(sum ^ *p);
    return sum;
}

}  // namespace tn::crc
