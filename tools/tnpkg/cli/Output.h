// The package speaks Windows-1252; a terminal speaks UTF-8.
#pragma once

#include <tnpackage/tnpackage.h>

#include <string>

namespace tnpkg {

/// Windows-1252 text as UTF-8.
std::string ToUtf8(const char* text);
inline std::string ToUtf8(const tn::TPString& text) {
    return ToUtf8(text.c_str());
}

}  // namespace tnpkg
