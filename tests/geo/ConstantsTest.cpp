#include <tnpackage/tnpackage.h>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace tn;

TEST(Constants, StoredValues) {
    EXPECT_EQ(FeetPerMeter, 3.2808000690280332);
    EXPECT_EQ(MPerMiles, 1852.0);
    EXPECT_EQ(ErdRadius, 6371000.0);
    EXPECT_EQ(RadiusWGS84, 6378137.0);
    EXPECT_EQ(StandardAtmosphere, 1013.25);
    EXPECT_EQ(Tnull, -273.15);
    EXPECT_EQ(g, 9.80665);
}

TEST(Constants, ComputedAtPackageStart) {
    EXPECT_EQ(MilesPerKm, 0.5399568034557235);
    EXPECT_EQ(Pi_2, std::numbers::pi / 2);
    EXPECT_EQ(Pi, std::numbers::pi);
    EXPECT_EQ(Pi2, 2 * std::numbers::pi);
    EXPECT_EQ(e, std::numbers::e);
    // The double nearest to pi/180, as the published value shows it.
    EXPECT_EQ(ArcProGrad, 0.017453292519943295);
    EXPECT_EQ(ArcProGrad, static_cast<double>(std::numbers::pi_v<long double> / 180.0L));
}

TEST(Constants, PowersOfTwo) {
    const int bits[] = {7, 8, 9, 10, 11, 12, 15, 16, 21, 24};
    const int values[] = {_7Bit,  _8Bit,  _9Bit,  _10Bit, _11Bit,
                          _12Bit, _15Bit, _16Bit, _21Bit, _24Bit};
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(values[i], static_cast<int>(std::ldexp(1.0, bits[i]))) << bits[i];
    }
    EXPECT_EQ(_24Bit, 16777216);
}

TEST(Constants, PackageRestartSetsTheInitialValuesAgain) {
    DistanzModus = 4;
    KoordinatenMinutenFormat = 3;
    PackageExit();
    PackageStart();
    EXPECT_EQ(DistanzModus, 2);
    EXPECT_EQ(KoordinatenMinutenFormat, 0);
    EXPECT_EQ(ArcProGrad, 0.017453292519943295);
    EXPECT_EQ(Tag, 1.0);
}
