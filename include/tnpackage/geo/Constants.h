// The package's physical, numeric and time constants, set at package start.
//
// The first group holds its values from the start; the computed group gets its values in a
// fixed order when the constants unit starts, so a host reading them before that sees zeros.
#pragma once

#include <tnpackage/Export.h>

namespace tn {

// ---- stored ---------------------------------------------------------------------------------
TN_EXPORT extern double FeetPerMeter;        ///< 3.2808000690280332
TN_EXPORT extern double MPerMiles;           ///< metres per nautical mile (name kept), 1852
TN_EXPORT extern double ErdRadius;           ///< mean earth radius, 6371000 m
TN_EXPORT extern double RadiusWGS84;         ///< WGS84 equatorial radius, 6378137 m
TN_EXPORT extern double StandardAtmosphere;  ///< 1013.25 hPa
TN_EXPORT extern double Tnull;               ///< absolute zero, -273.15 degrees Celsius
TN_EXPORT extern double g;                   ///< standard gravity, 9.80665 m/s^2

// ---- computed at package start, in this order -----------------------------------------------
TN_EXPORT extern double MilesPerKm;  ///< 1000 / MPerMiles
TN_EXPORT extern double Pi_2;        ///< acos(0)
TN_EXPORT extern double Pi;          ///< 2 * Pi_2
TN_EXPORT extern double Pi2;         ///< 2 * Pi
TN_EXPORT extern double e;           ///< exp(1)
TN_EXPORT extern double ArcProGrad;  ///< radians per degree, Pi * (1/180 in extended precision)

// Fractions of a day, the unit of TPDateTime.
TN_EXPORT extern double Sekunde;
TN_EXPORT extern double Minute;
TN_EXPORT extern double Stunde;
TN_EXPORT extern double Tag;

// ---- 2^n: the number of values of an n-bit field --------------------------------------------
TN_EXPORT extern int _7Bit;
TN_EXPORT extern int _8Bit;
TN_EXPORT extern int _9Bit;
TN_EXPORT extern int _10Bit;
TN_EXPORT extern int _11Bit;
TN_EXPORT extern int _12Bit;
TN_EXPORT extern int _15Bit;
TN_EXPORT extern int _16Bit;
TN_EXPORT extern int _21Bit;
TN_EXPORT extern int _24Bit;

}  // namespace tn
