// The `tnpkg date` command, run as a program.
#include <gtest/gtest.h>

#include <string>

#include "support/RunTool.h"

namespace {

TEST(DateCommandTest, ReadsTextsAndFatDatesShowsTheClockAndRefusesBadUsage) {
    if (std::string(TN_TNPKG_PATH).empty()) GTEST_SKIP() << "tnpkg is not built";
    const struct {
        const char* arguments;
        int status;
        const char* output;  // its beginning
    } runs[] = {
        {"date 150712103045 33", 0, "41105.438020833 150712103045\n"},
        {"date 2100-03-01 44", 0, "73111.000000000 010300000000\n"},  // 2100 leaps here
        {"date 12h30 16", 0, "0.520833333 311299123000\n"},
        {"date nonsense 32", 0, "0.000000000 "},  // the library's answer, no error
        {"date --fat 0x3F9FBF7D", 0, "31.12.2011 23:59:58 40908.999976852\n"},
        {"date --now", 0, "local "},
        {"date --help", 0, "usage: tnpkg date TEXT"},
        {"date", 2, ""},
        {"date 150712", 2, ""},
        {"date 150712 x", 2, ""},
        {"date --fat", 2, ""},
        {"date --fat 0x100000000", 2, ""},
        {"date --now 150712 32", 2, ""},
        {"date --later", 2, ""},
    };
    for (const auto& run : runs) {
        const tn::test::ToolResult r = tn::test::RunTool(run.arguments);
        EXPECT_EQ(r.status, run.status) << run.arguments;
        EXPECT_EQ(r.output.substr(0, std::string(run.output).size()), run.output) << run.arguments;
    }
    EXPECT_NE(tn::test::RunTool("date --now").output.find("\nutc   "), std::string::npos);
}

}  // namespace
