// Navigation on an ellipsoid of revolution (WGS84 by default): distance and courses between
// two points by Vincenty's inverse method.
#pragma once

#include <tnpackage/Export.h>

namespace tn {

/// Result of a course-and-distance computation.
struct TPKursDistanz {
    double Distanz = 0.0;  ///< metres along the geodesic
    double Kurs12 = 0.0;   ///< initial course at the first point, radians clockwise from north
    double Kurs21 = 0.0;   ///< course at the second point back to the first, radians
};

class TN_EXPORT TPEllipsoid {
  public:
    static constexpr double kWGS84A = 6378137.0;            ///< equatorial radius, m
    static constexpr double kWGS84F = 1.0 / 298.257223563;  ///< flattening

    constexpr TPEllipsoid() = default;
    constexpr TPEllipsoid(double a, double f) : a_(a), f_(f) {}

    double A() const { return a_; }
    double F() const { return f_; }

    /// Distance and courses between two points given in radians (latitude, longitude).
    /// Coincident points give 0. Near the antipode of the first point the iteration may not
    /// converge: then `failed` is set and the result is the great circle on the sphere of the
    /// mean radius (a * (1 - f / 3)), which is within about 0.5 % of the geodesic there.
    TPKursDistanz crsdistance(double lat1, double lon1, double lat2, double lon2,
                              bool& failed) const;

  private:
    double a_ = kWGS84A;
    double f_ = kWGS84F;
};

/// The package's shared ellipsoid calculator (WGS84).
TN_EXPORT extern TPEllipsoid Ellipsoid;

}  // namespace tn
