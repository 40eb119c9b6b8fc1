// `tnpkg fat`: the actions on FAT volumes inside image files share their argument handling;
// each group of actions lives in its own file.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/Command.h"
#include "fat/FatImage.h"

namespace tnpkg {

struct FatRequest {
    std::string action;
    std::string image;
    std::vector<std::string> operands;  // positional arguments after IMAGE
    const Args& args;
    VolumeChoice choice;
};

int FatGet(FatRequest& r);
int FatCat(FatRequest& r);
int FatPut(FatRequest& r);
int FatMkdir(FatRequest& r);
int FatFormat(FatRequest& r);
int FatCheck(FatRequest& r);

/// Mounts the volume the request names (read-only unless `options` say otherwise), printing
/// what the package noted while mounting; null after reporting why it cannot.
std::unique_ptr<MountedImage> MountRequested(const FatRequest& r,
                                             const store::SessionOptions& options = {});

/// Why tnpkg does not write to this volume, or empty when it does.
std::string FatWriteRefusal(MountedImage& m);

/// Reports a usage problem of `fat`.
int FatUsage(const std::string& problem);

}  // namespace tnpkg
