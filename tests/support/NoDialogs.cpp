// Linked into every test program: the package's message boxes and questions become lines on
// standard error and "no" answers (TN_NO_DIALOGS), however the program is started, so that no
// test ever waits for a click.
#include "support/Platform.h"

namespace {

const bool kNoDialogs = [] {
    tn::test::SetEnv("TN_NO_DIALOGS", "1");
    return true;
}();

}  // namespace
