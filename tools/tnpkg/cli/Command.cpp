#include "cli/Command.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tnpkg {

namespace {
std::vector<Command>& Registry() {
    static std::vector<Command> commands;
    return commands;
}
}  // namespace

CommandRegistration::CommandRegistration(const Command& command) {
    Registry().push_back(command);
}

const std::vector<Command>& Commands() {
    return Registry();
}

Args::Args(std::vector<std::string> words, std::initializer_list<const char*> valued) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (word.size() < 3 || word.compare(0, 2, "--") != 0) {
            positional_.push_back(word);
            continue;
        }
        bool takesValue = false;
        for (const char* v : valued)
            takesValue = takesValue || word == v;
        if (!takesValue) {
            flags_.push_back(word);
        } else if (i + 1 < words.size()) {
            options_.emplace_back(word, words[++i]);
        } else if (problem_.empty()) {
            problem_ = word + " needs a value";
        }
    }
}

bool Args::Flag(const char* name) const {
    for (const auto& f : flags_) {
        if (f == name) return true;
    }
    return false;
}

std::optional<std::string> Args::Option(const char* name) const {
    std::optional<std::string> value;
    for (const auto& [key, v] : options_) {
        if (key == name) value = v;
    }
    return value;
}

void Args::AllowFlags(std::initializer_list<const char*> flags) {
    for (const auto& f : flags_) {
        bool known = false;
        for (const char* allowed : flags)
            known = known || f == allowed;
        if (!known && problem_.empty()) problem_ = "unknown option " + f;
    }
}

int UsageError(const char* command, const std::string& problem) {
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

}  // namespace tnpkg
