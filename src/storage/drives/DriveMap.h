// The drive map inside the storage units: which folder a letter names.
#pragma once

#include <string>

namespace tn::storage {

/// The folder mapped to `letter` (either case), or empty.
std::string MappedFolder(char letter);
/// The folder whose volume answers for `letter`: the mapped folder, on Windows otherwise the
/// drive's root "X:\"; empty when the letter names no drive.
std::string DriveRoot(char letter);
/// 0 to 25 for A to Z in either case, -1 for anything else.
int LetterIndex(char letter);

}  // namespace tn::storage
