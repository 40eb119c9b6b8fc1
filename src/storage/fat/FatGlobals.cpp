// Globals of the FAT volume unit, the boot-sector tests and the registry of mounted volumes.
#include <tnpackage/storage/FatGlobals.h>
#include <tnpackage/storage/TPVolumeFAT.h>
#include <tnpackage/storage/TP_FATList.h>

#include "storage/fat/FatLayout.h"

namespace tn {

TP_FATList* FATList = nullptr;
bool LogEveryEntry = false;
bool LogFAT = false;
bool FATTypeByDataClusters = false;
bool FATStandard = false;
TPFileFoundHook OnFileFound = nullptr;
TPUpdateEndeHook OnUpdateEnde = nullptr;
TPDirEntryHook OnDirEntry = nullptr;
TPDirEntryHook OnFileEntry = nullptr;

bool IsFATSector(void* sector) {
    if (sector == nullptr) return false;
    const auto* p = static_cast<const unsigned char*>(sector);
    return p[0] == 0xE9 || (p[0] == 0xEB && p[2] == 0x90);
}

bool FileSystemSector(void* sector) {
    if (sector == nullptr) return false;
    return ReadLE16(static_cast<const unsigned char*>(sector) + fat::kBootSignature) ==
           fat::kSignature;
}

TP_FATList::~TP_FATList() {
    for (int i = 0; i < Count; ++i)
        delete static_cast<TPVolumeFAT*>(Items[i]);
    TPList::Clear();
}

int TP_FATList::Add(void* volume) {
    return TPList::Add(volume);
}

int TP_FATList::Add(const void* volume) {
    return Add(const_cast<void*>(volume));
}

TPVolumeFAT* TP_FATList::FAT(int i) {
    if (i < 0 || i >= Count) return nullptr;
    return static_cast<TPVolumeFAT*>(Items[i]);
}

TPVolumeFAT* TP_FATList::Search(char letter) {
    for (int i = 0; i < Count; ++i) {
        TPVolumeFAT* volume = FAT(i);
        if (volume != nullptr && volume->IsVolume(letter)) {
            // Every caller searches the global registry; the hit is read back from there.
            return FATList != nullptr ? FATList->FAT(i) : nullptr;
        }
    }
    return nullptr;
}

void TP_FATList::Delete(void* volume) {
    const int i = IndexOf(volume);
    if (i < 0) return;
    delete static_cast<TPVolumeFAT*>(volume);
    TPList::Delete(i);
}

bool TP_FATList::ForceDirectories(char letter, TPString path) {
    TPVolumeFAT* volume = Search(letter);
    if (volume == nullptr) return false;
    return volume->ForceDirectories(path) != nullptr;
}

}  // namespace tn
