// Text forms: reading, assignment from text, printing, and reading back what was printed.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <string>
#include <tuple>

#include "TimeTestSupport.h"

using namespace tn;
using namespace timetest;

namespace {

TEST(TPDateTimeTextTest, TheTextConstructorReadsTheFormOfItsFlag) {
    ClockPin pin;
    Sprache = 0;
    // Forms printing never makes, and misfits. Flag 0 stands for assignment, which picks the
    // reading from the text's shape; 144, 150 and 161 read as 16, 22 and 33.
    const double kJul15 = PackageDay(year{2012} / 7 / 15), kMar2 = PackageDay(year{2012} / 3 / 2),
                 k0705 = DayFraction(7, 5, 0), k1230 = DayFraction(12, 30, 0),
                 k1h230 = DayFraction(1, 230, 0), k070509 = DayFraction(7, 5, 9),
                 k235959 = DayFraction(23, 59, 59), k103045 = DayFraction(10, 30, 45),
                 k25h = 25.0 / 24, kBoth = kJul15 + k103045, kNone = 0.0;
    const std::tuple<const char*, int, double> readings[] = {
        // clang-format off
        {"0705", 16, k0705}, {"12h30", 16, k1230}, {"12:30", 16, k1230}, {"1h230", 16, k1h230},
        {"7:05:09", 22, k070509}, {"07:05:09 UTC", 22, k070509}, {"23-59-59", 22, k235959},
        {"310212", 32, kMar2}, {"15.07.12", 40, kJul15}, {"15/07/2012", 40, kJul15},
        {"15-07-12xyz", 40, kJul15}, {"2012/07/15T10:00", 44, kJul15},
        {"xx0712103045", 33, k103045}, {"150712xx3045", 33, kJul15}, {"150712250000", 33, k25h},
        {"d2012JUL15 t103045", 43, k103045}, {"d2012Jul15_t103045", 43, kBoth},
        {"150712", 0, kJul15}, {"15.07.12", 0, kJul15}, {"7:05:09", 0, k070509},
        {"12h30", 0, k1230}, {"0705", 0, k0705}, {"x", 0, kNone}, {"12345", 0, kNone},
        {"nonsense", 0, kNone}, {"15 07 2012", 0, kNone}, {"123456789012345", 0, kNone},
        {"", 16, kNone}, {"070", 16, kNone}, {"12-30", 16, kNone}, {"h1230", 16, kNone},
        {"1230h", 16, kNone}, {"ab:cd", 16, kNone}, {"0705091", 16, kNone}, {"xx0509", 16, kNone},
        {"7-05:09", 22, kNone}, {"07:05", 22, kNone}, {"12:30:45.6", 24, kNone},
        {"12:30:45.ab", 24, kNone}, {"15071", 32, kNone}, {"1507120", 34, kNone},
        {"ab0712", 32, kNone}, {"1507ab", 34, kNone}, {"15071210304", 33, kNone},
        {"1507121030450", 33, kNone}, {"15.07.1", 40, kNone}, {"2012-07-1", 44, kNone},
        {"abcd-07-15", 44, kNone}, {"x2012Jul15 t103045", 43, kNone},
        {"d2012Jul15 x103045", 43, kNone}, {"d2012Jul15 t10304", 43, kNone},
        {"150712", 5, kNone}, {"150712", 42, kNone}, {"150712", 98, kNone}, {"150712", -1, kNone},
        {"150712103045", 17, kNone}, {"15.07.2012", 128, kNone},
        // clang-format on
    };
    for (const auto& [text, flag, value] : readings) {
        TPDateTime assigned(777.0);
        assigned = TPString(text);
        const int twin = flag == 16 ? 144 : flag == 22 ? 150 : flag == 33 ? 161 : flag;
        EXPECT_NEAR(flag ? Read(text, flag) : double(assigned), value, kTolerance) << text << flag;
        EXPECT_EQ(Read(text, twin), Read(text, flag)) << text << " " << twin;
    }
    // The readers replace the whole value; only the year's last two digits count; an unknown
    // month name leaves the value as it was.
    TPDateTime t(41000.0);
    t.GetTime6(TPString("070509"));
    EXPECT_NEAR(double(t), k070509, kTolerance);
    t.GetYYYYMMMDDString(TPString("d1985Jul15"));
    t.GetYYYYMMMDDString(TPString("d2012Mar15"));
    EXPECT_EQ(double(t), PackageDay(year{2085} / 7 / 15));
}

TEST(TPDateTimeTextTest, PrintingGivesTheFormOfEveryFlagAndReadingItGivesTheValueBack) {
    ClockPin pin;
    Sprache = 0;
    const TPDateTime t(Date(15, 7, 2012) + DayFraction(7, 5, 9, 67));
    std::string forms;
    for (int flag : {16, 144, 22, 150, 24, 32, 33, 161, 34, 40, 43, 44, 98, 0, 42, 99, -1})
        forms += ToStdString(t.String(flag)) + "|";
    EXPECT_EQ(forms,
              "070509|07:05|07:05:09|07:05:09|07:05:09.67|150712|150712070509|150712070509|"
              "120715|15.07.2012|d2012Jul15 t070509|2012-07-15|27F|||||");
    // IGC short dates in base 36; rounding to a hundredth may move the date.
    EXPECT_EQ(ToStdString(TPDateTime(Date(31, 12, 2019)).String(98)), "9CV");
    EXPECT_EQ(ToStdString(TPDateTime(Date(29, 2, 2100)).String(98)), "02T");
    const TPDateTime late(Date(31, 12, 2011) + 1.0 - 1e-9);
    EXPECT_EQ(ToStdString(late.String(33)) + " " + ToStdString(late.String(24)),
              "010112000000 00:00:00.00");
    EXPECT_EQ(ToStdString(TPDateTime(-1.5 / 24).String(22)), "22:30:00");  // the clock before 0:00
    // FormatString: fields in either case, month names of the language, quoted text.
    EXPECT_EQ(
        ToStdString(t.FormatString(TPString("d. mmmm yyyy, HH:NN:SS.ZZ 'Uhr' m/yy \"h\" mmm"))),
        "15. Juli 2012, 07:05:09.67 Uhr 7/12 h Jul");
    Sprache = 1;
    EXPECT_EQ(ToStdString(TPDateTime(Date(3, 3, 2012)).String(43)), "d2012Mar03 t000000");
    for (int i = 0; i < 4000; ++i) {
        // Days spread over 1990-2088 (two-digit years read back for 1990-2089 only).
        const double date = PackageDay(year_month_day{sys_days{year{1990} / 1 / 1} + days{i * 9}});
        const int h = i % 24, m = i * 7 % 60, s = i * 13 % 60, hs = i * 31 % 100;
        Sprache = i % 3;
        for (int flag : {16, 144, 22, 150, 24, 32, 33, 161, 34, 40, 43, 44}) {
            const bool timeOnly = flag < 32 || flag == 144 || flag == 150;
            const bool dateOnly = flag == 32 || flag == 34 || flag == 40 || flag == 44;
            const double kept =
                (timeOnly ? 0.0 : date) +
                (dateOnly ? 0.0 : DayFraction(h, m, flag == 144 ? 0 : s, flag == 24 ? hs : 0));
            const TPString printed = TPDateTime(date + DayFraction(h, m, s, hs)).String(flag);
            const TPDateTime back(printed, flag);
            ASSERT_NEAR(double(back), kept, kTolerance) << flag << " " << ToStdString(printed);
            TPDateTime assigned;
            assigned = printed;
            if (flag == 16 || flag == 34) continue;  // assignment reads six digits as DDMMYY
            ASSERT_NEAR(double(assigned), kept, kTolerance) << flag << " " << ToStdString(printed);
        }
    }
}

}  // namespace
