// Start and exit of the text units.
#include <tnpackage/frame/Globals.h>

#include "frame/Units.h"

namespace tn::units {

// The progress slots start empty, code and object alike, until the host fills them.
void Up_standards_Initialization() {
    OnProgress = {};
    DoStartProgress = {};
    DoFinishProgress = {};
}
void Up_standards_Finalization() {}

void Up_stringlist_Initialization() {}
void Up_stringlist_Finalization() {}

}  // namespace tn::units
