#include <gtest/gtest.h>
#include <tnpackage/tnpackage.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "support/WarningCapture.h"

using namespace tn;

namespace {

struct YesNoCall {
    std::string text;
    TPYesNoCallback onYes;
    void* argument;
};
std::vector<YesNoCall> yesNoCalls;
void RecordYesNo(TPString text, TPYesNoCallback onYes, void* argument) {
    yesNoCalls.push_back({text.c_str(), onYes, argument});
}

int callbackRuns = 0;
void CountCallback(void* argument) {
    callbackRuns += *static_cast<int*>(argument);
}

}  // namespace

TEST(Messages, WarningGoesToTheHookWithTheBareTextAndErrorAddsItsPrefix) {
    test::WarningCapture capture;
    Warning("Datei fehlt");
    EXPECT_FALSE(Error("kaputt"));
    NichtImplementiert("FileOpenV");
    EXPECT_EQ(capture.Texts(),
              (std::vector<std::string>{"Datei fehlt", "ERROR: kaputt",
                                        "Funktion 'FileOpenV' noch nicht implementiert!"}));
}

TEST(Messages, DisabledWarningsReachNoHookButErrorMsgStillShows) {
    test::WarningCapture capture;
    WrnEnabled = false;
    Warning("a");
    EXPECT_FALSE(Error("b"));
    NichtImplementiert("c");
    EXPECT_TRUE(capture.Texts().empty());

    testing::internal::CaptureStderr();
    ErrorMsg("Speicher voll");
    const std::string shown = testing::internal::GetCapturedStderr();
    EXPECT_NE(shown.find("ERROR: Speicher voll"), std::string::npos);
}

TEST(Messages, WithoutAHookWarningsAreWrittenToStandardError) {
    ASSERT_EQ(OnWarning, nullptr);
    testing::internal::CaptureStderr();
    Warning("Vorsicht");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Warning: Vorsicht\n");
}

TEST(Messages, YesNoWithAHookAlwaysAgreesAndHandsOnTheCallback) {
    OnYesNo = &RecordYesNo;
    EXPECT_TRUE(YesNo("Datei l\xF6schen?"));
    int weight = 3;
    YesNo("Weiter?", &CountCallback, &weight);
    OnYesNo = nullptr;

    ASSERT_EQ(yesNoCalls.size(), 2u);
    EXPECT_EQ(yesNoCalls[0].text, "YesNo: Datei l\xF6schen?");
    EXPECT_EQ(yesNoCalls[0].onYes, nullptr);
    EXPECT_EQ(yesNoCalls[0].argument, nullptr);
    EXPECT_EQ(yesNoCalls[1].text, "YesNo: Weiter?");
    EXPECT_EQ(yesNoCalls[1].onYes, &CountCallback);
    EXPECT_EQ(yesNoCalls[1].argument, &weight);
    EXPECT_EQ(callbackRuns, 0);  // the host calls it, not the package
}

TEST(Messages, YesNoWithoutAUserToAskMeansNo) {
    // Automated runs have no terminal; questions must not wait and must not agree.
    ASSERT_EQ(OnYesNo, nullptr);
    EXPECT_FALSE(YesNo("Formatieren?"));
    int weight = 1;
    YesNo("Formatieren?", &CountCallback, &weight);
    EXPECT_EQ(callbackRuns, 0);
}
