// How the package reports: every failure becomes a German text handed to Warning, which the
// host may redirect (OnWarning) or silence (WrnEnabled).
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/frame/Globals.h>
#include <tnpackage/text/TPString.h>

namespace tn {

/// Shows "ERROR: " + text in an information box; ignores hooks and WrnEnabled.
TN_EXPORT void ErrorMsg(TPString text);
/// The package's one reporting path: OnWarning(text), or a warning box captioned "Warning".
TN_EXPORT void Warning(TPString text);
/// Warning("ERROR: " + text); returns false.
TN_EXPORT bool Error(TPString text);
/// Warning("Funktion '" + name + "' noch nicht implementiert!").
TN_EXPORT void NichtImplementiert(TPString name);
/// Asks a yes/no question; with OnYesNo set the hook is told and the answer is always true.
TN_EXPORT bool YesNo(TPString text);
/// Asynchronous form: onYes(argument) runs when the user agrees.
TN_EXPORT void YesNo(TPString text, TPYesNoCallback onYes, void* argument);

}  // namespace tn
