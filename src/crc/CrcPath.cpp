// Choosing the CRC path from the processor's features and the environment.
#include "crc/CrcPath.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "crc/FoldX86.h"

namespace tn::crc {

namespace {

CrcPath DetectPath() {
#if TN_CRC_FOLD_X86
    __builtin_cpu_init();
    const bool clmul = __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1") &&
                       __builtin_cpu_supports("ssse3");
    if (!clmul) return CrcPath::kPortable;
#ifndef _WIN32
    // Not on Windows: GCC there keeps the stack aligned to 16 bytes only, and 256-bit spills
    // would fault.
    if (__builtin_cpu_supports("vpclmulqdq") && __builtin_cpu_supports("avx2"))
        return CrcPath::kVpclmul;
#endif
    return CrcPath::kPclmul;
#else
    return CrcPath::kPortable;
#endif
}

bool PortableForced() {
    const char* value = std::getenv("TN_CRC_PORTABLE");
    return value != nullptr && std::strcmp(value, "1") == 0;
}

std::atomic<CrcPath>& Active() {
    static std::atomic<CrcPath> path{PortableForced() ? CrcPath::kPortable : AvailableCrcPath()};
    return path;
}

}  // namespace

CrcPath AvailableCrcPath() {
    static const CrcPath available = DetectPath();
    return available;
}

CrcPath ActiveCrcPath() {
    return Active().load(std::memory_order_relaxed);
}

CrcPath SelectCrcPath(CrcPath wanted) {
    const CrcPath best = AvailableCrcPath();
    const CrcPath taken = static_cast<int>(wanted) < static_cast<int>(best) ? wanted : best;
    Active().store(taken, std::memory_order_relaxed);
    return taken;
}

}  // namespace tn::crc
