// The registry of mounted FAT volumes by drive letter; it owns its volumes.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/persist/TPList.h>
#include <tnpackage/text/TPString.h>

namespace tn {

class TPVolumeFAT;

class TN_EXPORT TP_FATList : public TPList {
  public:
    TP_FATList() = default;
    /// Destroys every volume.
    ~TP_FATList();

    int Add(void* volume);
    int Add(const void* volume);
    /// The i-th volume (null outside the list).
    TPVolumeFAT* FAT(int i);
    /// The first volume registered under `letter` (case-sensitive), read back from the global
    /// FATList at the same index (null when that list is missing or shorter).
    TPVolumeFAT* Search(char letter);
    /// Destroys the volume and removes its slot, if it is registered here.
    void Delete(void* volume);
    /// The volume's ForceDirectories(path) as a truth value; false without such a volume.
    bool ForceDirectories(char letter, TPString path);
};

}  // namespace tn
