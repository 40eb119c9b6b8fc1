// Demo: the package frame and the string class.
#include <tnpackage/tnpackage.h>

#include <cstdio>

#include "cli/Output.h"
#include "demo/Demo.h"

namespace tnpkg {
namespace {

void ShowFrame() {
    using namespace tn;
    Print("package units started: %d (first %s, last %s)\n", PackageUnitCount(), PackageUnitName(0),
          PackageUnitName(PackageUnitCount() - 1));
    Language = 1;
    Print("glider class 5 in English: %s\n", SystemLanguage(pcaGliderClass[5]).c_str());
    Print("month 3 in German: %s\n", ToUtf8(GetLanguageString(pcaMonthName[3], 0)).c_str());
    Language = 0;
}

void ShowString() {
    using namespace tn;
    TPString name("  Flugplatz Unterw\xF6ssen  ", 0);
    TPString trimmed = TPString(name).Trim();
    Print("TPString \"%s\": length %d, trimmed \"%s\"\n", ToUtf8(name).c_str(), name.Length(),
          ToUtf8(trimmed).c_str());
    Print("SubString(3, 4) of \"%s\": \"%s\"\n", ToUtf8(trimmed).c_str(),
          ToUtf8(trimmed.SubString(3, 4)).c_str());
    Print("\"  -12\".ToIntDef(7) = %d, \"0x1F\".ToIntDef(7) = %d\n",
          TPString("  -12").SubString(1, 5).ToIntDef(7),
          TPString("0x1F").SubString(1, 4).ToIntDef(7));
    Print("\"ABC\" == \"abc\": %s (case-insensitive unless CaseSensitive is set)\n",
          TPString("ABC") == TPString("abc") ? "true" : "false");
}

const DemoRegistration frame({10, "Package frame", ShowFrame});
const DemoRegistration string({20, "TPString", ShowString});

}  // namespace
}  // namespace tnpkg
