// `tnpkg coord`: what the package makes of a coordinate.
#include <tnpackage/tnpackage.h>

#include <cstdio>

#include "cli/Command.h"
#include "cli/Json.h"
#include "cli/Output.h"
#include "geo/GeoPoints.h"

namespace tnpkg {
namespace {

int RunCoord(const std::vector<std::string>& words) {
    Args args(words, {});
    args.AllowFlags({"--json"});
    if (!args.Problem().empty()) return UsageError("coord", args.Problem());
    std::vector<tn::TSKoordinate> points;
    std::string problem;
    if (!ReadPoints(args.Positional(), 1, points, problem)) return UsageError("coord", problem);
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
    std::printf("integers: %d %d\n", k.IntBreite(), k.IntLaenge());
    std::printf("degrees:  %s %s\n", DegreesText(k.IntBreite()).c_str(),
                DegreesText(k.IntLaenge()).c_str());
    std::printf("IGC:      %s\n", k.IGCString().c_str());
    std::printf("valid:    %s\n", k.IsValid() ? "yes" : "no");
    return kSuccess;
}

const CommandRegistration reg(
    {"coord", "show a coordinate's integers, degrees and IGC form",
     "usage: tnpkg coord POINT [--json]\n\n"
     "Shows the raw integers (1e-7 degree), the degrees and the IGC fix form of a point.\n"
     "With --json, one object: {\"units\": {\"latitude\": N, \"longitude\": N},\n"
     "\"degrees\": {\"latitude\": \"D\", \"longitude\": \"D\"}, \"igc\": \"...\", \"valid\": B}; "
     "the\n"
     "degrees are exact decimal texts.\n"
     "A point is either an IGC fix text (4728123N01134567E) or two decimal numbers,\n"
     "latitude and longitude in degrees. Note: a point on the equator or the prime meridian\n"
     "counts as not valid.\n",
     RunCoord, true});

}  // namespace
}  // namespace tnpkg
