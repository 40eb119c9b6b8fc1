// Start and exit of the date-time unit.
#include "frame/Units.h"

namespace tn::units {

void Up_datetime_Initialization() {}
void Up_datetime_Finalization() {}

}  // namespace tn::units
