// `tnpkg coord`: what the package makes of a coordinate.
#include <tnpackage/tnpackage.h>

#include <cstdio>

#include "cli/Command.h"
#include "cli/Json.h"
#include "cli/Output.h"
#include "cli/Warnings.h"
#include "geo/GeoPoints.h"

namespace tnpkg {
namespace {

int RunCoord(const Args& args) {
    std::vector<tn::TSKoordinate> points;
    std::string problem;
    const WarningCapture reading("tnpkg coord: while reading the point");
    if (!ReadPoints(args.Positional(), 1, points, problem)) return UsageError("coord", problem);
    if (reading.Count() > 0) return kFailure;  // the package could not read a point
    const tn::TSKoordinate& k = points[0];
    if (args.Flag("--json")) {
        JsonWriter json;
        json.BeginObject();
        json.Key("units").BeginObject();
        json.Key("latitude").Value(k.IntBreite()).Key("longitude").Value(k.IntLaenge());
        json.EndObject();
        json.Key("degrees").BeginObject();
        json.Key("latitude").Value(DegreesText(k.IntBreite()));
        json.Key("longitude").Value(DegreesText(k.IntLaenge()));
        json.EndObject();
        json.Key("igc").Value(ToUtf8(k.IGCString())).Key("valid").Value(k.IsValid());
        json.EndObject().Print();
        return kSuccess;
    }
    Print("integers: %d %d\n", k.IntBreite(), k.IntLaenge());
    Print("degrees:  %s %s\n", DegreesText(k.IntBreite()).c_str(),
          DegreesText(k.IntLaenge()).c_str());
    Print("IGC:      %s\n", k.IGCString().c_str());
    Print("valid:    %s\n", k.IsValid() ? "yes" : "no");
    return kSuccess;
}

const CommandRegistration reg(
    {"coord",
     "show a coordinate's integers, degrees and IGC form",
     "usage: tnpkg coord POINT [--json]\n\n"
     "Shows the raw integers (1e-7 degree), the degrees and the IGC fix form of a point.\n"
     "With --json, one object: {\"units\": {\"latitude\": N, \"longitude\": N},\n"
     "\"degrees\": {\"latitude\": \"D\", \"longitude\": \"D\"}, \"igc\": \"...\", \"valid\": B}; "
     "the\n"
     "degrees are exact decimal texts.\n"
     "A point is either an IGC fix text (4728123N01134567E) or two decimal numbers,\n"
     "latitude and longitude in degrees. Note: a point on the equator or the prime meridian\n"
     "counts as not valid.\n",
     {{nullptr, "POINT", 1, 2, {{"--json"}}}},
     RunCoord});

}  // namespace
}  // namespace tnpkg
