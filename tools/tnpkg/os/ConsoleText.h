// The package's Windows-1252 text in the encoding of the terminal the tool writes to: UTF-8 on
// POSIX systems, the console's output code page on Windows.
#pragma once

#include <string>

namespace tnpkg::os {

/// `text` (Windows-1252) as the terminal shows it.
std::string ForTerminal(const std::string& text);

}  // namespace tnpkg::os
