// The ellipsoid distance against GeographicLib's GeodSolve.
#include <tnpackage/tnpackage.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <random>

#include "DistanzModusScope.h"
#include "GeodSolve.h"
#include "support/WarningCapture.h"

using namespace tn;

namespace {

constexpr double kDeg = std::numbers::pi / 180.0;

double Radians(int units) {
    return static_cast<double>(units * 1e-7L * std::numbers::pi_v<long double> / 180.0L);
}

double AngleDifference(double a, double b) {
    double d = std::fmod(a - b, 360.0);
    if (d > 180) d -= 360;
    if (d < -180) d += 360;
    return d;
}

// Central angle on the sphere in degrees, to keep random pairs away from the antipodes.
double SphericalSeparation(const TSKoordinate& a, const TSKoordinate& b) {
    bool failed = false;
    return Geoid
               .crsdistance(Radians(a.IntBreite()), Radians(a.IntLaenge()), Radians(b.IntBreite()),
                            Radians(b.IntLaenge()), failed)
               .Distanz /
           Geoid.Radius() / kDeg;
}

struct Pair {
    TSKoordinate a, b;
};

std::vector<Pair> RandomPairs() {
    std::mt19937 rng(1975);
    std::uniform_int_distribution<int> lat(-900000000, 900000000);
    std::uniform_int_distribution<int> lon(-1800000000, 1800000000);
    std::uniform_int_distribution<int> near(-10000000, 10000000);
    std::vector<Pair> pairs;
    while (pairs.size() < 1500) {
        const TSKoordinate a(lat(rng), lon(rng));
        // A third far apart, a third within a degree, a third within a few metres.
        TSKoordinate b(lat(rng), lon(rng));
        if (pairs.size() % 3 == 1) {
            b = TSKoordinate(std::clamp(a.IntBreite() + near(rng), -900000000, 900000000),
                             a.IntLaenge() + near(rng));
        } else if (pairs.size() % 3 == 2) {
            b = TSKoordinate(std::clamp(a.IntBreite() + near(rng) / 10000, -900000000, 900000000),
                             a.IntLaenge() + near(rng) / 10000);
        }
        if (SphericalSeparation(a, b) > 178.0) continue;
        pairs.push_back({a, b});
    }
    // Awkward places: the equator, meridians, the poles, across the date line.
    pairs.push_back({TSKoordinate(0, 0), TSKoordinate(0, 1000000000)});
    pairs.push_back({TSKoordinate(0, 100000000), TSKoordinate(0, -100000000)});
    pairs.push_back({TSKoordinate(475000000, 112500000), TSKoordinate(-475000000, 112500000)});
    pairs.push_back({TSKoordinate(900000000, 0), TSKoordinate(-100000000, 450000000)});
    pairs.push_back({TSKoordinate(-899999999, 1234), TSKoordinate(899999999, 5678)});
    pairs.push_back({TSKoordinate(100000000, 1795000000), TSKoordinate(110000000, -1795000000)});
    return pairs;
}

}  // namespace

TEST(TPEllipsoid, AgainstGeodSolveWithinAMillimetre) {
    if (!geotest::GeodSolveAvailable()) GTEST_SKIP() << "GeodSolve is not installed";
    const auto pairs = RandomPairs();
    std::vector<geotest::GeodQuery> queries;
    for (const auto& p : pairs)
        queries.push_back(geotest::QueryOf(p.a, p.b));
    const auto answers = geotest::RunGeodSolve(queries);
    ASSERT_EQ(answers.size(), pairs.size());

    const geotest::DistanzModusScope ellipsoid(100);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const auto& [a, b] = pairs[i];
        bool failed = true;
        const TPKursDistanz r =
            Ellipsoid.crsdistance(Radians(a.IntBreite()), Radians(a.IntLaenge()),
                                  Radians(b.IntBreite()), Radians(b.IntLaenge()), failed);
        ASSERT_FALSE(failed) << i;
        EXPECT_NEAR(r.Distanz, answers[i].s12, 1e-3)
            << i << ": " << queries[i].lat1 << " " << queries[i].lon1 << " " << queries[i].lat2
            << " " << queries[i].lon2;
        const bool atPole =
            std::abs(a.IntBreite()) == 900000000 || std::abs(b.IntBreite()) == 900000000;
        if (answers[i].s12 > 1.0 && !atPole) {
            EXPECT_NEAR(AngleDifference(r.Kurs12 / kDeg, answers[i].azi1), 0.0, 1e-6) << i;
            EXPECT_NEAR(AngleDifference(r.Kurs21 / kDeg, answers[i].azi2 + 180.0), 0.0, 1e-6) << i;
        }
        // Entfernung in mode 100 is the same, rounded to whole metres.
        EXPECT_NEAR(static_cast<double>(a.Entfernung(b)), answers[i].s12, 0.5 + 1e-3) << i;
    }
}

TEST(TPEllipsoid, CoincidentAndAntipodalPoints) {
    bool failed = true;
    const TPKursDistanz same = Ellipsoid.crsdistance(0.8, 0.2, 0.8, 0.2, failed);
    EXPECT_FALSE(failed);
    EXPECT_EQ(same.Distanz, 0.0);

    // Nearly antipodal on the equator: the iteration does not settle. The flag says so and
    // the distance is the mean-radius great circle, within half a percent of the geodesic.
    const TPKursDistanz far = Ellipsoid.crsdistance(0.0, 0.0, 0.0, 179.9 * kDeg, failed);
    EXPECT_TRUE(failed);
    const double meanRadius = Ellipsoid.A() * (1.0 - Ellipsoid.F() / 3.0);
    EXPECT_NEAR(far.Distanz, meanRadius * 179.9 * kDeg, 1e-6);
    EXPECT_NEAR(far.Distanz, 20003008.42, 0.005 * 20003008.42);  // GeodSolve: 0 0 0 179.9
    EXPECT_TRUE(std::isfinite(far.Kurs12));
}

TEST(TPGeoid, GreatCircle) {
    bool failed = true;
    const TPKursDistanz quarter = Geoid.crsdistance(0.0, 0.0, 0.0, 90 * kDeg, failed);
    EXPECT_FALSE(failed);
    EXPECT_NEAR(quarter.Distanz, 6371000.0 * std::numbers::pi / 2, 1e-6);
    EXPECT_NEAR(quarter.Kurs12, 90 * kDeg, 1e-12);
    EXPECT_NEAR(quarter.Kurs21, 270 * kDeg, 1e-12);
    const TPKursDistanz north = Geoid.crsdistance(0.1, 0.2, 0.3, 0.2, failed);
    EXPECT_NEAR(north.Kurs12, 0.0, 1e-12);
    EXPECT_NEAR(north.Kurs21, std::numbers::pi, 1e-12);
    EXPECT_NEAR(north.Distanz, 0.2 * 6371000.0, 1e-6);
}
