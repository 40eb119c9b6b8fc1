#ifdef _WIN32

#include <windows.h>

#include "os/LocalTime.h"

namespace tnpkg::os {

int UtcOffsetMinutes() {
    TIME_ZONE_INFORMATION zone{};
    const DWORD which = ::GetTimeZoneInformation(&zone);
    // The bias is UTC minus local time.
    LONG bias = zone.Bias;
    if (which == TIME_ZONE_ID_DAYLIGHT) bias += zone.DaylightBias;
    if (which == TIME_ZONE_ID_STANDARD) bias += zone.StandardBias;
    return static_cast<int>(-bias);
}

}  // namespace tnpkg::os

#endif
