// The present local date and time, packed as a FAT file date.
#pragma once

namespace tn::detail {

/// Bits 0-4 seconds / 2, 5-10 minutes, 11-15 hours, 16-20 day, 21-24 month, 25-31 year - 1980.
int CurrentFileDate();

}  // namespace tn::detail
