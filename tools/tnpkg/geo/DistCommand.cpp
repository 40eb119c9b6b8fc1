// `tnpkg dist`: the distance between two points by one of the package's formulas.
#include <tnpackage/tnpackage.h>

#include <cmath>
#include <cstdio>

#include "cli/Command.h"
#include "cli/Json.h"
#include "cli/Output.h"
#include "cli/Warnings.h"
#include "geo/GeoPoints.h"

namespace tnpkg {
namespace {

int RunDist(const Args& args) {
    long long mode = tn::DistanzModus;
    if (const auto text = args.Option("--mode");
        text && (!ParseInteger(*text, mode) ||
                 (mode != 1 && mode != 2 && mode != 3 && mode != 4 && mode != 100))) {
        return UsageError("dist", "--mode must be 1, 2, 3, 4 or 100");
    }
    std::vector<tn::TSKoordinate> points;
    std::string problem;
    const WarningCapture reading("tnpkg dist: while reading the points");
    if (!ReadPoints(args.Positional(), 2, points, problem)) return UsageError("dist", problem);
    if (reading.Count() > 0) return kFailure;  // the package could not read a point

    const int previous = tn::DistanzModus;
    tn::DistanzModus = static_cast<int>(mode);
    const tn::zkFloat metres = points[0].Entfernung(points[1]);
    tn::DistanzModus = previous;
    if (args.Flag("--json")) {
        JsonWriter()
            .BeginObject()
            .Key("metres")
            .Value(std::round(static_cast<double>(metres)))
            .Key("mode")
            .Value(static_cast<int>(mode))
            .EndObject()
            .Print();
        return kSuccess;
    }
    Print("%.0f\n", static_cast<double>(metres));
    return kSuccess;
}

const CommandRegistration reg(
    {"dist",
     "distance between two points in metres",
     "usage: tnpkg dist POINT POINT [--mode N] [--json]\n\n"
     "Prints the distance between two points in whole metres. A point is either an IGC fix\n"
     "text (4728123N01134567E) or two decimal numbers, latitude and longitude in degrees\n"
     "(north and east positive).\n\n"
     "  --mode N   formula: 1 flat earth, 2 law of cosines (default), 3 the historical\n"
     "             formula, 4 haversine, 100 WGS84 ellipsoid\n"
     "  --json     {\"metres\": N, \"mode\": N}; a failure prints {\"error\": TEXT}\n",
     {{nullptr, "POINT POINT", 2, 4, {{"--mode", Takes::Value}, {"--json"}}}},
     RunDist});

}  // namespace
}  // namespace tnpkg
