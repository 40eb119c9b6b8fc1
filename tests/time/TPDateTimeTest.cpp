// The day count: DateKonvert and DecodeDate against the standard library's calendar, the clock
// fields, the device's byte forms, the integer constructor and assignment, arithmetic.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <cmath>
#include <limits>

#include "TimeTestSupport.h"

using namespace tn;
using namespace timetest;

namespace {

constexpr double kTolerance = 1e-9;  // far below a hundredth of a second (1.2e-7 days)

TEST(TPDateTimeTest, DateKonvertAnchorsAndTwoDigitYears) {
    EXPECT_EQ(Date(1, 1, 2000), 36526.0);
    EXPECT_EQ(Date(1, 3, 1900), 61.0);
    EXPECT_EQ(Date(29, 2, 1900), 60.0);
    EXPECT_EQ(Date(1, 1, 1900), 1.0);
    EXPECT_EQ(Date(1, 1, 89), Date(1, 1, 2089));
    EXPECT_EQ(Date(1, 1, 89), double(PackageDay(year{2089} / 1 / 1)));
    EXPECT_EQ(Date(1, 1, 90), double(PackageDay(year{1990} / 1 / 1)));
    EXPECT_EQ(Date(31, 12, 99), double(PackageDay(year{1999} / 12 / 31)));
    EXPECT_EQ(Date(1, 1, 0), Date(1, 1, 2000));
    // Every year below 90 counts as two-digit, so a negative year lands in the 1990s.
    EXPECT_EQ(Date(1, 1, -1), Date(1, 1, 1999));
    // Years from 100 on stay as given.
    EXPECT_LT(Date(1, 1, 100), 0.0);
}

TEST(TPDateTimeTest, DateKonvertRejectsOnlyDayAndMonthBelowOne) {
    EXPECT_EQ(Date(0, 5, 2012), 0.0);
    EXPECT_EQ(Date(5, 0, 2012), 0.0);
    EXPECT_EQ(Date(-3, 5, 2012), 0.0);
    EXPECT_EQ(Date(5, 13, 2012), 0.0);  // no month past December
    // The day is not checked against the month: 31 February runs on into March.
    EXPECT_EQ(Date(31, 2, 2012), double(PackageDay(year{2012} / 3 / 2)));
    EXPECT_EQ(Date(31, 2, 2011), double(PackageDay(year{2011} / 3 / 3)));
    EXPECT_EQ(Date(32, 1, 2012), double(PackageDay(year{2012} / 2 / 1)));
    TPDateTime t(123.5);
    t.DateKonvert(0, 1, 2000);  // a failed conversion still replaces the value
    EXPECT_EQ(double(t), 0.0);
}

TEST(TPDateTimeTest, DayCountsFollowTheCalendarFrom1900To2107) {
    // Every real day of 1900-2107, against the standard library's proleptic calendar.
    for (sys_days d = sys_days{year{1900} / 1 / 1}; d <= sys_days{year{2107} / 12 / 31};
         d += days{1}) {
        const year_month_day ymd{d};
        const int y = int(ymd.year()), m = int(unsigned(ymd.month())),
                  dd = int(unsigned(ymd.day()));
        const double expected = double(PackageDay(ymd));
        ASSERT_EQ(Date(dd, m, y), expected) << y << "-" << m << "-" << dd;
        unsigned short day = 0, month = 0, yr = 0;
        TPDateTime(expected + 0.75).DecodeDate(&day, &month, &yr);
        ASSERT_EQ(day, dd);
        ASSERT_EQ(month, m);
        ASSERT_EQ(yr, y);
    }
}

TEST(TPDateTimeTest, DecodeDateKeepsTheLeapDaysOf1900And2100) {
    unsigned short day = 0, month = 0, year = 0;
    TPDateTime(60.0).DecodeDate(&day, &month, &year);
    EXPECT_EQ(day, 29);
    EXPECT_EQ(month, 2);
    EXPECT_EQ(year, 1900);
    const double leap2100 = Date(29, 2, 2100);
    EXPECT_EQ(leap2100, Date(28, 2, 2100) + 1.0);
    EXPECT_EQ(Date(1, 3, 2100), leap2100 + 1.0);
    TPDateTime(leap2100).DecodeDate(&day, &month, &year);
    EXPECT_EQ(day, 29);
    EXPECT_EQ(month, 2);
    EXPECT_EQ(year, 2100);
}

TEST(TPDateTimeTest, DecodeDateInvertsDateKonvertOverItsWholeRange) {
    // 1 January 1897 is the first day that DateKonvert gives to one date only.
    const double first = Date(1, 1, 1897);
    EXPECT_EQ(first, -1094.0);
    const double last = Date(31, 12, 32767);
    for (double v = first; v <= last; v += (v < 80000.0 ? 1.0 : 97.0)) {
        unsigned short day = 0, month = 0, year = 0;
        TPDateTime(v).DecodeDate(&day, &month, &year);
        ASSERT_EQ(Date(day, month, year), v) << v;
    }
    unsigned short day = 0, month = 0, year = 0;
    TPDateTime(last).DecodeDate(&day, &month, &year);
    EXPECT_EQ(year, 32767);
    EXPECT_EQ(Date(31, 12, 1899), 0.0);
    TPDateTime(0.0).DecodeDate(&day, &month, &year);
    EXPECT_EQ(day, 31);
    EXPECT_EQ(month, 12);
    EXPECT_EQ(year, 1899);
}

TEST(TPDateTimeTest, DecodeDateOfImpossibleValuesIsZeroAndSkipsNullFields) {
    for (double v : {std::numeric_limits<double>::quiet_NaN(), 1e300, -1e300,
                     std::numeric_limits<double>::infinity()}) {
        unsigned short day = 9, month = 9, year = 9;
        TPDateTime(v).DecodeDate(&day, &month, &year);
        EXPECT_EQ(day + month + year, 0);
        unsigned short h = 9, m = 9, s = 9, t = 9;
        TPDateTime(v).DecodeTime(&h, &m, &s, &t);
        EXPECT_EQ(h + m + s + t, 0);
        (void)TPDateTime(v).FileDate();
        (void)TPDateTime(v).Year();
    }
    unsigned short month = 0;
    TPDateTime(36526.0).DecodeDate(nullptr, &month, nullptr);
    EXPECT_EQ(month, 1);
    unsigned short minute = 0;
    TPDateTime(0.5 + 7 / 1440.0).DecodeTime(nullptr, &minute, nullptr, nullptr);
    EXPECT_EQ(minute, 7);
}

TEST(TPDateTimeTest, YearIsEstimatedFromTheDayCount) {
    EXPECT_EQ(TPDateTime(36526.0).Year(), 2000);
    // Right for the whole days of 1900-2107 ...
    for (sys_days d = sys_days{year{1900} / 1 / 1}; d <= sys_days{year{2107} / 12 / 31};
         d += days{1}) {
        const year_month_day ymd{d};
        ASSERT_EQ(TPDateTime(double(PackageDay(ymd))).Year(), int(ymd.year()));
    }
    // ... but only an estimate: late on 31 December most years already count as the next.
    EXPECT_EQ(TPDateTime(Date(31, 12, 1901) + 0.999).Year(), 1902);
    EXPECT_EQ(TPDateTime(Date(31, 12, 1903) + 0.999).Year(), 1903);
}

TEST(TPDateTimeTest, TimeKonvertAndDecodeTime) {
    TPDateTime t;
    t.TimeKonvert(12, 0, 0, 0);
    EXPECT_EQ(double(t), 0.5);
    t.TimeKonvert(-1, 0, 0, 0);
    EXPECT_EQ(double(t), 0.0);
    t = 40000.25;
    t.TimeKonvert(0, 0, 0, -1);
    EXPECT_EQ(double(t), 0.0);
    t.TimeKonvert(24, 0, 0, 0);  // a day or more is accepted
    EXPECT_EQ(double(t), 1.0);
    t.TimeKonvert(36, 30, 0, 0);
    EXPECT_NEAR(double(t), 1.5 + 30 / 1440.0, kTolerance);
    // Every second of the day, with a hundredth that walks through 0-99.
    for (int s = 0; s < 86400; ++s) {
        const short h = short(s / 3600), m = short(s / 60 % 60), sec = short(s % 60),
                    hs = short(s % 100);
        t.TimeKonvert(h, m, sec, hs);
        ASSERT_NEAR(double(t), DayFraction(h, m, sec, hs), 1e-15);
        unsigned short dh = 0, dm = 0, ds = 0, dt = 0;
        TPDateTime(double(t) + 1234.0).DecodeTime(&dh, &dm, &ds, &dt);
        ASSERT_EQ(dh, h);
        ASSERT_EQ(dm, m);
        ASSERT_EQ(ds, sec);
        // The rounding half hundredth stays in the ten-thousandths.
        ASSERT_EQ(dt / 100, hs) << s;
        ASSERT_NEAR(dt, hs * 100 + 50, 1);
    }
}

TEST(TPDateTimeTest, DecodeTimeOfANegativeValueIsTheTimeBeforeMidnight) {
    unsigned short h = 0, m = 0, s = 0, t = 0;
    TPDateTime(-1.5 / 24).DecodeTime(&h, &m, &s, &t);
    EXPECT_EQ(h, 22);
    EXPECT_EQ(m, 30);
    EXPECT_EQ(s, 0);
    // A hair below midnight rounds to the next midnight.
    TPDateTime(41105.0 - 1e-9).DecodeTime(&h, &m, &s, &t);
    EXPECT_EQ(h + m + s, 0);
}

TEST(TPDateTimeTest, SetVXCTimeReadsPackedDecimalClockBytes) {
    const unsigned char bytes[] = {0x12, 0x30, 0x45, 0x05};
    TPDateTime t(41000.0);
    t.SetVXCTime(bytes);
    EXPECT_NEAR(double(t), DayFraction(12, 30, 45, 50), 1e-15);
    const unsigned char midnight[] = {0x00, 0x00, 0x00, 0x00};
    t.SetVXCTime(midnight);
    EXPECT_EQ(double(t), 0.0);
    const unsigned char last[] = {0x23, 0x59, 0x59, 0x09};
    t.SetVXCTime(last);
    EXPECT_NEAR(double(t), DayFraction(23, 59, 59, 90), 1e-15);
    t = 5.0;
    t.SetVXCTime(nullptr);
    EXPECT_EQ(double(t), 0.0);
}

TEST(TPDateTimeTest, ByteStampsAreReadAsBinaryWhateverTheFlagPromises) {
    const unsigned char binary[] = {15, 7, 12, 10, 20, 30};
    const double july15 = Date(15, 7, 2012) + DayFraction(10, 20, 30);
    EXPECT_NEAR(double(TPDateTime(binary, 6, 42)), july15, kTolerance);
    EXPECT_NEAR(double(TPDateTime(binary, 6, 33)), july15, kTolerance);
    EXPECT_NEAR(double(TPDateTime(binary, 6, 161)), july15, kTolerance);
    // Packed-decimal bytes under the packed flags: the binary reading still decides.
    const unsigned char packed[] = {0x15, 0x07, 0x12, 0x10, 0x20, 0x30};
    const double binaryOfPacked = Date(0x15, 7, 0x12) + DayFraction(0x10, 0x20, 0x30);
    EXPECT_NEAR(double(TPDateTime(packed, 6, 33)), binaryOfPacked, kTolerance);
    EXPECT_NEAR(double(TPDateTime(packed, 6, 161)), binaryOfPacked, kTolerance);
    EXPECT_NEAR(double(TPDateTime(packed, 6, PDateTimeFlag::DateTimeDevice)),
                Date(21, 7, 2018) + DayFraction(16, 32, 48), kTolerance);
    // The signed-char form reads the same bytes.
    const char asChars[] = {15, 7, 12, 10, 20, 30};
    EXPECT_NEAR(double(TPDateTime(asChars, 6, 42)), july15, kTolerance);
    // Other flags, other lengths, no bytes: 0.
    EXPECT_EQ(double(TPDateTime(binary, 6, 32)), 0.0);
    EXPECT_EQ(double(TPDateTime(binary, 5, 42)), 0.0);
    EXPECT_EQ(double(TPDateTime(binary, 7, 33)), 0.0);
    EXPECT_EQ(double(TPDateTime(static_cast<const unsigned char*>(nullptr), 6, 42)), 0.0);
    // A time of a day or more keeps no date; a failed date leaves the time alone.
    const unsigned char lateHour[] = {1, 1, 20, 24, 0, 0};
    EXPECT_EQ(double(TPDateTime(lateHour, 6, 42)), 1.0);
    const unsigned char noDay[] = {0, 7, 12, 10, 20, 30};
    EXPECT_NEAR(double(TPDateTime(noDay, 6, 42)), DayFraction(10, 20, 30), kTolerance);
    const unsigned char high[] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    // Month 255 is no date, and 255 hours are more than a day: only the time remains.
    EXPECT_NEAR(double(TPDateTime(high, 6, 33)), DayFraction(255, 255, 255), kTolerance);
}

TEST(TPDateTimeTest, IntegerConstructorReadsTheFlag) {
    EXPECT_NEAR(double(TPDateTime(90, 16)), 90.0 / 86400.0, 1e-15);
    EXPECT_EQ(double(TPDateTime(90, 16)), 90 * Sekunde);
    EXPECT_EQ(double(TPDateTime(3, 32)), 3.0);
    EXPECT_EQ(double(TPDateTime(-3, PDateTimeFlag::Date)), -3.0);
    EXPECT_EQ(double(TPDateTime(5, 7)), 0.0);
    EXPECT_EQ(double(TPDateTime(5, 144)), 0.0);
    ClockPin pin;
    ResetTime = Date(15, 7, 2012) + 0.5;
    ZehntelTimer = 600;
    EXPECT_NEAR(double(TPDateTime(2, 33)), Date(17, 7, 2012) + DayFraction(12, 1, 0), kTolerance);
    EXPECT_NEAR(double(TPDateTime(-1, PDateTimeFlag::DateTime)),
                Date(14, 7, 2012) + DayFraction(12, 1, 0), kTolerance);
}

TEST(TPDateTimeTest, AssigningANumberReadsTheClockFlags) {
    ClockPin pin;
    ResetTime = Date(15, 7, 2012) + 0.5;
    ZehntelTimer = 600;
    TPDateTime t;
    t = 16;
    EXPECT_NEAR(double(t), DayFraction(12, 1, 0), kTolerance);
    t = 32;
    EXPECT_EQ(double(t), Date(15, 7, 2012));
    t = 33;
    EXPECT_NEAR(double(t), Date(15, 7, 2012) + DayFraction(12, 1, 0), kTolerance);
    t = 17;
    EXPECT_EQ(double(t), 17.0);
    t = 0;
    EXPECT_EQ(double(t), 0.0);
    t = 31.25;
    EXPECT_EQ(double(t), 31.25);
    t = -5;
    EXPECT_EQ(double(t), -5.0);
}

TEST(TPDateTimeTest, FieldConstructorsAndArithmetic) {
    EXPECT_EQ(double(TPDateTime(15, 7, 2012)), Date(15, 7, 2012));
    EXPECT_EQ(double(TPDateTime(1, 1, 1900)), 1.0);
    EXPECT_NEAR(double(TPDateTime(7, 5, 9, 50)), DayFraction(7, 5, 9, 50), 1e-15);
    EXPECT_EQ(double(TPDateTime(36, 0, 0, 0)), 1.5);
    TPDateTime t(100.25);
    EXPECT_EQ(double(t + 1), 101.25);
    EXPECT_EQ(double(t - 1), 99.25);
    EXPECT_EQ(double(t + 0.5), 100.75);
    EXPECT_EQ(double(t - TPDateTime(0.25)), 100.0);
    t += 2;
    EXPECT_EQ(double(t), 102.25);
    t -= 0.25;
    EXPECT_EQ(double(t), 102.0);
    t -= 200;  // no normalisation, no check
    EXPECT_EQ(double(t), -98.0);
    EXPECT_TRUE(TPDateTime(1.0) < TPDateTime(2.0));
    EXPECT_EQ(2.5 + TPDateTime(1.0), 3.5);
}

}  // namespace
