// Records the package's warnings while a test runs and restores the previous hook afterwards.
#pragma once

#include <tnpackage/tnpackage.h>

#include <string>
#include <vector>

namespace geotest {

class WarningCapture {
  public:
    WarningCapture() : previousHook_(tn::OnWarning), previousEnabled_(tn::WrnEnabled) {
        Messages().clear();
        tn::OnWarning = &Record;
        tn::WrnEnabled = true;
    }
    ~WarningCapture() {
        tn::OnWarning = previousHook_;
        tn::WrnEnabled = previousEnabled_;
    }
    WarningCapture(const WarningCapture&) = delete;
    WarningCapture& operator=(const WarningCapture&) = delete;

    const std::vector<std::string>& Seen() const { return Messages(); }
    void Clear() { Messages().clear(); }

  private:
    static std::vector<std::string>& Messages() {
        static std::vector<std::string> messages;
        return messages;
    }
    static void Record(tn::TPString text) {
        Messages().emplace_back(text.c_str() != nullptr ? text.c_str() : "");
    }

    tn::TPWarningHook previousHook_;
    bool previousEnabled_;
};

/// Sets DistanzModus for the lifetime of the object.
class DistanzModusScope {
  public:
    explicit DistanzModusScope(int mode) : previous_(tn::DistanzModus) { tn::DistanzModus = mode; }
    ~DistanzModusScope() { tn::DistanzModus = previous_; }
    DistanzModusScope(const DistanzModusScope&) = delete;
    DistanzModusScope& operator=(const DistanzModusScope&) = delete;

  private:
    int previous_;
};

}  // namespace geotest
