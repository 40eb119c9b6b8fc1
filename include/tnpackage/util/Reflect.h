// Bit reversal, as the reflected CRCs need it.
#pragma once

#include <tnpackage/Export.h>

namespace tn {

/// The low `bits` bits of `value` in reverse order; 0 for `bits` <= 0. A field wider than 32
/// bits is reversed as a whole and cut to its low 32 bits.
TN_EXPORT int Reflect(int value, int bits);

}  // namespace tn
