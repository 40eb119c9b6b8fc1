// The instrument's program and data flash: two 8-bit AMD-type chips on a 16-bit bus, driven
// through their command cycles and data polling, read as ordinary memory.
//
// TFlash is the memory image "Flash" (Flash.DAT in SpeicherPfad) whose buffer is the chips'
// cell array, mapped in the device address space at DeviceAddressSpace::kFlashBase. Every
// store and read that TFlash makes to the flash window goes through the chip model
// (FlashChipPair), which answers status while it programs or erases; addresses outside the
// window reach whatever memory is mapped there (a store to nothing is lost, a read of nothing
// gives 0xFFFF).
//
// The polling loops wait as long as the chips say they are busy. The model always ends an
// operation (done, or DQ5), but a lane that has finished can hide the other lane's DQ5 from a
// word poll; every wait is therefore also bounded by kPollLimit reads, after which it gives up
// with a failure and a warning.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/flash/FlashChipPair.h>
#include <tnpackage/frame/DeviceAddressSpace.h>
#include <tnpackage/persist/TPSaveObject.h>
#include <tnpackage/storage/TPSpeicher.h>

#include <cstdint>
#include <functional>

namespace tn {

class TPVolumeFAT;

class TN_EXPORT TFlash : public TPSpeicher {
  public:
    /// Device address of the flash window.
    static constexpr std::uint32_t kBase = DeviceAddressSpace::kFlashBase;
    /// A sector of the pair of chips.
    static constexpr int kSectorSize = 0x20000;
    /// Bytes of FlashBuffer.
    static constexpr int kBufferSize = 0x20000;
    /// Bytes moved by ReadSector and WriteSector.
    static constexpr int kBlockSize = 512;
    /// Most reads any one wait makes before it gives up (the chip erase's own bound).
    static constexpr long kPollLimit = 0x200000;

    /// The image "Flash" of `size` bytes (a whole number of sectors, at most 4 MiB) mapped at
    /// kBase; makes FlashBuffer if there is none and enters the (null) FAT volume in FATList
    /// when a registry exists. Becomes Flash if no other flash object is.
    TFlash();
    explicit TFlash(int size);
    /// Frees FlashBuffer (shared or not), then saves and releases the image.
    ~TFlash() override;

    /// The next free offset for Write(object, -1).
    void SetWriter(int position);
    int Writer() const { return writer_; }
    /// Base of word indexes and command cycles; below 1: the flash base.
    void SetSector(int base) override;
    std::uint32_t SectorBase() const { return sectorBase_; }

    /// Programs one word at sector base + 2 * wordIndex and polls it.
    bool WriteWord(int wordIndex, unsigned short value);
    /// Programs one word at a device address (the sector base returns to the flash base).
    bool WriteWordDirect(int address, unsigned short value);
    /// Programs the high or low byte lane of the word at `offset` in the current sector: the
    /// other lane keeps its content and no bit goes from 0 to 1; polls that one lane.
    bool WriteHighByte(int offset, unsigned short value);
    bool WriteLowByte(int offset, unsigned short value);
    /// Programs one byte at a device address (the previous sector base is restored).
    bool WriteChar(int address, char value);
    /// The writer of persistent records: stores `value` at flash base + `address` when the
    /// address is below the image size and the byte there is still 0xFF. No polling.
    void WriteByte(int address, char value);
    /// Saves `object` through WriteByte at flash base + `offset`; offset -1 means the writer
    /// position, which then advances behind the record.
    void Write(TPSaveObject* object, int offset);

