// Turning floating values into the coordinate's 32-bit integers.
#pragma once

#include <tnpackage/util/zkFloat.h>

#include <cstdint>

namespace tn::geo {

/// The value as a 32-bit integer, truncated toward zero. A value outside the integer range
/// or NaN gives INT32_MIN, the "indefinite integer" the 32-bit x86 conversion produces.
std::int32_t TruncateToInt32(zkFloat value);

}  // namespace tn::geo
