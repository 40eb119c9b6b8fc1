// The package's one notion of "now", the UTC offset and the counted clock.
//
// By default the present is the computer's clock. When the host counts tenths of a second in
// ZehntelTimer (1 or more), the present is ResetTime plus the counted tenths instead, for every
// reader of the clock in the package: these free functions, the TPDateTime clock members, the
// date-time constructors and the file dates. Setting ZehntelTimer back to 0 returns to the
// computer's clock.
//
// The UTC offset is subtracted plainly, without wrapping: shortly after local midnight UTCTime()
// is negative, and CurrentDate() (local) and CurrentDateTime() (UTC) may disagree on the day.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/text/TPString.h>
#include <tnpackage/time/TPDateTime.h>

#include <cstdint>

namespace tn {

/// Tenths of a second counted by the host since ResetTime; below 1 the counter is not running.
TN_EXPORT extern std::int32_t ZehntelTimer;
/// Origin of the counted clock; the local date and time at package start.
TN_EXPORT extern TPDateTime ResetTime;
/// Cleared by TPDateTime::SetResetTime; kept for the host.
TN_EXPORT extern bool ResetTimerUpdate;
/// A setting for the host (initially true); the package does not read it.
TN_EXPORT extern bool LocalTimeEnabled;
/// A far-future date (15 May 2100) for the host's tests of dates.
TN_EXPORT extern TPDateTime TestDate;

/// Local time minus UTC, in days (2 hours after package start).
TN_EXPORT double UTCOffset();
/// Offset := hours x Stunde.
TN_EXPORT void SetUTCOffset(int hours);

/// The present local date and time minus the UTC offset: the UTC date and time.
TN_EXPORT TPDateTime CurrentDateTime();
/// The present local date (whole days), no offset.
TN_EXPORT TPDateTime CurrentDate();
/// The present local time of day minus the UTC offset: UTC time of day, possibly negative.
TN_EXPORT TPDateTime UTCTime();
/// UTCTime().
TN_EXPORT TPDateTime CurrentTime();
/// The present local time of day.
TN_EXPORT TPDateTime Jetzt();
/// TPDateTime(2, 33).String(33): the text of the present local date and time two days ahead
/// (the lead of two days is the established behaviour; callers rely on it).
TN_EXPORT TPString CurrentDateTimeString();

}  // namespace tn
