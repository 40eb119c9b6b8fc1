// `tnpkg demo`: a short tour of what the library does.
#include <algorithm>
#include <cstdio>

#include "cli/Command.h"
#include "demo/Demo.h"

namespace tnpkg {

namespace {

std::vector<DemoSection>& Sections() {
    static std::vector<DemoSection> sections;
    return sections;
}

int RunDemo(const std::vector<std::string>& words) {
    if (!words.empty()) return UsageError("demo", "takes no arguments");
    std::vector<DemoSection> sections = Sections();
    std::stable_sort(sections.begin(), sections.end(),
                     [](const DemoSection& a, const DemoSection& b) { return a.order < b.order; });
    for (const auto& s : sections) {
        std::printf("== %s\n", s.title);
        s.show();
        std::printf("\n");
    }
    return kSuccess;
}

const CommandRegistration reg({"demo", "show what the library can do, on built-in examples",
                               "usage: tnpkg demo\n\n"
                               "Runs a short tour of the library on built-in examples.\n",
                               RunDemo, true});

}  // namespace

DemoRegistration::DemoRegistration(const DemoSection& section) {
    Sections().push_back(section);
}

const std::vector<DemoSection>& DemoSections() {
    return Sections();
}

}  // namespace tnpkg
