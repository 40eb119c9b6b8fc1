// The reason a command failed, kept for --json: a command asked for JSON prints a JSON object
// even when it fails, {"error": "..."}, so that a program reading it never gets plain text or
// nothing at all. Commands report as always on standard error and record the same words here;
// main prints the object when the command printed nothing else.
#pragma once

#include <string>

namespace tnpkg {

/// Keeps `text` as the reason of the failure (the first one recorded counts).
void RecordFailure(const std::string& text);
/// The recorded reason, or empty.
const std::string& RecordedFailure();

}  // namespace tnpkg
