// The `tnpkg date` command, run as a program.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

#include "support/RunTool.h"

namespace {

TEST(DateCommandTest, ReadsTextsAndFatDatesShowsTheClockAndRefusesBadUsage) {
    if (std::string(TN_TNPKG_PATH).empty()) GTEST_SKIP() << "tnpkg is not built";
    // Each run's status and the beginning of its output; text that does not fit gives 0.
    const std::pair<const char*, const char*> runs[] = {
        {"date 150712103045 33", "0 41105.438020833 150712103045\n"},
        {"date 2100-03-01 44", "0 73111.000000000 010300000000\n"},
        {"date 12h30 16", "0 0.520833333 311299123000\n"},
        {"date nonsense 32", "0 0.000000000 "},
        {"date --fat 0x3F9FBF7D", "0 31.12.2011 23:59:58 40908.999976852\n"},
        {"date --now", "0 local "},
        {"date --help", "0 usage: tnpkg date TEXT"},
    };
    for (const auto& [arguments, expected] : runs) {
        const tn::test::ToolResult r = tn::test::RunTool(arguments);
        EXPECT_EQ((std::to_string(r.status) + " " + r.output).substr(0, std::strlen(expected)),
                  expected)
            << arguments;
    }
    EXPECT_NE(tn::test::RunTool("date --now").output.find("\nutc   "), std::string::npos);
    for (const char* bad : {"date", "date 150712", "date 150712 x", "date --fat", "date --later",
                            "date --fat 0x100000000", "date --now 150712 32"})
        EXPECT_EQ(tn::test::RunTool(bad).status, 2) << bad;
}

}  // namespace
