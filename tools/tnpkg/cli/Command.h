// The tool's commands. Each command lives in its own file and registers itself with a static
// CommandRegistration, so adding a command touches no other file; its grammar (cli/Arguments.h)
// says what it accepts, and main reads the command line against it before the command runs.
#pragma once

#include <string>
#include <vector>

#include "cli/Arguments.h"

namespace tnpkg {

// Exit statuses of the tool.
inline constexpr int kSuccess = 0;
inline constexpr int kFailure = 1;
inline constexpr int kUsage = 2;

struct Command {
    const char* name;
    const char* summary;           // one line for the overview
    const char* usage;             // full help text of the command
    std::vector<Grammar> grammar;  // one without an action, or one per action
    int (*run)(const Args& args);
};

class CommandRegistration {
  public:
    explicit CommandRegistration(const Command& command);
};

/// The commands in the order of the overview (fixed, whatever order they registered in).
std::vector<const Command*> Commands();

/// Writes a usage problem of a command to standard error and returns kUsage.
int UsageError(const char* command, const std::string& problem);

/// Parses a whole number (decimal, or hexadecimal with 0x); false when it is not one.
bool ParseInteger(const std::string& text, long long& value);

/// Parses a count of bytes: a whole number as ParseInteger reads it, optionally followed by K
/// (1024) or M (1024 * 1024). Negative counts are read too; the caller says what is allowed.
bool ParseByteCount(const std::string& text, long long& value);

}  // namespace tnpkg
