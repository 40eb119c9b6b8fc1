// The system's idea of local time, which the package clock does not ask for by itself.
#pragma once

namespace tnpkg::os {

/// Local time minus UTC now, in minutes (daylight saving time included).
int UtcOffsetMinutes();

}  // namespace tnpkg::os
