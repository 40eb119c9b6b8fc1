// Process-wide limits of the coordinate warnings.
#include "geo/KoordinateWarnings.h"

#include <tnpackage/frame/Messages.h>

#include <cmath>
#include <cstdio>
#include <limits>

namespace tn::geo {

namespace {

constexpr int kMaxCorrectionWarnings = 3;

constinit bool badModeWarningPending = true;
constinit int correctionRadiusMisses = 0;

// The number as the format "0" prints it: whole, halves away from zero.
TPString WholeNumberText(long double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.0f", static_cast<double>(std::round(value)));
    return TPString(text);
}

}  // namespace

void WarnBadModeOnce(int mode) {
    if (!badModeWarningPending) return;
    badModeWarningPending = false;
    Warning(TPString(" Vorsicht: falscher Koordinaten-Modus: ") + mode);
}

void WarnCorrectionRadius(long double difference) {
    const int before = correctionRadiusMisses;
    if (correctionRadiusMisses < std::numeric_limits<int>::max()) ++correctionRadiusMisses;
    if (before >= kMaxCorrectionWarnings) return;
    Warning(TPString("TSKoordinate::TSKoordinate(TSKoordinate Punkt,zkFloat Radius,zkFloat "
                     "Winkel,bool Fein): Korrektur-Radius: ") +
            WholeNumberText(difference) + "m!");
}

void ResetKoordinateWarnings() {
    badModeWarningPending = true;
    correctionRadiusMisses = 0;
}

int CorrectionRadiusMisses() {
    return correctionRadiusMisses;
}

}  // namespace tn::geo
