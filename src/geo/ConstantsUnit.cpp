// Start and exit of the constants unit: the constants get their values in a fixed order.
#include <tnpackage/geo/Constants.h>
#include <tnpackage/time/TPDateTime.h>

#include "frame/Units.h"

namespace tn::units {

void Up_constante_Initialization() {
    Sekunde = TPDateTime(0, 0, 1, 0);
    Minute = TPDateTime(0, 1, 0, 0);
    Stunde = TPDateTime(1, 0, 0, 0);
    Tag = TPDateTime(1, 1, 1900);
}
void Up_constante_Finalization() {}

}  // namespace tn::units
