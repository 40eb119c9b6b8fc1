#include "cli/Command.h"

#include "cli/Failure.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace tnpkg {

namespace {

// The overview groups the commands by what they work on. A command missing here still works
// and is listed after these, by name.
constexpr const char* kOverviewOrder[] = {
    "demo",  "igcname", "mod36", "convert", "date",  "dist",   "course",     "coord",
    "image", "records", "crc",   "fat",     "flash", "drives", "partitions",
};

std::vector<Command>& Registry() {
    static std::vector<Command> commands;
    return commands;
}

std::size_t Rank(const char* name) {
    const auto* begin = std::begin(kOverviewOrder);
    const auto* end = std::end(kOverviewOrder);
    const auto* at =
        std::find_if(begin, end, [name](const char* n) { return std::strcmp(n, name) == 0; });
    return static_cast<std::size_t>(at - begin);
}

}  // namespace

CommandRegistration::CommandRegistration(const Command& command) {
    Registry().push_back(command);
}

std::vector<const Command*> Commands() {
    std::vector<const Command*> ordered;
    for (const Command& c : Registry())
        ordered.push_back(&c);
    std::sort(ordered.begin(), ordered.end(), [](const Command* a, const Command* b) {
        const std::size_t ra = Rank(a->name), rb = Rank(b->name);
        return ra != rb ? ra < rb : std::strcmp(a->name, b->name) < 0;
    });
    return ordered;
}

int UsageError(const char* command, const std::string& problem) {
    RecordFailure(problem);
    std::fprintf(stderr, "tnpkg %s: %s\n(see 'tnpkg %s --help')\n", command, problem.c_str(),
                 command);
    return kUsage;
}

bool ParseInteger(const std::string& text, long long& value) {
    if (text.empty()) return false;
    errno = 0;
    char* end = nullptr;
    value = std::strtoll(text.c_str(), &end, 0);
    return errno == 0 && end != nullptr && *end == '\0';
}

bool ParseByteCount(const std::string& text, long long& value) {
    if (text.empty()) return false;
    long long unit = 1;
    const char last = text.back();
    if (last == 'K' || last == 'k') unit = 1024;
    if (last == 'M' || last == 'm') unit = 1024 * 1024;
    const std::string digits = unit == 1 ? text : text.substr(0, text.size() - 1);
    if (!ParseInteger(digits, value)) return false;
    constexpr long long kLimit = 1LL << 50;
    if (value > kLimit || value < -kLimit) return false;
    value *= unit;
    return true;
}

}  // namespace tnpkg
