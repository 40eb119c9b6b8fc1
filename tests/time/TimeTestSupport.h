// Shared helpers of the date-time tests: the proleptic calendar of the standard library as the
// oracle for day counts, and a guard that pins the package clock and restores it afterwards.
#pragma once

#include <tnpackage/tnpackage.h>

#include <chrono>
#include <cmath>

namespace timetest {

using namespace std::chrono;

// The usual date serial counts days from 30 December 1899 (so 1 January 1900 is 2 there, while
// the package counts it as 1 and gains a day at its 29 February 1900).
inline constexpr sys_days kSerialEpoch = sys_days{year{1899} / December / 30};

inline long long Serial(const year_month_day& d) {
    return (sys_days{d} - kSerialEpoch).count();
}

/// The package's day count of a real (Gregorian) date between 1900 and 2107: one less than the
/// serial before 1 March 1900, the serial itself up to 28 February 2100, and one more after
/// that, because the package keeps 29 February 1900 and 29 February 2100 as days.
inline long long PackageDay(const year_month_day& d) {
    const long long serial = Serial(d);
    if (d < year{1900} / March / 1) return serial - 1;
    if (d > year{2100} / February / 28) return serial + 1;
    return serial;
}

inline double DayFraction(int hour, int minute, int second, double hundredths = 0.0) {
    return (hour * 3600.0 + minute * 60.0 + second + hundredths / 100.0) / 86400.0;
}

inline double Date(int day, int month, int year) {
    tn::TPDateTime t;
    t.DateKonvert(static_cast<short>(day), static_cast<short>(month), static_cast<short>(year));
    return t;
}

/// Pins the package clock for one test and restores every clock global afterwards.
class ClockPin {
  public:
    ClockPin()
        : timer_(tn::ZehntelTimer),
          reset_(tn::ResetTime),
          update_(tn::ResetTimerUpdate),
          offsetHours_(static_cast<int>(std::lround(tn::UTCOffset() * 24.0))),
          sprache_(tn::Sprache) {}
    ~ClockPin() {
        tn::ZehntelTimer = timer_;
        tn::ResetTime = reset_;
        tn::ResetTimerUpdate = update_;
        tn::SetUTCOffset(offsetHours_);
        tn::Sprache = sprache_;
    }
    ClockPin(const ClockPin&) = delete;
    ClockPin& operator=(const ClockPin&) = delete;

    /// The counted clock reads `localNow` (a date and time) from now on.
    void Set(double localNow, int tenths = 1) {
        tn::ResetTime = localNow - 0.1 * tn::Sekunde * tenths;
        tn::ZehntelTimer = tenths;
    }

  private:
    std::int32_t timer_;
    tn::TPDateTime reset_;
    bool update_;
    int offsetHours_;
    int sprache_;
};

}  // namespace timetest
