#ifndef _WIN32

#include <time.h>

#include "os/LocalTime.h"

namespace tnpkg::os {

int UtcOffsetMinutes() {
    const time_t now = ::time(nullptr);
    struct tm local {};
    if (::localtime_r(&now, &local) == nullptr) return 0;
    return static_cast<int>(local.tm_gmtoff / 60);
}

}  // namespace tnpkg::os

#endif
