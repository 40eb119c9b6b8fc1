// `tnpkg fat check IMAGE [--json]`: the report of CheckVolume, for people or for programs.
#include "cli/Json.h"
#include "cli/Output.h"
#include "cli/Warnings.h"
#include "fat/FatCheck.h"
#include "fat/FatCommand.h"

namespace tnpkg {

int FatCheck(FatRequest& r) {
    const auto mounted = MountRequested(r);
    if (!mounted) return kFailure;
    const WarningCapture reading("tnpkg fat: while checking " + r.image);
    const std::vector<CheckProblem> problems = CheckVolume(*mounted);

    if (r.args.Flag("--json")) {
        JsonWriter j;
        j.BeginObject();
        j.Key("image").Value(r.image);
        j.Key("clean").Value(problems.empty());
        j.Key("problems").BeginArray();
        for (const CheckProblem& p : problems) {
            j.BeginObject();
            j.Key("kind").Value(p.kind);
            j.Key("path").Value(p.path);
            j.Key("message").Value(p.message);
            j.EndObject();
        }
        j.EndArray();
        j.EndObject();
        j.Print();
    } else {
        for (const CheckProblem& p : problems)
            Print("%s\n", p.message.c_str());
        if (problems.empty()) {
            Print("%s: clean\n", r.image.c_str());
        } else {
            Print("%s: %zu problem%s found\n", r.image.c_str(), problems.size(),
                  problems.size() == 1 ? "" : "s");
        }
    }
    return problems.empty() ? kSuccess : kFailure;
}

}  // namespace tnpkg
