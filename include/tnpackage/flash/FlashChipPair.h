// Two byte-wide AMD-type flash chips side by side on a 16-bit bus: the even byte of every word
// lies in the low chip, the odd byte in the high chip. Each chip has 64 KiB sectors, so a
// sector of the pair (both chips) is 128 KiB.
//
// The model works on a cell array it does not own (for TFlash, the memory image's buffer, so
// that the cells are saved in Flash.DAT like any image). Each chip follows its own commands:
//
//   - unlock and erase set-up: 0xAA at 0x5555, 0x55 at 0x2AAA, 0x80 at 0x5555, 0xAA at
//     0x5555, 0x55 at 0x2AAA (chip byte offsets within a sector), then 0x30 at any address of
//     each sector to erase (more sectors are taken until the next read starts the erase) or
//     0x10 at 0x5555 for the whole chip; erasing sets the cells to 0xFF;
//   - after the two unlock cycles, 0xA0 at 0x5555 programs the next store and 0xF0 resets;
//   - a plain store outside a command sequence programs the cell: bits only go from 1 to 0,
//     the cell keeps old AND new. A lone 0xAA stored at 0x5555 counts as data as soon as the
//     next cycle shows that no command follows. Any other sequence resets the chip to reading.
//
// While an operation runs, reads answer status instead of data: DQ7 is the complement of the
// programmed bit 7 (0 while erasing), DQ6 toggles with every status read, DQ3 is set while
// erasing, DQ5 rises when the operation cannot finish (a bit that would have to go from 0 to
// 1, a stuck bit, a sector that does not erase) and stays until the next store. A program
// answers status only at its own address (a record writer checks the next byte without
// polling); an erase answers status anywhere in the chip. Time is counted in reads of the
// chip, so every result is exact and immediate: see FlashTiming.
#pragma once

#include <tnpackage/Export.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace tn {

/// Durations of the chip operations, counted in reads of the chip.
struct FlashTiming {
    /// Status reads of a program before the data is back.
    int programReads = 2;
    /// Status reads per sector of an erase (a chip erase: per sector of the chip).
    int eraseReadsPerSector = 4;
    /// Reads after which a program that cannot finish raises DQ5.
    int programTimeLimit = 64;
    /// Reads after which an erase that cannot finish raises DQ5. Longer than the 10000 reads a
    /// sector erase waits, shorter than the 0x200000 rounds of a chip erase.
    int eraseTimeLimit = 0x8000;
};

/// One write cycle that a chip took as part of a command: its byte offset in the chip and the
/// byte on its half of the bus.
struct FlashCycle {
    std::uint32_t address = 0;
    std::uint8_t value = 0;
    bool operator==(const FlashCycle&) const = default;
};

class TN_EXPORT FlashChipPair {
  public:
    /// A sector of one chip.
    static constexpr std::uint32_t kChipSectorSize = 0x10000;
    /// A sector of the pair: one sector of each chip.
    static constexpr std::uint32_t kSectorSize = 0x20000;
    /// Two chips of 2 MiB.
    static constexpr std::uint32_t kDefaultSize = 0x400000;
    /// Chip numbers: the low chip holds the even bytes, the high chip the odd ones.
    static constexpr int kLow = 0;
    static constexpr int kHigh = 1;

    /// Works on `size` bytes at `cells` (not owned; a whole number of sectors, the rest is not
    /// used). Both chips start reading, powered, without faults.
    FlashChipPair(unsigned char* cells, std::uint32_t size, FlashTiming timing = {});
    ~FlashChipPair();
    FlashChipPair(const FlashChipPair&) = delete;
    FlashChipPair& operator=(const FlashChipPair&) = delete;

    /// Bytes of the pair (a multiple of kSectorSize).
    std::uint32_t Size() const;
    /// Number of sectors of the pair.
    int Sectors() const;
    unsigned char* Cells();
    FlashTiming& Timing();

    // ---- bus cycles; offsets from the first byte of the pair --------------------------------
    /// A 16-bit read at an even offset: each chip answers its byte (data or status). Outside
    /// the pair, or without power, the bus reads 0xFFFF.
    std::uint16_t ReadWord(std::uint32_t offset);
    /// One chip's byte.
    std::uint8_t ReadByte(std::uint32_t offset);
    /// A 16-bit store at an even offset: the low byte to the low chip, then the high byte to
    /// the high chip. Ignored outside the pair or without power.
    void WriteWord(std::uint32_t offset, std::uint16_t value);
    /// A store to one chip only.
    void WriteByte(std::uint32_t offset, std::uint8_t value);

    // ---- faults -----------------------------------------------------------------------------
    /// The bits of `mask` in the byte at `offset` stay 1: programming a 0 into them fails.
    void StickBits(std::uint32_t offset, std::uint8_t mask);
    /// The chip sector that holds the byte at `offset` never finishes erasing.
    void FailErase(std::uint32_t offset);
    /// The power goes off right after `bytes` more bytes have been programmed (0: at once);
    /// afterwards stores are lost and reads give 0xFF. A negative count keeps the power on.
    void CutPowerAfter(std::int64_t bytes);
    /// Power back: both chips reading, nothing running. Faults stay.
    void PowerOn();
    bool Powered() const;
    /// Removes stuck bits, failing sectors and a pending power cut.
    void ClearFaults();

    // ---- observation ------------------------------------------------------------------------
    /// Bytes programmed since construction (each store that programs one chip counts one).
    std::int64_t ProgrammedBytes() const;
    /// Whether the chip is running an operation (or shows its failure).
    bool Busy(int chip) const;
    /// The command cycles the chip has taken, oldest first.
    const std::vector<FlashCycle>& Cycles(int chip) const;
    void ClearCycles();

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace tn
