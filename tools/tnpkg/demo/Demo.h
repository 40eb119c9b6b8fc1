// Sections of `tnpkg demo`: each subsystem shows what it can do in a few lines. A section
// registers itself with a static DemoRegistration; sections run in ascending order.
#pragma once

#include <string>
#include <vector>

namespace tnpkg {

struct DemoSection {
    int order;
    const char* title;
    void (*show)();  // prints its lines to standard output
};

class DemoRegistration {
  public:
    explicit DemoRegistration(const DemoSection& section);
};

const std::vector<DemoSection>& DemoSections();

}  // namespace tnpkg
