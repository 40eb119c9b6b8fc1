// The package's exported settings, hooks and standard strings, shared with the host.
//
// All are plain globals without locks: the host and the package use them from one thread.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/text/TPString.h>

namespace tn {

// ---- settings and flags ---------------------------------------------------------------------
TN_EXPORT extern bool Running;              ///< host's application-running flag
TN_EXPORT extern bool IDERun;               ///< running inside the development environment
TN_EXPORT extern bool TestBoolFlag;         ///< spare test flag of the host
TN_EXPORT extern bool CancelFlag;           ///< host's cancel request
TN_EXPORT extern bool StopAll;              ///< long FAT operations stop early when set
TN_EXPORT extern bool SystemInitialisiert;  ///< the device system is initialised
TN_EXPORT extern bool SystemRunning;        ///< host flag
TN_EXPORT extern bool WrnEnabled;           ///< master switch of Warning (initially true)

TN_EXPORT extern int Sprache;   ///< month-name column of date formatting: 0 de, 1 en, 2 third
TN_EXPORT extern int Language;  ///< column used by SystemLanguage
TN_EXPORT extern char zkDecimalSeparator;  ///< initially '.'

// ---- hooks ----------------------------------------------------------------------------------
using TPWarningHook = void (*)(TPString text);
using TPYesNoCallback = void (*)(void* argument);
using TPYesNoHook = void (*)(TPString text, TPYesNoCallback onYes, void* argument);
using TPMemoryHook = void (*)();

TN_EXPORT extern TPWarningHook OnWarning;
TN_EXPORT extern TPYesNoHook OnYesNo;
TN_EXPORT extern TPMemoryHook OnMemory;  ///< reserved for the host; never called here

/// A bound method: a code pointer together with the object it is called on.
template <class... Args>
struct TPMethod {
    void (*Code)(void* object, Args... args) = nullptr;
    void* Object = nullptr;

    explicit operator bool() const { return Code != nullptr; }
    void operator()(Args... args) const {
        if (Code) Code(Object, args...);
    }
};

/// Progress display slots of the host; the package never calls them.
TN_EXPORT extern TPMethod<int, int> OnProgress;            ///< (position, total)
TN_EXPORT extern TPMethod<TPString, int> DoStartProgress;  ///< (caption, total)
TN_EXPORT extern TPMethod<> DoFinishProgress;
TN_EXPORT extern TPMethod<> OnFastRefresh;  ///< host slot, not called inside the package

// ---- standard strings -----------------------------------------------------------------------
TN_EXPORT extern TPString OEMChar;  ///< OEM codes of Ä Ö Ü ä ö ü ß
TN_EXPORT extern TPString sCRLF;
TN_EXPORT extern TPString EmptyString;
TN_EXPORT extern TPString strNEWS;
TN_EXPORT extern TPString strPunkt;
TN_EXPORT extern TPString strLeerZeichen;
TN_EXPORT extern TPString ProgramDir;  ///< filled by the host
TN_EXPORT extern TPString TempDir;
TN_EXPORT extern TPString ProgramName;
TN_EXPORT extern TPString TarnoDBDir;
TN_EXPORT extern TPString TarnoDatabase;

/// Slot for the host's operating-system information; the package neither fills nor reads it.
struct TPOSSystemInfo {
    int PlatformId = 0;
    int MajorVersion = 0;
    int MinorVersion = 0;
    int BuildNumber = 0;
    char Name[128] = {};
};
TN_EXPORT extern TPOSSystemInfo OSSystemInfo;

/// Gives the six standard strings their contents.
TN_EXPORT void CreateStdStrings();
/// Releases ProgramDir, ProgramName, TempDir, strNEWS, strPunkt, OEMChar and sCRLF.
TN_EXPORT void DeleteStdStrings();

}  // namespace tn
