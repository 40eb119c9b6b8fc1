// Start and exit of the date-time unit.
#include <tnpackage/time/Clock.h>

#include "frame/Units.h"
#include "time/ClockState.h"

namespace tn::units {

// The order matters: ResetTime is the local time at start, taken before the offset is set.
// This unit starts before the constants unit, so Stunde is still 0 here: the offset is built
// from its hours directly instead of as hours x Stunde.
void Up_datetime_Initialization() {
    clock::referenceDate.DateKonvert(10, 8, 2003);
    TestDate.DateKonvert(15, 5, 2100);
    ResetTime = clock::ComputerNow();
    clock::utcOffset = TPDateTime(clock::kDefaultUtcOffsetHours, 0, 0, 0);
}

void Up_datetime_Finalization() {}

}  // namespace tn::units
