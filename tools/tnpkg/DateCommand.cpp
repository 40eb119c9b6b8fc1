// `tnpkg date`: reads a date text in one of the package's forms, shows the package clock, or
// decodes a packed FAT date.
#include <tnpackage/tnpackage.h>

#include <climits>
#include <cstdio>
#include <string>

#include "Command.h"
#include "Output.h"

namespace tnpkg {
namespace {

constexpr const char* kUsage =
    "usage: tnpkg date TEXT FLAG\n"
    "       tnpkg date --now\n"
    "       tnpkg date --fat 0xHEX\n\n"
    "TEXT FLAG  reads TEXT in the form that the date-time flag FLAG selects and prints the\n"
    "           day count (days since 30 December 1899, time of day as the fraction) and the\n"
    "           text of flag 33 (DDMMYYHHMMSS) for it. Text that does not fit the form gives\n"
    "           the day count 0, which is the library's answer, not an error.\n"
    "           Flags: 16 HHMMSS / HHMM / HHhMM, 144 HH:MM, 22 and 150 HH:MM:SS,\n"
    "           24 HH:MM:SS.hh, 32 DDMMYY, 33 and 161 DDMMYYHHMMSS, 34 YYMMDD,\n"
    "           40 DD.MM.YYYY or DD.MM.YY, 43 dYYYYMmmDD tHHMMSS, 44 YYYY-MM-DD.\n"
    "--now      prints the package clock's local date and time and the UTC date and time.\n"
    "--fat HEX  decodes a packed FAT date and time (date in the high 16 bits).\n\n"
    "example: tnpkg date 150712 32\n"
    "         41105.000000000 150712000000\n";

std::string Stamp(const tn::TPDateTime& t) {
    return ToUtf8(t.DateString()) + " " + ToUtf8(t.TimeString());
}

int ShowNow() {
    const tn::TPDateTime local = tn::TPDateTime::CurrentDateTime();
    const tn::TPDateTime utc = tn::CurrentDateTime();
    std::printf("local %s %.9f\n", Stamp(local).c_str(), double(local));
    std::printf("utc   %s %.9f\n", Stamp(utc).c_str(), double(utc));
    return kSuccess;
}

int ShowFat(const std::string& text) {
    long long packed = 0;
    if (!ParseInteger(text, packed) || packed < 0 || packed > 0xFFFFFFFFLL) {
        return UsageError("date", "--fat needs a 32-bit number, such as 0x40EF38A4");
    }
    tn::TPDateTime t;
    t.SetFileDate(static_cast<std::uint32_t>(packed));
    std::printf("%s %.9f\n", Stamp(t).c_str(), double(t));
    return kSuccess;
}

int ShowReading(const std::string& text, const std::string& flagText) {
    long long flag = 0;
    if (!ParseInteger(flagText, flag) || flag < INT_MIN || flag > INT_MAX) {
        return UsageError("date", "FLAG must be a whole number, such as 32");
    }
    const tn::TPDateTime t(tn::TPString(text.c_str(), 0), static_cast<int>(flag));
    std::printf("%.9f %s\n", double(t), ToUtf8(t.String(tn::PDateTimeFlag::DateTime)).c_str());
    return kSuccess;
}

int RunDate(const std::vector<std::string>& words) {
    Args args(words, {"--fat"});
    args.AllowFlags({"--now"});
    if (!args.Problem().empty()) return UsageError("date", args.Problem());
    const auto& positional = args.Positional();
    const auto fat = args.Option("--fat");
    const bool now = args.Flag("--now");
    if (now + fat.has_value() + !positional.empty() != 1) {
        return UsageError("date", "give TEXT FLAG, --now or --fat HEX");
    }
    if (now) return ShowNow();
    if (fat) return ShowFat(*fat);
    if (positional.size() != 2) return UsageError("date", "needs TEXT and FLAG");
    return ShowReading(positional[0], positional[1]);
}

const CommandRegistration reg({"date",
                               "read a date text, show the package clock, decode a FAT date",
                               kUsage, RunDate, true});

}  // namespace
}  // namespace tnpkg
