// The package's reporting functions. Without a host hook they fall back to the platform's
// dialogs.
#include <tnpackage/frame/Messages.h>

#include "platform/Platform.h"

namespace tn {

namespace {
constexpr const char* kErrorPrefix = "ERROR: ";
constexpr const char* kYesNoPrefix = "YesNo: ";
constexpr const char* kWarningCaption = "Warning";
constexpr const char* kQuestionCaption = "Question";
}  // namespace

void ErrorMsg(TPString text) {
    const TPString message = TPString(kErrorPrefix) + text;
    platform::ShowInformation(message.c_str());
}

void Warning(TPString text) {
    if (!WrnEnabled) return;
    if (OnWarning != nullptr) {
        OnWarning(text);
        return;
    }
    platform::ShowWarning(text.c_str(), kWarningCaption);
}

bool Error(TPString text) {
    Warning(TPString(kErrorPrefix) + text);
    return false;
}

void NichtImplementiert(TPString name) {
    Warning(TPString("Funktion '") + name + "' noch nicht implementiert!");
}

bool YesNo(TPString text) {
    if (OnYesNo != nullptr) {
        // The host answers in its own time; the question counts as agreed.
        OnYesNo(TPString(kYesNoPrefix) + text, nullptr, nullptr);
        return true;
    }
    return platform::AskYesNo(text.c_str(), kWarningCaption, false) == platform::kAnswerYes;
}

void YesNo(TPString text, TPYesNoCallback onYes, void* argument) {
    if (OnYesNo != nullptr) {
        OnYesNo(TPString(kYesNoPrefix) + text, onYes, argument);
        return;
    }
    if (platform::AskYesNo(text.c_str(), kQuestionCaption, true) == platform::kAnswerYes &&
        onYes != nullptr) {
        onYes(argument);
    }
}

}  // namespace tn
