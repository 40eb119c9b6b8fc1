#include "text/IgcDate.h"

#include <tnpackage/text/Standards.h>

#include "platform/Platform.h"

namespace tn::detail {

TPString IgcShortDateOfToday() {
    const platform::LocalTime today = platform::Now();
    TPString date(static_cast<char>('0' + today.year % 10));
    date += Mod36Char(static_cast<char>(today.month));
    date += Mod36Char(static_cast<char>(today.day));
    return date;
}

}  // namespace tn::detail
