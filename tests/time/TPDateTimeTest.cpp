// Day counts against the standard library's calendar and published FAT packings; clock fields.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <limits>

#include "TimeTestSupport.h"

using namespace tn;
using namespace timetest;

namespace {

double FromFat(std::uint32_t packed) {
    TPDateTime t(5.0);
    t.SetFileDate(packed);
    return t;
}

TEST(TPDateTimeTest, DayCountsDecodeDateAndFileDateFollowTheCalendarAndPublishedPackings) {
    int i = 0;
    for (sys_days d = sys_days{year{1900} / 1 / 1}; d <= sys_days{year{2107} / 12 / 31};
         d += days{1}, ++i) {
        const year_month_day ymd{d};
        const int y = int(ymd.year()), m = int(unsigned(ymd.month())),
                  dd = int(unsigned(ymd.day()));
        const double day = PackageDay(ymd);
        ASSERT_EQ(Date(dd, m, y), day) << y << "-" << m << "-" << dd;
        unsigned short dDay = 0, dMonth = 0, dYear = 0;
        TPDateTime(day + 0.75).DecodeDate(&dDay, &dMonth, &dYear);
        ASSERT_TRUE(dDay == dd && dMonth == m && dYear == y && TPDateTime(day).Year() == y) << day;
        char dotted[32], iso[32];  // the four-digit forms, read and printed
        std::snprintf(dotted, sizeof dotted, "%02d.%02d.%04d", dd, m, y);
        std::snprintf(iso, sizeof iso, "%04d-%02d-%02d", y, m, dd);
        ASSERT_TRUE(Read(dotted, 40) == day && Read(iso, 44) == day) << iso;
        ASSERT_EQ(
            ToStdString(TPDateTime(day + 0.5).String(40)) + ToStdString(TPDateTime(day).String(44)),
            std::string(dotted) + iso);
        if (y < 1980) continue;
        // The FAT packing from the calendar's fields, at an even second different every day.
        const int s = (i * 7919) % 86400 & ~1, h = s / 3600, mi = s / 60 % 60, se = s % 60;
        const auto packed = std::uint32_t(y - 1980) << 25 |
                            std::uint32_t(m << 21 | dd << 16 | h << 11 | mi << 5 | se / 2);
        ASSERT_EQ(TPDateTime(day + DayFraction(h, mi, se)).FileDate(), packed) << iso;
        ASSERT_NEAR(FromFat(packed), day + DayFraction(h, mi, se), kTolerance);
    }

    // 1 January 1897 is the first day that DateKonvert gives to one date only.
    const double first = Date(1, 1, 1897), last = Date(31, 12, 32767);
    EXPECT_EQ(first, -1094.0);
    for (double v = first; v <= last; v += (v < 80000.0 ? 1.0 : 97.0)) {
        unsigned short day = 0, month = 0, year = 0;
        TPDateTime(v).DecodeDate(&day, &month, &year);
        ASSERT_EQ(Date(day, month, year), v) << v;
    }
    // Impossible values decode as zeros and crash nothing; null fields are skipped.
    for (double v : {std::numeric_limits<double>::quiet_NaN(), 1e300, -1e300}) {
        unsigned short day = 9, month = 9, year = 9, h = 9, m = 9, s = 9, f = 9;
        TPDateTime(v).DecodeDate(&day, &month, &year);
        TPDateTime(v).DecodeTime(&h, &m, &s, &f);
        EXPECT_EQ(day + month + year + h + m + s + f, 0);
        (void)(TPDateTime(v).FileDate() + TPDateTime(v).Year() + TPDateTime(v).String(33).Length());
    }
    TPDateTime(36526.0).DecodeDate(nullptr, nullptr, nullptr);
    TPDateTime(0.5).DecodeTime(nullptr, nullptr, nullptr, nullptr);

    // Packed by Python's zipfile (the DOS date and time of a local header).
    const std::pair<std::array<int, 6>, std::uint32_t> published[] = {
        {{1980, 1, 1, 0, 0, 0}, 0x00210000},     {{2107, 12, 31, 23, 59, 58}, 0xFF9FBF7D},
        {{2000, 2, 29, 12, 30, 44}, 0x285D63D6}, {{1999, 12, 31, 23, 59, 59}, 0x279FBF7D},
        {{2100, 3, 1, 0, 0, 0}, 0xF0610000},     {{2038, 1, 19, 3, 14, 6}, 0x743319C3},
    };
    for (const auto& [f, packed] : published) {
        const double date = Date(f[2], f[1], f[0]);
        EXPECT_EQ(TPDateTime(date + DayFraction(f[3], f[4], f[5])).FileDate(), packed);
        EXPECT_NEAR(FromFat(packed), date + DayFraction(f[3], f[4], f[5] & ~1), kTolerance);
    }
    EXPECT_NEAR(FromFat(0x01A1BF7D), DayFraction(23, 59, 58), kTolerance);  // month 13: no date
    EXPECT_NEAR(FromFat(0x0021003F), Date(1, 1, 1980) + DayFraction(0, 2, 2), kTolerance);  // 62 s
}

TEST(TPDateTimeTest, DateKonvertQuirksAndTheLeapDaysOf1900And2100) {
    // Years 0-89 are 2000-2089, 90-99 the 1990s, and every year below 90 counts (-1 is 1999).
    // Only day or month below 1 and months past December give 0: 31 February runs into March.
    const std::array<int, 6> cases[] = {
        {1, 1, 0, 2000, 1, 1},      {1, 1, 89, 2089, 1, 1},    {1, 1, 90, 1990, 1, 1},
        {31, 12, 99, 1999, 12, 31}, {1, 1, -1, 1999, 1, 1},    {0, 5, 2012, 0, 0, 0},
        {5, 0, 2012, 0, 0, 0},      {-3, 5, 2012, 0, 0, 0},    {5, 13, 2012, 0, 0, 0},
        {31, 2, 2012, 2012, 3, 2},  {31, 2, 2011, 2011, 3, 3}, {32, 1, 2012, 2012, 2, 1},
    };
    for (const auto& [dd, m, y, realY, realM, realD] : cases) {
        const double real = realY ? PackageDay(year{realY} / realM / realD) : 0.0;
        EXPECT_EQ(Date(dd, m, y), real) << dd << "." << m << "." << y;
    }
    EXPECT_LT(Date(1, 1, 100), 0.0);  // years from 100 on stay as given
    // 1900 and 2100 are leap years here.
    const double leap2100 = PackageDay(year{2100} / 3 / 1) - 1.0;
    EXPECT_TRUE(Date(29, 2, 1900) == 60.0 && Date(29, 2, 2100) == leap2100);
    EXPECT_EQ(
        ToStdString(TPDateTime(60.0).String(40)) + ToStdString(TPDateTime(leap2100).String(44)),
        "29.02.19002100-02-29");
    EXPECT_EQ(Read("2100-02-29", 44), leap2100);
    EXPECT_EQ(TPDateTime(leap2100 + 0.5).FileDate(), 120u << 25 | 2u << 21 | 29u << 16 | 12u << 11);
    EXPECT_EQ(FromFat(120u << 25 | 2u << 21 | 29u << 16), leap2100);
}

TEST(TPDateTimeTest, ClockFieldsByteStampsAndNumberFlags) {
    // Clock fields (every time of day is read back by the print-then-parse test).
    TPDateTime t(40000.25);
    t.TimeKonvert(0, 0, 0, -1);
    EXPECT_EQ(double(t) + double(TPDateTime(36, 0, 0, 0)), 1.5);  // a day or more is accepted
    unsigned short h = 0, m = 0, s = 0, f = 0;
    TPDateTime(41000 + DayFraction(7, 5, 9, 67)).DecodeTime(&h, &m, &s, &f);
    EXPECT_TRUE(h == 7 && m == 5 && s == 9 && f == 6750);  // ten-thousandths, rounded at 1/100
    const unsigned char vxc[] = {0x12, 0x30, 0x45, 0x05};  // packed decimal, tenths last
    t.SetVXCTime(vxc);
    EXPECT_NEAR(double(t), DayFraction(12, 30, 45, 50), 1e-15);
    t.SetVXCTime(nullptr);
    // Byte stamps: flags 33 and 161 decode packed decimal first, but keep the binary reading.
    const unsigned char bytes[] = {15, 7, 12, 10, 20, 30},
                        packed[] = {0x15, 7, 0x12, 0x10, 0x20, 0x30};
    const double july15 = Date(15, 7, 2012) + DayFraction(10, 20, 30);
    EXPECT_NEAR(double(TPDateTime(reinterpret_cast<const char*>(bytes), 6, 42)), july15,
                kTolerance);
    for (int flag : {33, 161}) {
        EXPECT_NEAR(double(TPDateTime(bytes, 6, flag)), july15, kTolerance);
        EXPECT_NEAR(double(TPDateTime(packed, 6, flag)),
                    Date(21, 7, 2018) + DayFraction(16, 32, 48), kTolerance);
    }
    const unsigned char* no = nullptr;
    EXPECT_EQ(t + TPDateTime(bytes, 6, 32) + TPDateTime(bytes, 5, 42) + TPDateTime(no, 6, 42), 0);
    const unsigned char lateHour[] = {1, 1, 20, 24, 0, 0}, high[] = {255, 255, 255, 255, 255, 255};
    EXPECT_EQ(double(TPDateTime(lateHour, 6, 42)), 1.0);  // 24 hours keep no date
    EXPECT_NEAR(double(TPDateTime(high, 6, 33)), DayFraction(255, 255, 255), kTolerance);
    // Whole numbers are read as flags too: 16 seconds, 32 days, 33 days from now.
    ClockPin pin;
    pin.Set(Date(15, 7, 2012) + 0.5, 600);  // the clock reads 12:01 on 15 July 2012
    const double date = Date(15, 7, 2012), time = DayFraction(12, 1, 0);
    EXPECT_EQ(double(TPDateTime(90, 16)), 90 * Sekunde);
    EXPECT_EQ(double(TPDateTime(-3, PDateTimeFlag::Date)) + double(TPDateTime(5, 7)), -3.0);
    EXPECT_NEAR(double(TPDateTime(-1, 33)), date - 1 + time, kTolerance);
    for (const auto& [n, expected] :
         {std::pair{16, time}, {32, date}, {33, date + time}, {17, 17.0}}) {
        t = n;
        EXPECT_NEAR(double(t), expected, kTolerance) << n;
    }
}

}  // namespace
