// Records what the package reports through Warning while a test runs, and restores the
// previous hook and switch afterwards.
#pragma once

#include <tnpackage/tnpackage.h>

#include <string>
#include <vector>

namespace tn::test {

class WarningCapture {
  public:
    WarningCapture() : previousHook_(OnWarning), previousEnabled_(WrnEnabled) {
        Messages().clear();
        OnWarning = &Record;
        WrnEnabled = true;
    }
    ~WarningCapture() {
        OnWarning = previousHook_;
        WrnEnabled = previousEnabled_;
    }
    WarningCapture(const WarningCapture&) = delete;
    WarningCapture& operator=(const WarningCapture&) = delete;

    const std::vector<std::string>& Texts() const { return Messages(); }
    void Clear() { Messages().clear(); }

  private:
    static std::vector<std::string>& Messages() {
        static std::vector<std::string> messages;
        return messages;
    }
    static void Record(TPString text) { Messages().push_back(ToStdString(text)); }

    TPWarningHook previousHook_;
    bool previousEnabled_;
};

}  // namespace tn::test