    /// Erases every sector that [address, address + length) touches. Mode 1 keeps the bytes of
    /// the first sector in front of address, mode 2 those of the last sector behind the range,
    /// mode 3 waits once more; mode 0 keeps nothing.
    bool SectorErase(int address, int length, int mode);
    /// The same for host memory inside a device window (false and a warning elsewhere).
    bool SectorErase(void* address, int length, int mode);
    /// Erases both chips; reports "L\xF6schen ok!" or "L\xF6schen fehlgeschlagen!" through
    /// Warning as its last step.
    bool ChipErase(int base);
    /// How many chip erase results this object has reported through Warning: one per
    /// ChipErase, always its last warning. A result tells the outcome ChipErase also returns,
    /// not a problem, so a host that takes warnings as trouble can leave these out.
    int ChipEraseReports() const { return chipEraseReports_; }
    /// Low byte of word 0 << 24 | low byte of word 1 << 16 | word 2 of the sector at address.
    int ProtectSectorTest(int address);
    /// Programs `length` bytes from device address `source` to `destination`, erasing the
    /// sectors first when the range is not blank (or always with `force`).
    bool MemCopy(int destination, int source, int length, bool force);
    /// 512 bytes from flash base + offset.
    void ReadSector(int offset, void* destination);
    /// 512 bytes to sector base + offset: programmed when blank, otherwise the sector is
    /// erased and programmed back with the block replaced by the sector's own first 512 bytes
    /// (the caller's data is not used then).
    void WriteSector(int offset, void* source);
    /// Rewrites the first sector with the boot sector kept at kBootSectorCopy.
    bool SaveFAT();
    /// Erases and programs `length` bytes of program held at device address `data`.
    void ProgramUpdate(int data, int length);
    /// Not supported: always false.
    bool Formatieren(int);

    /// The FAT volume's sector access: BlockSize bytes at that byte address, moved as
    /// ReadSector / WriteSector blocks of 512. A block outside the image is reported and not
    /// moved.
    void ReadBlock(void* destination, std::int64_t address) override;
    void WriteBlock(const void* source, std::int64_t address) override;
    /// The image size.
    std::int64_t MediumSize() const override { return Size; }

    /// The simulated chips behind the window.
    FlashChipPair& Chips() { return chips_; }

    /// The FAT volume kept in this flash (for SaveFAT); set by the client.
    TPVolumeFAT* Volume = nullptr;

  private:
    FlashChipPair chips_;
    int writer_ = 0;
    std::uint32_t sectorBase_ = kBase;
    int chipEraseReports_ = 0;

    std::uint16_t Load(std::uint32_t address);
    std::uint8_t LoadByte(std::uint32_t address);
    void Store(std::uint32_t address, std::uint16_t value);
    void StoreByte(std::uint32_t address, std::uint8_t value);
    void EraseSetup(std::uint32_t base);
    bool PollWord(std::uint32_t address, std::uint16_t value);
    bool PollLane(std::uint32_t address, std::uint16_t value, int shift);
    bool Blank(std::uint32_t address, int length);
    using WordSource = std::function<std::uint16_t(int index)>;
    bool CopyIn(std::uint32_t destination, int length, bool force, const WordSource& word);
    bool CopyFromBuffer(std::uint32_t destination, int length);
    WordSource DeviceWords(std::uint32_t source);
    bool Readable(std::uint32_t address, std::uint32_t length);
    bool InWindow(std::uint32_t address, std::uint32_t length) const;
};

/// The package's flash object; null when none exists.
TN_EXPORT extern TFlash* Flash;
/// One sector buffer of kBufferSize bytes shared by the flash objects.
TN_EXPORT extern char* FlashBuffer;
/// Called once per sector erase command and in every polling round of a chip erase.
using TPSectorEraseHook = void (*)();
TN_EXPORT extern TPSectorEraseHook OnSectorErase;
/// Exported for the application; not read here.
TN_EXPORT extern bool FlashWindowEnable;

/// The flash model's waits: `count` iterations of a busy loop unless a hook is set (tests set
/// one that returns at once).
using TPFlashDelay = void (*)(int count);
TN_EXPORT extern TPFlashDelay FlashDelay;
/// The flash model's beep on a failed block program; platform beep unless a hook is set.
using TPFlashBeep = void (*)(int duration);
TN_EXPORT extern TPFlashBeep FlashBeep;

}  // namespace tn
