// Ten measurement slots: each keeps the longest interval between successive time stamps.
//
// Valid slots are 0 to 9; other slot numbers are ignored (MaxMessTime gives 0 for them).
// Time stamps are the package clock's UTC time of day (CurrentTime()), in days.
#pragma once

#include <tnpackage/Export.h>

namespace tn {

inline constexpr int kMessTimeSlots = 10;

/// start[slot] := CurrentTime().
TN_EXPORT void MessTimeStart(int slot);
/// When the slot has a start, a longer interval since it becomes the slot's maximum; the stamp
/// is the next start in every case.
TN_EXPORT void MessTimeStamp(int slot);
/// The slot's longest interval, in days.
TN_EXPORT double MaxMessTime(int slot);
/// maximum[slot] := 0.
TN_EXPORT void MessTimeReset(int slot);
/// All maxima := 0; the starts are kept.
TN_EXPORT void MessTimeAllReset();

}  // namespace tn
