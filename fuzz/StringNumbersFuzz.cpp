// Numbers in outside text: TPString::ToIntDef, ToHexInt and ToDouble (owned, borrowed and
// external-buffer strings, both decimal separators) and the base-36 readers Mod36ToInt and
// IGCToInt.
//
// Invariants: no read beyond the text (exact heap copies); the decimal and hexadecimal texts
// the package prints read back to their number; every five-digit base-36 text that
// IntToMod36 prints reads back to its value; IGCToInt of three base-36 digits is their value.
#include <cmath>
#include <cstdint>
#include <string>

#include "FuzzSupport.h"

namespace {

using tn::TPString;

void Parse(const std::string& text) {
    const auto exact = tn::fuzz::ExactCopy(text);
    const TPString owned(exact.get());
    const TPString borrowed(static_cast<const char*>(exact.get()), 0u);
    auto external = std::make_unique<char[]>(text.size() + 1);  // zeroed: the text's NUL
    const TPString placed(static_cast<const char*>(exact.get()), external.get(), 0u);
    for (const TPString* s : {&owned, &borrowed, &placed}) {
        (void)s->ToIntDef(-7);
        (void)s->ToHexInt(-7);
        const char saved = tn::zkDecimalSeparator;
        tn::zkDecimalSeparator = ',';
        const double comma = s->ToDouble(-7.0);
        tn::zkDecimalSeparator = '.';
        const double point = s->ToDouble(-7.0);
        tn::zkDecimalSeparator = saved;
        (void)comma;
        (void)point;
    }
    // The separator swap is undone.
    TN_FUZZ_CHECK(tn::ToStdString(owned) == text);
    (void)tn::Mod36ToInt(owned);
    (void)tn::IGCToInt(owned);
}

void Printed(tn::fuzz::Bytes& in) {
    const auto n = static_cast<std::int32_t>(in.Long());
    TN_FUZZ_CHECK(tn::zkIntToStr(n).ToIntDef(0) == n || n == INT32_MIN);
    TN_FUZZ_CHECK(tn::zkIntToHex(n, 8).ToHexInt(0) == n || n < 0);
    TN_FUZZ_CHECK(TPString(n).ToIntDef(0) == n || n == INT32_MIN);
    const int value = static_cast<int>(in.Long() % (36u * 36 * 36 * 36 * 36));
    const TPString base36 = tn::IntToMod36(value, in.Byte() % 8);
    TN_FUZZ_CHECK(tn::Mod36ToInt(base36) == value);
    const int three = value % (36 * 36 * 36);
    TN_FUZZ_CHECK(tn::IGCToInt(tn::IntToMod36(three, 3)) == three);
    const double d = static_cast<std::int32_t>(in.Long()) / 1024.0;
    char text[64];
    std::snprintf(text, sizeof text, "%.17g", d);
    TN_FUZZ_CHECK(TPString(text).ToDouble(0.5) == d);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tn::fuzz::Quiet();
    tn::fuzz::Bytes in(data, size);
    if (in.Byte() & 1) {
        Printed(in);
    } else {
        Parse(tn::fuzz::Text(in.Rest()));
    }
    return 0;
}
