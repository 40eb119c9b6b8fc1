// The file manager: program copies into flash and the root listing of a volume.
#include <tnpackage/crc/TPCRC.h>
#include <tnpackage/flash/TFlash.h>
#include <tnpackage/frame/DeviceAddressSpace.h>
#include <tnpackage/frame/Globals.h>
#include <tnpackage/frame/Messages.h>
#include <tnpackage/storage/FileIO.h>
#include <tnpackage/storage/TPDateiInfo.h>
#include <tnpackage/storage/TPDateiManager.h>
#include <tnpackage/storage/TPDirList.h>
#include <tnpackage/storage/TPVerzeichnisInfo.h>
#include <tnpackage/storage/TPVolumeFAT.h>
#include <tnpackage/text/TPStringList.h>
#include <tnpackage/time/TPDateTime.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "storage/media/SpeicherMessages.h"
#include "storage/vfile/FileIOInternal.h"

namespace tn {

constinit std::int32_t RAMMaximum = 0;
constinit std::int32_t ProgramSizeMax = 0;
constinit TPDateiManager* DateiManager = nullptr;
constinit TPNeueDateiHook OnNeueDatei[kNeueDateiHooks] = {};

namespace {

constexpr std::int64_t kCopyLimit = 0x80000;  // a volume copies at most 512 KiB of a file

// Bytes a whole-file copy writes: the size rounded up to even, at most kCopyLimit.
std::int64_t CopyLength(const TPDateiInfo* file) {
    return std::min<std::int64_t>((std::int64_t{std::max(file->FileSize, 0)} + 1) & ~1, kCopyLimit);
}

// The CRC check of a file whose content lies at `host`, leaving the node's block as it was.
bool CheckLoaded(TPDateiInfo* file, void* host) {
    if (CRC32 == nullptr) {
        Warning(TPString("Programmkopie: kein CRC32-Rechner angelegt", 0));
        return false;
    }
    const unsigned char* previous = file->Block();
    const int previousLength = file->BlockLength();
    file->SetBlock(host, file->FileSize);
    const bool ok = CRC32->Check(file);
    file->SetBlock(previous, previousLength);
    return ok;
}

}  // namespace

TPDateiManager::TPDateiManager() = default;

TPDateiManager::~TPDateiManager() {
    delete Lines;
}

int TPDateiManager::Dir() {
    return 0;
}

bool TPDateiManager::FileCopy(TPDateiInfo*, int) {
    return false;
}

bool TPDateiManager::FileCopy(int program, TPDateiInfo* file, int address) {
    if (program >= 0 && program < kNeueDateiHooks && OnNeueDatei[program] != nullptr) {
        return OnNeueDatei[program](program, file, address);
    }
    if (file != nullptr && FileEqualV(file, address)) return true;
    return FileCopy(file, address);
}

bool TPDateiManager::ProgramFileCopy(int address, TPDateiInfo* file, const char*, bool) {
    if (file == nullptr || file->Volume == nullptr) return false;
    const std::int32_t stored = SlotDate(address);
    if (stored != -1 && static_cast<std::uint32_t>(stored) >= file->FileDate) return true;

    // The program goes to the memory just below RAMMaximum; it fits when that range lies in
    // mapped device memory.
    const std::int64_t size = std::max(file->FileSize, 0);
    const std::int64_t start = std::int64_t{RAMMaximum} - size;
    if (size == 0 || start < 0) return false;
    void* host = DeviceAddressSpace::ToHost(static_cast<std::uint32_t>(start),
                                            static_cast<std::uint32_t>(size));
    if (host == nullptr) {
        fileio::WarnUnmapped(static_cast<std::uint32_t>(start), size);
        return false;
    }
    // The volume copies whole even lengths; the byte an odd file would add behind RAMMaximum
    // stays in the staging copy.
    std::vector<unsigned char> staging(static_cast<std::size_t>(CopyLength(file)) + 1);
    if (!file->FileCopy(staging.data(), false)) return false;
    std::memcpy(host, staging.data(),
                static_cast<std::size_t>(std::min<std::int64_t>(size, CopyLength(file))));
    if (!CheckLoaded(file, host)) return false;
    if (size >= ProgramSizeMax) return false;
    if (Flash == nullptr) {
        Warning(TPString("Programmkopie: kein Flash angelegt", 0));
        return false;
    }
    if (!Flash->MemCopy(address, static_cast<int>(start), static_cast<int>(size), false)) {
        return false;
    }
    SetSlotDate(address, static_cast<std::int32_t>(file->FileDate));
    return true;
}

bool TPDateiManager::KX4410ProgramCopy(int, TPDateiInfo*, const char*, int) {
    return false;
}

int TPDateiManager::Update(TPVolumeFAT* volume) {
    if (!SystemInitialisiert) return 0;
    TPStringList* lines = Strings(volume);
    delete Lines;
    Lines = lines;
    int files = 0;
    if (volume != nullptr && volume->Root != nullptr) {
        for (int i = 0; i < volume->Root->Count(); ++i) {
            TPDirEintrag* e = volume->Root->Eintrag(i);
            if (e != nullptr && e->IsFile()) ++files;
        }
    }
    return files;
}

TPStringList* TPDateiManager::Strings(TPVolumeFAT* volume) {
    if (volume == nullptr || volume->Root == nullptr) return nullptr;
    auto* list = new TPStringList();
    for (int i = 0; i < volume->Root->Count(); ++i) {
        TPDirEintrag* e = volume->Root->Eintrag(i);
        if (e == nullptr) continue;
        if (e->IsDirectory()) {
            list->Add(TPString("<DIR>  ", 0) + e->Name);
        } else if (e->IsVolumeLabel()) {
            list->Add(TPString("[", 0) + e->Name + "]");
        } else if (e->IsFile()) {
            auto* file = static_cast<TPDateiInfo*>(e);
            list->Add(e->Name + "  " + TPString(file->FileSize) + "  " +
                      e->Date.String(PDateTimeFlag::DateDotted) + " " +
                      e->Date.String(PDateTimeFlag::TimeColon));
        }
    }
    return list;
}

TPProgramSlot* TPDateiManager::Slot(int address) {
    if (address == -1) return nullptr;
    for (TPProgramSlot& slot : Slots) {
        if (slot.Address == address) return &slot;
    }
    return nullptr;
}

std::int32_t TPDateiManager::SlotDate(int address) {
    const TPProgramSlot* slot = Slot(address);
    return slot != nullptr ? slot->Date : -1;
}

bool TPDateiManager::SetSlotDate(int address, std::int32_t date) {
    if (address == -1) return false;
    TPProgramSlot* slot = Slot(address);
    if (slot == nullptr) {
        for (TPProgramSlot& s : Slots) {
            if (s.Address == -1) {
                slot = &s;
                break;
            }
        }
    }
    if (slot == nullptr) return false;
    slot->Address = address;
    slot->Date = date;
    return true;
}

}  // namespace tn
