// TPString: reading numbers. The scanning rules, including their blind spots, are those the
// package's files were written against.
#include <tnpackage/frame/Globals.h>
#include <tnpackage/text/TPString.h>

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

namespace tn {

namespace {

// strtol as a 32-bit long gives it: out-of-range values saturate.
int ToInt32(const char* s, int base) {
    const long long value = std::strtoll(s, nullptr, base);
    if (value > INT_MAX) {
        errno = ERANGE;
        return INT_MAX;
    }
    if (value < INT_MIN) {
        errno = ERANGE;
        return INT_MIN;
    }
    return static_cast<int>(value);
}

int Negated(int value) {
    return static_cast<int>(0u - static_cast<unsigned>(value));
}

// Shared scan of ToIntDef and ToHexInt: `last` is the index of the last examined character.
int Scan(const char* text, int last, bool hex, int def) {
    int i = 0;
    while (text[i] == ' ')
        ++i;
    bool negative = false;
    auto isDigit = [hex](char c) {
        const auto u = static_cast<unsigned char>(c);
        return hex ? std::isxdigit(u) != 0 : std::isdigit(u) != 0;
    };
    while (i < last && !isDigit(text[i])) {
        if (text[i] == '-') negative = !negative;
        ++i;
    }
    int base = hex ? 16 : 10;
    if (i < last && text[i] == '0' && text[i + 1] == 'x') {
        i += 2;
        base = 16;
    }
    if (i >= last) return def;
    const int value = ToInt32(text + i, base);
    return negative ? Negated(value) : value;
}

}  // namespace

int TPString::ToIntDef(int def) const {
    errno = 0;
    if (text_ == nullptr) return def;
    // An owned buffer is examined up to its terminating NUL; borrowed text only to its last
    // character, which is therefore never read as a number of its own.
    const int range = size_ > 0 ? size_ : static_cast<int>(std::strlen(text_));
    return Scan(text_, range - 1, false, def);
}

int TPString::ToHexInt(int def) const {
    errno = 0;
    if (text_ == nullptr) return def;
    // The examined range always ends at size - 1, so borrowed text (size 0) gives def.
    return Scan(text_, size_ - 1, true, def);
}

double TPString::ToDouble(double def) const {
    errno = 0;
    if (text_ == nullptr || *text_ == '\0') return def;
    std::string text(text_);
    if (zkDecimalSeparator == ',') {
        const auto comma = text.find(',');
        if (comma != std::string::npos) text[comma] = '.';
    }
    const double value = std::strtod(text.c_str(), nullptr);
    return errno == ERANGE ? def : value;
}

}  // namespace tn
