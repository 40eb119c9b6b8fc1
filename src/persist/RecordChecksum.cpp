// Records are checked with the application's shared CRC-16 calculator. They must carry a valid
// checksum in a program that never creates one as well, so the XMODEM form that calculator
// computes (polynomial 0x1021, start 0, no reflection, no final XOR) is computed here too.
#include "persist/RecordChecksum.h"

#include <tnpackage/crc/TPCRC.h>

#include <array>
#include <cstddef>

namespace tn::detail {

namespace {

constexpr std::uint16_t kPolynomial = 0x1021;

constexpr std::array<std::uint16_t, 256> MakeTable() {
    std::array<std::uint16_t, 256> table{};
    for (unsigned i = 0; i < 256; ++i) {
        unsigned r = i << 8;
        for (int bit = 0; bit < 8; ++bit)
            r = (r & 0x8000) != 0 ? (r << 1) ^ kPolynomial : r << 1;
        table[i] = static_cast<std::uint16_t>(r);
    }
    return table;
}

constexpr std::array<std::uint16_t, 256> kTable = MakeTable();

std::uint16_t Xmodem(const unsigned char* bytes, int length) {
    unsigned c = 0;
    for (int i = 0; i < length; ++i) {
        c = kTable[((c >> 8) ^ bytes[i]) & 0xFF] ^ ((c << 8) & 0xFFFF);
    }
    return static_cast<std::uint16_t>(c);
}

}  // namespace

std::uint16_t PayloadChecksum(const void* data, int length) {
    if (data == nullptr || length <= 0) return 0;
    if (CRC16 != nullptr) return static_cast<std::uint16_t>(CRC16->Create(data, length));
    return Xmodem(static_cast<const unsigned char*>(data), length);
}

}  // namespace tn::detail
