// The coordinate commands of tnpkg, run as a user would.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "support/RunTool.h"

TEST(GeoTool, DistCourseCoord) {
    TN_REQUIRE_SHELL();
    if (std::string(TN_TNPKG_PATH).empty()) GTEST_SKIP() << "tnpkg is not built";
    const std::pair<const char*, const char*> outputs[] = {
        {"dist 47 11 48 11", "111195\n"},             // 6371000 m * pi / 180 = 111194.93 m
        {"dist 47 11 48 11 --mode 100", "111181\n"},  // GeodSolve: 111180.587 m
        {"dist 4700000N01100000E 48 11", "111195\n"},
        {"course 47 11 47 12", "90.000000\n"},
        {"coord -33.5 151.25",
         "integers: -335000000 1512500000\ndegrees:  -33.5000000 151.2500000\n"
         "IGC:      3330000S15115000E\nvalid:    yes\n"}};
    for (const auto& [arguments, output] : outputs)
        EXPECT_EQ(tn::test::RunTool(arguments).output, output) << arguments;
    const auto status = [](const char* arguments) { return tn::test::RunTool(arguments).status; };
    EXPECT_EQ(status("coord 4728123X01134567E"), 1);  // the package warns
    EXPECT_EQ(status("dist 91 0 0 0"), 2);            // bad usage
    EXPECT_EQ(status("dist 1 2 3 4 --mode x"), 2);
}
