// Start and exit of the flash unit.
#include "frame/Units.h"

namespace tn::units {

void Up_flash_Initialization() {}
void Up_flash_Finalization() {}

}  // namespace tn::units
