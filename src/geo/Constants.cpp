// The package's constants. They are plain globals set by the constants unit at package start.
#include <tnpackage/geo/Constants.h>

namespace tn {

constinit double FeetPerMeter = 3.2808000690280332;
constinit double MPerMiles = 1852.0;
constinit double ErdRadius = 6371000.0;
constinit double RadiusWGS84 = 6378137.0;
constinit double StandardAtmosphere = 1013.25;
constinit double Tnull = -273.15;
constinit double g = 9.80665;

constinit double MilesPerKm = 0.0;
constinit double Pi_2 = 0.0;
constinit double Pi = 0.0;
constinit double Pi2 = 0.0;
constinit double e = 0.0;
constinit double ArcProGrad = 0.0;

constinit double Sekunde = 0.0;
constinit double Minute = 0.0;
constinit double Stunde = 0.0;
constinit double Tag = 0.0;

constinit int _7Bit = 1 << 7;
constinit int _8Bit = 1 << 8;
constinit int _9Bit = 1 << 9;
constinit int _10Bit = 1 << 10;
constinit int _11Bit = 1 << 11;
constinit int _12Bit = 1 << 12;
constinit int _15Bit = 1 << 15;
constinit int _16Bit = 1 << 16;
constinit int _21Bit = 1 << 21;
constinit int _24Bit = 1 << 24;

}  // namespace tn
