// The date-time readers: the text constructor for every flag, assignment from text, the
// fixed-position readers, the device's clock bytes and packed FAT dates, and pattern printing.
//
// Invariants: every reading is a finite number; reading what a form printed and printing again
// settles on one text; a value made from fields comes back from every form at its resolution;
// a valid packed FAT date survives unpacking and packing.
#include <cmath>
#include <cstdint>
#include <string>

#include "FuzzSupport.h"

namespace {

using tn::PDateTimeFlag;
using tn::TPDateTime;
using tn::TPString;
using tn::fuzz::Bytes;

// Every flag with a text form, the byte-only one and a few without any form.
constexpr int kFlags[] = {16, 144, 22, 150, 24, 32, 33, 161, 34, 40, 43, 44, 98, 42, 0, 1, -1};
constexpr int kFlagCount = sizeof kFlags / sizeof kFlags[0];

bool Finite(double v) {
    return std::isfinite(v);
}

bool TimeOnly(int flag) {
    return flag == 16 || flag == 144 || flag == 22 || flag == 150 || flag == 24;
}

bool SameText(const TPString& a, const TPString& b) {
    return TPString::StrCmpS(a.c_str(), b.c_str());
}

// Years whose dates print and read back: four digits at most, and not before 1897, from where
// back the truncating division of DateKonvert gives some days two dates (31 December 1896 and
// 1 January 1897 are the same day), so that no reading can invert every printing.
bool PrintableYear(double value) {
    unsigned short day = 0, month = 0, year = 0;
    TPDateTime(value + 1.0).DecodeDate(&day, &month, &year);  // a margin for rounding up
    return year >= 1898 && year <= 9998;
}

void ReadText(Bytes& in) {
    const std::uint8_t selector = in.Byte();
    const int flag = selector < kFlagCount ? kFlags[selector] : static_cast<int>(in.Long());
    const std::string text = tn::fuzz::Text(in.Rest());
    const auto exact = tn::fuzz::ExactCopy(text);
    const TPString owned(exact.get());  // an owned copy of exact size
    const TPString borrowed(static_cast<const char*>(exact.get()), 0u);  // no copy

    const TPDateTime read(owned, flag);
    TN_FUZZ_CHECK(Finite(read));
    TN_FUZZ_CHECK(double(TPDateTime(borrowed, flag)) == double(read));

    TPDateTime assigned;
    assigned = owned;
    TN_FUZZ_CHECK(Finite(assigned));

    TPDateTime fixed;
    fixed.GetDate6(owned);
    TN_FUZZ_CHECK(Finite(fixed));
    fixed.GetDateInvers6(owned);
    TN_FUZZ_CHECK(Finite(fixed));
    fixed.GetDate8(owned);
    TN_FUZZ_CHECK(Finite(fixed));
    fixed.GetYYYYMMMDDString(owned);
    TN_FUZZ_CHECK(Finite(fixed));
    fixed.GetTime6(owned);
    TN_FUZZ_CHECK(Finite(fixed));
    fixed.GetTime8(owned);
    TN_FUZZ_CHECK(Finite(fixed));
    fixed.GetTime4(owned);
    TN_FUZZ_CHECK(Finite(fixed));

    // Print and read again: the second print is the text the form settles on (the first one
    // may still narrow a year the form shows with fewer digits than it was read with).
    const TPString first = read.String(flag);
    if (first.IsEmpty() || flag == PDateTimeFlag::IGCShortDate) return;
    if (!TimeOnly(flag) && !PrintableYear(read)) return;
    const TPDateTime again(first, flag);
    TN_FUZZ_CHECK(Finite(again));
    const TPString second = again.String(flag);
    if (TimeOnly(flag)) TN_FUZZ_CHECK(SameText(first, second));
    const TPString third = TPDateTime(second, flag).String(flag);
    TN_FUZZ_CHECK(SameText(second, third));
}

int DaysInMonth(int month, int year) {
    constexpr int kLength[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return kLength[month - 1] + (month == 2 && year % 4 == 0 ? 1 : 0);
}

bool Near(double a, double b) {
    return std::fabs(a - b) < 1e-9;  // well below half a hundredth of a second (5.8e-8 days)
}

// A value from fields (years 1990-2089, which every form prints and reads back) through every
// form.
void PrintAndRead(Bytes& in) {
    const int year = 1990 + in.Byte() % 100;
    const int month = 1 + in.Byte() % 12;
    const int day = 1 + in.Byte() % DaysInMonth(month, year);
    const int hour = in.Byte() % 24, minute = in.Byte() % 60, second = in.Byte() % 60;
    const int hundredths = in.Byte() % 100;
    using u16 = unsigned short;
    const TPDateTime date{u16(day), u16(month), u16(year)};
    const auto time = [&](int h, int m, int s, int hh) {
        return double(TPDateTime(u16(h), u16(m), u16(s), u16(hh)));
    };
    const TPDateTime value(double(date) + time(hour, minute, second, hundredths));

    unsigned short d = 0, mo = 0, y = 0, h = 0, mi = 0, s = 0, tt = 0;
    value.DecodeDate(&d, &mo, &y);
    value.DecodeTime(&h, &mi, &s, &tt);
    TN_FUZZ_CHECK(d == day && mo == month && y == year);
    TN_FUZZ_CHECK(h == hour && mi == minute && s == second && tt / 100 == hundredths);

    const double seconds = double(date) + time(hour, minute, second, 0);
    const struct {
        int flag;
        double expected;
    } forms[] = {{16, time(hour, minute, second, 0)},
                 {144, time(hour, minute, 0, 0)},
                 {22, time(hour, minute, second, 0)},
                 {150, time(hour, minute, second, 0)},
                 {24, time(hour, minute, second, hundredths)},
                 {32, date},
                 {34, date},
                 {40, date},
                 {44, date},
                 {33, seconds},
                 {161, seconds},
                 {43, seconds}};
    for (const auto& form : forms) {
        const TPString printed = value.String(form.flag);
        TN_FUZZ_CHECK(Near(TPDateTime(printed, form.flag), form.expected));
    }
    // Assignment from text recognises the forms by their shape.
    for (const int flag : {24, 33, 40, 44, 43}) {
        TPDateTime assigned;
        assigned = value.String(flag);
        TN_FUZZ_CHECK(Near(assigned, TPDateTime(value.String(flag), flag)));
    }

    const TPString igc = value.String(PDateTimeFlag::IGCShortDate);
    TN_FUZZ_CHECK(igc.Length() == 3 && igc[1] == '0' + year % 10 &&
                  igc[2] == tn::Mod36Char(static_cast<char>(month)) &&
                  igc[3] == tn::Mod36Char(static_cast<char>(day)));
    TN_FUZZ_CHECK(SameText(value.FormatString(TPString("dd.mm.yyyy hh:nn:ss", 0)),
                           value.DateString() + " " + value.TimeString()));

    TPDateTime fat;
    fat.SetFileDate(value.FileDate());
    TN_FUZZ_CHECK(Near(fat, double(date) + time(hour, minute, second - second % 2, 0)));
}

bool ValidFatDate(std::uint32_t packed) {
    const int second = static_cast<int>(packed & 0x1F) * 2, minute = (packed >> 5) & 0x3F;
    const int hour = (packed >> 11) & 0x1F, day = (packed >> 16) & 0x1F;
    const int month = (packed >> 21) & 0x0F, year = 1980 + static_cast<int>(packed >> 25);
    return second < 60 && minute < 60 && hour < 24 && month >= 1 && month <= 12 && day >= 1 &&
           day <= DaysInMonth(month, year);
}

void ByteForms(Bytes& in) {
    const std::uint32_t packed = in.Long();
    TPDateTime fat;
    fat.SetFileDate(packed);
    TN_FUZZ_CHECK(Finite(fat));
    if (ValidFatDate(packed)) TN_FUZZ_CHECK(fat.FileDate() == packed);

    const int flag = kFlags[in.Byte() % kFlagCount];
    const std::string stampBytes = in.Take(in.Byte() % 8);
    const auto stamp = tn::fuzz::ExactBytes(stampBytes);
    TN_FUZZ_CHECK(Finite(TPDateTime(stamp.get(), static_cast<int>(stampBytes.size()), flag)));

    const auto clock = tn::fuzz::ExactBytes(in.Take(4) + std::string(4, '\0'));
    TPDateTime vxc;
    vxc.SetVXCTime(reinterpret_cast<const unsigned char*>(clock.get()));
    TN_FUZZ_CHECK(Finite(vxc));
}

void FormatPattern(Bytes& in) {
    const auto days = static_cast<std::int32_t>(in.Long());
    const double value = days / 256.0;
    const std::string pattern = tn::fuzz::Text(in.Rest());
    const auto exact = tn::fuzz::ExactCopy(pattern);
    const TPString text = TPDateTime(value).FormatString(TPString(exact.get()));
    // A pattern without field letters and quotes is printed as it stands.
    if (pattern.find_first_of("yYmMdDhHnNsSzZ\"'") == std::string::npos) {
        TN_FUZZ_CHECK(pattern == tn::ToStdString(text));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tn::fuzz::Quiet();
    Bytes in(data, size);
    switch (in.Byte() % 4) {
        case 0:
            ReadText(in);
            break;
        case 1:
            PrintAndRead(in);
            break;
        case 2:
            ByteForms(in);
            break;
        default:
            FormatPattern(in);
            break;
    }
    return 0;
}
