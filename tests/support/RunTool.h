// Runs programs for the tests (the built tnpkg, reference tools) and collects what they print.
// The command lines are POSIX shell text and the reference tools are Linux programs, so on
// Windows nothing is run: a test that needs them says TN_REQUIRE_SHELL() first and is skipped.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

namespace tn::test {

#if defined(_WIN32)
inline constexpr bool kHaveShell = false;
#else
inline constexpr bool kHaveShell = true;
#endif

struct ToolResult {
    int status = -1;     // exit status, or -1 when the program could not be run
    std::string output;  // standard output (standard error too when asked)
};

/// Runs a shell command line and collects its standard output.
inline ToolResult RunCommand(const std::string& command) {
    ToolResult result;
#if defined(_WIN32)
    (void)command;
#else
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return result;
    std::array<char, 4096> chunk{};
    std::size_t n;
    while ((n = std::fread(chunk.data(), 1, chunk.size(), pipe)) > 0) {
        result.output.append(chunk.data(), n);
    }
    const int raw = pclose(pipe);
    result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
#endif
    return result;
}

/// Runs `tnpkg <arguments>` through the shell; `arguments` is shell text.
inline ToolResult RunTool(const std::string& arguments, bool withStderr = false) {
    std::string command = std::string("'") + TN_TNPKG_PATH + "' " + arguments;
    command += withStderr ? " 2>&1" : " 2>/dev/null";
    return RunCommand(command);
}

}  // namespace tn::test

/// Skips the rest of the running test where there is no POSIX shell with the reference tools
/// (Windows); what the test checked before still counts.
#define TN_REQUIRE_SHELL() \
    if (!::tn::test::kHaveShell) GTEST_SKIP() << "needs a POSIX shell and its tools"
