// The package's date-time value: one double counting days, the time of day as its fraction.
//
// Day 1 is 1 January 1900, and 1900 counts as a leap year (29 February 1900 is day 60), so from
// 1 March 1900 (day 61) on the value equals the usual spreadsheet / RTL date serial: 1 January
// 2000 is 36526. Every fourth year is a leap year, 2100 included. The value 0 means "no date";
// every failed conversion gives 0. Nothing here throws or warns.
//
// Text forms of PDateTimeFlag. The text constructor reads a form only when the text has the
// length given; String(f) prints exactly that form, so reading what was printed gives the value
// back at the form's resolution (two-digit years read back only for 1990-2089):
//
//   flag  name                 printed form            read when the text has
//   ----  -------------------  ----------------------  -----------------------------------------
//    16   Time                 HHMMSS                  4 (HHMM), 5 (H..hMM or H..:MM), 6 chars
//   144   TimeDevice           HH:MM                   as 16
//    22   TimeColon            HH:MM:SS                8 or more chars; 7 chars "H:MM:SS"
//   150   TimeColonDevice      HH:MM:SS                as 22
//    24   TimeHundredths       HH:MM:SS.hh             exactly 11 chars (fields 1-2, 4-5, 7-8,
//                                                      10-11 through TimeKonvert)
//    32   Date                 DDMMYY                  exactly 6 chars
//    33   DateTime             DDMMYYHHMMSS            exactly 12 chars
//   161   DateTimeDevice       DDMMYYHHMMSS            as 33
//    34   DateInverse          YYMMDD                  exactly 6 chars
//    40   DateDotted           DD.MM.YYYY              more than 7 chars (DD.MM.YY or DD.MM.YYYY)
//    43   MonthNameDateTime    dYYYYMmmDD tHHMMSS      exactly 18 chars, 'd' first, 't' twelfth;
//                                                      the month name in the language `Sprache`
//                                                      (pcaShortMonthName), only the year's last
//                                                      two digits are read
//    44   DateISO              YYYY-MM-DD              more than 9 chars
//    98   IGCShortDate         YMD                     not read: last digit of the year, month
//                                                      and day as base-36 digits 1-9, A-V
//    42   DeviceBinary         (none: byte form only)
//
// Any other flag prints an empty string and reads as 0. Hours print as the clock of the day
// (the date part is printed by the date fields; a time-only flag drops it).
//
// Assigning a text (operator=(TPString)) picks the reading from the text's shape: 18 chars with
// 'd' first and 't' twelfth -> 43; 12 chars -> 33; 11 chars with ':' third -> 24; 10 or more
// chars with '-' fifth -> 44; 8 or more chars with '.' third -> 40; 8 or more chars with ':'
// third, or 7 chars with ':' second -> 22; 4 chars, or 5 chars containing 'h' or ':' -> 16;
// 6 chars -> 32 (a date: six digits are read as DDMMYY, never as HHMMSS); anything else -> 0.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/text/TPString.h>

#include <cstdint>
#include <type_traits>

namespace tn {

/// A form selector. It is a plain 32-bit number that callers store in files and pass as
/// literals (`TPDateTime(90, 16)`), so it converts from and to int; the named values are the
/// readable spelling of the same numbers.
class PDateTimeFlag {
  public:
    constexpr PDateTimeFlag(int value) noexcept : value_(value) {}
    constexpr operator int() const noexcept { return value_; }

    static const PDateTimeFlag Time;               // 16
    static const PDateTimeFlag TimeColon;          // 22
    static const PDateTimeFlag TimeHundredths;     // 24
    static const PDateTimeFlag Date;               // 32
    static const PDateTimeFlag DateTime;           // 33
    static const PDateTimeFlag DateInverse;        // 34
    static const PDateTimeFlag DateDotted;         // 40
    static const PDateTimeFlag DeviceBinary;       // 42
    static const PDateTimeFlag MonthNameDateTime;  // 43
    static const PDateTimeFlag DateISO;            // 44
    static const PDateTimeFlag IGCShortDate;       // 98
    static const PDateTimeFlag TimeDevice;         // 144
    static const PDateTimeFlag TimeColonDevice;    // 150
    static const PDateTimeFlag DateTimeDevice;     // 161

