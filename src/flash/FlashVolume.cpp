// Where the flash meets the FAT volumes: its entry in the registry and the end of the root
// directory of the volume kept in it.
#include <tnpackage/flash/TFlash.h>
#include <tnpackage/storage/FatGlobals.h>
#include <tnpackage/storage/TPVolumeFAT.h>
#include <tnpackage/storage/TP_FATList.h>

namespace tn {

// The flash enters its volume, null at this point, as the registry's next slot. Without a
// registry there is nothing to enter it in: the registry belongs to the client, which makes it
// (or not) before or after the flash, and a flash must work without FAT volumes.
void RegisterFlashVolume(TFlash* flash) {
    if (FATList != nullptr) FATList->Add(static_cast<void*>(flash->Volume));
}

int FlashRootEnd(TFlash* flash) {
    return flash->Volume != nullptr ? flash->Volume->RootEnde() : TFlash::kBlockSize;
}

}  // namespace tn
