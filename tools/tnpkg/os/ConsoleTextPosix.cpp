#ifndef _WIN32

#include "cli/Output.h"
#include "os/ConsoleText.h"

namespace tnpkg::os {

std::string ForTerminal(const std::string& text) {
    return ToUtf8(text.c_str());
}

}  // namespace tnpkg::os

#endif
