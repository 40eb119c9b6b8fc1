// The package reports through one hook, tn::OnWarning. While a WarningCapture lives, the hook
// is its own: each warning is counted, kept, and shown on standard error in the terminal's encoding
// (os/ConsoleText.h) after a few words saying what the tool was doing ("tnpkg fat: while mounting
// card.img: ..."). Captures nest; a warning counts in every capture that is active and is shown
// once, with the words of the innermost one. Whether a warning fails the command is the command's
// own decision.
#pragma once

#include <tnpackage/tnpackage.h>

#include <cstddef>
#include <string>
#include <vector>

namespace tnpkg {

class WarningCapture {
  public:
    /// Held: the warnings are kept but not shown until ShowHeld.
    enum class Showing { AtOnce, Held };

    /// `doing` is printed before the package's text, e.g. "tnpkg fat: while mounting x.img".
    explicit WarningCapture(std::string doing, Showing showing = Showing::AtOnce);
    ~WarningCapture();
    WarningCapture(const WarningCapture&) = delete;
    WarningCapture& operator=(const WarningCapture&) = delete;

    /// Warnings seen since this capture began.
    int Count() const { return static_cast<int>(texts_.size()); }
    /// Their texts, as the package gave them (Windows-1252).
    const std::vector<std::string>& Texts() const { return texts_; }
    /// Shows the first `count` warnings of a held capture.
    void ShowHeld(std::size_t count) const;

  private:
    static void Catch(tn::TPString text);
    std::string doing_;
    Showing showing_;
    std::vector<std::string> texts_;
    WarningCapture* outer_;
    tn::TPWarningHook previousHook_;
};

}  // namespace tnpkg
