// Which implementation the CRCs run on: the portable slicing tables, or carry-less-multiply
// folding with 128-bit (PCLMULQDQ) or 256-bit (VPCLMULQDQ) registers.
//
// The choice is made once, at the first CRC, from the processor (CPUID). Setting the environment
// variable TN_CRC_PORTABLE=1 before that keeps every CRC on the portable path, so that a whole
// test run can exercise it on a machine that would otherwise fold.
#pragma once

#include <tnpackage/Export.h>

namespace tn::crc {

enum class CrcPath : int { kPortable = 0, kPclmul = 1, kVpclmul = 2 };

/// The path the CRCs take now.
TN_EXPORT CrcPath ActiveCrcPath();

/// The best path this processor and build offer.
TN_EXPORT CrcPath AvailableCrcPath();

/// Makes the CRCs take `wanted`, or the best available path below it; returns the path taken.
/// For tests and measurements, which compare the paths in one process; not for use while other
/// threads compute CRCs whose path matters to them (every path gives the same results).
TN_EXPORT CrcPath SelectCrcPath(CrcPath wanted);

}  // namespace tn::crc
