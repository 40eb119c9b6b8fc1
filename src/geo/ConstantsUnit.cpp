// Start and exit of the constants unit: the constants get their values in a fixed order.
#include <tnpackage/geo/Constants.h>

#include "frame/Units.h"

namespace tn::units {

void Up_constante_Initialization() {
    Tag = 1.0;
    Stunde = Tag / 24.0;
    Minute = Stunde / 60.0;
    Sekunde = Minute / 60.0;
}
void Up_constante_Finalization() {}

}  // namespace tn::units
