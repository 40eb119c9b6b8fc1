// The `tnpkg date` command, run as a program.
#include <gtest/gtest.h>

#include "support/RunTool.h"

#include <sys/wait.h>

#include <cstdio>
#include <string>

namespace {

struct ToolRun {
    std::string out;
    int status = -1;
};

ToolRun Tnpkg(const std::string& arguments) {
    const tn::test::ToolResult r = tn::test::RunTool(arguments);
    return {r.output, r.status};
}

class DateCommandTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (std::string(TN_TNPKG_PATH).empty()) GTEST_SKIP() << "tnpkg is not built";
    }
};

TEST_F(DateCommandTest, ReadsATextInTheFormOfTheFlag) {
    ToolRun r = Tnpkg("date 150712 32");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "41105.000000000 150712000000\n");
    r = Tnpkg("date 150712103045 33");
    EXPECT_EQ(r.out, "41105.438020833 150712103045\n");
    r = Tnpkg("date 2100-03-01 44");  // 73110 in the usual serial: 2100 leaps here
    EXPECT_EQ(r.out, "73111.000000000 010300000000\n");
    r = Tnpkg("date 12h30 16");
    EXPECT_EQ(r.out, "0.520833333 311299123000\n");
}

TEST_F(DateCommandTest, TextThatDoesNotFitGivesZeroNotAnError) {
    const ToolRun r = Tnpkg("date nonsense 32");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.substr(0, 12), "0.000000000 ");
}

TEST_F(DateCommandTest, DecodesAFatDate) {
    ToolRun r = Tnpkg("date --fat 0x3F9FBF7D");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "31.12.2011 23:59:58 40908.999976852\n");
    r = Tnpkg("date --fat 0x00210000");
    EXPECT_EQ(r.out, "01.01.1980 00:00:00 29221.000000000\n");
}

TEST_F(DateCommandTest, ShowsTheClock) {
    const ToolRun r = Tnpkg("date --now");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.substr(0, 6), "local ");
    EXPECT_NE(r.out.find("\nutc   "), std::string::npos);
}

TEST_F(DateCommandTest, BadUsage) {
    EXPECT_EQ(Tnpkg("date").status, 2);
    EXPECT_EQ(Tnpkg("date 150712").status, 2);
    EXPECT_EQ(Tnpkg("date 150712 x").status, 2);
    EXPECT_EQ(Tnpkg("date --fat").status, 2);
    EXPECT_EQ(Tnpkg("date --fat 0x100000000").status, 2);
    EXPECT_EQ(Tnpkg("date --now 150712 32").status, 2);
    EXPECT_EQ(Tnpkg("date --later").status, 2);
    const ToolRun help = Tnpkg("date --help");
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.substr(0, 22), "usage: tnpkg date TEXT");
}

}  // namespace
