// The coordinate value: construction, units and operators.
#include <tnpackage/frame/Messages.h>
#include <tnpackage/geo/Constants.h>
#include <tnpackage/geo/TSKoordinate.h>
#include <tnpackage/util/Rounding.h>

#include "geo/KoordinateWarnings.h"
#include "geo/UnitConversion.h"

namespace tn {

namespace {

constexpr zkFloat kUnitsPerDegree = 1e7L;
constexpr zkFloat kDegreesPerUnit = 1e-7L;

constexpr const char* kEmptyIGCEast = "0000000N00000000E";
constexpr const char* kEmptyIGCWest = "0000000N00000000W";

std::int32_t WrappingSum(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

std::int32_t WrappingDifference(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

zkFloat AngleOf(std::int32_t units, int mode) {
    zkFloat value = units;
    if (mode == kmBogen) value *= static_cast<zkFloat>(ArcProGrad);
    return value * kDegreesPerUnit;
}

}  // namespace

// ---- construction -----------------------------------------------------------------------------

TSKoordinate::TSKoordinate() {
    Create();
}

TSKoordinate::TSKoordinate(int breite, int laenge) : breite_(breite), laenge_(laenge) {
    Create();
}

TSKoordinate::TSKoordinate(double breite, double laenge, int mode) {
    switch (mode) {
        case kmBogen:
        case kmGrad:
            SetBreite(breite, mode);
            SetLaenge(laenge, mode);
            break;
        case kmInteger:
            breite_ = geo::TruncateToInt32(static_cast<zkFloat>(breite));
            laenge_ = geo::TruncateToInt32(static_cast<zkFloat>(laenge));
            break;
        case kmLeer:
            break;
        default:
            geo::WarnBadModeOnce(mode);
            break;
    }
    Create();
}

TSKoordinate::TSKoordinate(TPString text, int mode) {
    // Flight files write the missing fix as zeros; that is the empty coordinate, not a point.
    if (!(TPString::StrCmpS(text.c_str(), kEmptyIGCEast) ||
          TPString::StrCmpS(text.c_str(), kEmptyIGCWest))) {
        StringKoordinate(text, mode);
    }
    Create();
}

TSKoordinate::TSKoordinate(TPString breite, TPString laenge, int mode) {
    if (mode == kmHTML) {
        SetBreite(HTMLKoordinate(breite), kmBogen);
        SetLaenge(HTMLKoordinate(laenge), kmBogen);
    }
    Create();
}

TSKoordinate::TSKoordinate(char* p, int mode) {
    if (p != nullptr) SetFromBytes(p, mode);
    Create();
}

// ---- units ------------------------------------------------------------------------------------

zkFloat TSKoordinate::Breite(int mode) const {
    return AngleOf(breite_, mode);
}
zkFloat TSKoordinate::Laenge(int mode) const {
    return AngleOf(laenge_, mode);
}
double TSKoordinate::BreiteGrad() const {
    return static_cast<double>(Breite(kmGrad));
}
double TSKoordinate::LaengeGrad() const {
    return static_cast<double>(Laenge(kmGrad));
}

int TSKoordinate::SetInteger(double x, int mode) const {
    zkFloat y = static_cast<zkFloat>(x) * kUnitsPerDegree;
    if (mode == kmBogen) y = y / static_cast<zkFloat>(ArcProGrad);
    return geo::TruncateToInt32(Round(y, 1.0L));
}

int TSKoordinate::SetBreite(double x, int mode) {
    return breite_ = SetInteger(x, mode);
}
int TSKoordinate::SetLaenge(double x, int mode) {
    return laenge_ = SetInteger(x, mode);
}

double TSKoordinate::BogenToGrad(double x) {
    return x / ArcProGrad;
}
double TSKoordinate::GradToBogen(double x) {
    return x * ArcProGrad;
}

// ---- operators --------------------------------------------------------------------------------

TSKoordinate& TSKoordinate::operator=(int n) {
    if (n == 0) {
        breite_ = 0;
        laenge_ = 0;
    } else {
        Warning("Koodinaten-Operator != 0 nicht erlaubt!");
    }
    return *this;
}

TSKoordinate TSKoordinate::operator+(const TSKoordinate& other) const {
    return TSKoordinate(WrappingSum(breite_, other.breite_), WrappingSum(laenge_, other.laenge_));
}

TSKoordinate TSKoordinate::operator-(const TSKoordinate& other) const {
    return TSKoordinate(WrappingDifference(breite_, other.breite_),
                        WrappingDifference(laenge_, other.laenge_));
}

double TSKoordinate::PlusMinus(double betrag, char richtung) {
    if (betrag < 0.0) return 0.0;
    return richtung == 'S' || richtung == 'W' ? -betrag : betrag;
}

}  // namespace tn
