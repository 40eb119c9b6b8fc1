// `tnpkg course`: the true course from one point to another.
#include <tnpackage/tnpackage.h>

#include <cstdio>

#include "cli/Command.h"
#include "cli/Json.h"
#include "cli/Output.h"
#include "cli/Warnings.h"
#include "geo/GeoPoints.h"

namespace tnpkg {
namespace {

int RunCourse(const Args& args) {
    std::vector<tn::TSKoordinate> points;
    std::string problem;
    const WarningCapture reading("tnpkg course: while reading the points");
    if (!ReadPoints(args.Positional(), 2, points, problem)) return UsageError("course", problem);
    if (reading.Count() > 0) return kFailure;  // the package could not read a point
    const double degrees = points[0].Kurs(points[1]);
    if (args.Flag("--json")) {
        JsonWriter().BeginObject().Key("degrees").Value(degrees).EndObject().Print();
        return kSuccess;
    }
    Print("%.6f\n", degrees);
    return kSuccess;
}

const CommandRegistration reg(
    {"course",
     "true course from one point to another in degrees",
     "usage: tnpkg course POINT POINT [--json]\n\n"
     "Prints the true course from the first point to the second in degrees (0 north, 90\n"
     "east; 270 for two equal points). A point is either an IGC fix text\n"
     "(4728123N01134567E) or two decimal numbers, latitude and longitude in degrees.\n"
     "  --json  {\"degrees\": N}; a failure prints {\"error\": TEXT}\n",
     {{nullptr, "POINT POINT", 2, 4, {{"--json"}}}},
     RunCourse});

}  // namespace
}  // namespace tnpkg
