// The sphere calculator.
#include <tnpackage/geo/TPGeoid.h>

#include "geo/GreatCircle.h"

namespace tn {

TPKursDistanz TPGeoid::crsdistance(double lat1, double lon1, double lat2, double lon2,
                                   bool& failed) const {
    failed = false;
    return geo::GreatCircle(radius_, lat1, lon1, lat2, lon2);
}

}  // namespace tn
