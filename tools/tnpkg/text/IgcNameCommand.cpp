// `tnpkg igcname SERIAL FLIGHT`: today's IGC short file name.
#include <tnpackage/tnpackage.h>

#include <cstdio>

#include "cli/Command.h"
#include "cli/Output.h"

namespace tnpkg {
namespace {

constexpr long long kLargestSerial = 36 * 36 * 36 - 1;  // three base-36 digits
constexpr long long kLargestFlight = 35;                // one base-36 digit

int RunIgcName(const Args& args) {
    long long serial = 0, flight = 0;
    if (!ParseInteger(args.Positional()[0], serial) || serial < 0 || serial > kLargestSerial) {
        return UsageError("igcname", "SERIAL must be a number from 0 to 46655");
    }
    if (!ParseInteger(args.Positional()[1], flight) || flight < 0 || flight > kLargestFlight) {
        return UsageError("igcname", "FLIGHT must be a number from 0 to 35");
    }
    const tn::TPString name = tn::IGCName(static_cast<int>(serial), static_cast<int>(flight));
    Print("%s\n", name.c_str());
    return kSuccess;
}

const CommandRegistration reg(
    {"igcname",
     "print today's IGC short file name for a logger serial and flight",
     "usage: tnpkg igcname SERIAL FLIGHT\n\n"
     "Prints the IGC short file name of a flight recorded today: the date (year's last digit,\n"
     "month and day as base-36 digits), the manufacturer letter of this build, the logger\n"
     "serial as three base-36 digits, the flight of the day as one, and \".IGC\".\n\n"
     "  SERIAL  logger serial number, 0 to 46655\n"
     "  FLIGHT  flight of the day, 0 to 35\n\n"
     "Example: tnpkg igcname 1234 1   ->  6BOX0YA1.IGC on 24 November 2026\n",
     {{nullptr, "SERIAL FLIGHT", 2, 2, {}}},
     RunIgcName});

}  // namespace
}  // namespace tnpkg
