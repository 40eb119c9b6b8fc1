// The date part of IGC short file names.
#pragma once

#include <tnpackage/text/TPString.h>

namespace tn::detail {

/// Today's local date in the short IGC form: the year's last digit, then month and day as
/// base-36 digits (24 November 2026 is "6BO").
TPString IgcShortDateOfToday();

}  // namespace tn::detail
