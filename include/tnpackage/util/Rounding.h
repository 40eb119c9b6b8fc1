// Rounding to a multiple of a step, the package's one rounding rule.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/util/zkFloat.h>

namespace tn {

/// `value` rounded to the nearest multiple of `step`; halves round away from zero, so that
/// rounding commutes with a change of sign (a southern latitude rounds like its northern
/// mirror). `Round(x, 1.0)` gives a whole number.
///
/// A step that is not a positive finite number, or a value that is not finite, is reported
/// through Warning; the result is then `value` unchanged (0 for a NaN value).
TN_EXPORT zkFloat Round(zkFloat value, zkFloat step);

}  // namespace tn
