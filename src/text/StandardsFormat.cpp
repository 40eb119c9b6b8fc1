// Numbers as text: decimal, hexadecimal and the format language of zkFormatFloat.
#include <tnpackage/frame/Globals.h>
#include <tnpackage/text/Standards.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace tn {

namespace {

constexpr int kWidestHex = 255;
// A double holds 15 significant decimal digits reliably; formatting starts from these, so that
// 1.005 counts as the 1.005 the user wrote and not as 1.00499999999999989...
constexpr int kSignificantDigits = 15;

bool IsPlaceholder(char c) {
    return c == '0' || c == '#';
}

struct NumberFormat {
    std::string prefix, suffix;
    int minIntegerDigits = 0;
    bool grouping = false;
    int decimals = 0;          // placeholders after the point
    int requiredDecimals = 0;  // up to the last "0" after the point
};

NumberFormat ParseFormat(const std::string& format) {
    NumberFormat f;
    const std::size_t first = format.find_first_of("0#");
    if (first == std::string::npos) {
        f.prefix = format;
        return f;
    }
    const std::size_t last = format.find_last_of("0#");
    // A point right in front of the first placeholder (".00") belongs to the number.
    const std::size_t start = first > 0 && format[first - 1] == '.' ? first - 1 : first;
    f.prefix = format.substr(0, start);
    f.suffix = format.substr(last + 1);
    bool afterPoint = false;
    for (std::size_t i = start; i <= last; ++i) {
        const char c = format[i];
        if (c == '.' && !afterPoint) {
            afterPoint = true;
        } else if (c == ',' && !afterPoint) {
            f.grouping = true;
        } else if (IsPlaceholder(c) && afterPoint) {
            ++f.decimals;
            if (c == '0') f.requiredDecimals = f.decimals;
        } else if (c == '0') {
            ++f.minIntegerDigits;
        }
    }
    return f;
}

// The magnitude as decimal digits and the number of them in front of the point, rounded half
// away from zero to `decimals` places.
struct Decimal {
    std::string digits;
    int pointPosition = 0;
};

Decimal RoundedDecimal(double magnitude, int decimals) {
    char scientific[64];
    std::snprintf(scientific, sizeof scientific, "%.*e", kSignificantDigits - 1, magnitude);
    Decimal d;
    for (const char* p = scientific; *p != '\0' && *p != 'e'; ++p) {
        if (*p != '.') d.digits += *p;
    }
    const char* exponent = std::strchr(scientific, 'e');
    d.pointPosition = (exponent != nullptr ? std::atoi(exponent + 1) : 0) + 1;
    const long keep = static_cast<long>(d.pointPosition) + decimals;
    if (keep < 0) return Decimal{"", d.pointPosition};
    if (keep >= static_cast<long>(d.digits.size())) return d;
    const bool up = d.digits[static_cast<std::size_t>(keep)] >= '5';
    d.digits.resize(static_cast<std::size_t>(keep));
    if (up) {
        long i = keep - 1;
        while (i >= 0 && d.digits[static_cast<std::size_t>(i)] == '9') {
            d.digits[static_cast<std::size_t>(i--)] = '0';
        }
        if (i < 0) {
            d.digits = "1" + d.digits;
            ++d.pointPosition;
        } else {
            ++d.digits[static_cast<std::size_t>(i)];
        }
    }
    return d;
}

char DigitAt(const Decimal& d, long index) {
    if (index < 0 || index >= static_cast<long>(d.digits.size())) return '0';
    return d.digits[static_cast<std::size_t>(index)];
}

std::string Grouped(const std::string& digits, char separator) {
    std::string out;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) out += separator;
        out += digits[i];
    }
    return out;
}

std::string FormatNumber(const NumberFormat& f, double value) {
    const Decimal d = RoundedDecimal(std::fabs(value), f.decimals);
    std::string integer;
    for (long i = 0; i < d.pointPosition; ++i)
        integer += DigitAt(d, i);
    integer.erase(0, std::min(integer.find_first_not_of('0'), integer.size()));
    if (static_cast<int>(integer.size()) < f.minIntegerDigits) {
        integer.insert(0, static_cast<std::size_t>(f.minIntegerDigits) - integer.size(), '0');
    }
    std::string fraction;
    for (long i = 0; i < f.decimals; ++i)
        fraction += DigitAt(d, d.pointPosition + i);
    while (static_cast<int>(fraction.size()) > f.requiredDecimals && fraction.back() == '0') {
        fraction.pop_back();
    }
    const bool zero = (integer + fraction).find_first_not_of('0') == std::string::npos;
    const char decimalPoint = zkDecimalSeparator;
    const char thousands = decimalPoint == ',' ? '.' : ',';
    std::string out = f.prefix;
    if (std::signbit(value) && !zero) out += '-';
    out += f.grouping ? Grouped(integer, thousands) : integer;
    if (!fraction.empty()) out += decimalPoint + fraction;
    return out + f.suffix;
}

std::string PlainNumber(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*g", kSignificantDigits, value);
    std::string out = text;
    std::replace(out.begin(), out.end(), '.', zkDecimalSeparator);
    return out;
}

}  // namespace

TPString zkIntToStr(int value) {
    return TPString(value);
}

TPString zkIntToHex(int value, int digits) {
    char text[kWidestHex + 1];
    std::snprintf(text, sizeof text, "%0*X", std::clamp(digits, 0, kWidestHex),
                  static_cast<unsigned>(static_cast<std::uint32_t>(value)));
    return TPString(text);
}

TPString zkFormatFloat(TPString format, zkFloat extended) {
    // Formatting starts from 15 significant digits, which a double carries; every C runtime
    // prints a double the same way, not every one an extended value.
    const auto value = static_cast<double>(extended);
    std::string out;
    if (std::isnan(value)) {
        out = "NAN";
    } else if (std::isinf(value)) {
        out = value < 0 ? "-INF" : "INF";
    } else if (format.IsEmpty()) {
        out = PlainNumber(value);
    } else {
        out = FormatNumber(ParseFormat(format.c_str()), value);
    }
    return TPString(out.data());
}

TPString MeinFormat(TPString format, double value) {
    return zkFormatFloat(format, static_cast<zkFloat>(value));
}

}  // namespace tn
