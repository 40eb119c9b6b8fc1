// The binary coordinate forms of the instruments: Volkslogger three-byte angles, Z80 floats and
// the PC's IEEE singles.
#include <tnpackage/geo/TSKoordinate.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include "util/LittleEndian.h"

namespace tn {

namespace {

// Volkslogger angles count thousandths of a minute: 1 unit = 1/60000 degree = 500/3 units of
// 1e-7 degree. Reading adds about half a cell so that the value lands in its middle.
constexpr std::int64_t kVolksNumerator = 500;
constexpr std::int64_t kVolksDenominator = 3;
constexpr std::int64_t kVolksHalfCell = 83;
constexpr int kVolksBytes = 3;
constexpr unsigned kSignBit = 0x80;
constexpr int kVolksLongitudeSignByte = 6;  // kmVolkslogger: sign after the pair

// Z80 float layout.
constexpr int kZ80Bytes = 4;
constexpr unsigned kHiddenBit = 0x800000;
constexpr int kZ80ShiftBase = 152;  // 127 (IEEE bias) + 23 (fraction bits) + 2 (times 4)
constexpr double kZ80Scale = 4.0;

unsigned Byte(const char* p, int i) {
    return static_cast<unsigned char>(p[i]);
}

std::uint32_t FloatBits(double value) {
    float f;
    if (std::isnan(value)) {
        f = std::numeric_limits<float>::quiet_NaN();
    } else if (std::fabs(value) > static_cast<double>(std::numeric_limits<float>::max())) {
        f = value > 0 ? std::numeric_limits<float>::infinity()
                      : -std::numeric_limits<float>::infinity();
    } else {
        f = static_cast<float>(value);
    }
    return std::bit_cast<std::uint32_t>(f);
}

}  // namespace

void TSKoordinate::SetFromBytes(char* p, int mode) {
    switch (mode) {
        case kmZ80Float:
            SetBreite(FromZ80Float(p), kmBogen);
            SetLaenge(FromZ80Float(p + kZ80Bytes), kmBogen);
            break;
        case kmPCFloat:
            SetBreite(PCFloatToBogen(p), kmBogen);
            SetLaenge(PCFloatToBogen(p + kZ80Bytes), kmBogen);
            break;
        case kmVolkslogger:
        case kmVolksloggerVorn: {
            // The longitude sign is looked at before any byte is read (reading clears the
            // latitude's sign bit in place).
            const bool vorn = mode == kmVolksloggerVorn;
            const bool westen = (Byte(p, vorn ? 0 : kVolksLongitudeSignByte) & kSignBit) != 0;
            char* q = vorn ? p + 1 : p;
            breite_ = static_cast<std::int32_t>(FromVolkslogger(q, true, false));
            laenge_ = static_cast<std::int32_t>(FromVolkslogger(q, false, westen));
            break;
        }
        default:
            StringKoordinate(TPString(p), mode);
            break;
    }
}

std::int64_t TSKoordinate::FromVolkslogger(char*& p, bool breite, bool negativ) {
    bool negative = negativ;
    if (breite) {
        negative = (Byte(p, 0) & kSignBit) != 0;
        p[0] = static_cast<char>(Byte(p, 0) & ~kSignBit);
    }
    std::int64_t v = (std::int64_t{Byte(p, 0)} << 16) | (Byte(p, 1) << 8) | Byte(p, 2);
    p += kVolksBytes;
    v = v * kVolksNumerator / kVolksDenominator + kVolksHalfCell;
    return negative ? -v : v;
}

void TSKoordinate::ToVolkslogger(char*& p, int wert) {
    // Existing writers form wert * 3 in 32 bits; their records wrap above about 71.58 degrees.
    const auto product = static_cast<std::int32_t>(static_cast<std::uint32_t>(wert) * 3u);
    const auto u = static_cast<std::uint32_t>(product / 500);
    p[0] = static_cast<char>((u >> 16) & 0xFF);
    p[1] = static_cast<char>((u >> 8) & 0xFF);
    p[2] = static_cast<char>(u & 0xFF);
    p += kVolksBytes;
}

void TSKoordinate::ToVXCFloat(char* p) const {
    ToZ80Float(p, static_cast<double>(Breite(kmBogen)));
    ToZ80Float(p + kZ80Bytes, static_cast<double>(Laenge(kmBogen)));
}

double TSKoordinate::PCFloatToBogen(const char* p) {
    const std::uint32_t bits = ReadLE32(reinterpret_cast<const std::uint8_t*>(p));
    return static_cast<double>(std::bit_cast<float>(bits));
}

void TSKoordinate::ToZ80Float(char* p, double value) {
    const std::uint32_t bits = FloatBits(value * kZ80Scale);
    p[0] = static_cast<char>((bits >> 23) & 0xFF);
    p[1] = static_cast<char>(((bits >> 31) << 7) | ((bits >> 16) & 0x7F));
    p[2] = static_cast<char>((bits >> 8) & 0xFF);
    p[3] = static_cast<char>(bits & 0xFF);
}

double TSKoordinate::FromZ80Float(const char* p) {
    const unsigned exponent = Byte(p, 0);
    if (exponent == 0) return 0.0;
    // Bytes 1-3 as a signed 24-bit number: the sign-and-magnitude mantissa is read as two's
    // complement, which is what the instrument's reader does with negative values.
    const auto signExtended =
        static_cast<std::uint32_t>(std::int32_t{static_cast<std::int8_t>(Byte(p, 1))});
    const std::uint32_t raw = (signExtended << 16) | (Byte(p, 2) << 8) | Byte(p, 3) | kHiddenBit;
    const auto mantissa = static_cast<std::int32_t>(raw);
    // The shift count is taken modulo 32, as the processor's shift instruction does.
    const unsigned shift = static_cast<unsigned>(kZ80ShiftBase - static_cast<int>(exponent)) & 31u;
    const auto divisor = static_cast<std::int32_t>(1u << shift);
    return static_cast<double>(static_cast<float>(mantissa) / static_cast<float>(divisor));
}

}  // namespace tn
