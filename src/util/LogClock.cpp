// The date and time texts of the log file's lines.
#include "util/LogClock.h"

#include <cstdio>

#include "platform/Platform.h"

namespace tn::logfile {

TPString CurrentDateTimeText() {
    const platform::LocalTime t = platform::Now();
    char text[32];
    std::snprintf(text, sizeof text, "%02d.%02d.%04d %02d:%02d:%02d", t.day, t.month, t.year,
                  t.hour, t.minute, t.second);
    TPString result;
    result = text;
    return result;
}

TPString CurrentTimeText() {
    const platform::LocalTime t = platform::Now();
    char text[16];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", t.hour, t.minute, t.second);
    TPString result;
    result = text;
    return result;
}

}  // namespace tn::logfile
