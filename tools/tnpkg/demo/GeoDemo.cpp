// Demo: coordinates, distances, courses and the binary forms.
#include <tnpackage/tnpackage.h>

#include <cstdio>

#include "cli/Output.h"
#include "demo/Demo.h"

namespace tnpkg {
namespace {

void ShowGeo() {
    using namespace tn;
    const TSKoordinate unterwoessen(TPString("4743733N01226067E"), 0);
    const TSKoordinate wasserkuppe(50.4989, 9.9386, kmGrad);
    Print("%s is (%d, %d) in 1e-7 degree\n", unterwoessen.IGCString().c_str(),
          unterwoessen.IntBreite(), unterwoessen.IntLaenge());
    const int previous = DistanzModus;
    for (int mode : {1, 2, 3, 4, 100}) {
        DistanzModus = mode;
        Print("distance to %s, DistanzModus %3d: %.0f m\n", wasserkuppe.IGCString().c_str(), mode,
              static_cast<double>(unterwoessen.Entfernung(wasserkuppe)));
    }
    DistanzModus = previous;
    Print("course there: %.2f degrees\n", unterwoessen.Kurs(wasserkuppe));

    char volkslogger[7] = {};
    char* p = volkslogger;
    TSKoordinate::ToVolkslogger(p, unterwoessen.IntBreite());
    TSKoordinate::ToVolkslogger(p, unterwoessen.IntLaenge());
    Print("Volkslogger bytes:");
    for (char c : volkslogger)
        Print(" %02X", static_cast<unsigned char>(c));
    Print(" -> %s\n", TSKoordinate(volkslogger, kmVolkslogger).IGCString().c_str());

    char z80[8] = {};
    unterwoessen.ToVXCFloat(z80);
    Print("Z80 floats:");
    for (char c : z80)
        Print(" %02X", static_cast<unsigned char>(c));
    Print(" -> %s\n", TSKoordinate(z80, kmZ80Float).IGCString().c_str());
}

const DemoRegistration geo({50, "Coordinates", ShowGeo});

}  // namespace
}  // namespace tnpkg
