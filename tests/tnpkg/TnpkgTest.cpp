// The tool's conventions: help, version, exit statuses and the demo.
#include <gtest/gtest.h>

#include <string>

#include "support/RunTool.h"

using tn::test::RunTool;

TEST(Tnpkg, HelpVersionAndUsageErrors) {
    TN_REQUIRE_SHELL();
    const auto help = RunTool("--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.output.find("demo"), std::string::npos);

    const auto version = RunTool("--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.output.rfind("tnpkg ", 0), 0u);

    EXPECT_EQ(RunTool("").status, 2);
    EXPECT_EQ(RunTool("no-such-command").status, 2);
    EXPECT_EQ(RunTool("demo extra").status, 2);

    const auto demoHelp = RunTool("demo --help");
    EXPECT_EQ(demoHelp.status, 0);
    EXPECT_EQ(demoHelp.output.rfind("usage: tnpkg demo", 0), 0u);
}

TEST(Tnpkg, DemoRunsCleanly) {
    TN_REQUIRE_SHELL();
    const auto demo = RunTool("demo", true);
    EXPECT_EQ(demo.status, 0) << demo.output;
    EXPECT_NE(demo.output.find("== TPString"), std::string::npos);
    EXPECT_EQ(demo.output.find("warning:"), std::string::npos) << demo.output;
}
