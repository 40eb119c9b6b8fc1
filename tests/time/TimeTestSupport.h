// Helpers of the date-time tests: the standard library's calendar as the oracle of day counts.
#pragma once

#include <tnpackage/tnpackage.h>

#include <chrono>
#include <cmath>
#include <string>
#include <tuple>

namespace timetest {

using namespace std::chrono;

inline constexpr double kTolerance = 1e-9;  // far below a hundredth of a second (1.2e-7 days)

/// The package's day count of 1900-2107: the serial from 30 December 1899 with two leap days more.
inline double PackageDay(const year_month_day& d) {
    const auto serial = (sys_days{d} - sys_days{year{1899} / December / 30}).count();
    return double(serial - (d < year{1900} / March / 1) + (d > year{2100} / February / 28));
}

inline double DayFraction(int hour, int minute, int second, double hundredths = 0.0) {
    return (hour * 3600.0 + minute * 60.0 + second + hundredths / 100.0) / 86400.0;
}

inline double Date(int day, int month, int year) {
    tn::TPDateTime t;
    t.DateKonvert(short(day), short(month), short(year));
    return t;
}

inline double Read(const char* text, int flag) {
    return tn::TPDateTime(tn::TPString(text), flag);
}

/// Pins the package clock (and the language) for one test and restores them afterwards.
struct ClockPin {
    ~ClockPin() {
        std::tie(tn::ZehntelTimer, tn::ResetTime, tn::ResetTimerUpdate, tn::Sprache) = saved;
        tn::SetUTCOffset(offsetHours);
    }
    void Set(double origin, int tenths) { tn::ResetTime = origin, tn::ZehntelTimer = tenths; }
    const std::tuple<std::int32_t, tn::TPDateTime, bool, int> saved{
        tn::ZehntelTimer, tn::ResetTime, tn::ResetTimerUpdate, tn::Sprache};
    const int offsetHours = int(std::lround(tn::UTCOffset() * 24.0));
};

}  // namespace timetest
