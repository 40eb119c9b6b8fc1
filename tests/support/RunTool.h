// Runs the built tnpkg tool and collects what it prints.
#pragma once

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

namespace tn::test {

struct ToolResult {
    int status = -1;     // exit status, or -1 when the tool could not be run
    std::string output;  // standard output (standard error too when asked)
};

/// Runs `tnpkg <arguments>` through the shell; `arguments` is shell text.
inline ToolResult RunTool(const std::string& arguments, bool withStderr = false) {
    ToolResult result;
    std::string command = std::string("'") + TN_TNPKG_PATH + "' " + arguments;
    command += withStderr ? " 2>&1" : " 2>/dev/null";
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return result;
    std::array<char, 4096> chunk{};
    std::size_t n;
    while ((n = std::fread(chunk.data(), 1, chunk.size(), pipe)) > 0)
        result.output.append(chunk.data(), n);
    const int raw = pclose(pipe);
    result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return result;
}

}  // namespace tn::test
