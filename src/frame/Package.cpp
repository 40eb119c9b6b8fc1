// Package start and exit: every unit initialises once, in order, and finalises in reverse.
#include <tnpackage/frame/Package.h>

#include "frame/Units.h"

namespace tn {

namespace {

struct Unit {
    const char* name;
    void (*initialization)();
    void (*finalization)();
};

#define TN_UNIT_ENTRY(name) {#name, &units::name##_Initialization, &units::name##_Finalization},
constexpr Unit kUnits[] = {TN_PACKAGE_UNITS(TN_UNIT_ENTRY)};
#undef TN_UNIT_ENTRY
constexpr int kUnitCount = static_cast<int>(sizeof kUnits / sizeof kUnits[0]);

// Nesting counters start at 0 before any code runs: the body of a unit runs only when its
// counter leaves 0 and, at exit, only when it returns there.
constinit int nesting[kUnitCount] = {};

}  // namespace

void PackageStart() {
    for (int i = 0; i < kUnitCount; ++i) {
        if (nesting[i]++ == 0) kUnits[i].initialization();
    }
}

void PackageExit() {
    for (int i = kUnitCount - 1; i >= 0; --i) {
        if (nesting[i] > 0 && --nesting[i] == 0) kUnits[i].finalization();
    }
}

int PackageUnitCount() {
    return kUnitCount;
}

const char* PackageUnitName(int index) {
    return index >= 0 && index < kUnitCount ? kUnits[index].name : nullptr;
}

int PackageUnitNesting(int index) {
    return index >= 0 && index < kUnitCount ? nesting[index] : 0;
}

}  // namespace tn
