// The package's constants. They are plain globals set by the constants unit at package start.
#include <tnpackage/geo/Constants.h>

namespace tn {

constinit double Sekunde = 0.0;
constinit double Minute = 0.0;
constinit double Stunde = 0.0;
constinit double Tag = 0.0;

}  // namespace tn
