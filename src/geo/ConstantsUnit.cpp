// Start and exit of the constants unit: the constants get their values in a fixed order.
#include <tnpackage/geo/Constants.h>
#include <tnpackage/time/TPDateTime.h>

#include <cmath>

#include "frame/Units.h"

namespace tn::units {

namespace {
// 1/180 held in extended precision, so that ArcProGrad is the double nearest to pi/180.
constexpr long double kOneOver180 = 1.0L / 180.0L;
}  // namespace

void Up_constante_Initialization() {
    MilesPerKm = 1000.0 / MPerMiles;
    Pi_2 = std::acos(0.0);
    Pi = 2.0 * Pi_2;
    Pi2 = 2.0 * Pi;
    e = std::exp(1.0);
    ArcProGrad = static_cast<double>(static_cast<long double>(Pi) * kOneOver180);
    Sekunde = TPDateTime(0, 0, 1, 0);
    Minute = TPDateTime(0, 1, 0, 0);
    Stunde = TPDateTime(1, 0, 0, 0);
    Tag = TPDateTime(1, 1, 1900);
}
void Up_constante_Finalization() {}

}  // namespace tn::units
