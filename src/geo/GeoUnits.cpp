// Start and exit of the constants, coordinate and geometry units.
#include "frame/Units.h"

namespace tn::units {

void Up_math_Initialization() {}
void Up_math_Finalization() {}

void Up_complex_Initialization() {}
void Up_complex_Finalization() {}

void Up_intconvert_Initialization() {}
void Up_intconvert_Finalization() {}

void Up_koordinate_Initialization() {}
void Up_koordinate_Finalization() {}

void Up_punkt_Initialization() {}
void Up_punkt_Finalization() {}

}  // namespace tn::units
