// Commands on one image take turns: a writing command holds an exclusive lock on the image for
// its whole run, a reading command a shared one. A command that finds the image locked waits a
// few seconds for it, then gives up.
#pragma once

#include "os/OsFile.h"

namespace tnpkg::store {

/// How long a command waits for another one to finish with the image.
inline constexpr int kLockWaitMilliseconds = 5000;
inline constexpr int kLockPollMilliseconds = 25;

/// Takes the lock on the open image, polling until kLockWaitMilliseconds have passed; false
/// when another command still holds it then.
bool WaitForLock(os::File& image, os::LockKind kind);

}  // namespace tnpkg::store
