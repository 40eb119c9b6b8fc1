// What the V functions share inside the storage units.
#pragma once

#include <tnpackage/text/TPString.h>

#include <cstdint>
#include <string>

namespace tn {
class TPVolumeFAT;
}

namespace tn::fileio {

/// A V path split into its drive letter and the rest (the part looked up on the volume).
struct ParsedPath {
    char letter = 'F';
    TPString rest;
};

/// "X:\rest" and "X:rest" name letter X; anything else letter F, without one leading "\".
/// Trailing blanks are cut from the rest.
ParsedPath ParsePath(const TPString& path);
/// The registered volume of a letter, or null.
TPVolumeFAT* Volume(char letter);
/// Drops every open record (at the unit's exit).
void CloseAll();
/// A device address range that maps nowhere.
void WarnUnmapped(std::uint32_t address, std::int64_t length);
/// The PC path a V path names: a mapped letter's folder joined with the rest; on systems with
/// drive letters an unmapped letter's path as given; a path without a letter as given. Empty
/// when the letter names no drive here.
std::string PCPath(const TPString& path);

}  // namespace tn::fileio
