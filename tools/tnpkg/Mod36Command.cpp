// `tnpkg mod36`: base-36 numbers of the short flight-file names.
#include <tnpackage/tnpackage.h>

#include <climits>
#include <cstdio>

#include "Command.h"

namespace tnpkg {
namespace {

bool ParseInt(const std::string& text, int& value) {
    long long wide = 0;
    if (!ParseInteger(text, wide) || wide < INT_MIN || wide > INT_MAX) return false;
    value = static_cast<int>(wide);
    return true;
}

int RunMod36(const std::vector<std::string>& words) {
    Args args(words, {});
    args.AllowFlags({"--decode"});
    if (!args.Problem().empty()) return UsageError("mod36", args.Problem());
    const auto& positional = args.Positional();
    if (args.Flag("--decode")) {
        if (positional.size() != 1) return UsageError("mod36", "--decode needs one TEXT");
        std::printf("%d\n", tn::Mod36ToInt(tn::TPString(positional[0].c_str(), 0)));
        return kSuccess;
    }
    if (positional.empty() || positional.size() > 2) {
        return UsageError("mod36", "needs VALUE and optionally WIDTH");
    }
    int value = 0, width = 0;
    if (!ParseInt(positional[0], value)) return UsageError("mod36", "VALUE must be a number");
    if (positional.size() == 2 && !ParseInt(positional[1], width)) {
        return UsageError("mod36", "WIDTH must be a number");
    }
    std::printf("%s\n", tn::IntToMod36(value, width).c_str());
    return kSuccess;
}

const CommandRegistration reg(
    {"mod36", "write a number in base 36 (0-9, A-Z), or read one back",
     "usage: tnpkg mod36 VALUE [WIDTH]\n"
     "       tnpkg mod36 --decode TEXT\n\n"
     "Writes VALUE in the base-36 digits of short flight-file names (0-9, then A-Z), at most\n"
     "five digits (the lowest five of a larger value), padded on the left with 0 to WIDTH.\n"
     "With --decode, prints the value of TEXT; lower case counts as upper case and no\n"
     "character is rejected.\n\n"
     "Examples: tnpkg mod36 36 3  ->  010\n"
     "          tnpkg mod36 --decode 1z  ->  71\n",
     RunMod36, true});

}  // namespace
}  // namespace tnpkg
