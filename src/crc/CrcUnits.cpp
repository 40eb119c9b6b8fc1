// Start and exit of the CRC unit.
#include "frame/Units.h"

namespace tn::units {

void Up_crc_Initialization() {}
void Up_crc_Finalization() {}

}  // namespace tn::units
