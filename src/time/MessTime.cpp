// Measurement slots: the longest interval between successive time stamps, per slot.
#include <tnpackage/time/Clock.h>
#include <tnpackage/time/MessTime.h>

#include <algorithm>

namespace tn {

namespace {

constinit double starts[kMessTimeSlots] = {};
constinit double maxima[kMessTimeSlots] = {};

bool IsSlot(int slot) {
    return slot >= 0 && slot < kMessTimeSlots;
}

}  // namespace

void MessTimeStart(int slot) {
    if (IsSlot(slot)) starts[slot] = CurrentTime();
}

void MessTimeStamp(int slot) {
    if (!IsSlot(slot)) return;
    const double now = CurrentTime();
    if (starts[slot] > 0.0 && now - starts[slot] > maxima[slot]) maxima[slot] = now - starts[slot];
    starts[slot] = now;
}

double MaxMessTime(int slot) {
    return IsSlot(slot) ? maxima[slot] : 0.0;
}

void MessTimeReset(int slot) {
    if (IsSlot(slot)) maxima[slot] = 0.0;
}

void MessTimeAllReset() {
    std::fill(std::begin(maxima), std::end(maxima), 0.0);
}

}  // namespace tn
