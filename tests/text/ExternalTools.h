// Runs a reference tool (iconv, python3) on bytes and returns what it printed.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include "support/RunTool.h"
#include "support/Scratch.h"

namespace tn::test {

/// Output of `command` run by the shell with `input` on its standard input; `status` receives
/// its exit status.
inline std::string RunReference(const std::string& command, const std::string& input,
                                int* status = nullptr) {
    static int counter = 0;
    const std::filesystem::path inputFile =
        ScratchFolder() / ("input_" + std::to_string(::getpid()) + "_" + std::to_string(++counter));
    { std::ofstream(inputFile, std::ios::binary) << input; }
    const std::string line = command + " < '" + inputFile.string() + "'";
    ToolResult result = RunCommand(line);
    if (status != nullptr) *status = result.status;
    std::filesystem::remove(inputFile);
    return std::move(result.output);
}

}  // namespace tn::test
