// TPCRC: the 16-bit CRC of the instrument's processor data, in its two formulations.
//
// Both are the reflected CCITT CRC (polynomial 0x1021 reflected) computed without a table: one
// with whole-byte shifts, one nibble-wise. They must agree for every input. Being a plain
// reflected CRC, both fold long inputs and keep their own step for the last bytes.
#include <tnpackage/crc/TPCRC.h>

#include <cstddef>

#include "crc/Fold.h"

namespace tn {

namespace {

constexpr std::uint32_t kRegisterMask = 0xFFFF;

constexpr crc::FoldConstants kCcittReflected = crc::MakeFoldConstants(16, 0x1021, true);

const std::uint8_t* Bytes(const void* data) {
    return static_cast<const std::uint8_t*>(data);
}

}  // namespace

std::uint16_t TPCRC::CreateHyperstone(const void* data, int len) const {
    std::uint32_t c = initial_ & kRegisterMask;
    if (data != nullptr && len > 0) {
        const std::uint8_t* p = Bytes(data);
        const auto n = static_cast<std::size_t>(len);
        for (std::size_t i = crc::FoldPrefix(kCcittReflected.word, {byteXor_, 0}, c, p, n); i < n;
             ++i) {
            std::uint32_t x = p[i] ^ (c & 0xFF) ^ byteXor_;
            x = (x ^ (x << 4)) & 0xFF;
            c = ((c >> 8) ^ (x << 8) ^ (x << 3) ^ (x >> 4)) & kRegisterMask;
        }
    }
    return static_cast<std::uint16_t>((c ^ finalXor_) & kRegisterMask);
}

std::uint16_t TPCRC::CreateHS(const void* data, int len) const {
    std::uint32_t c = initial_ & kRegisterMask;
    if (data != nullptr && len > 0) {
        const std::uint8_t* p = Bytes(data);
        const auto n = static_cast<std::size_t>(len);
        for (std::size_t i = crc::FoldPrefix(kCcittReflected.word, {byteXor_, 0}, c, p, n); i < n;
             ++i) {
            const std::uint32_t x = p[i] ^ (c & 0xFF) ^ byteXor_;
            const std::uint32_t lo = x & 15;
            const std::uint32_t t = (x >> 4) ^ lo;
            c = ((((((lo << 4) ^ x) << 1) ^ t) << 7) ^ (lo << 3) ^ t ^ (c >> 8)) & kRegisterMask;
        }
    }
    return static_cast<std::uint16_t>((c ^ finalXor_) & kRegisterMask);
}

}  // namespace tn
