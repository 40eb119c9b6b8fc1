#include <tnpackage/tnpackage.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

using namespace tn;

namespace {
std::vector<std::string> warnings;
void Record(TPString text) {
    warnings.emplace_back(text.c_str() ? text.c_str() : "");
}

struct Capture {
    TPWarningHook previous = OnWarning;
    Capture() {
        warnings.clear();
        OnWarning = &Record;
    }
    ~Capture() { OnWarning = previous; }
};
}  // namespace

TEST(Rounding, WholeNumbersHalvesAwayFromZero) {
    EXPECT_EQ(Round(2.4L, 1.0L), 2.0L);
    EXPECT_EQ(Round(2.5L, 1.0L), 3.0L);
    EXPECT_EQ(Round(3.5L, 1.0L), 4.0L);  // not to even
    EXPECT_EQ(Round(-2.5L, 1.0L), -3.0L);
    EXPECT_EQ(Round(-2.4L, 1.0L), -2.0L);
    EXPECT_EQ(Round(0.49999999999999994L, 1.0L), 0.0L);
    // Symmetric: a southern value rounds like its northern mirror.
    for (long double x = -10.0L; x <= 10.0L; x += 0.125L) {
        EXPECT_EQ(Round(-x, 1.0L), -Round(x, 1.0L)) << static_cast<double>(x);
    }
    // Beyond 2^63 there is no fraction left to round.
    EXPECT_EQ(Round(1e20L, 1.0L), 1e20L);
}

TEST(Rounding, OtherSteps) {
    EXPECT_NEAR(static_cast<double>(Round(1.26L, 0.1L)), 1.3, 1e-12);
    EXPECT_EQ(Round(17.0L, 5.0L), 15.0L);
    EXPECT_EQ(Round(17.5L, 5.0L), 20.0L);
    EXPECT_EQ(Round(-17.5L, 5.0L), -20.0L);
}

TEST(Rounding, BadArgumentsWarnAndKeepTheValue) {
    Capture capture;
    EXPECT_EQ(Round(2.7L, 0.0L), 2.7L);
    EXPECT_EQ(Round(2.7L, -1.0L), 2.7L);
    EXPECT_EQ(Round(2.7L, std::numeric_limits<long double>::quiet_NaN()), 2.7L);
    ASSERT_EQ(warnings.size(), 3u);
    EXPECT_EQ(warnings[0].rfind("Round: ung\xFCltige Schrittweite", 0), 0u);
    warnings.clear();
    EXPECT_EQ(Round(std::numeric_limits<long double>::quiet_NaN(), 1.0L), 0.0L);
    EXPECT_TRUE(std::isinf(Round(std::numeric_limits<long double>::infinity(), 1.0L)));
    ASSERT_EQ(warnings.size(), 2u);
    EXPECT_EQ(warnings[0].rfind("Round: ung\xFCltiger Wert", 0), 0u);
}
