#include "cli/Arguments.h"

namespace tnpkg {
namespace {

constexpr const char* kEndOfOptions = "--";

const Grammar* FindGrammar(const std::vector<Grammar>& grammars, const std::string& action) {
    for (const Grammar& g : grammars) {
        if (g.action != nullptr && action == g.action) return &g;
    }
    return nullptr;
}

std::string ActionList(const std::vector<Grammar>& grammars) {
    std::string list;
    for (const Grammar& g : grammars)
        list += (list.empty() ? "" : ", ") + std::string(g.action);
    return list;
}

const OptionRule* FindOption(const Grammar& g, const std::string& name) {
    for (const OptionRule& o : g.options) {
        if (name == o.name) return &o;
    }
    return nullptr;
}

// "-" is standard input and "-47.5" a number: neither is an option.
bool IsOperandWord(const std::string& word) {
    if (word.size() < 2 || word[0] != '-') return true;
    const char next = word[1];
    return (next >= '0' && next <= '9') || next == '.';
}

std::string Unknown(const Grammar& g, const std::string& option) {
    if (g.action == nullptr) return "unknown option " + option;
    return std::string(g.action) + " does not take the option " + option;
}

class Reader {
  public:
    Reader(const Grammar& g, std::vector<std::string>& flags,
           std::vector<std::pair<std::string, std::string>>& options, std::string& problem)
        : g_(g), flags_(flags), options_(options), problem_(problem) {}

    // Reads the word at `i` (advancing past a separate value); false on a problem.
    bool Word(const std::vector<std::string>& words, std::size_t& i,
              std::vector<std::string>& operands) {
        const std::string& word = words[i];
        if (IsOperandWord(word)) {
            operands.push_back(word);
            return true;
        }
        if (word[1] != '-') return Letters(word);
        const std::size_t equals = word.find('=');
        const std::string name = word.substr(0, equals);
        const OptionRule* rule = FindOption(g_, name);
        if (rule == nullptr || name.size() < 3) return Fail(Unknown(g_, name));
        if (rule->takes == Takes::Nothing) {
            if (equals != std::string::npos) return Fail(name + " takes no value");
            flags_.push_back(name);
            return true;
        }
        if (equals != std::string::npos) {
            options_.emplace_back(name, word.substr(equals + 1));
        } else if (i + 1 < words.size()) {
            options_.emplace_back(name, words[++i]);
        } else {
            return Fail(name + " needs a value");
        }
        return true;
    }

  private:
    const Grammar& g_;
    std::vector<std::string>& flags_;
    std::vector<std::pair<std::string, std::string>>& options_;
    std::string& problem_;

    bool Fail(const std::string& text) {
        problem_ = text;
        return false;
    }

    // "-lR": single-letter flags, alone or together.
    bool Letters(const std::string& word) {
        for (std::size_t k = 1; k < word.size(); ++k) {
            const std::string name = std::string("-") + word[k];
            const OptionRule* rule = FindOption(g_, name);
            if (rule == nullptr || rule->takes != Takes::Nothing) {
                return Fail(Unknown(g_, word.size() == 2 ? word : name + " (in " + word + ")"));
            }
            flags_.push_back(name);
        }
        return true;
    }
};

bool CheckCount(const Grammar& g, const std::vector<std::string>& operands, std::string& problem) {
    const std::string who = g.action != nullptr ? std::string(g.action) + " " : "";
    const auto count = static_cast<int>(operands.size());
    if (count < g.minOperands) {
        problem = who + "needs " + g.operands;
        return false;
    }
    if (g.maxOperands != kAnyNumber && count > g.maxOperands) {
        problem = g.maxOperands == 0 ? who + "takes no arguments"
                                     : "unexpected argument: " + operands[g.maxOperands];
        return false;
    }
    return true;
}

}  // namespace

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

bool ParseArgs(const std::vector<Grammar>& grammars, const std::vector<std::string>& words,
               Args& args, std::string& problem) {
    args = Args();
    std::size_t i = 0;
    const Grammar* grammar = nullptr;
    if (!grammars.empty() && grammars.front().action == nullptr) {
        grammar = &grammars.front();
    } else if (words.empty() || !IsOperandWord(words[0]) || words[0] == "-") {
        problem = "needs an action: " + ActionList(grammars);
        return false;
    } else {
        grammar = FindGrammar(grammars, words[0]);
        if (grammar == nullptr) {
            problem = "unknown action '" + words[0] + "' (actions: " + ActionList(grammars) + ")";
            return false;
        }
        args.action_ = words[0];
        i = 1;
    }
    Reader reader(*grammar, args.flags_, args.options_, problem);
    bool optionsEnded = false;
    for (; i < words.size(); ++i) {
        if (!optionsEnded && words[i] == kEndOfOptions) {
            optionsEnded = true;
        } else if (optionsEnded) {
            args.operands_.push_back(words[i]);
        } else if (!reader.Word(words, i, args.operands_)) {
            return false;
        }
    }
    return CheckCount(*grammar, args.operands_, problem);
}

bool AsksForHelp(const std::vector<std::string>& words) {
    for (const auto& w : words) {
        if (w == kEndOfOptions) return false;
        if (w == "--help" || w == "-h") return true;
    }
    return false;
}

}  // namespace tnpkg
