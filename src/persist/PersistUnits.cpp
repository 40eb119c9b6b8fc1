// Start and exit of the list and record unit.
#include "frame/Units.h"

namespace tn::units {

void Up_listobject_Initialization() {}
void Up_listobject_Finalization() {}

}  // namespace tn::units
