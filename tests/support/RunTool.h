// Runs programs for the tests (the built tnpkg, reference tools) and collects what they print.
#pragma once

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

namespace tn::test {

struct ToolResult {
    int status = -1;     // exit status, or -1 when the program could not be run
    std::string output;  // standard output (standard error too when asked)
};

/// Runs a shell command line and collects its standard output.
inline ToolResult RunCommand(const std::string& command) {
    ToolResult result;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return result;
    std::array<char, 4096> chunk{};
    std::size_t n;
    while ((n = std::fread(chunk.data(), 1, chunk.size(), pipe)) > 0) {
        result.output.append(chunk.data(), n);
    }
    const int raw = pclose(pipe);
    result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return result;
}

/// Runs `tnpkg <arguments>` through the shell; `arguments` is shell text.
inline ToolResult RunTool(const std::string& arguments, bool withStderr = false) {
    std::string command = std::string("'") + TN_TNPKG_PATH + "' " + arguments;
    command += withStderr ? " 2>&1" : " 2>/dev/null";
    return RunCommand(command);
}

}  // namespace tn::test
