// Sets DistanzModus for the lifetime of an object, so that a test cannot leak its mode.
#pragma once

#include <tnpackage/tnpackage.h>

namespace geotest {

/// Sets DistanzModus for the lifetime of the object.
class DistanzModusScope {
  public:
    explicit DistanzModusScope(int mode) : previous_(tn::DistanzModus) { tn::DistanzModus = mode; }
    ~DistanzModusScope() { tn::DistanzModus = previous_; }
    DistanzModusScope(const DistanzModusScope&) = delete;
    DistanzModusScope& operator=(const DistanzModusScope&) = delete;

  private:
    int previous_;
};

}  // namespace geotest
