// `tnpkg fat check`: a read-only examination of a FAT12/FAT16 volume from its raw structures
// (boot sector geometry, every FAT copy, the directory tree walked by clusters), not from the
// package's tree, which skips and repairs over exactly the damage a check has to see.
#pragma once

#include <string>
#include <vector>

#include "fat/FatImage.h"

namespace tnpkg {

/// One thing wrong with a volume, said for the user whose files it touches.
struct CheckProblem {
    std::string kind;     // "cross-link", "lost-chain", ... (stable, for --json readers)
    std::string path;     // the file or folder it affects ("FLIGHTS/0512.IGC"), or empty
    std::string message;  // UTF-8, what it means for the user's files
};

/// Examines the mounted volume; empty when it is sound. Never writes, never trusts a size or
/// a chain: every walk is bounded by the volume's cluster count and folder depth.
std::vector<CheckProblem> CheckVolume(MountedImage& mounted);

}  // namespace tnpkg
