// The fixed CRCs: CRC-16/XMODEM over the table of InitCRC16, and the memory-card CRC-7.
#include <tnpackage/crc/CrcFunctions.h>

#include <array>
#include <cstddef>

#include "crc/Fold.h"
#include "crc/SlicedSteps.h"

namespace tn {

namespace {

constexpr std::uint32_t kPolynomial16 = 0x11021;  // x^16 + x^12 + x^5 + 1, top term included
constexpr std::uint32_t kBit16 = 0x10000;
constexpr std::uint32_t kMask16 = 0xFFFF;
constexpr int kShift16 = 8;
constexpr std::uint32_t kPolynomial7 = 0x89;  // x^7 + x^3 + 1, aligned to bit 7
constexpr std::uint32_t kEndBit = 1;
constexpr int kWidth16 = 16;
constexpr int kWidth7 = 7;
constexpr crc::FoldConstants kXmodemFold = crc::MakeFoldConstants(kWidth16, 0x1021, false);
constexpr crc::FoldConstants kMmcFold = crc::MakeFoldConstants(kWidth7, 0x09, false);

// Both stay zero until InitCRC16 runs, so that CreateCRC16 gives 0 before it.
constinit std::uint16_t crc16Table[crc::kTableSize] = {};
constinit crc::SliceTables crc16Slices = {};

const std::uint8_t* Bytes(const void* data) {
    return static_cast<const std::uint8_t*>(data);
}

// The CRC-7 register held left-aligned in a byte, eight of its bit steps at once.
constexpr std::array<std::uint8_t, crc::kTableSize> MakeCrc7Table() {
    std::array<std::uint8_t, crc::kTableSize> table{};
    for (int i = 0; i < crc::kTableSize; ++i) {
        std::uint32_t c = static_cast<std::uint32_t>(i);
        for (int k = 0; k < 8; ++k) {
            if ((c & 0x80) != 0) c ^= kPolynomial7;
            c = (c * 2) & 0xFF;
        }
        table[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(c);
    }
    return table;
}
constexpr std::array<std::uint8_t, crc::kTableSize> kCrc7Table = MakeCrc7Table();

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
    const std::uint8_t* p = Bytes(data);
    const auto n = static_cast<std::size_t>(len);
    std::uint32_t c = 0;
    // Folding knows the polynomial without the table: it must not answer before InitCRC16 has.
    const bool initialised = crc16Table[1] != 0;
    const std::size_t folded = initialised ? crc::FoldPrefix(kXmodemFold.word, {0, 0}, c, p, n) : 0;
    c = crc::RunSliced({false, kShift16, kMask16, crc16Slices[crc::kSliceBytes - 1]}, crc16Slices,
                       c, p + folded, n - folded, 0);
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
    // The defining register is wider than a byte, but bits pushed past bit 7 never come back
    // into the low byte, which alone is the result: the byte table keeps only that byte. Its
    // bit 0 is always clear, so adding the end bit sets it.
    std::uint32_t c = 0;
    if (data != nullptr && len > 0) {
        const std::uint8_t* p = Bytes(data);
        const auto n = static_cast<std::size_t>(len);
        std::uint32_t crc7 = 0;
        const std::size_t folded = crc::FoldPrefix(kMmcFold.word, {0, 0}, crc7, p, n);
        c = crc7 << 1;
        for (std::size_t i = folded; i < n; ++i)
            c = kCrc7Table[(c ^ p[i]) & 0xFF];
    }
    return static_cast<std::uint8_t>((c & 0xFF) + kEndBit);
}

}  // namespace tn
