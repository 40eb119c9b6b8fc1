#include "geo/GeoPoints.h"

#include "cli/Command.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace tnpkg {

namespace {

bool ReadDegrees(const std::string& word, double limit, double& value) {
    if (word.empty()) return false;
    errno = 0;
    char* end = nullptr;
    value = std::strtod(word.c_str(), &end);
    return errno == 0 && end != nullptr && *end == '\0' && value >= -limit && value <= limit;
}

bool LooksLikeIGC(const std::string& word) {
    if (word.size() != static_cast<std::size_t>(tn::TSKoordinate::kIGCLength)) return false;
    const char last = word.back();
    return last == 'E' || last == 'W' || last == 'e' || last == 'w';
}

}  // namespace

bool ReadPoints(const std::vector<std::string>& words, std::size_t count,
                std::vector<tn::TSKoordinate>& points, std::string& problem) {
    std::size_t i = 0;
    while (points.size() < count) {
        if (i >= words.size()) {
            problem = "expected " + std::to_string(count) + " point(s)";
            return false;
        }
        if (LooksLikeIGC(words[i])) {
            points.emplace_back(tn::TPString(words[i].c_str()), tn::kmGrad);
            ++i;
            continue;
        }
        double lat = 0, lon = 0;
        if (!ReadDegrees(words[i], 90.0, lat)) {
            problem = "not a latitude in degrees or an IGC fix: " + words[i];
            return false;
        }
        if (i + 1 >= words.size() || !ReadDegrees(words[i + 1], 180.0, lon)) {
            problem = "latitude " + words[i] + " needs a longitude in degrees after it";
            return false;
        }
        points.emplace_back(lat, lon, tn::kmGrad);
        i += 2;
    }
    if (i != words.size()) {
        problem = "unexpected argument: " + words[i];
        return false;
    }
    return true;
}

std::string DegreesText(int units) {
    const long long v = units;
    const unsigned long long m = static_cast<unsigned long long>(v < 0 ? -v : v);
    char text[32];
    std::snprintf(text, sizeof text, "%s%llu.%07llu", v < 0 ? "-" : "", m / 10000000ULL,
                  m % 10000000ULL);
    return text;
}

}  // namespace tnpkg
