// `tnpkg date`: reads a date text in one of the package's forms, shows the package clock, or
// decodes a packed FAT date.
#include <tnpackage/tnpackage.h>

#include <climits>
#include <cstdio>
#include <string>

#include "cli/Command.h"
#include "cli/Failure.h"
#include "cli/Json.h"
#include "cli/Output.h"
#include "os/LocalTime.h"

namespace tnpkg {
namespace {

constexpr const char* kUsage =
    "usage: tnpkg date TEXT FLAG [--json]\n"
    "       tnpkg date --now [--json]\n"
    "       tnpkg date --fat 0xHEX [--json]\n\n"
    "TEXT FLAG  reads TEXT in the form that the date-time flag FLAG selects and prints the\n"
    "           day count (days since 30 December 1899, time of day as the fraction) and the\n"
    "           text of flag 33 (DDMMYYHHMMSS) for it. Text that does not have the form of\n"
    "           the flag (the library reads it as the day count 0) is an error (status 1).\n"
    "           Flags: 16 HHMMSS / HHMM / HHhMM, 144 HH:MM, 22 and 150 HH:MM:SS,\n"
    "           24 HH:MM:SS.hh, 32 DDMMYY, 33 and 161 DDMMYYHHMMSS, 34 YYMMDD,\n"
    "           40 DD.MM.YYYY or DD.MM.YY, 43 dYYYYMmmDD tHHMMSS, 44 YYYY-MM-DD.\n"
    "--now      prints the package clock's local date and time and the UTC date and time,\n"
    "           with the clock's UTC offset taken from the system (whole hours).\n"
    "--fat HEX  decodes a packed FAT date and time (date in the high 16 bits).\n"
    "--json     prints one object instead: {\"days\": N, \"text\": \"DDMMYYHHMMSS\"} for\n"
    "           TEXT FLAG; {\"days\": N, \"date\": \"DD.MM.YYYY\", \"time\": \"HH:MM:SS\"} for\n"
    "           --fat; for --now {\"utcOffsetHours\": N, \"local\": {...}, \"utc\": {...}}\n"
    "           with members as for --fat; {\"error\": \"...\"} when it fails.\n\n"
    "example: tnpkg date 150712 32\n"
    "         41105.000000000 150712000000\n";

std::string Stamp(const tn::TPDateTime& t) {
    return ToUtf8(t.DateString()) + " " + ToUtf8(t.TimeString());
}

// One moment as the members of a JSON object, or as a line.
void Show(const tn::TPDateTime& t, JsonWriter* json, const char* label = nullptr) {
    if (json == nullptr) {
        if (label != nullptr) Print("%s", label);
        Print("%s %.9f\n", Stamp(t).c_str(), double(t));
        return;
    }
    json->Key("days").Value(double(t));
    json->Key("date").Value(ToUtf8(t.DateString()));
    json->Key("time").Value(ToUtf8(t.TimeString()));
}

// Reports a failure of the reading itself (not of how the command was given).
int Fail(const std::string& problem) {
    RecordFailure(problem);
    std::fprintf(stderr, "tnpkg date: %s\n", problem.c_str());
    return kFailure;
}

int ShowNow(bool asJson) {
    // The package assumes two hours until its host says otherwise; the tool is that host.
    constexpr int kMinutesPerHour = 60;
    const int minutes = os::UtcOffsetMinutes();
    if (minutes % kMinutesPerHour != 0) {
        std::fprintf(stderr,
                     "tnpkg date: the system's UTC offset of %d minutes is not whole hours; the "
                     "package clock uses %d hours\n",
                     minutes, minutes / kMinutesPerHour);
    }
    tn::SetUTCOffset(minutes / kMinutesPerHour);
    const tn::TPDateTime local = tn::TPDateTime::CurrentDateTime();
    const tn::TPDateTime utc = tn::CurrentDateTime();
    if (!asJson) {
        Show(local, nullptr, "local ");
        Show(utc, nullptr, "utc   ");
        return kSuccess;
    }
    JsonWriter json;
    json.BeginObject().Key("utcOffsetHours").Value(minutes / kMinutesPerHour);
    json.Key("local").BeginObject();
    Show(local, &json);
    json.EndObject().Key("utc").BeginObject();
    Show(utc, &json);
    json.EndObject().EndObject().Print();
    return kSuccess;
}

int ShowFat(const std::string& text, bool asJson) {
    long long packed = 0;
    if (!ParseInteger(text, packed) || packed < 0 || packed > 0xFFFFFFFFLL) {
        return UsageError("date", "--fat needs a 32-bit number, such as 0x40EF38A4");
    }
    tn::TPDateTime t;
    t.SetFileDate(static_cast<std::uint32_t>(packed));
    if (!asJson) {
        Show(t, nullptr);
        return kSuccess;
    }
    JsonWriter json;
    json.BeginObject();
    Show(t, &json);
    json.EndObject().Print();
    return kSuccess;
}

// The flags that have a text form to read, and that form.
struct Form {
    int flag;
    const char* shape;
};
constexpr Form kForms[] = {{16, "HHMMSS, HHMM, HHhMM or HH:MM"},
                           {144, "HHMMSS, HHMM, HHhMM or HH:MM"},
                           {22, "HH:MM:SS"},
                           {150, "HH:MM:SS"},
                           {24, "HH:MM:SS.hh"},
                           {32, "DDMMYY"},
                           {33, "DDMMYYHHMMSS"},
                           {161, "DDMMYYHHMMSS"},
                           {34, "YYMMDD"},
                           {40, "DD.MM.YYYY or DD.MM.YY"},
                           {43, "dYYYYMmmDD tHHMMSS"},
                           {44, "YYYY-MM-DD"}};

const Form* FormOf(int flag) {
    for (const Form& f : kForms) {
        if (f.flag == flag) return &f;
    }
    return nullptr;
}

double Read(const std::string& text, int flag) {
    return tn::TPDateTime(tn::TPString(text.c_str(), 0), flag);
}

// A time reads as 0 both at midnight and when a field is not a number. With every digit 0
// made a 1, the fields that are numbers stay numbers and no longer give 0 all together.
bool TimeHasForm(std::string text, int flag) {
    for (char& c : text) {
        if (c == '0') c = '1';
    }
    return Read(text, flag) != 0.0;
}

// Whether the library's reading of `text` for `flag` found the form, rather than giving up
// with 0. A date-time reading keeps a time even when the date part failed, so its parts are
// looked at one by one.
bool HasForm(const std::string& text, int flag, double value) {
    constexpr std::size_t kDate = 6, kDateTime = 12, kMonthNameDateTime = 18;
    constexpr std::size_t kMonthNameDate = 10, kMonthNameTime = 12;
    switch (flag) {
        case 16:
        case 144:
        case 22:
        case 150:
        case 24:
            return TimeHasForm(text, flag);
        case 33:
        case 161:
            return text.size() == kDateTime && Read(text.substr(0, kDate), 32) != 0.0 &&
                   TimeHasForm(text.substr(kDate), 16);
        case 43: {
            if (text.size() != kMonthNameDateTime || value == 0.0) return false;
            tn::TPDateTime date;
            date.GetYYYYMMMDDString(tn::TPString(text.substr(0, kMonthNameDate).c_str()));
            return double(date) != 0.0 && TimeHasForm(text.substr(kMonthNameTime), 16);
        }
        default:
            return value != 0.0;
    }
}

int ShowReading(const std::string& text, const std::string& flagText, bool asJson) {
    long long flag = 0;
    if (!ParseInteger(flagText, flag) || flag < INT_MIN || flag > INT_MAX) {
        return UsageError("date", "FLAG must be a whole number, such as 32");
    }
    const Form* form = FormOf(static_cast<int>(flag));
    if (form == nullptr) {
        return UsageError("date", "flag " + flagText +
                                      " has no text form to read (flags: 16, 144, 22, 150, 24, "
                                      "32, 33, 161, 34, 40, 43, 44)");
    }
    const tn::TPDateTime t(Read(text, form->flag));
    if (!HasForm(text, form->flag, t)) {
        return Fail("'" + text + "' does not match the form of flag " + std::to_string(form->flag) +
                    " (" + form->shape + ")");
    }
    const std::string shown = ToUtf8(t.String(tn::PDateTimeFlag::DateTime));
    if (!asJson) {
        Print("%.9f %s\n", double(t), shown.c_str());
        return kSuccess;
    }
    JsonWriter()
        .BeginObject()
        .Key("days")
        .Value(double(t))
        .Key("text")
        .Value(shown)
        .EndObject()
        .Print();
    return kSuccess;
}

int RunDate(const Args& args) {
    const auto& positional = args.Positional();
    const auto fat = args.Option("--fat");
    const bool now = args.Flag("--now");
    if (now + fat.has_value() + !positional.empty() != 1) {
        return UsageError("date", "give TEXT FLAG, --now or --fat HEX");
    }
    const bool asJson = args.Flag("--json");
    if (now) return ShowNow(asJson);
    if (fat) return ShowFat(*fat, asJson);
    if (positional.size() != 2) return UsageError("date", "needs TEXT and FLAG");
    return ShowReading(positional[0], positional[1], asJson);
}

const CommandRegistration reg(
    {"date",
     "read a date text, show the package clock, decode a FAT date",
     kUsage,
     {{nullptr, "TEXT FLAG", 0, 2, {{"--now"}, {"--fat", Takes::Value}, {"--json"}}}},
     RunDate});

}  // namespace
}  // namespace tnpkg
