// Navigation on a sphere: great-circle distance and courses.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/geo/TPEllipsoid.h>

namespace tn {

class TN_EXPORT TPGeoid {
  public:
    static constexpr double kMeanRadius = 6371000.0;  ///< metres, the package's earth radius

    constexpr TPGeoid() = default;
    constexpr explicit TPGeoid(double radius) : radius_(radius) {}

    double Radius() const { return radius_; }

    /// Great-circle distance and courses between two points in radians; `failed` is always
    /// cleared (the sphere needs no iteration).
    TPKursDistanz crsdistance(double lat1, double lon1, double lat2, double lon2,
                              bool& failed) const;

  private:
    double radius_ = kMeanRadius;
};

/// The package's shared sphere calculator.
TN_EXPORT extern TPGeoid Geoid;

}  // namespace tn
