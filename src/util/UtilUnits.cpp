// Start and exit of the utility units.
#include <tnpackage/util/TPLogFile.h>

#include "frame/Units.h"
#include "text/StringFault.h"

namespace tn::units {

namespace {

// The string class cannot show a warning while it handles a bad pointer; it leaves a line in
// the log instead, through the log's own Write so that a host's log class gets it too.
void WriteStringFaultToLog(const char* text) {
    if (LogFile != nullptr) LogFile->Write(TPString(text, 0));
}

}  // namespace

void Up_logfile_Initialization() {
    detail::stringFaultReporter = WriteStringFaultToLog;
}
void Up_logfile_Finalization() {
    detail::stringFaultReporter = nullptr;
}

void Up_util_Initialization() {}
void Up_util_Finalization() {}

void Up_deviceinfo_Initialization() {}
void Up_deviceinfo_Finalization() {}

void Up_folderdialog_Initialization() {}
void Up_folderdialog_Finalization() {}

}  // namespace tn::units
