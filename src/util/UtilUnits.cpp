// Start and exit of the utility units.
#include "frame/Units.h"

namespace tn::units {

void Up_logfile_Initialization() {}
void Up_logfile_Finalization() {}

void Up_util_Initialization() {}
void Up_util_Finalization() {}

void Up_deviceinfo_Initialization() {}
void Up_deviceinfo_Finalization() {}

void Up_folderdialog_Initialization() {}
void Up_folderdialog_Finalization() {}

}  // namespace tn::units
