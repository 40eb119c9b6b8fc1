// Where the flash meets the FAT volumes: its entry in the registry and the end of the root
// directory of the volume kept in it.
#include <tnpackage/flash/TFlash.h>

namespace tn {

void RegisterFlashVolume(TFlash* /*flash*/) {}

int FlashRootEnd(TFlash* /*flash*/) {
    return TFlash::kBlockSize;
}

}  // namespace tn
