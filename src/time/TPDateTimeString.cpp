// TPDateTime: printing. Each form is the one the text constructor reads back (see the table in
// TPDateTime.h), so printing and reading again gives the value at the form's resolution.
#include <tnpackage/frame/Globals.h>
#include <tnpackage/frame/LanguageTables.h>
#include <tnpackage/time/TPDateTime.h>

#include <cmath>
#include <cstdarg>
#include <cstdio>

#include "time/Calendar.h"

namespace tn {

namespace {

int TwoDigitYear(int year) {
    return year % 100;
}

// A base-36 digit of the IGC short names: 0-9, then A-Z.
char Base36Digit(int value) {
    constexpr char kDigits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    return value >= 0 && value < 36 ? kDigits[value] : '0';
}

#if defined(__GNUC__)
__attribute__((format(printf, 1, 2)))
#endif
TPString
Printed(const char* format, ...) {
    char buffer[64];
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    return TPString(static_cast<char*>(buffer));
}

TPString ShortMonthName(int month) {
    if (month < 1 || month > calendar::kMonths) return TPString("???", 0);
    TPString name = GetLanguageString(pcaShortMonthName[month], Sprache);
    return name.IsEmpty() ? TPString("???", 0) : name;
}

}  // namespace

TPString TPDateTime::String(PDateTimeFlag f) const {
    const calendar::Fields t = calendar::PrintedFields(value_);
    switch (f) {
        case PDateTimeFlag::Time:
            return Printed("%02d%02d%02d", t.hour, t.minute, t.second);
        case PDateTimeFlag::TimeDevice:
            return Printed("%02d:%02d", t.hour, t.minute);
        case PDateTimeFlag::TimeColon:
        case PDateTimeFlag::TimeColonDevice:
            return Printed("%02d:%02d:%02d", t.hour, t.minute, t.second);
        case PDateTimeFlag::TimeHundredths:
            return Printed("%02d:%02d:%02d.%02d", t.hour, t.minute, t.second, t.hundredths);
        case PDateTimeFlag::Date:
            return Printed("%02d%02d%02d", t.day, t.month, TwoDigitYear(t.year));
        case PDateTimeFlag::DateTime:
        case PDateTimeFlag::DateTimeDevice:
            return Printed("%02d%02d%02d%02d%02d%02d", t.day, t.month, TwoDigitYear(t.year), t.hour,
                           t.minute, t.second);
        case PDateTimeFlag::DateInverse:
            return Printed("%02d%02d%02d", TwoDigitYear(t.year), t.month, t.day);
        case PDateTimeFlag::DateDotted:
            return Printed("%02d.%02d.%04d", t.day, t.month, t.year);
        case PDateTimeFlag::MonthNameDateTime:
            return Printed("d%04d%.3s%02d t%02d%02d%02d", t.year, ShortMonthName(t.month).c_str(),
                           t.day, t.hour, t.minute, t.second);
        case PDateTimeFlag::DateISO:
            return Printed("%04d-%02d-%02d", t.year, t.month, t.day);
        case PDateTimeFlag::IGCShortDate:
            return Printed("%c%c%c", Base36Digit(t.year % 10), Base36Digit(t.month),
                           Base36Digit(t.day));
        default:
            return TPString();
    }
}

TPString TPDateTime::DateString() const {
    return String(PDateTimeFlag::DateDotted);
}

TPString TPDateTime::TimeString() const {
    return String(PDateTimeFlag::TimeColon);
}

}  // namespace tn
