// Process-wide limits of the coordinate warnings: the bad-mode warning appears once, the
// correction-radius warning at most three times. Tests reset them to see them again.
#pragma once

#include <tnpackage/Export.h>

namespace tn::geo {

/// Shows the bad-mode warning for `mode` unless it has been shown before.
void WarnBadModeOnce(int mode);
/// Counts a correction-radius miss of `difference` metres and shows the first three.
void WarnCorrectionRadius(long double difference);

/// Back to the state at package start (bad-mode warning pending, no correction warnings).
TN_EXPORT void ResetKoordinateWarnings();
/// Correction-radius misses counted so far.
TN_EXPORT int CorrectionRadiusMisses();

}  // namespace tn::geo
