// `tnpkg course`: the true course from one point to another.
#include <tnpackage/tnpackage.h>

#include <cstdio>

#include "cli/Command.h"
#include "geo/GeoPoints.h"

namespace tnpkg {
namespace {

int RunCourse(const std::vector<std::string>& words) {
    std::vector<tn::TSKoordinate> points;
    int status = kUsage;
    if (!ReadPointArguments("course", words, 2, points, status)) return status;
    std::printf("%.6f\n", points[0].Kurs(points[1]));
    return kSuccess;
}

const CommandRegistration reg(
    {"course", "true course from one point to another in degrees",
     "usage: tnpkg course POINT POINT\n\n"
     "Prints the true course from the first point to the second in degrees (0 north, 90\n"
     "east; 270 for two equal points). A point is either an IGC fix text\n"
     "(4728123N01134567E) or two decimal numbers, latitude and longitude in degrees.\n",
     RunCourse, true});

}  // namespace
}  // namespace tnpkg
