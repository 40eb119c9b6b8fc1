// The date and time texts of the log file's lines.
#pragma once

#include <tnpackage/text/TPString.h>

namespace tn::logfile {

/// The current date and time, as the opening line shows it.
TPString CurrentDateTimeText();
/// The current time, as TimeWrite puts it before an entry.
TPString CurrentTimeText();

}  // namespace tn::logfile
