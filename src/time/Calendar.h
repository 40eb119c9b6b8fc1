// The calendar of TPDateTime: day 1 is 1 January 1900 and every fourth year, counted from
// 1900, is a leap year. Shared by the conversions, the readers and the printers.
#pragma once

#include <array>

namespace tn::calendar {

inline constexpr int kMonths = 12;
inline constexpr std::array<int, kMonths> kMonthLength = {31, 28, 31, 30, 31, 30,
                                                          31, 31, 30, 31, 30, 31};
inline constexpr int kFebruary = 2;
inline constexpr int kEpochYear = 1900;
inline constexpr int kDaysPerYear = 365;
inline constexpr int kDaysPerLeapCycle = 4 * kDaysPerYear + 1;  // four years, one leap day

// Two-digit years: 0-89 are 2000-2089 and 90-99 are 1990-1999.
inline constexpr int kTwoDigitPivot = 90;
inline constexpr int kCenturyOfLowYears = 2000;
inline constexpr int kCenturyOfHighYears = 1900;
inline constexpr int kTwoDigitLimit = 100;

// Half a hundredth of a second in days: added before the clock fields are cut off, so that a
// value a hair below a full hundredth reads as that hundredth.
inline constexpr double kHalfHundredth = 5.787037037037037e-8;

inline constexpr int kHoursPerDay = 24;
inline constexpr int kMinutesPerHour = 60;
inline constexpr int kSecondsPerMinute = 60;
inline constexpr int kTenThousandthsPerSecond = 10000;

/// Calendar fields of a whole day number (1 = 1 January 1900); false outside years 0-65535.
bool DateOfDay(double wholeDays, int& day, int& month, int& year);

struct Fields {
    int day = 0, month = 0, year = 0;
    int hour = 0, minute = 0, second = 0, hundredths = 0;
};

/// The fields a printer shows: date and time both from the value rounded to a hundredth, so
/// that a time rounding up to midnight also moves the date to the next day.
Fields PrintedFields(double value);

}  // namespace tn::calendar
