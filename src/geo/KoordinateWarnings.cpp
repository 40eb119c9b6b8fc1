// Process-wide limits of the coordinate warnings.
#include "geo/KoordinateWarnings.h"

#include <tnpackage/frame/Messages.h>
#include <tnpackage/text/Standards.h>

#include <cmath>
#include <cstdio>
#include <limits>

namespace tn::geo {

namespace {

constexpr int kMaxCorrectionWarnings = 3;

constinit bool badModeWarningPending = true;
constinit int correctionRadiusMisses = 0;

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
            zkFormatFloat("0", difference) + "m!");
}

void ResetKoordinateWarnings() {
    badModeWarningPending = true;
    correctionRadiusMisses = 0;
}

int CorrectionRadiusMisses() {
    return correctionRadiusMisses;
}

}  // namespace tn::geo
