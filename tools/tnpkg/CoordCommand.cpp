// `tnpkg coord`: what the package makes of a coordinate.
#include <tnpackage/tnpackage.h>

#include <cstdio>

#include "Command.h"
#include "GeoPoints.h"

namespace tnpkg {
namespace {

int RunCoord(const std::vector<std::string>& words) {
    std::vector<tn::TSKoordinate> points;
    int status = kUsage;
    if (!ReadPointArguments("coord", words, 1, points, status)) return status;
    const tn::TSKoordinate& k = points[0];
    std::printf("integers: %d %d\n", k.IntBreite(), k.IntLaenge());
    std::printf("degrees:  %s %s\n", DegreesText(k.IntBreite()).c_str(),
                DegreesText(k.IntLaenge()).c_str());
    std::printf("IGC:      %s\n", k.IGCString().c_str());
    std::printf("valid:    %s\n", k.IsValid() ? "yes" : "no");
    return kSuccess;
}

const CommandRegistration reg(
    {"coord", "show a coordinate's integers, degrees and IGC form",
     "usage: tnpkg coord POINT\n\n"
     "Shows the raw integers (1e-7 degree), the degrees and the IGC fix form of a point.\n"
     "A point is either an IGC fix text (4728123N01134567E) or two decimal numbers,\n"
     "latitude and longitude in degrees. Note: a point on the equator or the prime meridian\n"
     "counts as not valid.\n",
     RunCoord, true});

}  // namespace
}  // namespace tnpkg
