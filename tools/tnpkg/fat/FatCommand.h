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

int FatLs(FatRequest& r);
int FatGet(FatRequest& r);
int FatCat(FatRequest& r);
int FatPut(FatRequest& r);
int FatMkdir(FatRequest& r);
int FatFormat(FatRequest& r);
int FatCheck(FatRequest& r);
int FatRm(FatRequest& r);
int FatMv(FatRequest& r);
int FatLabel(FatRequest& r);

/// Mounts the volume the request names (read-only unless `options` say otherwise), printing
/// what the package noted while mounting; null after reporting why it cannot.
std::unique_ptr<MountedImage> MountRequested(const FatRequest& r,
                                             const store::SessionOptions& options = {});

/// Opens the image for writing (exclusive lock, journal unless --no-journal, recovery) and
/// mounts it on the session's overlay; false after reporting why it cannot be written.
bool PrepareFatWrite(FatRequest& r, std::unique_ptr<MountedImage>& m);
/// Commits the session's overlay into the image; kFailure after reporting that it was left
/// unchanged.
int CommitFatWrite(FatRequest& r, store::ImageSession& session);

/// Why tnpkg does not write to this volume, or empty when it does.
std::string FatWriteRefusal(MountedImage& m);

/// The end of a failure's message: the image was not changed.
std::string Unchanged(const FatRequest& r);

/// Reports a usage problem of `fat`.
int FatUsage(const std::string& problem);

}  // namespace tnpkg
