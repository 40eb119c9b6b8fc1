// Printing: the form of every flag, and reading back what was printed.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <random>
#include <string>

#include "TimeTestSupport.h"

using namespace tn;
using namespace timetest;

namespace {

std::string Text(const TPString& s) {
    return s.c_str() ? s.c_str() : "";
}

const double kSample = Date(15, 7, 2012) + DayFraction(7, 5, 9, 67);

TEST(TPDateTimeStringTest, FormOfEveryFlag) {
    ClockPin pin;
    Sprache = 0;
    const TPDateTime t(kSample);
    EXPECT_EQ(Text(t.String(16)), "070509");
    EXPECT_EQ(Text(t.String(144)), "07:05");
    EXPECT_EQ(Text(t.String(22)), "07:05:09");
    EXPECT_EQ(Text(t.String(150)), "07:05:09");
    EXPECT_EQ(Text(t.String(24)), "07:05:09.67");
    EXPECT_EQ(Text(t.String(32)), "150712");
    EXPECT_EQ(Text(t.String(33)), "150712070509");
    EXPECT_EQ(Text(t.String(161)), "150712070509");
    EXPECT_EQ(Text(t.String(34)), "120715");
    EXPECT_EQ(Text(t.String(40)), "15.07.2012");
    EXPECT_EQ(Text(t.String(43)), "d2012Jul15 t070509");
    EXPECT_EQ(Text(t.String(44)), "2012-07-15");
    EXPECT_EQ(Text(t.String(98)), "27F");
    EXPECT_EQ(Text(t.String(PDateTimeFlag::IGCShortDate)), "27F");
    EXPECT_EQ(Text(t.DateString()), "15.07.2012");
    EXPECT_EQ(Text(t.TimeString()), "07:05:09");
    for (int flag : {0, 5, 42, 99, 128, -1})
        EXPECT_EQ(Text(t.String(flag)), "") << flag;
    Sprache = 1;
    EXPECT_EQ(Text(TPDateTime(Date(3, 3, 2012)).String(43)), "d2012Mar03 t000000");
    Sprache = 0;
    EXPECT_EQ(Text(TPDateTime(Date(3, 3, 2012)).String(43)), "d2012Mrz03 t000000");
}

TEST(TPDateTimeStringTest, IGCShortDateUsesBase36Digits) {
    EXPECT_EQ(Text(TPDateTime(Date(31, 12, 2019)).String(98)), "9CV");
    EXPECT_EQ(Text(TPDateTime(Date(1, 1, 2020)).String(98)), "011");
    EXPECT_EQ(Text(TPDateTime(Date(10, 10, 2008)).String(98)), "8AA");
    EXPECT_EQ(Text(TPDateTime(Date(29, 2, 2100)).String(98)), "02T");
}

TEST(TPDateTimeStringTest, RoundingToAHundredthMovesTheDateToo) {
    const TPDateTime late(Date(31, 12, 2011) + 1.0 - 1e-9);
    EXPECT_EQ(Text(late.String(33)), "010112000000");
    EXPECT_EQ(Text(late.String(40)), "01.01.2012");
    EXPECT_EQ(Text(late.String(24)), "00:00:00.00");
    const TPDateTime justBefore(Date(31, 12, 2011) + DayFraction(23, 59, 59, 99));
    EXPECT_EQ(Text(justBefore.String(24)), "23:59:59.99");
    EXPECT_EQ(Text(justBefore.String(40)), "31.12.2011");
    // A time of day before midnight prints as that clock time.
    EXPECT_EQ(Text(TPDateTime(-1.5 / 24).String(22)), "22:30:00");
}

// What a form keeps of a value made of these fields.
struct Sample {
    int day, month, year, hour, minute, second, hundredths;
    double Value() const {
        return Date(day, month, year) + DayFraction(hour, minute, second, hundredths);
    }
};

double Kept(const Sample& s, int flag) {
    const double date = Date(s.day, s.month, s.year);
    switch (flag) {
        case 16:
        case 22:
        case 150:
            return DayFraction(s.hour, s.minute, s.second);
        case 144:
            return DayFraction(s.hour, s.minute, 0);
        case 24:
            return DayFraction(s.hour, s.minute, s.second, s.hundredths);
        case 32:
        case 34:
        case 40:
        case 44:
            return date;
        default:
            return date + DayFraction(s.hour, s.minute, s.second);  // 33, 161, 43
    }
}

TEST(TPDateTimeStringTest, ReadingWhatWasPrintedGivesTheValueBack) {
    ClockPin pin;
    std::mt19937 random(20120715);
    auto between = [&random](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    const int readable[] = {16, 144, 22, 150, 24, 32, 33, 161, 34, 40, 43, 44};
    for (int i = 0; i < 4000; ++i) {
        const sys_days d = sys_days{year{1990} / 1 / 1} + days{between(0, 36524)};  // to 2089
        const year_month_day ymd{d};
        const Sample s{int(unsigned(ymd.day())),
                       int(unsigned(ymd.month())),
                       int(ymd.year()),
                       between(0, 23),
                       between(0, 59),
                       between(0, 59),
                       between(0, 99)};
        Sprache = i % 3;
        for (int flag : readable) {
            const TPString printed = TPDateTime(s.Value()).String(flag);
            const TPDateTime back(printed, flag);
            ASSERT_NEAR(double(back), Kept(s, flag), 1e-9) << flag << " " << Text(printed);
            ASSERT_EQ(Text(back.String(flag)), Text(printed));
            TPDateTime assigned;
            assigned = printed;
            if (flag != 16 && flag != 34) {  // six digits are read as DDMMYY on assignment
                ASSERT_NEAR(double(assigned), Kept(s, flag), 1e-9) << flag << " " << Text(printed);
            }
        }
    }
}

TEST(TPDateTimeStringTest, FourDigitYearFormsRoundTripEveryDayOf1900To2107) {
    for (double v = 1.0; v <= Date(31, 12, 2107); v += 1.0) {
        for (int flag : {40, 44}) {
            const TPString printed = TPDateTime(v + 0.5).String(flag);
            ASSERT_EQ(double(TPDateTime(printed, flag)), v) << Text(printed);
        }
    }
    EXPECT_EQ(Text(TPDateTime(60.0).String(40)), "29.02.1900");
    EXPECT_EQ(Text(TPDateTime(Date(29, 2, 2100)).String(44)), "2100-02-29");
}

TEST(TPDateTimeStringTest, TestDateIsTheFifteenthOfMay2100) {
    EXPECT_EQ(Text(TestDate.DateString()), "15.05.2100");
    EXPECT_EQ(double(TestDate), double(PackageDay(year{2100} / 5 / 15)));
}

}  // namespace

namespace {

std::string Formatted(double value, const char* pattern) {
    return Text(TPDateTime(value).FormatString(TPString(pattern, 0)));
}

TEST(TPDateTimeStringTest, FormatStringFillsAPatternOfFields) {
    ClockPin pin;
    Sprache = 0;
    EXPECT_EQ(Formatted(kSample, "dd.mm.yyyy hh:nn:ss"), "15.07.2012 07:05:09");
    EXPECT_EQ(Formatted(kSample, "DD.MM.YYYY HH:NN:SS.ZZ"), "15.07.2012 07:05:09.67");
    EXPECT_EQ(Formatted(kSample, "d. mmmm yyyy, hh:nn 'Uhr'"), "15. Juli 2012, 07:05 Uhr");
    EXPECT_EQ(Formatted(kSample, "d.m.yy h:n:s"), "15.7.12 7:5:9");
    EXPECT_EQ(Formatted(kSample, "dmmmyy"), "15Jul12");
    EXPECT_EQ(Formatted(kSample, "\"day\" d"), "day 15");
    EXPECT_EQ(Formatted(kSample, "'open"), "open");
    EXPECT_EQ(Formatted(kSample, "yyyyyy"), "201212");
    EXPECT_EQ(Formatted(kSample, "-/ ,x"), "-/ ,x");
    EXPECT_EQ(Formatted(kSample, ""), "");
    EXPECT_EQ(Formatted(Date(3, 3, 2012), "d. mmmm"), "3. M\xE4rz");
    Sprache = 1;
    EXPECT_EQ(Formatted(kSample, "d. mmmm yyyy"), "15. July 2012");
    EXPECT_EQ(Formatted(Date(3, 3, 2012), "mmm mmmm"), "Mar March");
    EXPECT_EQ(Formatted(Date(3, 8, 2012), "mmmm"), "August");  // no English entry: German
    // The same fields as the fixed forms.
    for (double v = 30000.0; v < 50000.0; v += 123.4567) {
        const TPDateTime t(v);
        ASSERT_EQ(Formatted(v, "dd.mm.yyyy"), Text(t.DateString()));
        ASSERT_EQ(Formatted(v, "hh:nn:ss"), Text(t.TimeString()));
        ASSERT_EQ(Formatted(v, "ddmmyyhhnnss"), Text(t.String(33)));
    }
}

}  // namespace
