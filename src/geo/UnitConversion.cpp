#include "geo/UnitConversion.h"

#include <cmath>
#include <limits>

namespace tn::geo {

std::int32_t TruncateToInt32(zkFloat value) {
    constexpr zkFloat kLow = std::numeric_limits<std::int32_t>::min();
    constexpr zkFloat kHigh = std::numeric_limits<std::int32_t>::max();
    const zkFloat t = std::trunc(value);
    if (!(t >= kLow && t <= kHigh)) return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(t);
}

}  // namespace tn::geo
