#include "os/WriteFault.h"

#include <cstdlib>

namespace tnpkg::os {
namespace {

long long FailingWrite() {
    const char* text = std::getenv("TNPKG_TEST_FAIL_WRITE");
    if (text == nullptr || *text == '\0') return 0;
    char* end = nullptr;
    const long long value = std::strtoll(text, &end, 10);
    return *end == '\0' ? value : 0;
}

}  // namespace

bool WriteFailsNow(std::size_t& bytes) {
    static const long long failing = FailingWrite();
    static long long writes = 0;
    if (failing <= 0 || ++writes != failing) return false;
    bytes /= 2;
    return true;
}

}  // namespace tnpkg::os
