#include <gtest/gtest.h>
#include <tnpackage/tnpackage.h>

#include <cstring>
#include <string>

using namespace tn;

TEST(Globals, StartWithTheirDocumentedValues) {
    EXPECT_TRUE(WrnEnabled);
    EXPECT_FALSE(Running || IDERun || TestBoolFlag || CancelFlag || StopAll ||
                 SystemInitialisiert || SystemRunning);
    EXPECT_EQ(Sprache, 0);
    EXPECT_EQ(Language, 0);
    EXPECT_EQ(zkDecimalSeparator, '.');
    EXPECT_EQ(OnWarning, nullptr);
    EXPECT_EQ(OnYesNo, nullptr);
    EXPECT_EQ(OnMemory, nullptr);
    EXPECT_FALSE(OnProgress || DoStartProgress || DoFinishProgress || OnFastRefresh);
    EXPECT_EQ(OnProgress.Object, nullptr);
    EXPECT_TRUE(ProgramDir.IsEmpty() && TempDir.IsEmpty() && ProgramName.IsEmpty() &&
                TarnoDBDir.IsEmpty() && TarnoDatabase.IsEmpty());
}

TEST(Globals, StandardStringsAreEmptyUntilCreatedAndKeepTwoWhenDeleted) {
    EXPECT_TRUE(sCRLF.IsEmpty());
    EXPECT_TRUE(OEMChar.IsEmpty());

    CreateStdStrings();
    EXPECT_EQ(ToStdString(OEMChar), "\x8E\x99\x9A\x84\x94\x81\xE1");
    EXPECT_EQ(ToStdString(sCRLF), "\r\n");
    EXPECT_TRUE(EmptyString.IsEmpty());
    EXPECT_EQ(ToStdString(strNEWS), "NEWS");
    EXPECT_EQ(ToStdString(strPunkt), ".");
    EXPECT_EQ(ToStdString(strLeerZeichen), " ");

    ProgramDir = "C:\\Programme\\Tarno";
    DeleteStdStrings();
    EXPECT_EQ(ProgramDir.c_str(), nullptr);
    EXPECT_EQ(OEMChar.c_str(), nullptr);
    EXPECT_EQ(sCRLF.c_str(), nullptr);
    EXPECT_EQ(strNEWS.c_str(), nullptr);
    EXPECT_EQ(strPunkt.c_str(), nullptr);
    EXPECT_EQ(ToStdString(strLeerZeichen), " ");  // left for the string unit's finalisation
}
