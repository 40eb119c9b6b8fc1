// The package clock: start-up values, the counted clock, the UTC offset and the measurement slots.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <cmath>

#include "TimeTestSupport.h"

using namespace tn;
using namespace timetest;

namespace {

const double kDay = Date(15, 7, 2012);

TEST(ClockTest, StartUpValuesTheComputersAndTheCountedClockAndSetResetTime) {
    EXPECT_NEAR(UTCOffset(), 2.0 / 24, 1e-15);
    EXPECT_TRUE(LocalTimeEnabled && ToStdString(TestDate.DateString()) == "15.05.2100");
    EXPECT_NEAR(Sekunde * 86400 + Minute * 1440 + Stunde * 24 + Tag, 4.0, 1e-15);
    ClockPin pin;
    ZehntelTimer = 0;  // ResetTime is the local time at package start, a moment ago
    const double computer = TPDateTime::CurrentDateTime();
    EXPECT_NEAR(double(ResetTime), computer, 1.0 / 24);
    EXPECT_NEAR(double(CurrentDateTime()), computer - 2.0 / 24, 1.0 / 86400);
    EXPECT_NEAR(double(Jetzt()), computer - std::floor(computer), 1.0 / 86400);
    ResetTime = kDay + 0.25;  // the date of ResetTime, counter running or not
    EXPECT_EQ(double(TPDateTime::CurrentDate()), kDay);
    pin.Set(kDay + 0.5, 600);
    const double noon1 = DayFraction(12, 1, 0), utc = DayFraction(10, 1, 0);
    EXPECT_NEAR(double(TPDateTime::CurrentDateTime()), kDay + noon1, kTolerance);
    EXPECT_NEAR(double(TPDateTime::CurrentTime()) + double(Jetzt()), 2 * noon1, kTolerance);
    EXPECT_NEAR(double(CurrentDateTime()), kDay + utc, kTolerance);
    EXPECT_NEAR(double(UTCTime()) + double(CurrentTime()), 2 * utc, kTolerance);
    EXPECT_EQ(ToStdString(CurrentDateTimeString()), "170712120100");  // two days ahead
    // The members do not wrap at midnight; the free functions do.
    ResetTime = kDay + DayFraction(23, 59, 0);
    EXPECT_NEAR(double(TPDateTime::CurrentTime()), 1.0, kTolerance);
    EXPECT_NEAR(double(Jetzt()), 0.0, kTolerance);
    EXPECT_EQ(double(CurrentDate()), kDay + 1);
    // The offset is subtracted without wrapping: after local midnight UTC is still yesterday.
    pin.Set(kDay + DayFraction(0, 30, 0), 1);
    EXPECT_NEAR(double(UTCTime()), -1.5 / 24 + 0.1 * Sekunde, kTolerance);
    EXPECT_TRUE(CurrentDate() == kDay && CurrentDateTime() < kDay);
    SetUTCOffset(-3);
    EXPECT_NEAR(double(UTCTime()), 3.5 / 24 + 0.1 * Sekunde, kTolerance);
    const double target = kDay + DayFraction(8, 0, 0);
    pin.Set(0.0, 600);
    ResetTimerUpdate = true;
    ResetTime.SetResetTime(target);  // on ResetTime itself: the clock reads the target now
    EXPECT_NEAR(double(TPDateTime::CurrentDateTime()), target, kTolerance);
    EXPECT_FALSE(ResetTimerUpdate);
    TPDateTime other;
    other.SetResetTime(target);  // on another value: ResetTime keeps the target unlowered
    EXPECT_EQ(double(ResetTime), target);
    EXPECT_NEAR(double(other), target - 60 * Sekunde, kTolerance);
    other.SetResetTime(0.25);  // a time of day alone gets the present local date
    EXPECT_EQ(double(ResetTime), kDay + 0.25);
}

TEST(ClockTest, MeasurementSlotsKeepTheLongestInterval) {
    ClockPin pin;
    pin.Set(kDay + 0.5, 1);
    MessTimeAllReset();
    MessTimeStamp(9);  // slot 9 has no start yet: the stamp only starts it
    MessTimeStart(3);
    for (int step : {50, 20, 100}) {
        ZehntelTimer += step;
        MessTimeStamp(3);
    }
    MessTimeStamp(9);
    EXPECT_NEAR(MaxMessTime(3), 10 * Sekunde, kTolerance);
    EXPECT_NEAR(MaxMessTime(9), 17 * Sekunde, kTolerance);
    MessTimeAllReset();  // all maxima go, the starts stay
    ZehntelTimer += 70;
    MessTimeStamp(3);
    MessTimeStamp(9);
    MessTimeReset(9);
    MessTimeStart(-1);  // slots outside 0-9 are ignored
    MessTimeStamp(10);
    MessTimeReset(1000);
    EXPECT_NEAR(MaxMessTime(3) + MaxMessTime(9) + MaxMessTime(10), 7 * Sekunde, kTolerance);
}

}  // namespace
