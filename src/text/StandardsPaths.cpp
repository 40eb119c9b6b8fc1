// Path macros: "$(ZKS)" for the program folder and "%NAME%" for environment variables.
#include <tnpackage/frame/Globals.h>
#include <tnpackage/frame/Messages.h>
#include <tnpackage/text/Standards.h>

#include <algorithm>
#include <string>

#include "platform/Platform.h"

namespace tn {

namespace {

constexpr const char* kMacroOpen = "$(";
constexpr char kMacroClose = ')';
constexpr const char* kProgramDirMacro = "ZKS";
constexpr char kVariableMark = '%';
constexpr const char* kUnknownMacro = "PfadErweiterung: unbekanntes Makro ";

bool IsSeparator(char c) {
    return c == '\\' || c == '/';
}

bool IsVariableNameChar(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '(' || c == ')';
}

std::string ProgramFolder() {
    std::string folder = ToStdString(ProgramDir);
    if (!folder.empty() && !IsSeparator(folder.back())) folder += platform::PathSeparator();
    return folder;
}

void ReportUnknown(const std::string& macro) {
    Warning(TPString(kUnknownMacro) + TPString(macro.c_str(), 0));
}

// "$(NAME)" at `at`: appends its expansion and returns the length consumed, or 0 when the text
// there is no complete macro.
std::size_t ExpandMacro(const std::string& path, std::size_t at, std::string& out) {
    const std::size_t close = path.find(kMacroClose, at + 2);
    if (close == std::string::npos) return 0;
    const std::string name = path.substr(at + 2, close - at - 2);
    std::size_t consumed = close + 1 - at;
    if (name != kProgramDirMacro) {
        ReportUnknown(path.substr(at, consumed));
        out += path.substr(at, consumed);
        return consumed;
    }
    // The macro stands for the folder with its separator; the one written after it is dropped.
    if (at + consumed < path.size() && IsSeparator(path[at + consumed])) ++consumed;
    out += ProgramFolder();
    return consumed;
}

// "%NAME%" at `at`: as ExpandMacro.
std::size_t ExpandVariable(const std::string& path, std::size_t at, std::string& out) {
    const std::size_t close = path.find(kVariableMark, at + 1);
    if (close == std::string::npos || close == at + 1) return 0;
    const std::string name = path.substr(at + 1, close - at - 1);
    if (!std::all_of(name.begin(), name.end(), IsVariableNameChar)) return 0;
    const std::size_t consumed = close + 1 - at;
    const std::string value = platform::GetEnv(name.c_str());
    if (value.empty()) {
        ReportUnknown(path.substr(at, consumed));
        out += path.substr(at, consumed);
    } else {
        out += value;
    }
    return consumed;
}

}  // namespace

TPString PfadErweiterung(TPString path) {
    if (path.IsEmpty()) return TPString();
    const std::string in = path.c_str();
    std::string out;
    for (std::size_t i = 0; i < in.size();) {
        std::size_t consumed = 0;
        if (in.compare(i, 2, kMacroOpen) == 0) {
            consumed = ExpandMacro(in, i, out);
        } else if (in[i] == kVariableMark) {
            consumed = ExpandVariable(in, i, out);
        }
        if (consumed == 0) {
            out += in[i];
            consumed = 1;
        }
        i += consumed;
    }
    if (platform::PathSeparator() == '/') std::replace(out.begin(), out.end(), '\\', '/');
    return TPString(out.data());
}

}  // namespace tn
