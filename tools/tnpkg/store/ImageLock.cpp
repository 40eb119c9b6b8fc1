#include "store/ImageLock.h"

#include <chrono>

namespace tnpkg::store {

bool WaitForLock(os::File& image, os::LockKind kind) {
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(kLockWaitMilliseconds);
    while (!image.TryLock(kind)) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        os::Sleep(kLockPollMilliseconds);
    }
    return true;
}

}  // namespace tnpkg::store
