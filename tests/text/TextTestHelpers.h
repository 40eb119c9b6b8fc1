// Shared by the text tests: owned TPStrings from std::string, and reference tools run on bytes.
#pragma once

#include <gtest/gtest.h>
#include <tnpackage/tnpackage.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "support/RunTool.h"
#include "support/Scratch.h"

namespace tn::test {

inline TPString Owned(const std::string& s) {
    return TPString(const_cast<char*>(s.c_str()));
}

/// What the shell command prints with `input` on its standard input.
inline std::string RunReference(const std::string& command, const std::string& input) {
    const std::filesystem::path file = ScratchFolder() / "reference_input";
    { std::ofstream(file, std::ios::binary) << input; }
    return RunCommand(command + " < '" + file.string() + "'").output;
}

}  // namespace tn::test
