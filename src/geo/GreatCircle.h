// Great circles on a sphere, shared by the sphere calculator and the ellipsoid's fallback.
#pragma once

#include <tnpackage/geo/TPEllipsoid.h>

namespace tn::geo {

/// Angle in [0, 2 pi).
long double NormalizedCourse(long double course);

/// Distance (radius times central angle) and both courses between two points in radians.
TPKursDistanz GreatCircle(long double radius, long double lat1, long double lon1, long double lat2,
                          long double lon2);

}  // namespace tn::geo
