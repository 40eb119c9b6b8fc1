// The frame's exported globals with their initial values, and the hook that starts the package
// when the library is loaded. The start lives in this file because every part of the library
// refers to these globals, so a static link that uses anything also brings the start in.
#include <tnpackage/frame/Globals.h>
#include <tnpackage/frame/Package.h>

namespace tn {

constinit bool Running = false;
constinit bool IDERun = false;
constinit bool TestBoolFlag = false;
constinit bool CancelFlag = false;
constinit bool StopAll = false;
constinit bool SystemInitialisiert = false;
constinit bool SystemRunning = false;
constinit bool WrnEnabled = true;

constinit int Sprache = 0;
constinit int Language = 0;
constinit char zkDecimalSeparator = '.';

constinit TPWarningHook OnWarning = nullptr;
constinit TPYesNoHook OnYesNo = nullptr;
constinit TPMemoryHook OnMemory = nullptr;

constinit TPMethod<int, int> OnProgress{};
constinit TPMethod<TPString, int> DoStartProgress{};
constinit TPMethod<> DoFinishProgress{};
constinit TPMethod<> OnFastRefresh{};

constinit TPString OEMChar;
constinit TPString sCRLF;
constinit TPString EmptyString;
constinit TPString strNEWS;
constinit TPString strPunkt;
constinit TPString strLeerZeichen;
constinit TPString ProgramDir;
constinit TPString TempDir;
constinit TPString ProgramName;
constinit TPString TarnoDBDir;
constinit TPString TarnoDatabase;

constinit TPOSSystemInfo OSSystemInfo{};

void CreateStdStrings() {
    OEMChar = "\x8E\x99\x9A\x84\x94\x81\xE1";
    sCRLF = "\r\n";
    EmptyString = "";
    strNEWS = "NEWS";
    strPunkt = ".";
    strLeerZeichen = " ";
}

void DeleteStdStrings() {
    // EmptyString and strLeerZeichen stay: the string unit's finalisation destroys them.
    ProgramDir.Delete();
    ProgramName.Delete();
    TempDir.Delete();
    strNEWS.Delete();
    strPunkt.Delete();
    OEMChar.Delete();
    sCRLF.Delete();
}

namespace {

// Loading the library starts the package and unloading ends it, as the DLL entry point did.
struct PackageLifetime {
    PackageLifetime() { PackageStart(); }
    ~PackageLifetime() { PackageExit(); }
    PackageLifetime(const PackageLifetime&) = delete;
    PackageLifetime& operator=(const PackageLifetime&) = delete;
};
const PackageLifetime packageLifetime;

}  // namespace

}  // namespace tn
