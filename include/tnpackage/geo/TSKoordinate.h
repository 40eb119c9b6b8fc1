// A geographic position on the WGS84 earth: latitude and longitude as two signed 32-bit
// integers in units of 1e-7 degree (about 1.1 cm of latitude), north and east positive.
//
// (0, 0) means "no coordinate"; IsValid() requires both integers to be non-zero, so a point
// exactly on the equator or on the prime meridian counts as not set.
//
// Integer mode numbers select the unit or form of a value that crosses the interface; callers
// store them in files, so the numbers never change (see the km... constants below).
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/text/TPString.h>
#include <tnpackage/util/zkFloat.h>

#include <cstdint>
#include <type_traits>

namespace tn {

// ---- angle and form modes -------------------------------------------------------------------
inline constexpr int kmBogen = 4700;            ///< radians
inline constexpr int kmGrad = 4701;             ///< decimal degrees
inline constexpr int kmInteger = 4702;          ///< raw units given as doubles (constructor)
inline constexpr int kmHTML = 4803;             ///< two mark-up texts read by HTMLKoordinate
inline constexpr int kmZ80Float = 4822;         ///< 8 bytes: two Z80 floats, radians
inline constexpr int kmPCFloat = 4823;          ///< 8 bytes: two IEEE singles (LE), radians
inline constexpr int kmVolkslogger = 4849;      ///< 7 bytes, longitude sign after the pair
inline constexpr int kmVolksloggerVorn = 4851;  ///< 7 bytes, longitude sign in front
inline constexpr int kmLeer = -1;               ///< the empty (0, 0) coordinate

// ---- settings of the coordinate unit --------------------------------------------------------
/// Formula of TSKoordinate::Entfernung: 1 flat earth, 2 law of cosines (initial), 3 the
/// historical variant, 4 haversine, 100 WGS84 ellipsoid; any other value gives 0.
TN_EXPORT extern int DistanzModus;
/// Minute style of the coordinate printers (initial 0).
TN_EXPORT extern int KoordinatenMinutenFormat;

class TN_EXPORT TSKoordinate {
  public:
    /// Size of the IGC fix text: DDMMmmm + N/S, DDDMMmmm + E/W.
    static constexpr int kIGCLength = 17;

    // ---- construction -------------------------------------------------------------------------
    /// (0, 0).
    TSKoordinate();
    /// Raw units.
    TSKoordinate(int breite, int laenge);
    /// kmBogen, kmGrad, kmInteger (truncated toward zero) or kmLeer. Any other mode leaves the
    /// coordinate at (0, 0); the first such call in the process warns.
    TSKoordinate(double breite, double laenge, int mode);
    /// The two all-zero IGC texts give (0, 0); any other text goes to StringKoordinate.
    TSKoordinate(TPString text, int mode);
    /// kmHTML only: each text through HTMLKoordinate, the angles set as radians.
    TSKoordinate(TPString breite, TPString laenge, int mode);
    /// Binary forms (kmZ80Float, kmPCFloat, kmVolkslogger, kmVolksloggerVorn); any other mode
    /// reads the NUL-terminated bytes as text through StringKoordinate. Null gives (0, 0).
    /// The Volkslogger forms clear the latitude's sign bit in the caller's buffer.
    TSKoordinate(char* p, int mode);
    /// The point `radius` metres from `punkt` in direction `winkel` (radians, clockwise from
    /// north). With `fein` the distance error of the first step is corrected once; while
    /// IDERun is set a remaining error of 10 m or more is reported (three times per process).
    TSKoordinate(TSKoordinate punkt, zkFloat radius, zkFloat winkel, bool fein);

    /// Does nothing; every constructor ends with it.
    TSKoordinate& Create() { return *this; }

    // ---- state and access ---------------------------------------------------------------------
    bool IsValid() const { return breite_ != 0 && laenge_ != 0; }
    /// Does nothing.
    void SetValid(bool) {}

    int IntBreite() const { return breite_; }
    int IntLaenge() const { return laenge_; }
    /// Radians for kmBogen, degrees for any other mode.
    zkFloat Breite(int mode) const;
    zkFloat Laenge(int mode) const;
    double BreiteGrad() const;
    double LaengeGrad() const;

    /// The units of angle `x` (radians for kmBogen, degrees otherwise), rounded to whole units;
    /// nothing is stored.
    int SetInteger(double x, int mode) const;
    /// Store and return the units of `x`.
    int SetBreite(double x, int mode);
    int SetLaenge(double x, int mode);

