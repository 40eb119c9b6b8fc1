// The `tnpkg date` command, run as a program.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "support/RunTool.h"

namespace {

TEST(DateCommandTest, ReadsTextsAndFatDatesShowsTheClockAndRefusesBadUsage) {
    TN_REQUIRE_SHELL();
    // Status and output; text that does not fit the form is a failure, bad usage 2.
    const std::pair<const char*, const char*> runs[] = {
        {"date 150712103045 33", "0 41105.438020833 150712103045\n"},
        {"date nonsense 32", "1 "},
        {"date --fat 0x3F9FBF7D", "0 31.12.2011 23:59:58 40908.999976852\n"},
        {"date --fat 0x100000000", "2 "},
        {"date 150712 x", "2 "},
    };
    for (const auto& [arguments, expected] : runs) {
        const tn::test::ToolResult r = tn::test::RunTool(arguments);
        EXPECT_EQ(std::to_string(r.status) + " " + r.output, expected) << arguments;
    }
    const std::string now = tn::test::RunTool("date --now").output;
    EXPECT_TRUE(now.rfind("local ", 0) == 0 && now.find("\nutc   ") != std::string::npos) << now;
}

}  // namespace
