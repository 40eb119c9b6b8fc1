// `tnpkg demo`: a short tour of what the library does.
#include <algorithm>
#include <cstdio>

#include "cli/Command.h"
#include "cli/Output.h"
#include "demo/Demo.h"

namespace tnpkg {

namespace {

std::vector<DemoSection>& Sections() {
    static std::vector<DemoSection> sections;
    return sections;
}

int RunDemo(const Args&) {
    std::vector<DemoSection> sections = Sections();
    std::stable_sort(sections.begin(), sections.end(),
                     [](const DemoSection& a, const DemoSection& b) { return a.order < b.order; });
    for (const auto& s : sections) {
        Print("== %s\n", s.title);
        s.show();
        Print("\n");
    }
    return kSuccess;
}

const CommandRegistration reg({"demo",
                               "show what the library can do, on built-in examples",
                               "usage: tnpkg demo\n\n"
                               "Runs a short tour of the library on built-in examples.\n",
                               {{nullptr, "", 0, 0, {}}},
                               RunDemo});

}  // namespace

DemoRegistration::DemoRegistration(const DemoSection& section) {
    Sections().push_back(section);
}

const std::vector<DemoSection>& DemoSections() {
    return Sections();
}

}  // namespace tnpkg
