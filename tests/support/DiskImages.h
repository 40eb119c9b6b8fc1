// Disk images with a partition table, written by sfdisk.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "support/RunTool.h"
#include "support/Scratch.h"

namespace tn::test {

inline bool HaveTool(const char* name) {
#ifdef _WIN32
    (void)name;
    return false;
#else
    return RunCommand(std::string("command -v ") + name + " >/dev/null 2>&1").status == 0;
#endif
}

/// A disk image of `megabytes` partitioned by sfdisk from `script`.
inline std::filesystem::path Partitioned(const std::string& name, const std::string& script,
                                         int megabytes = 64) {
    const std::filesystem::path image = ScratchFolder() / name;
    std::filesystem::remove(image);
    std::ofstream(image, std::ios::binary).close();
    std::filesystem::resize_file(image, static_cast<std::uintmax_t>(megabytes) << 20);
    const ToolResult r =
        RunCommand("printf '" + script + "' | sfdisk -q '" + image.string() + "' >/dev/null 2>&1");
    EXPECT_EQ(r.status, 0) << "sfdisk refused " << script;
    return image;
}

}  // namespace tn::test
