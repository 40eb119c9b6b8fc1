// Package start and exit.
//
// Loading the library runs PackageStart() and unloading runs PackageExit(); a host that wants
// to drive this itself may call them too. Each unit is guarded by a nesting counter, so starting
// twice initialises every unit once and only the matching last exit finalises it.
#pragma once

#include <tnpackage/Export.h>

namespace tn {

TN_EXPORT void PackageStart();
TN_EXPORT void PackageExit();

/// Number of units the package consists of, in their initialisation order.
TN_EXPORT int PackageUnitCount();
/// Name of unit `index` (0-based), or null.
TN_EXPORT const char* PackageUnitName(int index);
/// Current nesting counter of unit `index`; 0 when not initialised.
TN_EXPORT int PackageUnitNesting(int index);

}  // namespace tn
