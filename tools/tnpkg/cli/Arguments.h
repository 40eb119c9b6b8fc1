// What a command (or each action of a command) accepts, stated as a table, and the one reader
// that checks the command line against it. Commands never look at raw words: an option the
// table does not list is refused, so that a mistyped or misplaced option never passes silently.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tnpkg {

/// Whether an option takes a value ("--to DIR", "--to=DIR") or stands alone ("--json").
enum class Takes { Nothing, Value };

struct OptionRule {
    const char* name;  // "--json", or "-l" for a single-letter flag (letters may be combined)
    Takes takes = Takes::Nothing;
};

/// No upper bound on the number of operands.
inline constexpr int kAnyNumber = -1;

/// The operands and options of one action, or of a command that has no actions.
struct Grammar {
    const char* action;    // the action word ("ls"), or nullptr for a command without actions
    const char* operands;  // as the user reads them: "IMAGE [PATH]"
    int minOperands;
    int maxOperands;  // kAnyNumber: unbounded
    std::vector<OptionRule> options;
};

/// A command line read against a grammar.
class Args {
  public:
    /// The action word, or empty for a command without actions.
    const std::string& Action() const { return action_; }
    /// The operands, in order (the action word not included).
    const std::vector<std::string>& Positional() const { return operands_; }
    bool Flag(const char* name) const;
    /// The value of the last occurrence of a valued option.
    std::optional<std::string> Option(const char* name) const;

  private:
    friend bool ParseArgs(const std::vector<Grammar>&, const std::vector<std::string>&, Args&,
                          std::string&);
    std::string action_;
    std::vector<std::string> operands_;
    std::vector<std::string> flags_;
    std::vector<std::pair<std::string, std::string>> options_;
};

/// Reads `words` (the words after the command name) against the command's grammars: one
/// without an action, or one per action, chosen by the first word. "--name=value" equals
/// "--name value"; "--" ends the options; "-" and negative numbers are operands. False with
/// `problem` set when the words do not fit.
bool ParseArgs(const std::vector<Grammar>& grammars, const std::vector<std::string>& words,
               Args& args, std::string& problem);

/// Whether the words ask for help ("--help" or "-h" before any "--").
bool AsksForHelp(const std::vector<std::string>& words);

}  // namespace tnpkg