  private:
    std::int32_t value_;
};

inline constexpr PDateTimeFlag PDateTimeFlag::Time{16};
inline constexpr PDateTimeFlag PDateTimeFlag::TimeColon{22};
inline constexpr PDateTimeFlag PDateTimeFlag::TimeHundredths{24};
inline constexpr PDateTimeFlag PDateTimeFlag::Date{32};
inline constexpr PDateTimeFlag PDateTimeFlag::DateTime{33};
inline constexpr PDateTimeFlag PDateTimeFlag::DateInverse{34};
inline constexpr PDateTimeFlag PDateTimeFlag::DateDotted{40};
inline constexpr PDateTimeFlag PDateTimeFlag::DeviceBinary{42};
inline constexpr PDateTimeFlag PDateTimeFlag::MonthNameDateTime{43};
inline constexpr PDateTimeFlag PDateTimeFlag::DateISO{44};
inline constexpr PDateTimeFlag PDateTimeFlag::IGCShortDate{98};
inline constexpr PDateTimeFlag PDateTimeFlag::TimeDevice{144};
inline constexpr PDateTimeFlag PDateTimeFlag::TimeColonDevice{150};
inline constexpr PDateTimeFlag PDateTimeFlag::DateTimeDevice{161};

class TN_EXPORT TPDateTime {
  public:
    // ---- construction -------------------------------------------------------------------------
    constexpr TPDateTime() noexcept = default;
    constexpr TPDateTime(double days) noexcept : value_(days) {}
    /// 16: n seconds; 32: n days; 33: the package clock's local date and time plus n days
    /// (TPDateTime::CurrentDateTime()); any other flag: 0.
    TPDateTime(int n, PDateTimeFlag f);
    /// A six-byte device time stamp (day, month, year, hour, minute, second). Flags 33 and 161
    /// first read the bytes as packed decimal, then, like 42, as plain binary numbers, and the
    /// binary reading is the result. Other flags or lengths, or no bytes, give 0.
    TPDateTime(const char* bytes, int length, PDateTimeFlag f);
    TPDateTime(const unsigned char* bytes, int length, PDateTimeFlag f);
    /// Reads the text in the form the flag selects (table above).
    TPDateTime(const TPString& text, PDateTimeFlag f);
    /// A date: DateKonvert(day, month, year).
    TPDateTime(unsigned short day, unsigned short month, unsigned short year);
    /// A time of day: TimeKonvert(hour, minute, second, hundredths).
    TPDateTime(unsigned short hour, unsigned short minute, unsigned short second,
               unsigned short hundredths);

    constexpr operator double() const noexcept { return value_; }

    // ---- assignment and arithmetic ------------------------------------------------------------
    /// The number is read as a flag: 16 the clock's time of day, 32 the clock's date, 33 its date
    /// and time (the TPDateTime clock members); any other n gives n days.
    TPDateTime& operator=(int n);
    TPDateTime& operator=(double days);
    /// Reads the text in the form its shape suggests (see the top of this header).
    TPDateTime& operator=(const TPString& text);

    TPDateTime& operator+=(double days);
    TPDateTime& operator-=(double days);
    TPDateTime operator+(double days) const;
    TPDateTime operator-(double days) const;
    // Whole numbers of days too, so that `t + 1` is not torn between this and double + int.
    template <class Number>
    requires std::is_arithmetic_v<Number> TPDateTime operator+(Number days) const {
        return TPDateTime(value_ + static_cast<double>(days));
    }
    template <class Number>
    requires std::is_arithmetic_v<Number> TPDateTime operator-(Number days) const {
        return TPDateTime(value_ - static_cast<double>(days));
    }

