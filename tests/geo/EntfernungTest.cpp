// Distance formulas against their textbook forms evaluated here in long double, against each
// other, and against GeodSolve on a sphere; course rules.
#include <tnpackage/tnpackage.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "DistanzModusScope.h"
#include "GeodSolve.h"
#include "geo/KoordinateWarnings.h"
#include "support/WarningCapture.h"

using namespace tn;
using geotest::DistanzModusScope;
using tn::test::WarningCapture;

namespace {

using LD = long double;
constexpr LD kPiL = std::numbers::pi_v<LD>;
constexpr LD kR = 6371000.0L;
// The result is rounded to whole metres: allow half a metre plus floating noise.
constexpr double kRounding = 0.5 + 1e-6;

struct Point {
    LD lat, lon;  // radians, from the integers by an independent conversion
};

Point Rad(const TSKoordinate& k) {
    return {k.IntBreite() * 1e-7L * kPiL / 180.0L, k.IntLaenge() * 1e-7L * kPiL / 180.0L};
}

// Central angle from the cross and dot products of the two unit vectors.
LD CentralAngle(Point a, Point b) {
    const LD ax = std::cos(a.lat) * std::cos(a.lon), ay = std::cos(a.lat) * std::sin(a.lon),
             az = std::sin(a.lat);
    const LD bx = std::cos(b.lat) * std::cos(b.lon), by = std::cos(b.lat) * std::sin(b.lon),
             bz = std::sin(b.lat);
    const LD cx = ay * bz - az * by, cy = az * bx - ax * bz, cz = ax * by - ay * bx;
    return std::atan2(std::sqrt(cx * cx + cy * cy + cz * cz), ax * bx + ay * by + az * bz);
}

LD FlatEarthOracle(Point a, Point b) {
    const LD north = a.lat - b.lat;
    const LD east = (a.lon - b.lon) * std::cos((a.lat + b.lat) / 2);
    return kR * std::hypot(north, east);
}

LD OldFormulaOracle(Point a, Point b) {
    const LD x = (b.lon - a.lon) * std::cos(a.lat);
    const LD y = b.lat - a.lat;
    const LD c = std::cos(y) * std::cos(x) + std::sin(y) * std::sin(x);
    return kR * std::acos(std::fmax(-1.0L, std::fmin(1.0L, c)));
}

std::vector<std::pair<TSKoordinate, TSKoordinate>> RandomPairs(int count, int maxSpreadUnits) {
    std::mt19937 rng(20261122);
    std::uniform_int_distribution<int> lat(-890000000, 890000000);
    std::uniform_int_distribution<int> lon(-1790000000, 1790000000);
    std::uniform_int_distribution<int> spread(-maxSpreadUnits, maxSpreadUnits);
    std::vector<std::pair<TSKoordinate, TSKoordinate>> pairs;
    for (int i = 0; i < count; ++i) {
        const TSKoordinate a(lat(rng), lon(rng));
        TSKoordinate b(lat(rng), lon(rng));
        if (maxSpreadUnits > 0) {
            b = TSKoordinate(std::clamp(a.IntBreite() + spread(rng), -899999999, 899999999),
                             a.IntLaenge() + spread(rng));
        }
        pairs.emplace_back(a, b);
    }
    return pairs;
}

double Distance(int mode, const TSKoordinate& a, const TSKoordinate& b) {
    DistanzModusScope scope(mode);
    return static_cast<double>(a.Entfernung(b));
}

}  // namespace

TEST(Entfernung, DefaultModeIsTheLawOfCosines) {
    EXPECT_EQ(DistanzModus, 2);
}

TEST(Entfernung, GreatCircleModesAgainstVectorAngle) {
    for (int spread : {0, 20000000, 100000}) {  // anywhere, within 2 degrees, within 0.01 degree
        for (const auto& [a, b] : RandomPairs(2000, spread)) {
            const double expected = static_cast<double>(kR * CentralAngle(Rad(a), Rad(b)));
            const double d2 = Distance(2, a, b);
            const double d4 = Distance(4, a, b);
            ASSERT_NEAR(d2, expected, kRounding) << a.IntBreite() << " " << b.IntBreite();
            ASSERT_NEAR(d4, expected, kRounding);
            ASSERT_EQ(d2, std::round(d2));
        }
    }
}

TEST(Entfernung, FlatEarthAndOldFormula) {
    for (int spread : {0, 20000000}) {
        for (const auto& [a, b] : RandomPairs(2000, spread)) {
            ASSERT_NEAR(Distance(1, a, b), static_cast<double>(FlatEarthOracle(Rad(a), Rad(b))),
                        kRounding);
            ASSERT_NEAR(Distance(3, a, b), static_cast<double>(OldFormulaOracle(Rad(a), Rad(b))),
                        kRounding);
        }
    }
    // Flat earth over short distances is the great circle.
    const TSKoordinate a(475000000, 112500000), b(475100000, 112600000);
    EXPECT_NEAR(Distance(1, a, b), Distance(2, a, b), 1.0);
    // On one meridian the old formula's sine term is 0 ... and northwards it is exact.
    const TSKoordinate c(475000000, 112500000), d(485000000, 112500000);
    EXPECT_EQ(Distance(3, c, d), Distance(2, c, d));
    // ... but along a parallel its sine term makes it differ from the great circle.
    const TSKoordinate e1(100000000, 100000000), e2(110000000, 110000000);
    EXPECT_GT(std::fabs(Distance(3, e1, e2) - Distance(2, e1, e2)), 1000.0);
}

