// Distance, course and the point at a distance and direction.
#include <tnpackage/frame/Globals.h>
#include <tnpackage/geo/Constants.h>
#include <tnpackage/geo/TPEllipsoid.h>
#include <tnpackage/geo/TSKoordinate.h>
#include <tnpackage/util/Rounding.h>

#include <cmath>

#include "geo/KoordinateWarnings.h"

namespace tn {

namespace {

// Values of DistanzModus.
constexpr int kFlachEbene = 1;
constexpr int kKosinusSatz = 2;
constexpr int kAlteFormel = 3;
constexpr int kHaversine = 4;
constexpr int kEllipsoid = 100;

// Below this many metres of error the offset point is left uncommented.
constexpr zkFloat kCorrectionTolerance = 10.0L;

// The package's constants, widened for the extended-precision intermediates.
zkFloat EarthRadius() {
    return static_cast<zkFloat>(ErdRadius);
}
zkFloat HalfTurn() {
    return static_cast<zkFloat>(Pi);
}
zkFloat QuarterTurn() {
    return static_cast<zkFloat>(Pi_2);
}
zkFloat RadiansPerDegree() {
    return static_cast<zkFloat>(ArcProGrad);
}

struct Radians {
    zkFloat breite;
    zkFloat laenge;
};

Radians RadiansOf(const TSKoordinate& k) {
    return {k.Breite(kmBogen), k.Laenge(kmBogen)};
}

// Central angle from its cosine, with the argument clamped so that rounding never yields NaN.
zkFloat AngleFromCosine(zkFloat c) {
    if (c <= -1.0L) return HalfTurn();
    if (c >= 1.0L) return 0.0L;
    return std::acos(c);
}

zkFloat FlatEarth(Radians p1, Radians p2) {
    const zkFloat dBreite = p1.breite - p2.breite;
    const zkFloat dLaenge = (p1.laenge - p2.laenge) * std::cos((p1.breite + p2.breite) * 0.5L);
    return EarthRadius() * std::sqrt(dLaenge * dLaenge + dBreite * dBreite);
}

zkFloat LawOfCosines(Radians p1, Radians p2) {
    const zkFloat c = std::cos(p1.breite) * std::cos(p2.breite) * std::cos(p1.laenge - p2.laenge) +
                      std::sin(p1.breite) * std::sin(p2.breite);
    return EarthRadius() * AngleFromCosine(c);
}

// The historical third formula, kept term for term (including its sine term) because stored
// results were computed with it.
zkFloat HistoricalFormula(Radians p1, Radians p2) {
    const zkFloat x = (p2.laenge - p1.laenge) * std::cos(p1.breite);
    const zkFloat dBreite = p2.breite - p1.breite;
    const zkFloat c = std::cos(dBreite) * std::cos(x) + std::sin(dBreite) * std::sin(x);
    return EarthRadius() * AngleFromCosine(c);
}

zkFloat Haversine(Radians p1, Radians p2) {
    const zkFloat sinBreite = std::sin((p1.breite - p2.breite) * 0.5L);
    const zkFloat sinLaenge = std::sin((p1.laenge - p2.laenge) * 0.5L);
    const zkFloat h =
        sinBreite * sinBreite + std::cos(p1.breite) * std::cos(p2.breite) * sinLaenge * sinLaenge;
    const zkFloat s = std::sqrt(h);
    zkFloat a;
    if (s >= 1.0L) {
        a = QuarterTurn();
    } else if (s <= -1.0L) {
        a = -QuarterTurn();
    } else {
        a = std::asin(s);
    }
    return 2.0L * EarthRadius() * a;
}

zkFloat OnEllipsoid(Radians p1, Radians p2) {
    const TPEllipsoid wgs84;
    bool failed = false;
    return static_cast<zkFloat>(
        wgs84
            .crsdistance(static_cast<double>(p1.breite), static_cast<double>(p1.laenge),
                         static_cast<double>(p2.breite), static_cast<double>(p2.laenge), failed)
            .Distanz);
}

}  // namespace

zkFloat TSKoordinate::Entfernung(TSKoordinate ziel) const {
    const Radians p1 = RadiansOf(*this);
    const Radians p2 = RadiansOf(ziel);
    zkFloat d = 0.0L;
    switch (DistanzModus) {
        case kFlachEbene:
            d = FlatEarth(p1, p2);
            break;
        case kKosinusSatz:
            d = LawOfCosines(p1, p2);
            break;
        case kAlteFormel:
            d = HistoricalFormula(p1, p2);
            break;
        case kHaversine:
            d = Haversine(p1, p2);
            break;
        case kEllipsoid:
            d = OnEllipsoid(p1, p2);
            break;
        default:
            break;
    }
    // A negative distance becomes one metre, not its magnitude; stored values rely on it.
    if (d < 0.0L) d = 1.0L;
    return Round(d, 1.0L);
}

double TSKoordinate::Kurs(TSKoordinate ziel) const {
    const Radians p1 = RadiansOf(*this);
    const Radians p2 = RadiansOf(ziel);
    const zkFloat dBreite = p1.breite - p2.breite;
    const zkFloat dLaenge = (p1.laenge - p2.laenge) * std::cos((p1.breite + p2.breite) * 0.5L);
    if (dBreite == 0.0L) return dLaenge >= 0.0L ? 270.0 : 90.0;
    zkFloat a = std::atan(dLaenge / dBreite) / RadiansPerDegree();
    if (dBreite >= 0.0L && a < 0.0L) a += 360.0L;
    if (dBreite < 0.0L) a += 180.0L;
    a += 180.0L;
    if (a >= 360.0L) a -= 360.0L;
    return static_cast<double>(a);
}

TSKoordinate::TSKoordinate(TSKoordinate punkt, zkFloat radius, zkFloat winkel, bool fein) {
    const zkFloat k = radius / EarthRadius();
    SetBreite(static_cast<double>(punkt.Breite(kmBogen) + std::cos(winkel) * k), kmBogen);
    SetLaenge(static_cast<double>(punkt.Laenge(kmBogen) +
                                  std::sin(winkel) * k / std::cos(Breite(kmBogen))),
              kmBogen);
    if (fein) {
        // One correction step against the distance formula in use.
        const zkFloat k2 = (Entfernung(punkt) - radius) / EarthRadius();
        SetBreite(static_cast<double>(Breite(kmBogen) - std::cos(winkel) * k2), kmBogen);
        SetLaenge(static_cast<double>(Laenge(kmBogen) -
                                      std::sin(winkel) * k2 / std::cos(Breite(kmBogen))),
                  kmBogen);
        if (IDERun) {
            const zkFloat difference = radius - Entfernung(punkt);
            if (std::fabs(difference) >= kCorrectionTolerance) {
                geo::WarnCorrectionRadius(difference);
            }
        }
    }
    Create();
}

}  // namespace tn
