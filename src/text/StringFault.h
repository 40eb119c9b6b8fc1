// How a string reports a fault that it must not show as a warning: the log-file unit installs a
// reporter that writes the line into the package's log file while one exists.
#pragma once

namespace tn::detail {

using StringFaultReporter = void (*)(const char* text);
/// Installed by the log-file unit; null while no log file can take the line.
extern constinit StringFaultReporter stringFaultReporter;

void ReportStringFault();

}  // namespace tn::detail
