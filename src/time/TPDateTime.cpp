// TPDateTime: the day count, its conversions from calendar and clock fields, the device's
// packed clock bytes and the FAT date, and its arithmetic.
#include <tnpackage/geo/Constants.h>
#include <tnpackage/time/TPDateTime.h>

#include <algorithm>
#include <cmath>

#include "time/Calendar.h"

namespace tn {

using namespace calendar;

namespace {

constexpr int kDeviceStampLength = 6;  // day, month, year, hour, minute, second

// The FAT packing of date and time in one 32-bit word.
constexpr int kFatSecondShift = 1;  // seconds are stored halved
constexpr int kFatMinuteBits = 5, kFatHourBits = 11, kFatDayBits = 16, kFatMonthBits = 21,
              kFatYearBits = 25;
constexpr std::uint32_t kFatSecondMask = 0x1F, kFatMinuteMask = 0x3F, kFatHourMask = 0x1F,
                        kFatDayMask = 0x1F, kFatMonthMask = 0x0F, kFatYearMask = 0x7F;
constexpr int kFatEpochYear = 1980;

int PackedDecimal(unsigned char byte) {
    return (byte >> 4) * 10 + (byte & 0x0F);
}

double WholeDays(double value) {
    return std::floor(value);
}

// Converts a field for the short-typed conversions without wrapping.
short ClampToShort(int value) {
    return static_cast<short>(std::clamp(value, -32768, 32767));
}

// Date and time of a six-byte stamp whose bytes are already numbers.
double StampValue(const int (&field)[kDeviceStampLength]) {
    TPDateTime date;
    date.DateKonvert(ClampToShort(field[0]), ClampToShort(field[1]), ClampToShort(field[2]));
    TPDateTime time;
    time.TimeKonvert(ClampToShort(field[3]), ClampToShort(field[4]), ClampToShort(field[5]), 0);
    double value = time;
    if (value < 1.0) value += WholeDays(date);
    return value;
}

double DeviceStamp(const unsigned char* bytes, int length, int flag) {
    if (bytes == nullptr || length != kDeviceStampLength) return 0.0;
    double value = 0.0;
    int field[kDeviceStampLength];
    if (flag == PDateTimeFlag::DateTime || flag == PDateTimeFlag::DateTimeDevice) {
        for (int i = 0; i < kDeviceStampLength; ++i)
            field[i] = PackedDecimal(bytes[i]);
        value = StampValue(field);
    }
    // Deliberately no else: the packed flags fall through to the binary reading, which
    // replaces what the packed one gave. Stamps written by the device rely on it.
    if (flag == PDateTimeFlag::DateTime || flag == PDateTimeFlag::DateTimeDevice ||
        flag == PDateTimeFlag::DeviceBinary) {
        for (int i = 0; i < kDeviceStampLength; ++i)
            field[i] = bytes[i];
        value = StampValue(field);
    }
    return value;
}

}  // namespace

namespace calendar {

bool DateOfDay(double wholeDays, int& day, int& month, int& year) {
    // Every fourth year from 1900 is a leap year, so the days fall into cycles of 1461 that
    // begin with a leap year; counting backwards continues the same cycles.
    constexpr double kFirstDay = 1.0 - (kEpochYear / 4) * double{kDaysPerLeapCycle};
    constexpr double kLastDay = kFirstDay + (65536 / 4) * double{kDaysPerLeapCycle} - 1.0;
    day = month = year = 0;
    if (!(wholeDays >= kFirstDay && wholeDays <= kLastDay)) return false;
    const long long sinceEpoch = static_cast<long long>(wholeDays) - 1;
    long long cycle = sinceEpoch / kDaysPerLeapCycle;
    long long rest = sinceEpoch % kDaysPerLeapCycle;
    if (rest < 0) {
        rest += kDaysPerLeapCycle;
        --cycle;
    }
    int yearInCycle = 0;
    if (rest >= kDaysPerYear + 1) {
        rest -= kDaysPerYear + 1;
        yearInCycle = 1 + static_cast<int>(rest / kDaysPerYear);
        rest %= kDaysPerYear;
    }
    const bool leap = yearInCycle == 0;
    year = kEpochYear + static_cast<int>(4 * cycle) + yearInCycle;
    int dayOfYear = static_cast<int>(rest);
    for (month = 1; month <= kMonths; ++month) {
        const int length = kMonthLength[month - 1] + (leap && month == kFebruary ? 1 : 0);
        if (dayOfYear < length) break;
        dayOfYear -= length;
    }
    day = dayOfYear + 1;
    return true;
}

Fields PrintedFields(double value) {
    Fields f;
    unsigned short hour = 0, minute = 0, second = 0, tenThousandths = 0;
    TPDateTime(value).DecodeTime(&hour, &minute, &second, &tenThousandths);
    f.hour = hour;
    f.minute = minute;
    f.second = second;
    f.hundredths = tenThousandths / 100;
    DateOfDay(std::floor(value + kHalfHundredth), f.day, f.month, f.year);
    return f;
}

}  // namespace calendar

TPDateTime::TPDateTime(int n, PDateTimeFlag f) {
    switch (f) {
        case PDateTimeFlag::Time:
            value_ = n * Sekunde;
            break;
        case PDateTimeFlag::Date:
            value_ = n;
            break;
        case PDateTimeFlag::DateTime:
            value_ = CurrentDateTime() + n;
            break;
        default:
            value_ = 0.0;
            break;
    }
}

TPDateTime::TPDateTime(const char* bytes, int length, PDateTimeFlag f)
    : TPDateTime(reinterpret_cast<const unsigned char*>(bytes), length, f) {}

TPDateTime::TPDateTime(const unsigned char* bytes, int length, PDateTimeFlag f)
    : value_(DeviceStamp(bytes, length, f)) {}

TPDateTime::TPDateTime(unsigned short day, unsigned short month, unsigned short year) {
    DateKonvert(ClampToShort(day), ClampToShort(month), ClampToShort(year));
}

TPDateTime::TPDateTime(unsigned short hour, unsigned short minute, unsigned short second,
                       unsigned short hundredths) {
    TimeKonvert(ClampToShort(hour), ClampToShort(minute), ClampToShort(second),
                ClampToShort(hundredths));
}

TPDateTime& TPDateTime::operator=(int n) {
    // The numbers of the three clock flags select a reading of the clock, never a day count.
    switch (n) {
        case PDateTimeFlag::Time:
            *this = CurrentTime();
            break;
        case PDateTimeFlag::Date:
            *this = CurrentDate();
            break;
        case PDateTimeFlag::DateTime:
            *this = CurrentDateTime();
            break;
        default:
            value_ = n;
            break;
    }
    return *this;
}

TPDateTime& TPDateTime::operator=(double days) {
    value_ = days;
    return *this;
}

TPDateTime& TPDateTime::operator+=(double days) {
    value_ += days;
    return *this;
}

TPDateTime& TPDateTime::operator-=(double days) {
    value_ -= days;
    return *this;
}

TPDateTime TPDateTime::operator+(double days) const {
    return TPDateTime(value_ + days);
}
TPDateTime TPDateTime::operator-(double days) const {
    return TPDateTime(value_ - days);
}

void TPDateTime::DateKonvert(short day, short month, short year) {
    value_ = 0.0;
    // Months past December have no length in the table; they are no date at all.
    if (day < 1 || month < 1 || month > kMonths) return;
    int fullYear = year;
    if (fullYear < kTwoDigitPivot) {
        fullYear += kCenturyOfLowYears;
    } else if (fullYear < kTwoDigitLimit) {
        fullYear += kCenturyOfHighYears;
    }
    const int y = fullYear - kEpochYear;
    // Truncating division, and the plain every-fourth-year rule: 1900 and 2100 are leap years.
    int days = kDaysPerYear * y + (y + 3) / 4;
    for (int m = 1; m < month; ++m) {
        days += kMonthLength[m - 1];
        if (m == kFebruary && y % 4 == 0) ++days;
    }
    value_ = days + day;
}

void TPDateTime::TimeKonvert(short hour, short minute, short second, short hundredths) {
    if (hour < 0 || minute < 0 || second < 0 || hundredths < 0) {
        value_ = 0.0;
        return;
    }
    value_ =
        ((((hundredths * 0.01 + second) / kSecondsPerMinute + minute) / kMinutesPerHour) + hour) /
        kHoursPerDay;
}

void TPDateTime::SetVXCTime(const unsigned char* bytes) {
    if (bytes == nullptr) {
        value_ = 0.0;
        return;
    }
    const int hour = PackedDecimal(bytes[0]), minute = PackedDecimal(bytes[1]),
              second = PackedDecimal(bytes[2]), tenths = PackedDecimal(bytes[3]);
    value_ = ((((tenths * 0.1 + second) / kSecondsPerMinute + minute) / kMinutesPerHour) + hour) /
             kHoursPerDay;
}

std::uint32_t TPDateTime::FileDate() const {
    unsigned short hour = 0, minute = 0, second = 0, day = 0, month = 0, year = 0;
    DecodeTime(&hour, &minute, &second, nullptr);
    DecodeDate(&day, &month, &year);
    // Unsigned arithmetic: years before 1980 wrap into the top bits instead of overflowing.
    const auto yearField = static_cast<std::uint32_t>(year) - kFatEpochYear;
    return (std::uint32_t{second} >> kFatSecondShift) | (std::uint32_t{minute} << kFatMinuteBits) |
           (std::uint32_t{hour} << kFatHourBits) | (std::uint32_t{day} << kFatDayBits) |
           (std::uint32_t{month} << kFatMonthBits) | (yearField << kFatYearBits);
}

void TPDateTime::SetFileDate(std::uint32_t packed) {
    TimeKonvert(static_cast<short>((packed >> kFatHourBits) & kFatHourMask),
                static_cast<short>((packed >> kFatMinuteBits) & kFatMinuteMask),
                static_cast<short>((packed & kFatSecondMask) << kFatSecondShift), 0);
    TPDateTime date;
    date.DateKonvert(static_cast<short>((packed >> kFatDayBits) & kFatDayMask),
                     static_cast<short>((packed >> kFatMonthBits) & kFatMonthMask),
                     static_cast<short>(kFatEpochYear + ((packed >> kFatYearBits) & kFatYearMask)));
    value_ += date;
}

int TPDateTime::Year() const {
    const double year = (value_ - 1.0) / 365.25 + kEpochYear;
    if (!(year > -2147483648.0 && year < 2147483648.0)) return 0;
    return static_cast<int>(year);
}

void TPDateTime::DecodeTime(unsigned short* hour, unsigned short* minute, unsigned short* second,
                            unsigned short* tenThousandths) const {
    double x = value_ + kHalfHundredth;
    if (!std::isfinite(x)) x = 0.0;
    x -= std::floor(x);
    // Each step cuts off the whole units and carries the remainder to the next smaller unit;
    // the clamps only catch the last bit of rounding at the top of a unit.
    auto cut = [&x](double scale, int limit) {
        x *= scale;
        const int whole = std::min(static_cast<int>(x), limit);
        x -= whole;
        return static_cast<unsigned short>(whole);
    };
    const unsigned short h = cut(kHoursPerDay, kHoursPerDay - 1);
    const unsigned short m = cut(kMinutesPerHour, kMinutesPerHour - 1);
    const unsigned short s = cut(kSecondsPerMinute, kSecondsPerMinute - 1);
    const unsigned short t = cut(kTenThousandthsPerSecond, kTenThousandthsPerSecond - 1);
    if (hour) *hour = h;
    if (minute) *minute = m;
    if (second) *second = s;
    if (tenThousandths) *tenThousandths = t;
}

void TPDateTime::DecodeDate(unsigned short* day, unsigned short* month,
                            unsigned short* year) const {
    int d = 0, m = 0, y = 0;
    DateOfDay(WholeDays(value_), d, m, y);
    if (day) *day = static_cast<unsigned short>(d);
    if (month) *month = static_cast<unsigned short>(m);
    if (year) *year = static_cast<unsigned short>(y);
}

}  // namespace tn
