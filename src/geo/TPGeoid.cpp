// The sphere calculator.
#include <tnpackage/geo/TPGeoid.h>

#include "geo/GreatCircle.h"

namespace tn {

TPKursDistanz TPGeoid::crsdistance(double lat1, double lon1, double lat2, double lon2,
                                   bool& failed) const {
    failed = false;
    using LD = long double;
    return geo::GreatCircle(static_cast<LD>(radius_), static_cast<LD>(lat1), static_cast<LD>(lon1),
                            static_cast<LD>(lat2), static_cast<LD>(lon2));
}

}  // namespace tn
