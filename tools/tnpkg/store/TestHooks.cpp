#include "store/TestHooks.h"

#include <cstdlib>
#include <optional>

#include "os/OsFile.h"

namespace tnpkg::store {
namespace {

std::optional<long long> Setting(const char* variable) {
    const char* text = std::getenv(variable);
    if (text == nullptr || *text == '\0') return std::nullopt;
    char* end = nullptr;
    const long long value = std::strtoll(text, &end, 10);
    if (*end != '\0') return std::nullopt;
    return value;
}

}  // namespace

void CrashPoint(CrashHook hook, long count) {
    static const auto inJournal = Setting("TNPKG_TEST_CRASH_IN_JOURNAL");
    static const auto afterPages = Setting("TNPKG_TEST_CRASH_AFTER");
    const auto& wanted = hook == CrashHook::InJournal ? inJournal : afterPages;
    if (wanted && *wanted == count) os::ExitAtOnce();
}

}  // namespace tnpkg::store
