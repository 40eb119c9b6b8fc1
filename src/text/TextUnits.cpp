// Start and exit of the text units.
#include "frame/Units.h"

namespace tn::units {

void Up_standards_Initialization() {}
void Up_standards_Finalization() {}

void Up_stringlist_Initialization() {}
void Up_stringlist_Finalization() {}

}  // namespace tn::units
