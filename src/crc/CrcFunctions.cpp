// The fixed CRCs: CRC-16/XMODEM over the table of InitCRC16, and the memory-card CRC-7.
#include <tnpackage/crc/CrcFunctions.h>

#include <cstddef>

#include "crc/SlicedSteps.h"

namespace tn {

namespace {

constexpr std::uint32_t kPolynomial16 = 0x11021;  // x^16 + x^12 + x^5 + 1, top term included
constexpr std::uint32_t kBit16 = 0x10000;
constexpr std::uint32_t kMask16 = 0xFFFF;
constexpr int kShift16 = 8;
constexpr std::uint32_t kPolynomial7 = 0x89;  // x^7 + x^3 + 1, aligned to bit 7
constexpr std::uint32_t kEndBit = 1;

// Both stay zero until InitCRC16 runs, so that CreateCRC16 gives 0 before it.
constinit std::uint16_t crc16Table[crc::kTableSize] = {};
constinit crc::SliceTables crc16Slices = {};

const std::uint8_t* Bytes(const void* data) {
    return static_cast<const std::uint8_t*>(data);
}

}  // namespace

void InitCRC16() {
    std::uint32_t wide[crc::kTableSize] = {};
    for (int i = 0; i < crc::kTableSize; ++i) {
        std::uint32_t r = static_cast<std::uint32_t>(i) * 256;
        for (int bit = 0; bit < 8; ++bit) {
            r *= 2;
            if ((r & kBit16) != 0) r ^= kPolynomial16;
        }
        crc16Table[i] = static_cast<std::uint16_t>(r & kMask16);
        wide[i] = crc16Table[i];
    }
    crc::BuildSliceTables({false, kShift16, kMask16, wide}, crc16Slices);
}

std::uint16_t CreateCRC16(const void* data, int len) {
    if (data == nullptr || len <= 0) return 0;
    const std::uint32_t c =
        crc::RunSliced({false, kShift16, kMask16, crc16Slices[crc::kSliceBytes - 1]}, crc16Slices,
                       0, Bytes(data), static_cast<std::size_t>(len), 0);
    return static_cast<std::uint16_t>(c);
}

std::uint16_t CreateCRC16ByteByByte(const void* data, int len) {
    if (data == nullptr || len <= 0) return 0;
    const std::uint8_t* p = Bytes(data);
    std::uint32_t c = 0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(len); ++i) {
        c = crc16Table[(c >> 8) ^ p[i]] ^ ((c << 8) & kMask16);
    }
    return static_cast<std::uint16_t>(c);
}

std::uint8_t CreateCRC7(const void* data, int len) {
    // The register is wider than a byte: bits pushed past bit 7 pile up above it and never
    // come back into the low byte, which alone is the result.
    std::uint32_t c = 0;
    if (data != nullptr && len > 0) {
        const std::uint8_t* p = Bytes(data);
        for (std::size_t i = 0; i < static_cast<std::size_t>(len); ++i) {
            for (int k = 0; k < 8; ++k) {
                if ((((static_cast<std::uint32_t>(p[i]) << k) ^ c) & 0x80) != 0) c ^= kPolynomial7;
                c *= 2;
            }
        }
    }
    return static_cast<std::uint8_t>((c & 0xFF) + kEndBit);
}

}  // namespace tn
