// Start and exit of the constants, coordinate and geometry units.
#include <tnpackage/geo/TSKoordinate.h>

#include "frame/Units.h"
#include "geo/KoordinateWarnings.h"

namespace tn::units {

void Up_math_Initialization() {}
void Up_math_Finalization() {}

void Up_complex_Initialization() {}
void Up_complex_Finalization() {}

void Up_intconvert_Initialization() {}
void Up_intconvert_Finalization() {}

// The settings and the warning limits start afresh with every start of the package, as they
// would with a fresh load of the library.
void Up_koordinate_Initialization() {
    DistanzModus = 2;
    KoordinatenMinutenFormat = 0;
    geo::ResetKoordinateWarnings();
}
void Up_koordinate_Finalization() {}

void Up_punkt_Initialization() {}
void Up_punkt_Finalization() {}

}  // namespace tn::units
