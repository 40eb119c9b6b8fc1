#include <tnpackage/tnpackage.h>

#include <gtest/gtest.h>

#include <limits>

#include "support/WarningCapture.h"

using tn::Round;

TEST(Rounding, HalvesAwayFromZeroAtAnyStepAndBadArguments) {
    const long double cases[][3] = {
        {2.5L, 1, 3},   {3.5L, 1, 4},      {-2.5L, 1, -3},
        {-2.4L, 1, -2}, {1e20L, 1, 1e20L}, {17, 5, 15},
        {17.5L, 5, 20}, {-17.5L, 5, -20},  {0.49999999999999994L, 1, 0}};
    for (const auto& [value, step, expected] : cases)
        EXPECT_EQ(Round(value, step), expected) << static_cast<double>(value);
    EXPECT_NEAR(static_cast<double>(Round(1.26L, 0.1L)), 1.3, 1e-12);
    tn::test::WarningCapture warnings;
    constexpr long double kNaN = std::numeric_limits<long double>::quiet_NaN();
    constexpr long double kInf = std::numeric_limits<long double>::infinity();
    for (long double step : {0.0L, -1.0L, kNaN, kInf})
        EXPECT_EQ(Round(2.7L, step), 2.7L) << static_cast<double>(step);
    EXPECT_EQ(Round(kNaN, 1.0L), 0.0L);
    EXPECT_EQ(Round(kInf, 1.0L), kInf);
    ASSERT_EQ(warnings.Texts().size(), 6u);
    EXPECT_EQ(warnings.Texts()[0].rfind("Round: ung\xFCltige Schrittweite", 0), 0u);
    EXPECT_EQ(warnings.Texts()[5].rfind("Round: ung\xFCltiger Wert", 0), 0u);
}
