// Rounding to a multiple of a step.
#include <tnpackage/frame/Messages.h>
#include <tnpackage/util/Rounding.h>

#include <cmath>
#include <cstdio>

namespace tn {

namespace {

TPString NumberText(zkFloat value) {
    char text[64];
    std::snprintf(text, sizeof text, "%g", static_cast<double>(value));
    return TPString(text);
}

}  // namespace

zkFloat Round(zkFloat value, zkFloat step) {
    if (!(step > 0.0L) || !std::isfinite(step)) {
        Warning(TPString("Round: ung\xFCltige Schrittweite ") + NumberText(step));
        return std::isnan(value) ? 0.0L : value;
    }
    if (!std::isfinite(value)) {
        Warning(TPString("Round: ung\xFCltiger Wert ") + NumberText(value));
        return std::isnan(value) ? 0.0L : value;
    }
    if (step == 1.0L) return std::round(value);  // the common case, exact for every value
    return std::round(value / step) * step;
}

}  // namespace tn
