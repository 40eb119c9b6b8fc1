// Reading points for the coordinate commands: either an IGC fix text ("4728123N01134567E") or
// two decimal numbers, latitude then longitude in degrees.
#pragma once

#include <tnpackage/tnpackage.h>

#include <string>
#include <vector>

namespace tnpkg {

/// Reads `count` points from the words; false with `problem` set when they are not points.
bool ReadPoints(const std::vector<std::string>& words, std::size_t count,
                std::vector<tn::TSKoordinate>& points, std::string& problem);

/// Coordinate units as an exact decimal text of degrees, e.g. "-47.5000000".
std::string DegreesText(int units);

}  // namespace tnpkg
