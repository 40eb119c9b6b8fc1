// TPDateTime: the fixed-position readers of flight-file fields and the text constructor.
//
// Every field is cut out with SubString and read with ToIntDef(-1); separators are never
// checked. A field that is not a number (or is negative) makes the whole reading 0.
#include <tnpackage/frame/Globals.h>
#include <tnpackage/frame/LanguageTables.h>
#include <tnpackage/geo/Constants.h>
#include <tnpackage/time/TPDateTime.h>

#include <algorithm>
#include <cmath>

#include "time/Calendar.h"

namespace tn {

namespace {

constexpr int kNotANumber = -1;

// The number at 1-based `start`, `count` characters long; -1 when it is not one.
int Field(const TPString& text, int start, int count) {
    return text.SubString(start, count).ToIntDef(kNotANumber);
}

short Short(int value) {
    return static_cast<short>(std::clamp(value, -32768, 32767));
}

bool AllNumbers(std::initializer_list<int> fields) {
    return std::all_of(fields.begin(), fields.end(), [](int f) { return f >= 0; });
}

void SetDate(TPDateTime& value, int day, int month, int year) {
    if (AllNumbers({day, month, year})) {
        value.DateKonvert(Short(day), Short(month), Short(year));
    } else {
        value = 0.0;
    }
}

void SetTime(TPDateTime& value, int hour, int minute, int second, int hundredths) {
    value.TimeKonvert(Short(hour), Short(minute), Short(second), Short(hundredths));
}

// A date from one reading and a time from another: the time, and the date's whole days added
// when the time stays within one day. A failed date thus leaves the time alone.
double Combined(double date, double time) {
    return time < 1.0 ? time + std::floor(date) : time;
}

// Text lengths and positions of the forms the constructor reads.
constexpr int kTime4 = 4, kTimeDelimited = 5, kTime6 = 6;
constexpr int kTime8 = 8, kTime8ShortHour = 7;
constexpr int kTimeHundredths = 11;
constexpr int kDate6 = 6, kDateTime12 = 12;
constexpr int kDate8Minimum = 8, kDateISOMinimum = 10;
constexpr int kMonthNameDateTime = 18, kMonthNameDateLength = 10, kMonthNameTimeStart = 13;
constexpr int kMonthNameTimeMark = 12;

double ReadTimeShort(const TPString& text) {
    TPDateTime value;
    const int length = text.Length();
    if (length == kTime4) {
        value.GetTime4(text);
    } else if (length == kTime6) {
        value.GetTime6(text);
    } else if (length == kTimeDelimited) {
        // "12h30" and "12:30": hours before the last delimiter, minutes after it.
        const int p = text.LastDelimiter(TPString("h:", 0));
        if (p <= 1 || p >= length) return 0.0;
        const int hours = Field(text, 1, p - 1);
        const int minutes = Field(text, p + 1, length - p);
        if (!AllNumbers({hours, minutes})) return 0.0;
        value = hours * Stunde + minutes * Minute;
    }
    return value;
}

double ReadTimeColon(const TPString& text) {
    TPDateTime value;
    const int length = text.Length();
    if (length >= kTime8) {
        value.GetTime8(text);
    } else if (length == kTime8ShortHour && text[2] == ':') {
        value.GetTime8(TPString('0') + text);  // "7:05:09" widened to "07:05:09"
    }
    return value;
}

double ReadTimeHundredths(const TPString& text) {
    TPDateTime value;
    if (text.Length() == kTimeHundredths) {
        SetTime(value, Field(text, 1, 2), Field(text, 4, 2), Field(text, 7, 2), Field(text, 10, 2));
    }
    return value;
}

double ReadDateTime12(const TPString& text) {
    if (text.Length() != kDateTime12) return 0.0;
    TPDateTime date, time;
    date.GetDate6(text.SubString(1, kDate6));
    time.GetTime6(text.SubString(kDate6 + 1, kTime6));
    return Combined(date, time);
}

double ReadMonthNameDateTime(const TPString& text) {
    if (text.Length() != kMonthNameDateTime || text[1] != 'd' || text[kMonthNameTimeMark] != 't') {
        return 0.0;
    }
    TPDateTime date, time;
    date.GetYYYYMMMDDString(text.SubString(1, kMonthNameDateLength));
    time.GetTime6(text.SubString(kMonthNameTimeStart, kTime6));
    return Combined(date, time);
}

double ReadDateISO(const TPString& text) {
    TPDateTime value;
    if (text.Length() >= kDateISOMinimum) {
        SetDate(value, Field(text, 9, 2), Field(text, 6, 2), Field(text, 1, 4));
    }
    return value;
}

double ReadText(const TPString& text, int flag) {
    TPDateTime value;
    switch (flag) {
        case PDateTimeFlag::Time:
        case PDateTimeFlag::TimeDevice:
            return ReadTimeShort(text);
        case PDateTimeFlag::TimeColon:
        case PDateTimeFlag::TimeColonDevice:
            return ReadTimeColon(text);
        case PDateTimeFlag::TimeHundredths:
            return ReadTimeHundredths(text);
        case PDateTimeFlag::Date:
            if (text.Length() == kDate6) value.GetDate6(text);
            return value;
        case PDateTimeFlag::DateTime:
        case PDateTimeFlag::DateTimeDevice:
            return ReadDateTime12(text);
        case PDateTimeFlag::DateInverse:
            if (text.Length() == kDate6) value.GetDateInvers6(text);
            return value;
        case PDateTimeFlag::DateDotted:
            if (text.Length() >= kDate8Minimum) value.GetDate8(text);
            return value;
        case PDateTimeFlag::MonthNameDateTime:
            return ReadMonthNameDateTime(text);
        case PDateTimeFlag::DateISO:
            return ReadDateISO(text);
        default:
            return 0.0;
    }
}

// The reading that the shape of a text suggests, for assignment from text.
int FlagOfShape(const TPString& text) {
    const int length = text.Length();
    auto at = [&text, length](int position, char c) {
        return position <= length && text[position] == c;
    };
    if (length == kMonthNameDateTime && at(1, 'd') && at(kMonthNameTimeMark, 't')) {
        return PDateTimeFlag::MonthNameDateTime;
    }
    if (length == kDateTime12) return PDateTimeFlag::DateTime;
    if (length == kTimeHundredths && at(3, ':')) return PDateTimeFlag::TimeHundredths;
    if (length >= kDateISOMinimum && at(5, '-')) return PDateTimeFlag::DateISO;
    if (length >= kDate8Minimum && at(3, '.')) return PDateTimeFlag::DateDotted;
    if ((length >= kTime8 && at(3, ':')) || (length == kTime8ShortHour && at(2, ':'))) {
        return PDateTimeFlag::TimeColon;
    }
    if (length == kTime4 || (length == kTimeDelimited && (text.Pos('h') || text.Pos(':')))) {
        return PDateTimeFlag::Time;
    }
    if (length == kDate6) return PDateTimeFlag::Date;
    return 0;
}

}  // namespace

TPDateTime::TPDateTime(const TPString& text, PDateTimeFlag f) : value_(ReadText(text, f)) {}

TPDateTime& TPDateTime::operator=(const TPString& text) {
    value_ = ReadText(text, FlagOfShape(text));
    return *this;
}

void TPDateTime::GetDate6(const TPString& text) {
    SetDate(*this, Field(text, 1, 2), Field(text, 3, 2), Field(text, 5, 2));
}

void TPDateTime::GetDateInvers6(const TPString& text) {
    SetDate(*this, Field(text, 5, 2), Field(text, 3, 2), Field(text, 1, 2));
}

void TPDateTime::GetDate8(const TPString& text) {
    SetDate(*this, Field(text, 1, 2), Field(text, 4, 2), Field(text, 7, 4));
}

void TPDateTime::GetYYYYMMMDDString(const TPString& text) {
    const TPString name = text.SubString(6, 3);
    for (int month = 1; month <= calendar::kMonths; ++month) {
        const TPString known = GetLanguageString(pcaShortMonthName[month], Sprache);
        if (TPString::StrCmpS(name.c_str(), known.c_str())) {
            SetDate(*this, Field(text, 9, 2), month, Field(text, 4, 2));
            return;
        }
    }
}

void TPDateTime::GetTime6(const TPString& text) {
    SetTime(*this, Field(text, 1, 2), Field(text, 3, 2), Field(text, 5, 2), 0);
}

void TPDateTime::GetTime8(const TPString& text) {
    SetTime(*this, Field(text, 1, 2), Field(text, 4, 2), Field(text, 7, 2), 0);
}

void TPDateTime::GetTime4(const TPString& text) {
    SetTime(*this, Field(text, 1, 2), Field(text, 3, 2), 0, 0);
}

}  // namespace tn
