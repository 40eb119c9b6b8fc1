// Coordinates from outside: the IGC fix text, mark-up angles, the Volkslogger three-byte angles
// and the Z80 and PC floats, through the constructors that read them.
//
// Invariants: what StringKoordinate accepts prints as an IGC fix that reads back to the same
// integers, and every coordinate in range prints a fix that reads back to that fix; a
// Volkslogger angle read and written again gives its bytes back (below the 32-bit wrap of the
// writer); a positive Z80 float read and written again gives its bytes back; the byte
// constructors read exactly their bytes (the buffers are exactly that long).
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "FuzzSupport.h"

namespace {

using tn::TPString;
using tn::TSKoordinate;

void IgcText(tn::fuzz::Bytes& in) {
    const std::string text = tn::fuzz::Text(in.Rest());
    const auto source = tn::fuzz::ExactCopy(text);
    TSKoordinate k;
    if (k.StringKoordinate(TPString(source.get()), tn::kmGrad)) {
        TSKoordinate again;
        TN_FUZZ_CHECK(again.StringKoordinate(k.IGCString(), tn::kmGrad));
        TN_FUZZ_CHECK(again == k);
    } else {
        TN_FUZZ_CHECK(k == 0);
    }
    const TSKoordinate constructed(TPString(source.get()), tn::kmGrad);
    TN_FUZZ_CHECK(constructed == k || constructed == 0);
    const double angle = TSKoordinate::HTMLKoordinate(TPString(source.get()));
    TN_FUZZ_CHECK(std::isfinite(angle));
    const TSKoordinate markup(TPString(source.get()), TPString(source.get()), tn::kmHTML);
    (void)markup;
}

void Integers(tn::fuzz::Bytes& in) {
    const auto breite = static_cast<std::int32_t>(in.Long()) % 900000001;
    const auto laenge = static_cast<std::int32_t>(in.Long()) % 1800000001;
    const TSKoordinate k(breite, laenge);
    const TPString fix = k.IGCString();
    TN_FUZZ_CHECK(fix.Length() == TSKoordinate::kIGCLength);
    TSKoordinate read;
    TN_FUZZ_CHECK(read.StringKoordinate(fix, tn::kmGrad));
    TN_FUZZ_CHECK(TPString::StrCmpS(read.IGCString().c_str(), fix.c_str()));
    // 1/1000 minute is 166.7 units: the fix is within half of that.
    TN_FUZZ_CHECK(std::llabs(std::int64_t{read.IntBreite()} - breite) <= 84 &&
                  std::llabs(std::int64_t{read.IntLaenge()} - laenge) <= 84);
}

void Binary(tn::fuzz::Bytes& in) {
    const std::uint8_t which = in.Byte() % 5;
    const int modes[] = {tn::kmZ80Float, tn::kmPCFloat, tn::kmVolkslogger, tn::kmVolksloggerVorn,
                         tn::kmGrad};
    const std::size_t lengths[] = {8, 8, 7, 7, 0};
    std::string bytes = which == 4 ? tn::fuzz::Text(in.Rest()) : in.Take(lengths[which]);
    if (which != 4 && bytes.size() < lengths[which]) return;
    auto buffer = which == 4 ? tn::fuzz::ExactCopy(bytes) : tn::fuzz::ExactBytes(bytes);
    const TSKoordinate k(buffer.get(), modes[which]);
    (void)k;

    // One Volkslogger angle: read, then written back.
    std::string angle = in.Take(3);
    if (angle.size() == 3) {
        auto three = tn::fuzz::ExactBytes(angle);
        char* p = three.get();
        const std::int64_t units = TSKoordinate::FromVolkslogger(p, true, false);
        TN_FUZZ_CHECK(p == three.get() + 3);
        const std::int64_t magnitude = units < 0 ? -units : units;
        if (magnitude <= 715827882) {
            char written[3];
            char* w = written;
            TSKoordinate::ToVolkslogger(w, static_cast<int>(magnitude));
            TN_FUZZ_CHECK(std::memcmp(written, three.get(), 3) == 0);  // sign bit cleared in both
        }
    }
    // One Z80 float: a positive normal one survives reading and writing.
    std::string z80 = in.Take(4);
    if (z80.size() == 4) {
        auto four = tn::fuzz::ExactBytes(z80);
        const double value = TSKoordinate::FromZ80Float(four.get());
        const auto exponent = static_cast<unsigned char>(z80[0]);
        const bool positive = (static_cast<unsigned char>(z80[1]) & 0x80) == 0;
        if (positive && exponent >= 122 &&
            exponent <= 152) {  // 121: the 1 << 31 divisor is negative
            char written[4];
            TSKoordinate::ToZ80Float(written, value);
            TN_FUZZ_CHECK(std::memcmp(written, four.get(), 4) == 0);
        }
        const double pc = TSKoordinate::PCFloatToBogen(four.get());
        (void)pc;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tn::fuzz::Quiet();
    tn::fuzz::Bytes in(data, size);
    switch (in.Byte() % 3) {
        case 0:
            IgcText(in);
            break;
        case 1:
            Integers(in);
            break;
        default:
            Binary(in);
            break;
    }
    return 0;
}
