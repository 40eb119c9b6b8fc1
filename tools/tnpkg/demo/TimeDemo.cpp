// Demo: the date-time value, its forms and the counted clock.
#include <tnpackage/tnpackage.h>

#include <cstdio>

#include "cli/Output.h"
#include "demo/Demo.h"

namespace tnpkg {
namespace {

void ShowTime() {
    using namespace tn;
    TPDateTime newYear;
    newYear.DateKonvert(1, 1, 2000);
    Print("DateKonvert(1, 1, 2000) = %.0f; 29 February 1900 is day %.0f\n", double(newYear),
          double(TPDateTime(29, 2, 1900)));
    const TPDateTime flight(TPString("150712070509", 0), PDateTimeFlag::DateTime);
    Print("\"150712070509\" read with flag 33: %.9f = %s %s\n", double(flight),
          ToUtf8(flight.DateString()).c_str(), ToUtf8(flight.TimeString()).c_str());
    Print("  as flag 44 \"%s\", flag 43 \"%s\", IGC short date \"%s\"\n",
          ToUtf8(flight.String(44)).c_str(), ToUtf8(flight.String(43)).c_str(),
          ToUtf8(flight.String(PDateTimeFlag::IGCShortDate)).c_str());
    Print("  packed FAT date 0x%08X; in words \"%s\"\n", static_cast<unsigned>(flight.FileDate()),
          ToUtf8(flight.FormatString(TPString("d. mmmm yyyy, hh:nn 'Uhr'", 0))).c_str());
    const unsigned char stamp[] = {0x15, 0x07, 0x12, 0x07, 0x05, 0x09};
    const TPDateTime device(stamp, 6, PDateTimeFlag::DateTime);
    Print("device bytes 15 07 12 07 05 09 with flag 33 read as binary: %s %s\n",
          ToUtf8(device.DateString()).c_str(), ToUtf8(device.TimeString()).c_str());

    // The host drives the clock: ten counts a second from a reset time.
    const auto savedTimer = ZehntelTimer;
    const TPDateTime savedReset = ResetTime;
    ResetTime = double(flight);
    ZehntelTimer = 600;
    Print("counted clock, 600 tenths after %s: local %s, UTC %s\n",
          ToUtf8(flight.TimeString()).c_str(),
          ToUtf8(TPDateTime::CurrentDateTime().TimeString()).c_str(),
          ToUtf8(CurrentDateTime().TimeString()).c_str());
    ZehntelTimer = savedTimer;
    ResetTime = savedReset;
}

const DemoRegistration time({30, "Date and time", ShowTime});

}  // namespace
}  // namespace tnpkg
