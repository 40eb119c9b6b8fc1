// The fixed-position readers of flight-file fields, the text constructor and assignment from
// text.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include "TimeTestSupport.h"

using namespace tn;
using namespace timetest;

namespace {

constexpr double kTolerance = 1e-9;

double Read(const char* text, int flag) {
    return TPDateTime(TPString(text, 0), flag);
}

double Assigned(const char* text) {
    TPDateTime t(777.0);
    t = TPString(text, 0);
    return t;
}

const double kJuly15 = double(PackageDay(year{2012} / 7 / 15));

TEST(TPDateTimeReadersTest, DateReaders) {
    TPDateTime t;
    t.GetDate6(TPString("150712", 0));
    EXPECT_EQ(double(t), kJuly15);
    t = 0.0;
    t.GetDateInvers6(TPString("120715", 0));
    EXPECT_EQ(double(t), kJuly15);
    for (const char* text : {"15.07.12", "15.07.2012", "15/07/2012", "15-07-12xyz"}) {
        t = 0.0;
        t.GetDate8(TPString(text, 0));
        EXPECT_EQ(double(t), kJuly15) << text;
    }
    t.GetDate8(TPString("15.07.1985", 0));
    EXPECT_EQ(double(t), double(PackageDay(year{1985} / 7 / 15)));
    t.GetDate6(TPString("150790", 0));
    EXPECT_EQ(double(t), double(PackageDay(year{1990} / 7 / 15)));
    t.GetDate6(TPString("290200", 0));
    EXPECT_EQ(double(t), double(PackageDay(year{2000} / 2 / 29)));
}

TEST(TPDateTimeReadersTest, TimeReaders) {
    TPDateTime t;
    t.GetTime8(TPString("07:05:09", 0));
    EXPECT_NEAR(double(t), DayFraction(7, 5, 9), kTolerance);
    t = 41000.0;  // the readers replace the value, date included
    t.GetTime6(TPString("070509", 0));
    EXPECT_NEAR(double(t), DayFraction(7, 5, 9), kTolerance);
    t.GetTime4(TPString("0705", 0));
    EXPECT_NEAR(double(t), DayFraction(7, 5, 0), kTolerance);
    t.GetTime8(TPString("23-59-59", 0));  // separators are not checked
    EXPECT_NEAR(double(t), DayFraction(23, 59, 59), kTolerance);
    t.GetTime6(TPString("250000", 0));  // hours are not checked either
    EXPECT_NEAR(double(t), 25.0 / 24, kTolerance);
}

TEST(TPDateTimeReadersTest, AFieldThatIsNoNumberGivesZero) {
    TPDateTime t(5.0);
    for (const char* text : {"ab0712", "15ab12", "1507ab", "", "15"}) {
        t = 5.0;
        t.GetDate6(TPString(text, 0));
        EXPECT_EQ(double(t), 0.0) << text;
    }
    for (const char* text : {"xx0509", "07xx09", "0705xx", "07"}) {
        t = 5.0;
        t.GetTime6(TPString(text, 0));
        EXPECT_EQ(double(t), 0.0) << text;
    }
    t = 5.0;
    t.GetDate8(TPString("15.07.", 0));
    EXPECT_EQ(double(t), 0.0);
}

TEST(TPDateTimeReadersTest, MonthNamesOfTheCurrentLanguage) {
    ClockPin pin;  // restores Sprache
    Sprache = 0;
    TPDateTime t;
    t.GetYYYYMMMDDString(TPString("d2012Jul15", 0));
    EXPECT_EQ(double(t), kJuly15);
    t.GetYYYYMMMDDString(TPString("d2012Mrz03", 0));
    EXPECT_EQ(double(t), double(PackageDay(year{2012} / 3 / 3)));
    t.GetYYYYMMMDDString(TPString("d2012Dez24", 0));
    EXPECT_EQ(double(t), double(PackageDay(year{2012} / 12 / 24)));
    // Only the last two digits of the year count: 1985 reads as 2085.
    t.GetYYYYMMMDDString(TPString("d1985Jul15", 0));
    EXPECT_EQ(double(t), double(PackageDay(year{2085} / 7 / 15)));
    // An unknown name leaves the value as it was; the comparison is exact.
    t = 123.0;
    t.GetYYYYMMMDDString(TPString("d2012Mar03", 0));
    EXPECT_EQ(double(t), 123.0);
    t.GetYYYYMMMDDString(TPString("d2012JUL15", 0));
    EXPECT_EQ(double(t), 123.0);
    Sprache = 1;
    t.GetYYYYMMMDDString(TPString("d2012Mar03", 0));
    EXPECT_EQ(double(t), double(PackageDay(year{2012} / 3 / 3)));
    t = 123.0;
    t.GetYYYYMMMDDString(TPString("d2012Mrz03", 0));
    EXPECT_EQ(double(t), 123.0);
    t.GetYYYYMMMDDString(TPString("d2012Jan03", 0));  // English falls back to the German "Jan"
    EXPECT_EQ(double(t), double(PackageDay(year{2012} / 1 / 3)));
    Sprache = 2;  // no third-language names: the German ones
    t.GetYYYYMMMDDString(TPString("d2012Okt03", 0));
    EXPECT_EQ(double(t), double(PackageDay(year{2012} / 10 / 3)));
}

TEST(TPDateTimeReadersTest, TextConstructorTimes) {
    for (int flag : {16, 144}) {
        EXPECT_NEAR(Read("0705", flag), DayFraction(7, 5, 0), kTolerance);
        EXPECT_NEAR(Read("12h30", flag), DayFraction(12, 30, 0), kTolerance);
        EXPECT_NEAR(Read("12:30", flag), DayFraction(12, 30, 0), kTolerance);
        EXPECT_NEAR(Read("1h230", flag), DayFraction(1, 230, 0), kTolerance);
        EXPECT_NEAR(Read("070509", flag), DayFraction(7, 5, 9), kTolerance);
        for (const char* bad : {"", "070", "12-30", "h1230", "1230h", "ab:cd", "0705091"}) {
            EXPECT_EQ(Read(bad, flag), 0.0) << bad << " " << flag;
        }
    }
    for (int flag : {22, 150}) {
        EXPECT_NEAR(Read("07:05:09", flag), DayFraction(7, 5, 9), kTolerance);
        EXPECT_NEAR(Read("7:05:09", flag), DayFraction(7, 5, 9), kTolerance);
        EXPECT_NEAR(Read("07:05:09 UTC", flag), DayFraction(7, 5, 9), kTolerance);
        EXPECT_EQ(Read("7-05:09", flag), 0.0);
        EXPECT_EQ(Read("07:05", flag), 0.0);
    }
    EXPECT_NEAR(Read("12:30:45.67", 24), DayFraction(12, 30, 45, 67), kTolerance);
    EXPECT_EQ(Read("12:30:45.6", 24), 0.0);
    EXPECT_EQ(Read("12:30:45.ab", 24), 0.0);
}

TEST(TPDateTimeReadersTest, TextConstructorDates) {
    EXPECT_EQ(double(TPDateTime(TPString("150712", 0), 32)), kJuly15);
    EXPECT_EQ(Read("15071", 32), 0.0);
    EXPECT_EQ(Read("1507120", 32), 0.0);
    EXPECT_EQ(Read("310212", 32), double(PackageDay(year{2012} / 3 / 2)));  // 31 February
    EXPECT_EQ(Read("120715", 34), kJuly15);
    EXPECT_EQ(Read("1207150", 34), 0.0);
    EXPECT_EQ(Read("15.07.2012", 40), kJuly15);
    EXPECT_EQ(Read("15.07.12", 40), kJuly15);
    EXPECT_EQ(Read("15.07.1", 40), 0.0);
    EXPECT_EQ(Read("2012-07-15", 44), kJuly15);
    EXPECT_EQ(Read("2012/07/15T10:00", 44), kJuly15);
    EXPECT_EQ(Read("2012-07-1", 44), 0.0);
    EXPECT_EQ(Read("2100-02-29", 44), double(PackageDay(year{2100} / 2 / 28)) + 1.0);
    EXPECT_EQ(Read("abcd-07-15", 44), 0.0);
}

TEST(TPDateTimeReadersTest, TextConstructorDatesWithTimes) {
    const double expected = kJuly15 + DayFraction(10, 30, 45);
    for (int flag : {33, 161}) {
        EXPECT_NEAR(Read("150712103045", flag), expected, kTolerance);
        // A failed date leaves the time; a failed time leaves the date.
        EXPECT_NEAR(Read("xx0712103045", flag), DayFraction(10, 30, 45), kTolerance);
        EXPECT_EQ(Read("150712xx3045", flag), kJuly15);
        // A time of a day or more keeps no date.
        EXPECT_NEAR(Read("150712250000", flag), 25.0 / 24, kTolerance);
        EXPECT_EQ(Read("15071210304", flag), 0.0);
        EXPECT_EQ(Read("1507121030450", flag), 0.0);
    }
    ClockPin pin;
    Sprache = 0;
    EXPECT_NEAR(Read("d2012Jul15 t103045", 43), expected, kTolerance);
    EXPECT_NEAR(Read("d2012Jul15_t103045", 43), expected, kTolerance);
    EXPECT_EQ(Read("x2012Jul15 t103045", 43), 0.0);
    EXPECT_EQ(Read("d2012Jul15 x103045", 43), 0.0);
    EXPECT_EQ(Read("d2012Jul15 t10304", 43), 0.0);
    EXPECT_NEAR(Read("d2012Xyz15 t103045", 43), DayFraction(10, 30, 45), kTolerance);
}

TEST(TPDateTimeReadersTest, FlagsWithoutAReadingGiveZero) {
    for (int flag : {0, 5, 7, 17, 42, 98, 128, 255, -1}) {
        EXPECT_EQ(Read("150712", flag), 0.0) << flag;
        EXPECT_EQ(Read("150712103045", flag), 0.0) << flag;
    }
}

TEST(TPDateTimeReadersTest, AssignmentPicksTheReadingFromTheShape) {
    ClockPin pin;
    Sprache = 0;
    EXPECT_EQ(Assigned("150712"), kJuly15);
    EXPECT_NEAR(Assigned("150712103045"), kJuly15 + DayFraction(10, 30, 45), kTolerance);
    EXPECT_NEAR(Assigned("07:05:09"), DayFraction(7, 5, 9), kTolerance);
    EXPECT_NEAR(Assigned("7:05:09"), DayFraction(7, 5, 9), kTolerance);
    EXPECT_NEAR(Assigned("12:30:45.67"), DayFraction(12, 30, 45, 67), kTolerance);
    EXPECT_EQ(Assigned("15.07.2012"), kJuly15);
    EXPECT_EQ(Assigned("15.07.12"), kJuly15);
    EXPECT_EQ(Assigned("2012-07-15"), kJuly15);
    EXPECT_NEAR(Assigned("12h30"), DayFraction(12, 30, 0), kTolerance);
    EXPECT_NEAR(Assigned("12:30"), DayFraction(12, 30, 0), kTolerance);
    EXPECT_NEAR(Assigned("0705"), DayFraction(7, 5, 0), kTolerance);
    EXPECT_NEAR(Assigned("d2012Jul15 t103045"), kJuly15 + DayFraction(10, 30, 45), kTolerance);
    for (const char* text : {"", "x", "12345", "nonsense", "15 07 2012", "123456789012345"}) {
        EXPECT_EQ(Assigned(text), 0.0) << text;
    }
}

}  // namespace
