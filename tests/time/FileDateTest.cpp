// The FAT date and time: packings as other tools write them (Python's zipfile packs the same
// DOS date and time into its headers), and round trips over 1980-2107.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <cstdint>

#include "TimeTestSupport.h"

using namespace tn;
using namespace timetest;

namespace {

struct Packing {
    int year, month, day, hour, minute, second;
    std::uint32_t packed;  // date in the high, time in the low 16 bits
};

// Produced by Python's zipfile (ZipInfo date_time -> the local header's DOS time and date).
constexpr Packing kPublished[] = {
    {1980, 1, 1, 0, 0, 0, 0x00210000},      {2011, 12, 31, 23, 59, 58, 0x3F9FBF7D},
    {2107, 12, 31, 23, 59, 58, 0xFF9FBF7D}, {2000, 2, 29, 12, 30, 44, 0x285D63D6},
    {2012, 7, 15, 7, 5, 8, 0x40EF38A4},     {1999, 12, 31, 23, 59, 59, 0x279FBF7D},
    {2100, 2, 28, 6, 0, 2, 0xF05C3001},     {2100, 3, 1, 0, 0, 0, 0xF0610000},
    {2038, 1, 19, 3, 14, 6, 0x743319C3},    {1996, 2, 29, 18, 45, 30, 0x205D95AF},
};

double ValueOf(const Packing& p, int second) {
    return Date(p.day, p.month, p.year) + DayFraction(p.hour, p.minute, second);
}

TEST(FileDateTest, PacksAsPublished) {
    for (const auto& p : kPublished) {
        EXPECT_EQ(TPDateTime(ValueOf(p, p.second)).FileDate(), p.packed) << p.year;
        TPDateTime back;
        back.SetFileDate(p.packed);
        EXPECT_NEAR(double(back), ValueOf(p, p.second & ~1), 1e-9) << p.year;
    }
}

TEST(FileDateTest, FieldsOfTheLastSecondOf2011) {
    const std::uint32_t packed =
        TPDateTime(Date(31, 12, 2011) + DayFraction(23, 59, 58)).FileDate();
    EXPECT_EQ(packed & 0x1F, 29u);
    EXPECT_EQ(packed >> 5 & 0x3F, 59u);
    EXPECT_EQ(packed >> 11 & 0x1F, 23u);
    EXPECT_EQ(packed >> 16 & 0x1F, 31u);
    EXPECT_EQ(packed >> 21 & 0x0F, 12u);
    EXPECT_EQ(packed >> 25, 31u);
}

TEST(FileDateTest, EveryDayOf1980To2107RoundTrips) {
    int i = 0;
    for (sys_days d = sys_days{year{1980} / 1 / 1}; d <= sys_days{year{2107} / 12 / 31};
         d += days{1}, ++i) {
        const year_month_day ymd{d};
        const int seconds = (i * 7919) % 86400 & ~1;  // an even second, different every day
        const int h = seconds / 3600, m = seconds / 60 % 60, s = seconds % 60;
        const double value = double(PackageDay(ymd)) + DayFraction(h, m, s);
        const std::uint32_t packed = TPDateTime(value).FileDate();
        const std::uint32_t expected = (std::uint32_t(int(ymd.year()) - 1980) << 25) |
                                       (unsigned(ymd.month()) << 21) | (unsigned(ymd.day()) << 16) |
                                       std::uint32_t(h << 11 | m << 5 | s / 2);
        ASSERT_EQ(packed, expected) << int(ymd.year()) << "-" << unsigned(ymd.month());
        TPDateTime back;
        back.SetFileDate(packed);
        ASSERT_NEAR(double(back), value, 1e-9);
    }
}

TEST(FileDateTest, LeapDayOf2100AndOddSeconds) {
    const std::uint32_t packed = TPDateTime(Date(29, 2, 2100) + 0.5).FileDate();
    EXPECT_EQ(packed >> 16, (120u << 9) | (2u << 5) | 29u);
    TPDateTime back;
    back.SetFileDate(packed);
    EXPECT_EQ(double(back), Date(29, 2, 2100) + 0.5);
    // Two-second resolution: an odd second is halved down.
    EXPECT_EQ(TPDateTime(Date(1, 1, 2000) + DayFraction(0, 0, 59)).FileDate() & 0x1F, 29u);
}

TEST(FileDateTest, ImpossibleFieldsGiveNoDate) {
    TPDateTime t(5.0);
    t.SetFileDate(0);  // day 0, month 0: time only, here midnight
    EXPECT_EQ(double(t), 0.0);
    t.SetFileDate(0x0000BF7D);  // a time without a date
    EXPECT_NEAR(double(t), DayFraction(23, 59, 58), 1e-12);
    t.SetFileDate(0x01A10000);  // month 13
    EXPECT_EQ(double(t), 0.0);
    // A seconds field of 31 (62 seconds) is read as given and runs into the next minute.
    t.SetFileDate(0x0021003F);
    EXPECT_NEAR(double(t), Date(1, 1, 1980) + DayFraction(0, 2, 2), 1e-12);
}

}  // namespace
