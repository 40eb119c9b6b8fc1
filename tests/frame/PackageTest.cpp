#include <gtest/gtest.h>
#include <tnpackage/tnpackage.h>

#include <string>
#include <vector>

using namespace tn;

TEST(Package, UnitsAreListedInLoadOrderAndInitialisedOnceByLoading) {
    const std::vector<std::string> expected = {
        "Up_logfile",    "Up_speicher",   "Up_flash",    "Up_listobject",   "Up_filename",
        "Up_fileio",     "Up_util",       "Up_crc",      "Up_dateimanager", "Up_fat",
        "Up_dateiinfo",  "Up_texte",      "Up_datetime", "Up_constante",    "Up_string",
        "Tnpackage",     "Up_math",       "Up_complex",  "Up_deviceinfo",   "Up_folderdialog",
        "Up_intconvert", "Up_koordinate", "Up_punkt",    "Up_standards",    "Up_stringlist"};
    ASSERT_EQ(PackageUnitCount(), static_cast<int>(expected.size()));
    for (int i = 0; i < PackageUnitCount(); ++i) {
        EXPECT_EQ(PackageUnitName(i), expected[static_cast<std::size_t>(i)]);
        EXPECT_EQ(PackageUnitNesting(i), 1) << PackageUnitName(i);
    }
    EXPECT_EQ(PackageUnitName(-1), nullptr);
    EXPECT_EQ(PackageUnitName(PackageUnitCount()), nullptr);
    EXPECT_EQ(Tag, 1.0);  // the constants unit ran
}

TEST(Package, NestedStartsFinaliseOnlyAtTheLastExit) {
    CreateStdStrings();
    PackageStart();  // a second load
    EXPECT_EQ(PackageUnitNesting(0), 2);
    PackageExit();
    EXPECT_EQ(PackageUnitNesting(0), 1);
    EXPECT_STREQ(sCRLF.c_str(), "\r\n");  // still there: nothing was finalised

    PackageExit();
    EXPECT_EQ(PackageUnitNesting(0), 0);
    EXPECT_EQ(sCRLF.c_str(), nullptr);  // the string unit released its standard strings
    EXPECT_EQ(strLeerZeichen.c_str(), nullptr);

    PackageExit();  // unbalanced exits do not go below zero
    EXPECT_EQ(PackageUnitNesting(0), 0);
    PackageStart();
    EXPECT_EQ(PackageUnitNesting(0), 1);
}
