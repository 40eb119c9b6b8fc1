#include <gtest/gtest.h>
#include <tnpackage/tnpackage.h>

#include <string>

using namespace tn;

namespace {}  // namespace

TEST(LanguageTables, HoldTheTextsByteForByte) {
    EXPECT_EQ(std::string(pcaMonthName[3][0]), "M\xE4rz");
    EXPECT_EQ(std::string(pcaMonthName[3][0]).size(), 4u);  // Windows-1252, one byte for ä
    EXPECT_EQ(std::string(pcaMonthName[12][1]), "December");
    EXPECT_EQ(pcaMonthName[4][1], nullptr);
    EXPECT_EQ(pcaMonthName[13][0], nullptr);
    EXPECT_EQ(std::string(pcaShortMonthName[3][0]), "Mrz");
    EXPECT_EQ(std::string(pcaShortMonthName[10][1]), "Oct");
    EXPECT_EQ(std::string(pcaGliderClass[2][1]), "15m");
    EXPECT_EQ(std::string(pcaGliderClass[5][1]), "DoubleSeater");
    EXPECT_EQ(pcaGliderClass[6][0], nullptr);
    for (const auto& row : pcaMonthName)
        EXPECT_EQ(row[2], nullptr);
}

TEST(LanguageTables, MissingTranslationsFallBackToGermanButEmptyOnesDifferByFunction) {
    EXPECT_EQ(ToStdString(GetLanguageString(pcaGliderClass[1], 1)), "Standard");
    EXPECT_EQ(ToStdString(GetLanguageString(pcaGliderClass[0], 1)), "Open");
    EXPECT_EQ(ToStdString(GetLanguageString(pcaMonthName[3], 2)), "M\xE4rz");
    EXPECT_TRUE(GetLanguageString(nullptr, 1).IsEmpty());
    EXPECT_TRUE(SystemLanguage(nullptr).IsEmpty());

    const char* const row[3] = {"Deutsch", "", nullptr};
    Language = 1;
    EXPECT_EQ(ToStdString(SystemLanguage(row)), "Deutsch");  // empty entry: German instead
    EXPECT_EQ(ToStdString(GetLanguageString(row, 1)), "");   // empty entry kept as it is
    EXPECT_EQ(ToStdString(SystemLanguage(pcaMonthName[5])), "May");
    Language = 2;
    EXPECT_EQ(ToStdString(SystemLanguage(pcaMonthName[5])), "Mai");
    Language = 7;  // a column that does not exist
    EXPECT_EQ(ToStdString(SystemLanguage(pcaMonthName[5])), "Mai");
    Language = 0;
    EXPECT_EQ(ToStdString(GetLanguageString(pcaMonthName[5], -1)), "Mai");
}
