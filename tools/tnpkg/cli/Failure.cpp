#include "cli/Failure.h"

namespace tnpkg {
namespace {

std::string& Reason() {
    static std::string reason;
    return reason;
}

}  // namespace

void RecordFailure(const std::string& text) {
    if (Reason().empty()) Reason() = text;
}

const std::string& RecordedFailure() {
    return Reason();
}

}  // namespace tnpkg
