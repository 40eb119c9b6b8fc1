// `tnpkg mod36`: base-36 numbers of the short flight-file names.
#include <tnpackage/tnpackage.h>

#include <cstdio>
#include <string>

#include "cli/Command.h"
#include "cli/Output.h"

namespace tnpkg {
namespace {

constexpr long long kLargestValue = 36LL * 36 * 36 * 36 * 36 - 1;  // five base-36 digits
constexpr long long kWidestField = 255;
constexpr std::size_t kMostDigits = 5;

bool IsBase36Digit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

int RunMod36(const Args& args) {
    const auto& positional = args.Positional();
    if (args.Flag("--decode")) {
        if (positional.size() != 1) return UsageError("mod36", "--decode needs one TEXT");
        const std::string& text = positional[0];
        bool digits = !text.empty() && text.size() <= kMostDigits;
        for (const char c : text)
            digits = digits && IsBase36Digit(c);
        if (!digits) {
            return UsageError("mod36",
                              "TEXT must be one to five base-36 digits (0-9, A-Z): " + text);
        }
        Print("%d\n", tn::Mod36ToInt(tn::TPString(text.c_str(), 0)));
        return kSuccess;
    }
    if (positional.empty() || positional.size() > 2) {
        return UsageError("mod36", "needs VALUE and optionally WIDTH");
    }
    long long value = 0, width = 0;
    if (!ParseInteger(positional[0], value) || value < 0 || value > kLargestValue) {
        return UsageError("mod36",
                          "VALUE must be a number from 0 to 60466175 (five base-36 digits)");
    }
    if (positional.size() == 2 &&
        (!ParseInteger(positional[1], width) || width < 0 || width > kWidestField)) {
        return UsageError("mod36", "WIDTH must be a number from 0 to 255");
    }
    Print("%s\n", tn::IntToMod36(static_cast<int>(value), static_cast<int>(width)).c_str());
    return kSuccess;
}

const CommandRegistration reg(
    {"mod36",
     "write a number in base 36 (0-9, A-Z), or read one back",
     "usage: tnpkg mod36 VALUE [WIDTH]\n"
     "       tnpkg mod36 --decode TEXT\n\n"
     "Writes VALUE (0 to 60466175) in the base-36 digits of short flight-file names (0-9,\n"
     "then A-Z), at most five digits, padded on the left with 0 to WIDTH (0 to 255).\n"
     "With --decode, prints the value of TEXT, one to five base-36 digits; lower case\n"
     "counts as upper case.\n\n"
     "Examples: tnpkg mod36 36 3  ->  010\n"
     "          tnpkg mod36 --decode 1z  ->  71\n",
     {{nullptr, "VALUE [WIDTH]", 1, 2, {{"--decode"}}}},
     RunMod36});

}  // namespace
}  // namespace tnpkg
