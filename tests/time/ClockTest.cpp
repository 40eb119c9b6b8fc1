// The package clock: the counted clock, the UTC offset, the clock members, SetResetTime, the
// measurement slots and the start-up values.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <cmath>
#include <string>

#include "TimeTestSupport.h"

using namespace tn;
using namespace timetest;

namespace {

constexpr double kTolerance = 1e-9;

const double kDay = Date(15, 7, 2012);

TEST(ClockTest, StartUpValues) {
    EXPECT_EQ(UTCOffset(), 2 * Stunde);
    EXPECT_NEAR(UTCOffset(), 2.0 / 24, 1e-15);
    EXPECT_EQ(double(TestDate), Date(15, 5, 2100));
    EXPECT_TRUE(LocalTimeEnabled);
    // ResetTime is the local time at package start, which was a moment ago.
    ClockPin pin;
    ZehntelTimer = 0;
    EXPECT_NEAR(double(ResetTime), double(TPDateTime::CurrentDateTime()), 1.0 / 24);
}

TEST(ClockTest, DayFractionsAreBuiltFromTheClockFields) {
    EXPECT_EQ(Sekunde, double(TPDateTime(0, 0, 1, 0)));
    EXPECT_EQ(Minute, double(TPDateTime(0, 1, 0, 0)));
    EXPECT_EQ(Stunde, double(TPDateTime(1, 0, 0, 0)));
    EXPECT_EQ(Tag, 1.0);
    EXPECT_NEAR(Sekunde * 86400, 1.0, 1e-15);
    EXPECT_NEAR(Minute * 1440, 1.0, 1e-15);
    EXPECT_NEAR(Stunde * 24, 1.0, 1e-15);
}

TEST(ClockTest, TheCountedClock) {
    ClockPin pin;
    ResetTime = kDay + 0.5;
    ZehntelTimer = 600;
    const double noonAndAMinute = kDay + DayFraction(12, 1, 0);
    EXPECT_NEAR(double(TPDateTime::CurrentDateTime()), noonAndAMinute, kTolerance);
    EXPECT_NEAR(double(TPDateTime::CurrentTime()), DayFraction(12, 1, 0), kTolerance);
    EXPECT_EQ(double(TPDateTime::CurrentDate()), kDay);
    // The free functions read the same present, with the offset of two hours.
    EXPECT_NEAR(double(CurrentDateTime()), kDay + DayFraction(10, 1, 0), kTolerance);
    EXPECT_EQ(double(CurrentDate()), kDay);
    EXPECT_NEAR(double(UTCTime()), DayFraction(10, 1, 0), kTolerance);
    EXPECT_EQ(double(CurrentTime()), double(UTCTime()));
    EXPECT_NEAR(double(Jetzt()), DayFraction(12, 1, 0), kTolerance);
    // The members do not wrap at midnight; the free functions do.
    ResetTime = kDay + DayFraction(23, 59, 0);
    EXPECT_NEAR(double(TPDateTime::CurrentTime()), DayFraction(24, 0, 0), kTolerance);
    EXPECT_NEAR(double(Jetzt()), 0.0, kTolerance);
    EXPECT_EQ(double(CurrentDate()), kDay + 1);
}

TEST(ClockTest, CurrentDateIsTheDateOfResetTimeEvenWithoutTheCounter) {
    ClockPin pin;
    ZehntelTimer = 0;
    ResetTime = Date(1, 1, 2001) + 0.25;
    EXPECT_EQ(double(TPDateTime::CurrentDate()), Date(1, 1, 2001));
    // ... while the other readers take the computer's clock.
    EXPECT_GT(double(TPDateTime::CurrentDateTime()), Date(1, 1, 2020));
    EXPECT_GT(double(CurrentDate()), Date(1, 1, 2020));
    const double computer = TPDateTime::CurrentDateTime();
    EXPECT_NEAR(double(CurrentDateTime()), computer - 2.0 / 24, 1.0 / 86400);
    EXPECT_NEAR(double(Jetzt()), computer - std::floor(computer), 1.0 / 86400);
}

TEST(ClockTest, OffsetIsSubtractedWithoutWrapping) {
    ClockPin pin;
    ResetTime = kDay + DayFraction(0, 30, 0);
    ZehntelTimer = 1;
    EXPECT_NEAR(double(UTCTime()), -1.5 / 24 + 0.1 * Sekunde, kTolerance);
    EXPECT_EQ(double(CurrentDate()), kDay);
    EXPECT_LT(double(CurrentDateTime()), kDay);  // the UTC date is still the day before
    SetUTCOffset(1);
    EXPECT_EQ(UTCOffset(), Stunde);
    EXPECT_NEAR(UTCOffset(), 1.0 / 24, 1e-15);
    SetUTCOffset(-3);
    EXPECT_NEAR(double(UTCTime()), 3.5 / 24 + 0.1 * Sekunde, kTolerance);
}

TEST(ClockTest, CurrentDateTimeStringRunsTwoDaysAhead) {
    ClockPin pin;
    ResetTime = kDay + 0.5;
    ZehntelTimer = 600;
    EXPECT_EQ(std::string(CurrentDateTimeString().c_str()), "170712120100");
}

TEST(ClockTest, SetResetTimeOnResetTimeMakesTheClockReadIt) {
    ClockPin pin;
    ZehntelTimer = 600;
    ResetTimerUpdate = true;
    const double target = kDay + DayFraction(8, 0, 0);
    ResetTime.SetResetTime(target);
    EXPECT_NEAR(double(TPDateTime::CurrentDateTime()), target, kTolerance);
    EXPECT_FALSE(ResetTimerUpdate);
    ZehntelTimer = 610;
    EXPECT_NEAR(double(TPDateTime::CurrentDateTime()), target + Sekunde, kTolerance);
}

TEST(ClockTest, SetResetTimeOnAnotherValueLeavesResetTimeUnlowered) {
    ClockPin pin;
    ZehntelTimer = 600;
    ResetTimerUpdate = true;
    const double target = kDay + DayFraction(8, 0, 0);
    TPDateTime other;
    other.SetResetTime(target);
    EXPECT_EQ(double(ResetTime), target);
    EXPECT_NEAR(double(other), target - 60 * Sekunde, kTolerance);
    EXPECT_FALSE(ResetTimerUpdate);
    // A time of day alone gets the present local date.
    ResetTime = kDay + 0.5;
    ZehntelTimer = 600;
    other.SetResetTime(0.25);
    EXPECT_EQ(double(ResetTime), kDay + 0.25);
    ZehntelTimer = 0;
    other.SetResetTime(0.25);
    EXPECT_EQ(double(ResetTime), double(CurrentDate()) + 0.25);
    EXPECT_GT(double(ResetTime), Date(1, 1, 2020));
}

TEST(ClockTest, MeasurementSlotsKeepTheLongestInterval) {
    ClockPin pin;
    MessTimeAllReset();
    ResetTime = kDay + 0.5;
    ZehntelTimer = 1;
    MessTimeStart(3);
    ZehntelTimer += 50;
    MessTimeStamp(3);
    EXPECT_NEAR(MaxMessTime(3), 5 * Sekunde, kTolerance);
    ZehntelTimer += 20;
    MessTimeStamp(3);
    EXPECT_NEAR(MaxMessTime(3), 5 * Sekunde, kTolerance);
    ZehntelTimer += 100;
    MessTimeStamp(3);
    EXPECT_NEAR(MaxMessTime(3), 10 * Sekunde, kTolerance);
    MessTimeReset(3);
    EXPECT_EQ(MaxMessTime(3), 0.0);
    // All maxima go, the starts stay: the next stamp measures from the last one.
    MessTimeStart(4);
    ZehntelTimer += 30;
    MessTimeStamp(3);
    MessTimeStamp(4);
    EXPECT_GT(MaxMessTime(3), 0.0);
    EXPECT_GT(MaxMessTime(4), 0.0);
    MessTimeAllReset();
    for (int slot = 0; slot < kMessTimeSlots; ++slot)
        EXPECT_EQ(MaxMessTime(slot), 0.0);
    ZehntelTimer += 70;
    MessTimeStamp(4);
    EXPECT_NEAR(MaxMessTime(4), 7 * Sekunde, kTolerance);
    // Slots outside 0-9 are ignored.
    MessTimeStart(-1);
    MessTimeStamp(10);
    MessTimeReset(1000);
    EXPECT_EQ(MaxMessTime(10), 0.0);
    EXPECT_EQ(MaxMessTime(-1), 0.0);
}

TEST(ClockTest, AStampWithoutAPositiveStartOnlySetsTheStart) {
    ClockPin pin;
    MessTimeReset(9);
    ResetTime = kDay + 0.5;
    ZehntelTimer = 1;
    MessTimeStamp(9);  // slot 9 is used by no other test: its start is still 0
    EXPECT_EQ(MaxMessTime(9), 0.0);
    ZehntelTimer += 40;
    MessTimeStamp(9);
    EXPECT_NEAR(MaxMessTime(9), 4 * Sekunde, kTolerance);
    // Just after local midnight the UTC time of day is negative: no interval is taken.
    MessTimeReset(8);
    ResetTime = kDay + DayFraction(0, 10, 0);
    MessTimeStart(8);
    ZehntelTimer += 40;
    MessTimeStamp(8);
    EXPECT_EQ(MaxMessTime(8), 0.0);
}

}  // namespace
