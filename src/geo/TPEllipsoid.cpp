// Vincenty's inverse method on the ellipsoid (Survey Review 23, 1975), evaluated in extended
// precision. The iteration on the longitude difference on the auxiliary sphere converges
// quickly except near the antipode, where it may oscillate or leave [-pi, pi].
#include <tnpackage/geo/TPEllipsoid.h>

#include <cmath>
#include <numbers>

#include "geo/GreatCircle.h"

namespace tn {

namespace {

constexpr int kMaxIterations = 200;
constexpr long double kTolerance = 1e-13L;  // radians of lambda; far below 1 mm
constexpr long double kPi = std::numbers::pi_v<long double>;

// Terms of the iteration that the distance formula needs once lambda has settled.
struct AuxiliarySphere {
    long double sinSigma = 0, cosSigma = 0, sigma = 0;
    long double cosSqAlpha = 0, cos2SigmaM = 0;
    long double sinLambda = 0, cosLambda = 0;
};

AuxiliarySphere Evaluate(long double lambda, long double sinU1, long double cosU1,
                         long double sinU2, long double cosU2) {
    AuxiliarySphere s;
    s.sinLambda = std::sin(lambda);
    s.cosLambda = std::cos(lambda);
    s.sinSigma = std::hypot(cosU2 * s.sinLambda, cosU1 * sinU2 - sinU1 * cosU2 * s.cosLambda);
    s.cosSigma = sinU1 * sinU2 + cosU1 * cosU2 * s.cosLambda;
    s.sigma = std::atan2(s.sinSigma, s.cosSigma);
    const long double sinAlpha =
        s.sinSigma == 0.0L ? 0.0L : cosU1 * cosU2 * s.sinLambda / s.sinSigma;
    s.cosSqAlpha = 1.0L - sinAlpha * sinAlpha;
    // On the equator cos^2(alpha) is 0 and the term vanishes.
    s.cos2SigmaM = s.cosSqAlpha == 0.0L ? 0.0L : s.cosSigma - 2.0L * sinU1 * sinU2 / s.cosSqAlpha;
    return s;
}

}  // namespace

TPKursDistanz TPEllipsoid::crsdistance(double lat1, double lon1, double lat2, double lon2,
                                       bool& failed) const {
    failed = false;
    using LD = long double;
    const LD a = static_cast<LD>(a_);
    const LD f = static_cast<LD>(f_);
    const long double b = a * (1.0L - f);
    // The method wants the longitude difference in [-pi, pi].
    const long double L = std::remainder(static_cast<LD>(lon2) - static_cast<LD>(lon1), 2.0L * kPi);
    const long double U1 = std::atan((1.0L - f) * std::tan(static_cast<LD>(lat1)));
    const long double U2 = std::atan((1.0L - f) * std::tan(static_cast<LD>(lat2)));
    const long double sinU1 = std::sin(U1), cosU1 = std::cos(U1);
    const long double sinU2 = std::sin(U2), cosU2 = std::cos(U2);

    long double lambda = L;
    AuxiliarySphere s;
    bool converged = false;
    for (int i = 0; i < kMaxIterations; ++i) {
        s = Evaluate(lambda, sinU1, cosU1, sinU2, cosU2);
        if (s.sinSigma == 0.0L) return TPKursDistanz{};  // coincident points
        const long double sinAlpha = cosU1 * cosU2 * s.sinLambda / s.sinSigma;
        const long double C = f / 16.0L * s.cosSqAlpha * (4.0L + f * (4.0L - 3.0L * s.cosSqAlpha));
        const long double previous = lambda;
        lambda =
            L + (1.0L - C) * f * sinAlpha *
                    (s.sigma + C * s.sinSigma *
                                   (s.cos2SigmaM +
                                    C * s.cosSigma * (-1.0L + 2.0L * s.cos2SigmaM * s.cos2SigmaM)));
        if (!std::isfinite(lambda) || std::fabs(lambda) > kPi) break;
        if (std::fabs(lambda - previous) < kTolerance) {
            converged = true;
            break;
        }
    }
    if (!converged) {
        failed = true;
        return geo::GreatCircle(a * (1.0L - f / 3.0L), static_cast<LD>(lat1), static_cast<LD>(lon1),
                                static_cast<LD>(lat2), static_cast<LD>(lon2));
    }
    s = Evaluate(lambda, sinU1, cosU1, sinU2, cosU2);

    const long double uSq = s.cosSqAlpha * (a * a - b * b) / (b * b);
    const long double A =
        1.0L + uSq / 16384.0L * (4096.0L + uSq * (-768.0L + uSq * (320.0L - 175.0L * uSq)));
    const long double B = uSq / 1024.0L * (256.0L + uSq * (-128.0L + uSq * (74.0L - 47.0L * uSq)));
    const long double c2 = s.cos2SigmaM * s.cos2SigmaM;
    const long double deltaSigma =
        B * s.sinSigma *
        (s.cos2SigmaM + B / 4.0L *
                            (s.cosSigma * (-1.0L + 2.0L * c2) -
                             B / 6.0L * s.cos2SigmaM * (-3.0L + 4.0L * s.sinSigma * s.sinSigma) *
                                 (-3.0L + 4.0L * c2)));

    TPKursDistanz result;
    result.Distanz = static_cast<double>(b * A * (s.sigma - deltaSigma));
    result.Kurs12 = static_cast<double>(geo::NormalizedCourse(
        std::atan2(cosU2 * s.sinLambda, cosU1 * sinU2 - sinU1 * cosU2 * s.cosLambda)));
    // The forward azimuth at the second point, turned round: the course back to the first.
    result.Kurs21 = static_cast<double>(geo::NormalizedCourse(
        std::atan2(cosU1 * s.sinLambda, -sinU1 * cosU2 + cosU1 * sinU2 * s.cosLambda) + kPi));
    return result;
}

}  // namespace tn
