// Great circles on a sphere. The central angle comes from atan2 of the chord's cross and dot
// products, which stays accurate for tiny and for nearly antipodal separations alike.
#include "geo/GreatCircle.h"

#include <cmath>
#include <numbers>

namespace tn::geo {

namespace {
constexpr long double kTwoPi = 2.0L * std::numbers::pi_v<long double>;

long double InitialCourse(long double lat1, long double lat2, long double dlon) {
    return NormalizedCourse(std::atan2(
        std::sin(dlon) * std::cos(lat2),
        std::cos(lat1) * std::sin(lat2) - std::sin(lat1) * std::cos(lat2) * std::cos(dlon)));
}
}  // namespace

long double NormalizedCourse(long double course) {
    long double c = std::fmod(course, kTwoPi);
    if (c < 0.0L) c += kTwoPi;
    return c >= kTwoPi ? 0.0L : c;
}

TPKursDistanz GreatCircle(long double radius, long double lat1, long double lon1, long double lat2,
                          long double lon2) {
    const long double dlon = lon2 - lon1;
    const long double cross = std::hypot(
        std::cos(lat2) * std::sin(dlon),
        std::cos(lat1) * std::sin(lat2) - std::sin(lat1) * std::cos(lat2) * std::cos(dlon));
    const long double dot =
        std::sin(lat1) * std::sin(lat2) + std::cos(lat1) * std::cos(lat2) * std::cos(dlon);
    TPKursDistanz result;
    result.Distanz = static_cast<double>(radius * std::atan2(cross, dot));
    result.Kurs12 = static_cast<double>(InitialCourse(lat1, lat2, dlon));
    result.Kurs21 = static_cast<double>(InitialCourse(lat2, lat1, -dlon));
    return result;
}

}  // namespace tn::geo
