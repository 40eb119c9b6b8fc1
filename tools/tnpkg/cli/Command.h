// The tool's commands. Each command lives in its own file and registers itself with a static
// CommandRegistration, so adding a command touches no other file.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

namespace tnpkg {

// Exit statuses of the tool.
inline constexpr int kSuccess = 0;
inline constexpr int kFailure = 1;
inline constexpr int kUsage = 2;

/// Command-line words after the command name: options ("--name value" or "--flag") and
/// positional arguments, in order.
class Args {
  public:
    /// `valued` names the options that take a value; every other "--word" is a flag.
    Args(std::vector<std::string> words, std::initializer_list<const char*> valued);

    const std::vector<std::string>& Positional() const { return positional_; }
    bool Flag(const char* name) const;
    std::optional<std::string> Option(const char* name) const;
    /// An unknown option, a valued option without its value, or empty when all is well.
    const std::string& Problem() const { return problem_; }
    /// Checks that only these flags were given; otherwise records a problem.
    void AllowFlags(std::initializer_list<const char*> flags);

  private:
    std::vector<std::string> positional_;
    std::vector<std::string> flags_;
    std::vector<std::pair<std::string, std::string>> options_;
    std::string problem_;
};

struct Command {
    const char* name;
    const char* summary;  // one line for the overview
    const char* usage;    // full help text of the command
    int (*run)(const std::vector<std::string>& words);
    bool warningsFail = true;  // a package warning makes the exit status 1
};

class CommandRegistration {
  public:
    explicit CommandRegistration(const Command& command);
};

const std::vector<Command>& Commands();

/// Writes a usage problem of a command to standard error and returns kUsage.
int UsageError(const char* command, const std::string& problem);

/// Parses a whole number (decimal, or hexadecimal with 0x); false when it is not one.
bool ParseInteger(const std::string& text, long long& value);

}  // namespace tnpkg
