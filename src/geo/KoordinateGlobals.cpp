// The coordinate unit's settings and shared calculators.
#include <tnpackage/geo/TPEllipsoid.h>
#include <tnpackage/geo/TPGeoid.h>
#include <tnpackage/geo/TSKoordinate.h>

namespace tn {

constinit int DistanzModus = 2;
constinit int KoordinatenMinutenFormat = 0;

constinit TPEllipsoid Ellipsoid{};
constinit TPGeoid Geoid{};

}  // namespace tn
