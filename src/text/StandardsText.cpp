// Padding, trimming and character helpers, user messages and file existence.
#include <tnpackage/frame/Globals.h>
#include <tnpackage/text/Standards.h>

#include "platform/Platform.h"

namespace tn {

TPString StringOfChar(char c, int n) {
    return TPString::StringOfChar(c, n);
}

TPString LeftString(TPString s, int n) {
    return s.Left(n);
}

TPString RightString(TPString s, int n) {
    return s.Right(n);
}

TPString Trim(TPString s) {
    return s.Trim();
}

TPString ChangeChar(TPString s, char from, char to) {
    return s.ChangeChar(from, to);
}

void zkShowMessage(TPString text) {
    if (OnWarning != nullptr) {
        OnWarning(text);
        return;
    }
    platform::ShowInformation(text.c_str());
}

bool zkFileExists(TPString name) {
    return !name.IsEmpty() && platform::FileExists(name.c_str());
}

}  // namespace tn
