// The clock's internal state, shared by the clock functions and the date-time unit's start.
#pragma once

#include <tnpackage/time/TPDateTime.h>

namespace tn::clock {

inline constexpr int kDefaultUtcOffsetHours = 2;
inline constexpr double kTenth = 0.1;  // one count of ZehntelTimer, in seconds

/// Local time minus UTC.
extern TPDateTime utcOffset;
/// The unit's internal reference date (10 August 2003), set at package start.
extern TPDateTime referenceDate;

/// The computer's local date and time, read from the platform.
TPDateTime ComputerNow();
/// Whether the host's tenth-second counter drives the clock.
bool Counting();
/// ZehntelTimer as days.
double CountedDays();
/// The package's present local date and time: counted when the counter runs, else the
/// computer's.
TPDateTime LocalNow();

}  // namespace tn::clock
