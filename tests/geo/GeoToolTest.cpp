// The coordinate commands of tnpkg, run as a user would.
#include <gtest/gtest.h>

#include "support/RunTool.h"

#ifndef _WIN32
#include <sys/wait.h>
#endif
#include <cstdio>
#include <string>

namespace {

struct Result {
    int status = -1;
    std::string out;
};

Result Tnpkg(const std::string& arguments) {
    const tn::test::ToolResult r = tn::test::RunTool(arguments);
    return {r.status, r.output};
}

}  // namespace

TEST(GeoTool, DistCourseCoord) {
#ifdef _WIN32
    GTEST_SKIP() << "runs the tool through a POSIX shell";
#endif
    if (std::string(TN_TNPKG_PATH).empty()) GTEST_SKIP() << "tnpkg is not built";
    // One degree of latitude on the package's sphere: 6371000 * pi / 180 = 111194.93 m.
    EXPECT_EQ(Tnpkg("dist 47 11 48 11").out, "111195\n");
    EXPECT_EQ(Tnpkg("dist 47 11 48 11 --mode 7").out, "0\n");
    // The ellipsoid's meridian degree at 47.5 degrees (GeodSolve: 111180.587 m).
    EXPECT_EQ(Tnpkg("dist 47 11 48 11 --mode 100").out, "111181\n");
    EXPECT_EQ(Tnpkg("dist 4700000N01100000E 48 11").out, "111195\n");
    EXPECT_EQ(Tnpkg("course 47 11 48 11").out, "0.000000\n");
    EXPECT_EQ(Tnpkg("course 47 11 47 12").out, "90.000000\n");
    EXPECT_EQ(Tnpkg("course 47 11 47 11").out, "270.000000\n");
    EXPECT_EQ(Tnpkg("coord 4728123N01134567E").out,
              "integers: 474687167 115761167\n"
              "degrees:  47.4687167 11.5761167\n"
              "IGC:      4728123N01134567E\n"
              "valid:    yes\n");
    EXPECT_EQ(Tnpkg("coord -33.5 151.25").out.substr(0, 32), "integers: -335000000 1512500000\n");

    EXPECT_EQ(Tnpkg("coord 4728123X01134567E").status, 1);  // the package warns
    EXPECT_EQ(Tnpkg("dist 1 2 3").status, 2);
    EXPECT_EQ(Tnpkg("dist 91 0 0 0").status, 2);
    EXPECT_EQ(Tnpkg("course 1 2 3 4 5").status, 2);
    EXPECT_EQ(Tnpkg("dist 1 2 3 4 --mode x").status, 2);
    EXPECT_EQ(Tnpkg("dist --help").status, 0);
}
