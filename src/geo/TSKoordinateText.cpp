// Text forms of a coordinate: the fix of IGC flight files and the mark-up angle form.
#include <tnpackage/frame/Messages.h>
#include <tnpackage/geo/Constants.h>
#include <tnpackage/geo/TSKoordinate.h>

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace tn {

namespace {

// IGC fix layout: "DDMMmmmN" then "DDDMMmmmE"; minutes in thousandths (MMmmm).
constexpr int kLatDegreeDigits = 2;
constexpr int kLonDegreeDigits = 3;
constexpr int kMinuteDigits = 5;
constexpr std::int64_t kThousandthsPerDegree = 60000;
// 1/60000 degree = 500/3 units of 1e-7 degree.
constexpr std::int64_t kUnitsNumerator = 500;
constexpr std::int64_t kUnitsDenominator = 3;

void WarnUnreadable(const TPString& text) {
    Warning(TPString("Koordinate nicht lesbar: \"") + text + "\"");
}

std::string Trimmed(const char* text) {
    std::string s = text != nullptr ? text : "";
    const auto first = s.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return {};
    const auto last = s.find_last_not_of(" \t\r\n");
    return s.substr(first, last - first + 1);
}

bool ReadDigits(const std::string& s, std::size_t at, int count, std::int64_t& value) {
    value = 0;
    for (int i = 0; i < count; ++i) {
        const char c = s[at + static_cast<std::size_t>(i)];
        if (c < '0' || c > '9') return false;
        value = value * 10 + (c - '0');
    }
    return true;
}

// One IGC angle at `at`: degrees, minutes in thousandths and the hemisphere letter. Gives the
// signed coordinate units, rounded to the nearest unit.
bool ReadIGCAngle(const std::string& s, std::size_t at, int degreeDigits, char plus, char minus,
                  std::int64_t maxDegrees, std::int32_t& units) {
    std::int64_t degrees = 0, thousandths = 0;
    if (!ReadDigits(s, at, degreeDigits, degrees)) return false;
    if (!ReadDigits(s, at + static_cast<std::size_t>(degreeDigits), kMinuteDigits, thousandths)) {
        return false;
    }
    const char hemisphere = static_cast<char>(std::toupper(static_cast<unsigned char>(
        s[at + static_cast<std::size_t>(degreeDigits) + kMinuteDigits])));
    if (hemisphere != plus && hemisphere != minus) return false;
    if (thousandths >= kThousandthsPerDegree) return false;
    const std::int64_t total = degrees * kThousandthsPerDegree + thousandths;
    if (total > maxDegrees * kThousandthsPerDegree) return false;
    // total * 500/3 has a remainder of a third or two thirds at most: no ties to break.
    const std::int64_t magnitude =
        (total * kUnitsNumerator * 2 + kUnitsDenominator) / (kUnitsDenominator * 2);
    units = static_cast<std::int32_t>(hemisphere == minus ? -magnitude : magnitude);
    return true;
}

// A value that rounds to zero thousandths is printed with the positive letter: zero read back
// is positive, and the fix must read back to the same text.
std::string IGCAngle(std::int32_t units, int degreeDigits, char plus, char minus) {
    const std::int64_t magnitude = units < 0 ? -std::int64_t{units} : std::int64_t{units};
    const std::int64_t thousandths =
        (magnitude * kUnitsDenominator + kUnitsNumerator / 2) / kUnitsNumerator;
    char text[32];
    std::snprintf(text, sizeof text, "%0*lld%0*lld%c", degreeDigits,
                  static_cast<long long>(thousandths / kThousandthsPerDegree), kMinuteDigits,
                  static_cast<long long>(thousandths % kThousandthsPerDegree),
                  units < 0 && thousandths > 0 ? minus : plus);
    return text;
}

// ---- mark-up angles ---------------------------------------------------------------------------

void ReplaceAll(std::string& s, const std::string& from, const std::string& to) {
    for (std::size_t at = s.find(from); at != std::string::npos;
         at = s.find(from, at + to.size())) {
        s.replace(at, from.size(), to);
    }
}

// Degrees of a mark-up angle, or false when the text is not one.
bool ReadMarkupDegrees(std::string s, double& degrees) {
    ReplaceAll(s, "&deg;", " ");
    ReplaceAll(s, "\xB0", " ");
    ReplaceAll(s, "&Prime;", "\"");
    ReplaceAll(s, "&prime;", "'");
    ReplaceAll(s, "''", "\"");
    bool negative = false;
    int hemispheres = 0;
    double parts[3] = {0.0, 0.0, 0.0};
    int count = 0;
    for (std::size_t i = 0; i < s.size();) {
        const char c = static_cast<char>(std::toupper(static_cast<unsigned char>(s[i])));
        if (std::isdigit(static_cast<unsigned char>(c))) {
            if (count == 3) return false;
            std::string number;
            while (i < s.size() &&
                   (std::isdigit(static_cast<unsigned char>(s[i])) || s[i] == '.' || s[i] == ',')) {
                number += s[i] == ',' ? '.' : s[i];
                ++i;
            }
            char* end = nullptr;
            parts[count++] = std::strtod(number.c_str(), &end);
            // A number too long for a double is no angle.
            if (end == nullptr || *end != '\0' || !std::isfinite(parts[count - 1])) return false;
            continue;
        }
        if (c == 'N' || c == 'E' || c == 'O' || c == 'S' || c == 'W') {
            ++hemispheres;
            negative = negative || c == 'S' || c == 'W';
        } else if (c == '-' && count == 0) {
            negative = true;
        } else if (c != ' ' && c != '\'' && c != '"' && c != '+') {
            return false;
        }
        ++i;
    }
    if (count == 0 || hemispheres > 1 || parts[1] >= 60.0 || parts[2] >= 60.0) return false;
    degrees = parts[0] + parts[1] / 60.0 + parts[2] / 3600.0;
    if (negative) degrees = -degrees;
    return true;
}

}  // namespace

bool TSKoordinate::StringKoordinate(TPString text, int /*mode*/) {
    breite_ = 0;
    laenge_ = 0;
    const std::string s = Trimmed(text.c_str());
    std::int32_t breite = 0, laenge = 0;
    const std::size_t lonAt = kLatDegreeDigits + kMinuteDigits + 1;
    if (s.size() != static_cast<std::size_t>(kIGCLength) ||
        !ReadIGCAngle(s, 0, kLatDegreeDigits, 'N', 'S', 90, breite) ||
        !ReadIGCAngle(s, lonAt, kLonDegreeDigits, 'E', 'W', 180, laenge)) {
        WarnUnreadable(text);
        return false;
    }
    breite_ = breite;
    laenge_ = laenge;
    return true;
}

TPString TSKoordinate::IGCString() const {
    std::string s = IGCAngle(breite_, kLatDegreeDigits, 'N', 'S') +
                    IGCAngle(laenge_, kLonDegreeDigits, 'E', 'W');
    return TPString(s.data());  // an owned copy
}

double TSKoordinate::HTMLKoordinate(TPString text) {
    double degrees = 0.0;
    if (!ReadMarkupDegrees(Trimmed(text.c_str()), degrees)) {
        WarnUnreadable(text);
        return 0.0;
    }
    return GradToBogen(degrees);
}

}  // namespace tn