TEST(Entfernung, SphereAgainstGeodSolve) {
    if (!geotest::GeodSolveAvailable()) GTEST_SKIP() << "GeodSolve is not installed";
    const auto pairs = RandomPairs(300, 0);
    std::vector<geotest::GeodQuery> queries;
    for (const auto& [a, b] : pairs)
        queries.push_back(geotest::QueryOf(a, b));
    const auto answers = geotest::RunGeodSolve(queries, "-e 6371000 0");
    ASSERT_EQ(answers.size(), pairs.size());
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const auto& [a, b] = pairs[i];
        EXPECT_NEAR(Distance(2, a, b), answers[i].s12, kRounding) << i;
        EXPECT_NEAR(Distance(4, a, b), answers[i].s12, kRounding) << i;
    }
}

TEST(Entfernung, EdgeCases) {
    const TSKoordinate p(475000000, 112500000);
    for (int mode : {1, 2, 3, 4, 100})
        EXPECT_EQ(Distance(mode, p, p), 0.0) << mode;
    const TSKoordinate q(-335000000, 1512500000);
    for (int mode : {0, 5, 7, 99, 101, -1})
        EXPECT_EQ(Distance(mode, p, q), 0.0) << mode;
    // Antipodes: clamped cosine gives pi R; the haversine gives pi R too.
    const TSKoordinate north(450000000, 100000000), south(-450000000, -1700000000);
    const double half = static_cast<double>(std::round(kPiL * kR));
    EXPECT_EQ(Distance(2, north, south), half);
    EXPECT_EQ(Distance(4, north, south), half);
    // One unit apart is about a centimetre: 0 metres.
    EXPECT_EQ(Distance(2, p, TSKoordinate(475000001, 112500000)), 0.0);
    const double d = Distance(1, p, TSKoordinate(475012345, 112512345));
    EXPECT_EQ(d, std::round(d));
}

TEST(Kurs, Rules) {
    const TSKoordinate p(475000000, 112500000);
    EXPECT_EQ(p.Kurs(p), 270.0);
    EXPECT_EQ(p.Kurs(TSKoordinate(485000000, 112500000)), 0.0);    // north
    EXPECT_EQ(p.Kurs(TSKoordinate(465000000, 112500000)), 180.0);  // south
    EXPECT_EQ(p.Kurs(TSKoordinate(475000000, 122500000)), 90.0);   // east
    EXPECT_EQ(p.Kurs(TSKoordinate(475000000, 102500000)), 270.0);  // west

    // Four quadrants against the plane bearing atan2(east, north) of the same projection.
    std::mt19937 rng(5);
    std::uniform_int_distribution<int> step(-5000000, 5000000);
    int quadrants[4] = {};
    for (int i = 0; i < 2000; ++i) {
        const TSKoordinate a(300000000 + step(rng), -800000000 + step(rng));
        const TSKoordinate b(a.IntBreite() + step(rng), a.IntLaenge() + step(rng));
        if (a.IntBreite() == b.IntBreite()) continue;
        const Point pa = Rad(a), pb = Rad(b);
        const LD north = pb.lat - pa.lat;
        const LD east = (pb.lon - pa.lon) * std::cos((pa.lat + pb.lat) / 2);
        LD expected = std::atan2(east, north) * 180.0L / kPiL;
        if (expected < 0) expected += 360.0L;
        const double course = a.Kurs(b);
        ASSERT_GE(course, 0.0);
        ASSERT_LT(course, 360.0);
        ASSERT_NEAR(course, static_cast<double>(expected), 1e-9);
        ++quadrants[static_cast<int>(course / 90.0)];
    }
    for (int q : quadrants)
        EXPECT_GT(q, 300);
}

TEST(OffsetConstructor, ReachesTheRadius) {
    WarningCapture warnings;
    const TSKoordinate start(475000000, 112500000);
    for (LD w = 0; w < 2 * kPiL; w += 0.3L) {
        const TSKoordinate rough(start, 50000.0L, w, false);
        const TSKoordinate fine(start, 50000.0L, w, true);
        EXPECT_NEAR(static_cast<double>(start.Entfernung(fine)), 50000.0, 2.0);
        EXPECT_NEAR(start.Kurs(rough), static_cast<double>(w * 180.0L / kPiL), 0.5);
    }
    // Straight north by one degree of arc.
    const TSKoordinate north(start, kR * kPiL / 180.0L, 0.0L, false);
    EXPECT_EQ(north, TSKoordinate(485000000, 112500000));
    EXPECT_TRUE(warnings.Texts().empty());
}

TEST(OffsetConstructor, CorrectionWarningsAtMostThreeWhileIDERun) {
    WarningCapture warnings;
    geo::ResetKoordinateWarnings();
    const TSKoordinate start(475000000, 112500000);
    // With DistanzModus 7 every distance is 0, so the correction can never reach the radius.
    DistanzModusScope noDistance(7);
    const TSKoordinate quiet(start, 5000.0L, 1.0L, true);
    EXPECT_TRUE(warnings.Texts().empty());  // IDERun is not set

    IDERun = true;
    for (int i = 0; i < 5; ++i)
        TSKoordinate(start, 5000.0L, 1.0L, true);
    TSKoordinate(start, 5000.0L, 1.0L, false);  // without fein: no check
    IDERun = false;
    EXPECT_EQ(geo::CorrectionRadiusMisses(), 5);
    ASSERT_EQ(warnings.Texts().size(), 3u);
    EXPECT_EQ(warnings.Texts()[0],
              "TSKoordinate::TSKoordinate(TSKoordinate Punkt,zkFloat Radius,zkFloat "
              "Winkel,bool Fein): Korrektur-Radius: 5000m!");
    geo::ResetKoordinateWarnings();
}
