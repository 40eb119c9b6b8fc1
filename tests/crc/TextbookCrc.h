// Independent references for the CRC tests: the textbook bit-at-a-time CRC (one polynomial
// division step per message bit, parametrised by width, polynomial, start, reflection and final
// XOR), a few helpers to make test data, and the insert-mode guard.
#pragma once

#include <tnpackage/crc/TPCRC.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace crctest {

struct CrcModel {
    int width;
    std::uint32_t polynomial;
    std::uint32_t initial;
    bool reflectIn;
    bool reflectOut;
    std::uint32_t finalXor;
};

inline std::uint64_t ReverseBits(std::uint64_t value, int bits) {
    std::uint64_t r = 0;
    for (int i = 0; i < bits; ++i)
        r |= ((value >> i) & 1U) << (bits - 1 - i);
    return r;
}

/// The CRC by its definition: the message bits, most significant first (each byte reversed
/// first when reflectIn), shifted through a register of `width` bits.
inline std::uint32_t TextbookCrc(const CrcModel& m, const std::uint8_t* data, std::size_t n) {
    const std::uint64_t mask = (std::uint64_t{1} << m.width) - 1;
    std::uint64_t r = m.initial & mask;
    for (std::size_t i = 0; i < n; ++i) {
        const std::uint64_t byte = m.reflectIn ? ReverseBits(data[i], 8) : data[i];
        for (int bit = 7; bit >= 0; --bit) {
            const std::uint64_t top = ((r >> (m.width - 1)) ^ (byte >> bit)) & 1U;
            r = (r << 1) & mask;
            if (top != 0) r ^= m.polynomial & mask;
        }
    }
    if (m.reflectOut) r = ReverseBits(r, m.width);
    return static_cast<std::uint32_t>((r ^ m.finalXor) & mask);
}

inline std::uint32_t TextbookCrc(const CrcModel& m, const std::vector<std::uint8_t>& data) {
    return TextbookCrc(m, data.data(), data.size());
}

// Catalogued CRCs (name, width, polynomial, start, reflection, final XOR).
inline constexpr CrcModel kXmodem{16, 0x1021, 0, false, false, 0};
inline constexpr CrcModel kKermit{16, 0x1021, 0, true, true, 0};
inline constexpr CrcModel kMcrf4xx{16, 0x1021, 0xFFFF, true, true, 0};
inline constexpr CrcModel kIbmSdlc{16, 0x1021, 0xFFFF, true, true, 0xFFFF};
inline constexpr CrcModel kUmts{16, 0x8005, 0, false, false, 0};
inline constexpr CrcModel kArc{16, 0x8005, 0, true, true, 0};
inline constexpr CrcModel kBzip2{32, 0x04C11DB7, 0xFFFFFFFF, false, false, 0xFFFFFFFF};
inline constexpr CrcModel kSmbus{8, 0x07, 0, false, false, 0};
inline constexpr CrcModel kMmc7{7, 0x09, 0, false, false, 0};

inline const std::uint8_t* CheckString() {
    return reinterpret_cast<const std::uint8_t*>("123456789");
}
inline constexpr int kCheckLength = 9;

inline std::vector<std::uint8_t> RandomBytes(std::mt19937& rng, std::size_t n) {
    std::uniform_int_distribution<int> byte(0, 255);
    std::vector<std::uint8_t> v(n);
    for (auto& b : v)
        b = static_cast<std::uint8_t>(byte(rng));
    return v;
}

/// Sets CRCInsertMode for the calculators built in a scope and restores it afterwards.
class InsertMode {
  public:
    explicit InsertMode(int mode) : saved_(tn::CRCInsertMode) { tn::CRCInsertMode = mode; }
    ~InsertMode() { tn::CRCInsertMode = saved_; }
    InsertMode(const InsertMode&) = delete;
    InsertMode& operator=(const InsertMode&) = delete;

  private:
    int saved_;
};

inline constexpr int kNormal = 0;
inline constexpr int kReflected = 1;

/// A calculator built under the given insert mode.
inline tn::TPCRC MakeCrc(int width, std::uint32_t polynomial, int mode) {
    InsertMode guard(mode);
    return tn::TPCRC(width, static_cast<int>(polynomial));
}

inline int AsInt(std::uint32_t v) {
    return static_cast<int>(v);
}

}  // namespace crctest
