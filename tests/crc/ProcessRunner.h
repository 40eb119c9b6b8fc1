// Helpers of the CRC tests that run programs: scratch files and shell quoting.
#pragma once

#include <filesystem>
#include <string>

#include "support/RunTool.h"
#include "support/Scratch.h"

namespace crctest {

using tn::test::RunCommand;
using tn::test::ScratchFolder;
using ProcessResult = tn::test::ToolResult;

/// The path in double quotes, for a shell command line.
inline std::string Quoted(const std::filesystem::path& p) {
    return "\"" + p.string() + "\"";
}

}  // namespace crctest