    // ---- conversions from fields --------------------------------------------------------------
    /// Date at time 0. Two-digit years: 0-89 are 2000-2089, 90-99 are 1990-1999 (every year
    /// below 90 counts, so -1 is 1999). Day and month below 1 give 0; months above 12 give 0
    /// too. The day is not checked against the month: 31 February lands in early March.
    void DateKonvert(short day, short month, short year);
    /// Time of day only (no date); any negative field gives 0. 24 hours or more give a value
    /// of a day or more.
    void TimeKonvert(short hour, short minute, short second, short hundredths);
    /// Time of day from four packed-decimal bytes: hour, minute, second, tenths of a second.
    void SetVXCTime(const unsigned char* bytes);
    /// The value from a packed FAT date and time (two-second resolution).
    void SetFileDate(std::uint32_t packed);
    /// The packed FAT date and time: seconds/2 in bits 0-4, minute 5-10, hour 11-15, day 16-20,
    /// month 21-24, year - 1980 in 25-31 (meaningful for 1980-2107; other years wrap).
    std::uint32_t FileDate() const;

    // ---- fixed-position text readers (value replaced; a field that is not a number, or is
    // negative, gives 0) ---------------------------------------------------------------------
    void GetDate6(const TPString& text);        ///< DDMMYY
    void GetDateInvers6(const TPString& text);  ///< YYMMDD
    void GetDate8(const TPString& text);        ///< DD.MM.YY or DD.MM.YYYY
    /// One leading character, a four-digit year, a short month name, a two-digit day, as in
    /// "d2012Jul15". Only the year's last two digits are read. When the name is none of the
    /// twelve short month names of the language `Sprache`, the value is left unchanged.
    void GetYYYYMMMDDString(const TPString& text);
    void GetTime6(const TPString& text);  ///< HHMMSS
    void GetTime8(const TPString& text);  ///< HH:MM:SS
    void GetTime4(const TPString& text);  ///< HHMM

    // ---- fields -------------------------------------------------------------------------------
    /// The year estimated from the day count: truncate((value - 1) / 365.25 + 1900).
    int Year() const;
    /// Clock fields of the time of day, rounded to a hundredth of a second; the fourth field
    /// counts ten-thousandths of a second. A negative value gives the time of day before the
    /// midnight it precedes. Null pointers are skipped.
    void DecodeTime(unsigned short* hour, unsigned short* minute, unsigned short* second,
                    unsigned short* tenThousandths) const;
    /// Calendar fields of the date (the whole days of the value): the exact inverse of
    /// DateKonvert for every day from 1 January 1897 on, 29 February 1900 and 2100 included.
    /// Earlier days decode in the same every-fourth-year calendar. Days outside the years
    /// 0-65535 give 0, 0, 0. Null pointers are skipped.
    void DecodeDate(unsigned short* day, unsigned short* month, unsigned short* year) const;

    // ---- printing -----------------------------------------------------------------------------
    /// The text of the form the flag selects (table above); empty for a flag without a form.
    TPString String(PDateTimeFlag f) const;
    /// DD.MM.YYYY
    TPString DateString() const;
    /// HH:MM:SS
    TPString TimeString() const;
    /// The value in a pattern of fields, letters in either case: yyyy and yy the year, mmmm and
    /// mmm the month's long and short name in the language `Sprache`, mm and m its number, dd
    /// and d the day, hh and h the hour, nn and n the minute, ss and s the second, zz the
    /// hundredths; text in double or single quotes, and every other character, as it stands.
    /// "d. mmmm yyyy, hh:nn 'Uhr'" gives "15. Juli 2012, 07:05 Uhr".
    TPString FormatString(const TPString& pattern) const;

    // ---- the package clock --------------------------------------------------------------------
    /// Counter running (ZehntelTimer >= 1): ResetTime plus the counted tenths; else the
    /// computer's local date and time.
    static TPDateTime CurrentDateTime();
    /// Counter running: ResetTime's time of day plus the counted tenths (not wrapped at
    /// midnight); else the computer's local time of day.
    static TPDateTime CurrentTime();
    /// Always the date of ResetTime, counter running or not; never reads the computer's clock.
    static TPDateTime CurrentDate();
    /// A time of day alone (t < 1) first gets today's local date. ResetTime becomes t, then this
    /// value becomes t minus the tenths already counted, and ResetTimerUpdate is cleared. Called
    /// on ResetTime itself, it makes the counted clock read t at this moment; called on another
    /// value, ResetTime keeps t unlowered.
    void SetResetTime(TPDateTime t);

  private:
    double value_ = 0.0;
};

static_assert(sizeof(TPDateTime) == sizeof(double), "a TPDateTime is exactly one double");

}  // namespace tn
