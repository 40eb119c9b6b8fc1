// TFlash: erasing, block programming, the FAT volume's sectors and the program update.
#include <tnpackage/flash/TFlash.h>

#include <tnpackage/frame/DeviceAddressSpace.h>
#include <tnpackage/frame/Globals.h>

#include <algorithm>
#include <cstring>

#include "flash/FlashSupport.h"
#include "util/LittleEndian.h"

namespace tn {

int FlashRootEnd(TFlash* flash);  // FlashVolume.cpp

namespace {

using namespace flash;

constexpr int kPhaseLimit = 10000;
constexpr long kChipEraseRounds = 0x200000;
constexpr int kEraseWait = 100;
constexpr int kLongWait = 400000;
constexpr std::uint32_t kIdentityWord = 0x58;  // checked once more when a chip erase timed out

constexpr std::int64_t kSectorMask64 = ~std::int64_t{TFlash::kSectorSize - 1};

}  // namespace

void TFlash::EraseSetup(std::uint32_t base) {
    Store(base + kUnlockOffset, kUnlock1);
    Store(base + kUnlockOffset2, kUnlock2);
    Store(base + kUnlockOffset, kEraseSetup);
    Store(base + kUnlockOffset, kUnlock1);
    Store(base + kUnlockOffset2, kUnlock2);
}

bool TFlash::Blank(std::uint32_t address, int length) {
    for (int i = 0; i < length; ++i) {
        if (LoadByte(address + static_cast<std::uint32_t>(i)) != 0xFF) return false;
    }
    return true;
}

bool TFlash::SectorErase(void* address, int length, int mode) {
    const auto device = DeviceAddressSpace::ToDevice(address);
    if (!device) {
        Report("Flash: der Speicher liegt in keinem Fenster des Ger\xE4teadressraums");
        return false;
    }
    return SectorErase(static_cast<int>(*device), length, mode);
}

bool TFlash::SectorErase(int address, int length, int mode) {
    // Signed like the addresses of the device: a range that ends before it begins (length 0 at
    // address 0) issues no sector command at all.
    const auto start = static_cast<std::uint32_t>(address);
    const std::int64_t firstSector = std::int64_t{address} & kSectorMask64;
    const std::int64_t lastSector = (std::int64_t{address} + length - 1) & kSectorMask64;
    const auto first = static_cast<std::uint32_t>(firstSector);
    const auto last = static_cast<std::uint32_t>(lastSector);
    sectorBase_ = first;
    Delay(kEraseWait);

    // What the erase must not lose: the head of the first sector or the tail of the last.
    char* kept = flash::Buffer();
    std::uint32_t keptFrom = 0;
    int keptLength = 0;
    if (mode == 1) {
        keptFrom = first;
        keptLength = static_cast<int>(start - first);
    } else if (mode == 2) {
        keptFrom = start + static_cast<std::uint32_t>(length);
        keptLength = static_cast<int>(std::int64_t{last} + kSectorSize - keptFrom);
    }
    keptLength = kept == nullptr ? 0 : std::clamp(keptLength, 0, kBufferSize);
    for (int i = 0; i < keptLength; ++i)
        kept[i] = static_cast<char>(LoadByte(keptFrom + static_cast<std::uint32_t>(i)));

    EraseSetup(first);
    for (std::int64_t sector = firstSector; sector <= lastSector; sector += kSectorSize) {
        Store(static_cast<std::uint32_t>(sector), kSectorErase);
        if (OnSectorErase != nullptr) OnSectorErase();
    }

    // Phase one waits for the erase to show (DQ7 low in both chips), phase two for its end.
    sectorBase_ = last;
    bool erased = true;
    std::uint16_t word = 0;
    int reads = 0;
    do {
        word = Load(last);
        Delay(kEraseWait);
        ++reads;
    } while ((word & kDQ7) != 0 && reads < kPhaseLimit);
    if (reads >= kPhaseLimit) erased = false;
    if (erased) {
        reads = 0;
        while ((word & kDQ7) != kDQ7) {
            Delay(kEraseWait);
            word = Load(last);
            if ((word & kDQ5) == kDQ5) break;
            if (++reads >= kPhaseLimit) {
                erased = (word & kDQ7) == kDQ7;
                break;
            }
        }
    }

    Delay(kEraseWait);
    if (erased) {
        if (mode == 1 || mode == 2) {
            CopyFromBuffer(keptFrom, keptLength);
        } else if (mode == 3) {
            Delay(kEraseWait);
        }
    }
    const bool result = erased || Load(last) == kBlank;
    sectorBase_ = kBase;
    return result;
}

bool TFlash::ChipErase(int base) {
    const auto start = static_cast<std::uint32_t>(base);
    sectorBase_ = start;
    EraseSetup(start);
    Store(start + kUnlockOffset, kChipErase);
    bool done = false;
    for (long round = 0; round < kChipEraseRounds; ++round) {
        const std::uint16_t word = Load(start);
        if ((word & kDQ7) == kDQ7) {
            done = true;
            break;
        }
        if (OnSectorErase != nullptr) OnSectorErase();
        Delay(kEraseWait);
        if ((word & kDQ5) == kDQ5) break;
    }
    if (!done) done = (Load(start + kIdentityWord) & kDQ7) == kDQ7;
    sectorBase_ = kBase;
    ++chipEraseReports_;
    Warning(TPString(done ? "L\xF6schen ok!" : "L\xF6schen fehlgeschlagen!", 0));
    return done;
}

int TFlash::ProtectSectorTest(int address) {
    const std::uint32_t previous = sectorBase_;
    sectorBase_ = static_cast<std::uint32_t>(address) & kSectorMask;
    const std::uint32_t word0 = Load(sectorBase_) & 0xFFu;
    const std::uint32_t word1 = Load(sectorBase_ + 2) & 0xFFu;
    const std::uint32_t word2 = Load(sectorBase_ + 4);
    sectorBase_ = previous;
    return static_cast<int>(word0 << 24 | word1 << 16 | word2);
}

// ---- block programming ------------------------------------------------------------------------

bool TFlash::Readable(std::uint32_t address, std::uint32_t length) {
    if (length == 0 || InWindow(address, length) ||
        DeviceAddressSpace::ToHost(address, length) != nullptr) {
        return true;
    }
    WarnUnreachable(address);
    return false;
}

TFlash::WordSource TFlash::DeviceWords(std::uint32_t source) {
    return [this, source](int index) {
        const std::uint32_t at = source + 2u * static_cast<std::uint32_t>(index);
        return static_cast<std::uint16_t>(LoadByte(at) | LoadByte(at + 1) << 8);
    };
}

bool TFlash::MemCopy(int destination, int source, int length, bool force) {
    const auto from = static_cast<std::uint32_t>(source);
    if (length > 0 && !Readable(from, static_cast<std::uint32_t>(length))) return false;
    return CopyIn(static_cast<std::uint32_t>(destination), length, force, DeviceWords(from));
}

bool TFlash::CopyFromBuffer(std::uint32_t destination, int length) {
    const char* buffer = flash::Buffer();
    if (buffer == nullptr) return false;
    const int available = std::min(length, kBufferSize);
    return CopyIn(destination, length, false, [buffer, available](int index) {
        const int at = 2 * index;
        const auto low = static_cast<std::uint8_t>(at < available ? buffer[at] : '\xFF');
        const auto high = static_cast<std::uint8_t>(at + 1 < available ? buffer[at + 1] : '\xFF');
        return static_cast<std::uint16_t>(low | high << 8);
    });
}

bool TFlash::CopyIn(std::uint32_t destination, int length, bool force, const WordSource& word) {
    Delay(kEraseWait);
    const bool blank = Blank(destination, length);
    bool success = false;
    if (!force && blank && SystemInitialisiert) {
        success = true;
    } else {
        if (force || !blank) SectorErase(static_cast<int>(destination), length, 0);
        Delay(kLongWait);
        success = true;
    }
    bool result = false;
    if (length > 0 && success) {
        Delay(kEraseWait);
        sectorBase_ = destination & kSectorMask;
        const std::uint32_t relative = destination - sectorBase_;
        const auto first = static_cast<int>(relative / 2);
        const auto end = static_cast<int>((std::int64_t{relative} + length + 1) / 2);
        result = true;
        for (int index = first, k = 0; index < end; ++index, ++k) {
            if (!WriteWord(index, word(k))) {
                Beep(kBeepDuration);
                result = false;
                break;
            }
        }
    }
    sectorBase_ = kBase;
    return result;
}

// ---- sectors of the FAT volume ----------------------------------------------------------------

void TFlash::ReadSector(int offset, void* destination) {
    if (destination == nullptr) return;
    auto* bytes = static_cast<unsigned char*>(destination);
    const std::uint32_t from = kBase + static_cast<std::uint32_t>(offset);
    for (int i = 0; i < kBlockSize; ++i)
        bytes[i] = LoadByte(from + static_cast<std::uint32_t>(i));
}

void TFlash::WriteSector(int offset, void* source) {
    if (source == nullptr) return;
    const std::uint32_t target = sectorBase_ + static_cast<std::uint32_t>(offset);
    if (Blank(target, kBlockSize)) {
        const auto* bytes = static_cast<const unsigned char*>(source);
        for (int i = 0; i < kBlockSize / 2; ++i) {
            WriteWord(offset / 2 + i, ReadLE16(bytes + 2 * i));
        }
        return;
    }
    char* buffer = flash::Buffer();
    if (buffer == nullptr) return;
    const std::uint32_t sector = target & kSectorMask;
    for (int i = 0; i < kSectorSize; ++i)
        buffer[i] = static_cast<char>(LoadByte(sector + static_cast<std::uint32_t>(i)));
    // The block is rewritten with the sector's own first bytes, not with the caller's.
    const auto place = static_cast<int>(target - sector);
    std::memmove(buffer + place, buffer,
                 static_cast<std::size_t>(std::min(kBlockSize, kSectorSize - place)));
    SectorErase(static_cast<int>(sector), kSectorSize, 0);
    CopyFromBuffer(sector, kSectorSize);
}

void TFlash::ReadBlock(void* destination, std::int64_t address) {
    const int blocks = std::max(1, BlockSize / kBlockSize);
    if (destination == nullptr) return;
    if (address < 0 || address > std::int64_t{Size} - std::int64_t{blocks} * kBlockSize) {
        storage::WarnOutsideBuffer(address, std::int64_t{blocks} * kBlockSize);
        return;
    }
    for (int i = 0; i < blocks; ++i) {
        ReadSector(static_cast<int>(address) + i * kBlockSize,
                   static_cast<char*>(destination) + i * kBlockSize);
    }
}

void TFlash::WriteBlock(const void* source, std::int64_t address) {
    const int blocks = std::max(1, BlockSize / kBlockSize);
    if (source == nullptr) return;
    if (address < 0 || address > std::int64_t{Size} - std::int64_t{blocks} * kBlockSize) {
        storage::WarnOutsideBuffer(address, std::int64_t{blocks} * kBlockSize);
        return;
    }
    for (int i = 0; i < blocks; ++i) {
        WriteSector(static_cast<int>(address) + i * kBlockSize,
                    const_cast<char*>(static_cast<const char*>(source)) + i * kBlockSize);
    }
}

bool TFlash::SaveFAT() {
    if (Volume == nullptr) return Formatieren(-1);
    // Checked before anything is erased: without the copy there is nothing to write back.
    const void* boot = DeviceAddressSpace::ToHost(DeviceAddressSpace::kBootSectorCopy, kBlockSize);
    if (boot == nullptr) {
        Report("Flash: keine Kopie des Bootsektors bei " +
               Hex(DeviceAddressSpace::kBootSectorCopy));
        return false;
    }
    if (!SectorErase(static_cast<int>(kBase), kSectorSize, 0)) return false;
    char* buffer = flash::Buffer();
    if (buffer == nullptr) return false;
    std::memcpy(buffer, boot, kBlockSize);
    const int rootEnd = std::clamp(FlashRootEnd(this), kBlockSize, kSectorSize);
    for (int i = kBlockSize; i < rootEnd; ++i)
        buffer[i] = static_cast<char>(LoadByte(kBase + static_cast<std::uint32_t>(i)));
    for (int i = rootEnd; i < kSectorSize; ++i)
        buffer[i] = static_cast<char>(LoadByte(kBase + static_cast<std::uint32_t>(i)));
    return CopyFromBuffer(kBase, kSectorSize);
}

void TFlash::ProgramUpdate(int data, int length) {
    const auto from = static_cast<std::uint32_t>(data);
    if (length > 0 && !Readable(from, static_cast<std::uint32_t>(length))) return;
    // The number of further sectors goes where the byte length belongs, at address 0.
    if (!SectorErase(0, (length - 1) / kSectorSize, 0)) return;
    const WordSource word = DeviceWords(from);
    for (int i = 0; i < length / 2; ++i) {
        if (!WriteWord(i, word(i))) {
            Beep(kBeepDuration);
            return;
        }
    }
}

}  // namespace tn
