// Calculators for the CRC tests.
#pragma once

#include <tnpackage/tnpackage.h>

#include <cstdint>

namespace tn::test {

/// A calculator built under the insert mode of the bit order; the mode is restored.
inline TPCRC MakeCrc(int width, std::uint32_t polynomial, bool reflected) {
    const int saved = CRCInsertMode;
    CRCInsertMode = reflected ? 1 : 0;
    TPCRC crc(width, polynomial);
    CRCInsertMode = saved;
    return crc;
}

}  // namespace tn::test
