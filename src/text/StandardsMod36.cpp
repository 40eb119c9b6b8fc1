// Base-36 digits and the IGC short file name.
#include <tnpackage/BuildConfig.h>
#include <tnpackage/text/Standards.h>
#include <tnpackage/time/Clock.h>
#include <tnpackage/time/TPDateTime.h>

#include <cstdint>
#include <string>

namespace tn {

namespace {

constexpr int kBase = 36;
constexpr int kMostMod36Digits = 5;
constexpr int kWidestField = 255;  // IntToMod36 pads no further than a TPString field
constexpr int kIgcNumberDigits = 3;
constexpr int kIgcSerialDigits = 3;
constexpr const char* kIgcExtension = ".IGC";

}  // namespace

char Mod36Char(char value) {
    if (value < 0 || value >= kBase) return '_';
    return static_cast<char>(value < 10 ? '0' + value : 'A' + (value - 10));
}

char TimeChar(char value) {
    return static_cast<char>('0' + value);
}

int Mod36ToInt(TPString text) {
    // Wraps like the original 32-bit arithmetic on texts too long for an int.
    std::uint32_t value = 0;
    for (const char* p = text.c_str(); p != nullptr && *p != '\0'; ++p) {
        const auto c = static_cast<signed char>(*p);  // bytes from 0x80 on count as "below A"
        const unsigned bits = static_cast<unsigned char>(c);
        const unsigned digit = c < 'A' ? (bits & 15u) : (bits & 31u) + 9u;
        value = value * kBase + digit;
    }
    return static_cast<int>(value);
}

TPString IntToMod36(int value, int width) {
    char digits[kMostMod36Digits];
    int count = 0;
    do {
        digits[count++] = Mod36Char(static_cast<char>(value % kBase));
        value /= kBase;
    } while (value != 0 && count < kMostMod36Digits);
    const int padding = width > count ? (width < kWidestField ? width : kWidestField) - count : 0;
    std::string text(static_cast<std::size_t>(padding), '0');
    while (count > 0)
        text += digits[--count];
    return TPString(text.data());
}

int IGCToInt(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
    if (c >= 'a' && c <= 'z') return c - 'a' + 10;
    return 0;
}

int IGCToInt(TPString text) {
    const char* p = text.c_str();
    int value = 0;
    // A text shorter than three characters counts its missing digits as 0.
    for (int i = 0; i < kIgcNumberDigits; ++i) {
        const char c = p != nullptr ? *p : '\0';
        if (c != '\0') ++p;
        value = value * kBase + IGCToInt(c);
    }
    return value;
}

TPString IGCName(int serial, int flight) {
    TPString name = CurrentDate().String(PDateTimeFlag::IGCShortDate);
    name += build::kIgcManufacturer;
    name += IntToMod36(serial, kIgcSerialDigits);
    name += Mod36Char(static_cast<char>(flight));
    name += TPString(kIgcExtension);
    return name;
}

}  // namespace tn
