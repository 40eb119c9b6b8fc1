// `tnpkg date --now` takes the clock's UTC offset from the system, not the package's default.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <sstream>
#include <string>

#include "support/RunTool.h"

namespace {

// Local minus UTC in hours, from the day counts `date --now` prints.
double PrintedOffsetHours(const std::string& zone) {
    const auto r = tn::test::RunCommand("TZ=" + zone + " '" + std::string(TN_TNPKG_PATH) +
                                        "' date --now 2>/dev/null");
    EXPECT_EQ(r.status, 0) << r.output;
    std::istringstream lines(r.output);
    std::string word, stamp;
    double local = 0, utc = 0;
    lines >> word >> stamp >> stamp >> local >> word >> stamp >> stamp >> utc;
    return (local - utc) * 24.0;
}

TEST(HonestDate, NowUsesTheSystemsUtcOffset) {
    TN_REQUIRE_SHELL();
    EXPECT_NEAR(PrintedOffsetHours("UTC0"), 0.0, 0.01);
    EXPECT_NEAR(PrintedOffsetHours("XXX-9"), 9.0, 0.01);   // POSIX: nine hours east of UTC
    EXPECT_NEAR(PrintedOffsetHours("XXX+5"), -5.0, 0.01);  // five hours west
}

}  // namespace
