// A test hook for the failing disk: TNPKG_TEST_FAIL_WRITE=N makes the N-th positioned write of
// the process store only the first half of its bytes and then fail, as a disk that fills up or
// breaks in the middle of a write does. Read from the environment; not part of the tool's
// documented interface (see store/TestHooks.h for the crash hooks).
#pragma once

#include <cstddef>

namespace tnpkg::os {

/// Counts a positioned write; true when it is the one that fails. `bytes` then becomes the
/// part that still arrives.
bool WriteFailsNow(std::size_t& bytes);

}  // namespace tnpkg::os
