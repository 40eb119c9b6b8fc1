// The table CRC step, byte by byte and eight bytes at a time.
#include "crc/SlicedSteps.h"

namespace tn::crc {

namespace {

// The register part of a step: F(c), the step with input byte 0.
std::uint32_t Advance(const StepShape& s, std::uint32_t c) {
    if (s.reflected) return ShiftRight(c, s.shift) ^ s.table[c & 0xFF];
    return s.table[ShiftRight(c, s.shift) & 0xFF] ^ ((c << 8) & s.mask);
}

}  // namespace

std::uint32_t RunByteByByte(const StepShape& s, std::uint32_t c, const std::uint8_t* p,
                            std::size_t n, std::uint8_t byteXor) {
    for (std::size_t i = 0; i < n; ++i)
        c = Step(s, c, p[i], byteXor);
    return c;
}

void BuildSliceTables(const StepShape& s, SliceTables& out) {
    constexpr int kLast = kSliceBytes - 1;
    for (int x = 0; x < kTableSize; ++x)
        out[kLast][x] = s.table[x];
    for (int j = kLast - 1; j >= 0; --j) {
        for (int x = 0; x < kTableSize; ++x)
            out[j][x] = Advance(s, out[j + 1][x]);
    }
    for (int k = 0; k < kRegisterBytes; ++k) {
        for (int x = 0; x < kTableSize; ++x) {
            std::uint32_t r = static_cast<std::uint32_t>(x) << (8 * k);
            for (int step = 0; step < kSliceBytes; ++step)
                r = Advance(s, r);
            out[kSliceBytes + k][x] = r;
        }
    }
}

std::uint32_t RunSliced(const StepShape& s, const SliceTables& slices, std::uint32_t c,
                        const std::uint8_t* p, std::size_t n, std::uint8_t byteXor) {
    for (; n >= kSliceBytes; n -= kSliceBytes, p += kSliceBytes) {
        std::uint32_t next =
            slices[kSliceBytes][c & 0xFF] ^ slices[kSliceBytes + 1][(c >> 8) & 0xFF] ^
            slices[kSliceBytes + 2][(c >> 16) & 0xFF] ^ slices[kSliceBytes + 3][c >> 24];
        for (int j = 0; j < kSliceBytes; ++j)
            next ^= slices[j][p[j] ^ byteXor];
        c = next;
    }
    return RunByteByByte(s, c, p, n, byteXor);
}

}  // namespace tn::crc
