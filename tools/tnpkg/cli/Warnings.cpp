#include "cli/Warnings.h"

#include <cstdio>
#include <utility>

#include "os/ConsoleText.h"

namespace tnpkg {
namespace {

WarningCapture* innermost = nullptr;

}  // namespace

namespace {

void Show(const std::string& doing, const std::string& text) {
    std::fprintf(stderr, "%s: %s\n", doing.c_str(), os::ForTerminal(text).c_str());
}

}  // namespace

WarningCapture::WarningCapture(std::string doing, Showing showing)
    : doing_(std::move(doing)), showing_(showing), outer_(innermost), previousHook_(tn::OnWarning) {
    innermost = this;
    tn::OnWarning = &Catch;
}

WarningCapture::~WarningCapture() {
    innermost = outer_;
    tn::OnWarning = previousHook_;
}

void WarningCapture::Catch(tn::TPString text) {
    const std::string raw = tn::ToStdString(text);
    for (WarningCapture* c = innermost; c != nullptr; c = c->outer_)
        c->texts_.push_back(raw);
    if (innermost != nullptr && innermost->showing_ == Showing::AtOnce) {
        Show(innermost->doing_, raw);
    }
}

void WarningCapture::ShowHeld(std::size_t count) const {
    for (std::size_t i = 0; i < count && i < texts_.size(); ++i)
        Show(doing_, texts_[i]);
}

}  // namespace tnpkg
