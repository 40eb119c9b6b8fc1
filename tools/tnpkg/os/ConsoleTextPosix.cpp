#ifndef _WIN32

#include <tnpackage/text/Encodings.h>

#include "os/ConsoleText.h"

namespace tnpkg::os {

std::string ForTerminal(const std::string& text) {
    return tn::Win1252ToUtf8(text);
}

}  // namespace tnpkg::os

#endif
