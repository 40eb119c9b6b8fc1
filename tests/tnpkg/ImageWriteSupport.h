// Helpers of the tests that interrupt, race and redirect tnpkg's writes: running the tool with
// a crash hook or in the background, and comparing whole image files.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/FatImages.h"
#include "support/RunTool.h"

namespace tn::test {

inline std::string Q(const std::filesystem::path& p) {
    return Shell(p.string());
}

/// The command line that runs tnpkg with `arguments` (shell text).
inline std::string TnpkgLine(const std::string& arguments) {
    return Shell(TN_TNPKG_PATH) + " " + arguments;
}

/// Runs tnpkg with environment settings in front ("NAME=VALUE ..."), standard error included.
inline ToolResult RunWith(const std::string& environment, const std::string& arguments) {
    return RunCommand(environment + " " + TnpkgLine(arguments) + " 2>&1");
}

/// The exit status the crash hooks end the process with.
inline constexpr int kCrashStatus = 9;

inline void WriteBytes(const std::filesystem::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::filesystem::path JournalOf(const std::filesystem::path& image) {
    return image.string() + ".tnpkg-journal";
}

}  // namespace tn::test