    static double BogenToGrad(double x);
    static double GradToBogen(double x);

    // ---- operators ----------------------------------------------------------------------------
    bool operator==(const TSKoordinate& other) const {
        return breite_ == other.breite_ && laenge_ == other.laenge_;
    }
    bool operator!=(const TSKoordinate& other) const { return !(*this == other); }
    /// True only for `== 0` on the empty coordinate.
    bool operator==(int n) const { return n == 0 && breite_ == 0 && laenge_ == 0; }
    bool operator!=(int n) const { return n != 0 || breite_ != 0 || laenge_ != 0; }
    /// `= 0` empties the coordinate; any other number is refused with a warning.
    TSKoordinate& operator=(int n);
    /// Component-wise, wrapping like 32-bit integers.
    TSKoordinate operator+(const TSKoordinate& other) const;
    TSKoordinate operator-(const TSKoordinate& other) const;

    // ---- navigation ---------------------------------------------------------------------------
    /// Distance to `ziel` in whole metres by the formula DistanzModus selects.
    zkFloat Entfernung(TSKoordinate ziel) const;
    /// True course to `ziel` in degrees, 0 <= course < 360; 270 between equal points.
    double Kurs(TSKoordinate ziel) const;

    // ---- helpers ------------------------------------------------------------------------------
    /// 0 for a negative `betrag`; -betrag for 'S' and 'W'; else betrag.
    static double PlusMinus(double betrag, char richtung);

    // ---- text forms ---------------------------------------------------------------------------
    /// Reads the fix form of IGC flight files, "DDMMmmmNDDDMMmmmE" (17 characters; degrees,
    /// minutes and thousandths of a minute; N/S and E/W, either case; blanks around it are
    /// ignored), whatever `mode` is. Any other text sets (0, 0), warns and returns false.
    bool StringKoordinate(TPString text, int mode);
    /// The IGC fix form of this coordinate, rounded to thousandths of a minute (e.g.
    /// "4728123N01134567E"); StringKoordinate reads it back to the same text.
    TPString IGCString() const;
    /// An angle of the mark-up form, in radians: degrees with optional minutes and seconds,
    /// the degree sign as "&deg;", "\xB0" or a blank, minutes ending in "'" or "&prime;",
    /// seconds in "\"", "''" or "&Prime;", and an optional hemisphere letter (N, S, E, W or
    /// O) before or after the number, e.g. "47&deg;28.123'N" or "N 47\xB0 28' 7.4\"".
    /// Unreadable text gives 0 and a warning.
    static double HTMLKoordinate(TPString text);

    // ---- binary forms -------------------------------------------------------------------------
    /// One Volkslogger angle: 3 bytes big-endian in 1/60000 degree. For a latitude the sign is
    /// bit 7 of the first byte, which is cleared in the buffer; otherwise it is `negativ`.
    /// Returns coordinate units (centred in the 1/60000-degree cell); p advances by 3.
    static std::int64_t FromVolkslogger(char*& p, bool breite, bool negativ);
    /// Writes the magnitude of `wert` in 1/60000 degree as 3 bytes, big-endian, without sign
    /// bit; p advances by 3. The product wert * 3 wraps like a signed 32-bit integer, so values
    /// above 715827882 units (about 71.58 degrees) come out as existing writers make them.
    static void ToVolkslogger(char*& p, int wert);
    /// Latitude and longitude in radians as two Z80 floats (8 bytes).
    void ToVXCFloat(char* p) const;
    /// One little-endian IEEE single (4 bytes), widened.
    static double PCFloatToBogen(const char* p);
    /// Z80 float: byte 0 the exponent (the IEEE exponent of value * 4), byte 1 sign and top 7
    /// fraction bits, bytes 2-3 the other 16 fraction bits.
    static void ToZ80Float(char* p, double value);
    /// Reads a Z80 float; exponent 0 is 0. A negative number is read as the two's complement
    /// of its mantissa, as the instrument's own reader does.
    static double FromZ80Float(const char* p);

  private:
    void SetFromBytes(char* p, int mode);

    std::int32_t breite_ = 0;
    std::int32_t laenge_ = 0;
};

// Hosts and records hold coordinates as exactly these two integers.
static_assert(sizeof(TSKoordinate) == 2 * sizeof(std::int32_t));
static_assert(std::is_standard_layout_v<TSKoordinate>);

}  // namespace tn
