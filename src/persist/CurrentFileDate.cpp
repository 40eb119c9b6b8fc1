#include "persist/CurrentFileDate.h"

#include "platform/Platform.h"

namespace tn::detail {

int CurrentFileDate() {
    const platform::LocalTime t = platform::Now();
    const unsigned packed =
        static_cast<unsigned>(t.second >> 1) | static_cast<unsigned>(t.minute) << 5 |
        static_cast<unsigned>(t.hour) << 11 | static_cast<unsigned>(t.day) << 16 |
        static_cast<unsigned>(t.month) << 21 | static_cast<unsigned>(t.year - 1980) << 25;
    return static_cast<int>(packed);
}

}  // namespace tn::detail
