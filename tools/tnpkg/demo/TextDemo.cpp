// Demo: base-36 digits, IGC short file names, number formatting and the conversions.
#include <tnpackage/tnpackage.h>

#include <cstdio>

#include "cli/Output.h"
#include "demo/Demo.h"

namespace tnpkg {
namespace {

void ShowText() {
    using namespace tn;
    Print("IntToMod36(1234, 3) = %s, Mod36ToInt(\"0ya\") = %d\n", IntToMod36(1234, 3).c_str(),
          Mod36ToInt(TPString("0ya", 0)));
    Print("IGC short name of logger 1234, flight 1, today: %s\n", IGCName(1234, 1).c_str());
    Print("zkFormatFloat(\"#,##0.00\", 1234567.891) = %s, zkIntToHex(-28, 2) = %s\n",
          zkFormatFloat(TPString("#,##0.00", 0), 1234567.891).c_str(), zkIntToHex(-28, 2).c_str());

    TPString place(
        "Gr\xFC\xDF"
        "e aus M\xFC"
        "nchen, 12\xB0 <sonnig>",
        0);
    Print("text:        %s\n", ToUtf8(place).c_str());
    Print("Ansi2Uml:    %s\n", ToUtf8(place.Ansi2Uml()).c_str());
    Print("Ansi2HTML:   %s\n", place.Ansi2HTML(true).c_str());
    TPString url = TPString(place);
    url.HTMLCodierung();
    Print("URL form:    %s\n", url.c_str());
    const TPString letters("\xC4\xD6\xDC\xE4\xF6\xFC\xDF", 0);
    TPString oem(letters);  // an owned copy: the code-page conversion runs in its own buffer
    oem.Ansi2OEM();
    Print("OEM codes of %s:", ToUtf8(letters).c_str());
    for (int i = 1; i <= oem.Length(); ++i)
        Print(" %02X", static_cast<unsigned char>(oem[i]));
    Print("\n");
    TPString web("F&uuml;&szlig;e &amp; H&auml;nde &#8364;", 0);
    web.HTMLDecodierung2();
    Print("decoded:     %s\n", ToUtf8(web).c_str());
    TPString utf8("Z\xC3\xBCrich \xE2\x86\x92 Kl\xC3\xB6ten", 0);
    Print("UTF8toAscii: %s, UTF8toHTML(0): %s\n", ToUtf8(utf8.UTF8toAscii()).c_str(),
          utf8.UTF8toHTML(0).c_str());
}

const DemoRegistration text({40, "Text helpers and conversions", ShowText});

}  // namespace
}  // namespace tnpkg
