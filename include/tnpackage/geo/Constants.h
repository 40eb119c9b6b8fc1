// The package's physical and time constants, set at package start.
#pragma once

#include <tnpackage/Export.h>

namespace tn {

// Fractions of a day, the unit of TPDateTime.
TN_EXPORT extern double Sekunde;
TN_EXPORT extern double Minute;
TN_EXPORT extern double Stunde;
TN_EXPORT extern double Tag;

}  // namespace tn
