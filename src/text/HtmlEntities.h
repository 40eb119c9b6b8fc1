// The named character references of HTML 4 whose character Windows-1252 has.
#pragma once

#include <cstddef>

namespace tn::html {

/// Longest name of the table ("frac14", "permil", "thetasym" in HTML 4 at large).
inline constexpr std::size_t kLongestName = 8;

/// The Windows-1252 byte of the reference "&name;" (name without "&" and ";"); false when the
/// name is not in the table. Names are case-sensitive.
bool LookupEntity(const char* name, std::size_t length, unsigned char& byte);

}  // namespace tn::html
