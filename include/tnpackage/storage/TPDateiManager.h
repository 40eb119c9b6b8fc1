// The file manager: copies program files from a FAT volume into the instrument's memory and
// flash, and lists what a volume offers.
//
// Program slots. A program copied into flash is remembered by the address it went to and the
// packed FAT date-time of the file it came from (-1: the slot holds nothing, the value erased
// flash reads). The manager keeps up to kSlots such records; a copy is skipped while its slot's
// date is not older than the file's.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/text/TPString.h>

#include <cstdint>

namespace tn {

class TPDateiInfo;
class TPStringList;
class TPVolumeFAT;

/// One program slot: where a program lies in flash and the date of the file it came from.
struct TPProgramSlot {
    std::int32_t Address = -1;  ///< flash device address; -1: unused
    std::int32_t Date = -1;     ///< packed FAT date-time of the copied file; -1: none
};

class TN_EXPORT TPDateiManager {
  public:
    static constexpr int kSlots = 16;

    TPProgramSlot Slots[kSlots];    ///< the program slots, in the order they were first used
    TPStringList* Lines = nullptr;  ///< the listing of the last Update, owned

    TPDateiManager();
    virtual ~TPDateiManager();
    TPDateiManager(const TPDateiManager&) = delete;
    TPDateiManager& operator=(const TPDateiManager&) = delete;

    /// Returns 0.
    int Dir();
    /// The application's copy of a file to a device address; here: false.
    virtual bool FileCopy(TPDateiInfo* file, int address);
    /// OnNeueDatei[program] does the work when set (program >= 0); otherwise, when the file's
    /// first bytes differ from those at `address`, the two-argument FileCopy. Equal bytes: true.
    bool FileCopy(int program, TPDateiInfo* file, int address);
    /// Copies a program file into flash at `address`: unless the slot is up to date, the file is
    /// copied to the memory that ends at RAMMaximum, checked with CRC32 (TPCRC::Check), and when
    /// smaller than ProgramSizeMax programmed with Flash->MemCopy; the slot then takes the
    /// file's date. True when the slot is up to date or was written. `name` and `force` are
    /// not used.
    bool ProgramFileCopy(int address, TPDateiInfo* file, const char* name, bool force);
    /// Does nothing; false.
    bool KX4410ProgramCopy(int, TPDateiInfo*, const char*, int);
    /// While SystemInitialisiert is set: Lines becomes the listing of the volume's root (see
    /// Strings); returns the number of files in it. Otherwise nothing happens and 0 is returned.
    int Update(TPVolumeFAT* volume);
    /// The root of `volume` as lines: "<DIR>  NAME" for folders, "[LABEL]" for the volume label,
    /// "NAME  size  DD.MM.YYYY HH:MM:SS" for files. The caller owns the list; null without a
    /// volume or tree.
    TPStringList* Strings(TPVolumeFAT* volume);

    /// The slot of `address`, or null.
    TPProgramSlot* Slot(int address);
    /// The slot's date, -1 when the address has no slot.
    std::int32_t SlotDate(int address);
    /// Records a date for `address` (taking a free slot); false when all slots are used.
    bool SetSlotDate(int address, std::int32_t date);
};

/// Highest device address available to a program copy, and the largest program that is
/// programmed into flash (0 until the application sets them).
TN_EXPORT extern std::int32_t RAMMaximum;
TN_EXPORT extern std::int32_t ProgramSizeMax;
/// The application's file manager (null until it sets one).
TN_EXPORT extern TPDateiManager* DateiManager;

/// Hooks by program number that take over TPDateiManager::FileCopy(program, file, address).
using TPNeueDateiHook = bool (*)(int program, TPDateiInfo* file, int address);
inline constexpr int kNeueDateiHooks = 16;
TN_EXPORT extern TPNeueDateiHook OnNeueDatei[kNeueDateiHooks];

}  // namespace tn
