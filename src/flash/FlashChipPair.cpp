// The two chips' command decoders, their running operations and the injected faults.
#include <tnpackage/flash/FlashChipPair.h>

#include <algorithm>
#include <map>
#include <set>

#include "flash/FlashCommands.h"

namespace tn {

namespace {

using namespace flash::chip;

enum class Mode {
    Read,
    Unlock1,      // 0xAA at 0x5555 seen: a command, or a data store
    Unlock2,      // 0x55 at 0x2AAA seen
    ProgramNext,  // 0xA0: the next store programs
    Setup,        // 0x80 seen
    Setup1,       // 0xAA after the set-up
    Setup2,       // 0x55 after the set-up
    EraseWindow,  // collecting sectors after 0x30
    Busy,
    Failed,  // DQ5 shown until the next store
};

bool At(std::uint32_t address, std::uint32_t unlock) {
    return (address & (FlashChipPair::kChipSectorSize - 1)) == unlock;
}

}  // namespace

struct FlashChipPair::Impl {
    struct Chip {
        Mode mode = Mode::Read;
        FlashCycle pending;  // the 0xAA that may still turn out to be data
        bool erasing = false;
        bool fails = false;
        std::uint32_t opAddress = 0;
        std::uint8_t opData = 0;
        long long reads = 0;  // reads since the operation began
        long long duration = 0;
        bool toggle = false;
        std::set<std::uint32_t> sectors;  // sectors of the running or collected erase
        std::vector<FlashCycle> cycles;
    };

    unsigned char* cells;
    std::uint32_t size;
    FlashTiming timing;
    Chip chips[2];
    std::map<std::uint32_t, std::uint8_t> stuck;  // pair offset -> bits that stay 1
    std::set<std::uint32_t> failingSectors[2];
    bool powered = true;
    std::int64_t cutAfter = -1;  // total of programmed bytes at which the power goes
    std::int64_t programmed = 0;

    std::uint32_t ChipBytes() const { return size / 2; }
    std::uint32_t ChipSectors() const { return ChipBytes() / kChipSectorSize; }
    unsigned char& Cell(int chip, std::uint32_t address) {
        return cells[address * 2 + static_cast<std::uint32_t>(chip)];
    }

    void Record(Chip& c, std::uint32_t address, std::uint8_t value) {
        c.cycles.push_back({address, value});
    }

    void Program(int chip, std::uint32_t address, std::uint8_t value) {
        if (!powered) return;
        Chip& c = chips[chip];
        unsigned char& cell = Cell(chip, address);
        const auto found = stuck.find(address * 2 + static_cast<std::uint32_t>(chip));
        const std::uint8_t keep = found != stuck.end() ? found->second : 0;
        cell = static_cast<unsigned char>(cell & (value | keep));
        ++programmed;
        if (cutAfter >= 0 && programmed >= cutAfter) powered = false;
        c.erasing = false;
        c.fails = cell != value;
        c.opAddress = address;
        c.opData = value;
        c.reads = 0;
        c.duration = c.fails ? timing.programTimeLimit : timing.programReads;
        c.mode = c.duration > 0 || c.fails ? Mode::Busy : Mode::Read;
    }

    void StartErase(int chip) {
        Chip& c = chips[chip];
        c.erasing = true;
        c.fails = std::any_of(c.sectors.begin(), c.sectors.end(),
                              [&](std::uint32_t s) { return failingSectors[chip].count(s) != 0; });
        c.reads = 0;
        c.duration = c.fails ? timing.eraseTimeLimit
                             : static_cast<long long>(timing.eraseReadsPerSector) *
                                   static_cast<long long>(c.sectors.size());
        c.mode = Mode::Busy;
        if (c.duration <= 0 && !c.fails) FinishErase(chip);
    }

    // Erases the sectors that can be erased; a failing sector keeps its cells.
    void FinishErase(int chip) {
        Chip& c = chips[chip];
        for (std::uint32_t s : c.sectors) {
            if (failingSectors[chip].count(s) != 0 || s >= ChipSectors()) continue;
            for (std::uint32_t a = s * kChipSectorSize; a < (s + 1) * kChipSectorSize; ++a)
                Cell(chip, a) = kErased;
        }
        c.sectors.clear();
        c.mode = c.fails ? Mode::Failed : Mode::Read;
    }

    std::uint8_t Status(Chip& c) {
        c.toggle = !c.toggle;
        std::uint8_t status = c.toggle ? kDQ6 : 0;
        if (c.erasing) {
            status |= kDQ3;
        } else {
            status |= static_cast<std::uint8_t>(~c.opData & kDQ7);
        }
        if (c.mode == Mode::Failed) status |= kDQ5;
        return status;
    }

    std::uint8_t Read(int chip, std::uint32_t address) {
        if (!powered || address >= ChipBytes()) return kErased;
        Chip& c = chips[chip];
        switch (c.mode) {
            case Mode::Unlock1:
                Program(chip, c.pending.address, c.pending.value);
                if (c.mode != Mode::Busy) return Cell(chip, address);
                break;
            case Mode::EraseWindow:
                StartErase(chip);
                if (c.mode != Mode::Busy) return Cell(chip, address);
                break;
            case Mode::Unlock2:
            case Mode::ProgramNext:
            case Mode::Setup:
            case Mode::Setup1:
            case Mode::Setup2:
                c.mode = Mode::Read;
                return Cell(chip, address);
            case Mode::Read:
                return Cell(chip, address);
            case Mode::Busy:
            case Mode::Failed:
                break;
        }
        if (c.mode == Mode::Busy && ++c.reads > c.duration) {
            if (c.erasing) {
                FinishErase(chip);
            } else {
                c.mode = c.fails ? Mode::Failed : Mode::Read;
            }
            if (c.mode == Mode::Read) return Cell(chip, address);
        }
        if (!c.erasing && address != c.opAddress) return Cell(chip, address);
        return Status(c);
    }

    void Write(int chip, std::uint32_t address, std::uint8_t value) {
        if (!powered || address >= ChipBytes()) return;
        Chip& c = chips[chip];
        switch (c.mode) {
            case Mode::Busy:
                if (c.erasing) return;  // an erase takes no stores while it runs
                c.mode = Mode::Read;
                break;
            case Mode::Failed:
                c.mode = Mode::Read;  // the store ends the failed operation
                break;
            case Mode::Unlock1:
                if (At(address, kUnlockAddress2) && value == kUnlock2) {
                    Record(c, c.pending.address, c.pending.value);
                    Record(c, address, value);
                    c.mode = Mode::Unlock2;
                    return;
                }
                Program(chip, c.pending.address, c.pending.value);  // it was data after all
                c.mode = Mode::Read;
                break;
            case Mode::Unlock2:
                Record(c, address, value);
                c.mode = Mode::Read;  // 0xF0 (reset) and anything unknown
                if (At(address, kUnlockAddress) && value == kEraseSetup) c.mode = Mode::Setup;
                if (At(address, kUnlockAddress) && value == kProgram) {
                    c.mode = Mode::ProgramNext;
                }
                return;
            case Mode::ProgramNext:
                Program(chip, address, value);
                return;
            case Mode::Setup:
                Record(c, address, value);
                c.mode =
                    At(address, kUnlockAddress) && value == kUnlock1 ? Mode::Setup1 : Mode::Read;
                return;
            case Mode::Setup1:
                Record(c, address, value);
                c.mode =
                    At(address, kUnlockAddress2) && value == kUnlock2 ? Mode::Setup2 : Mode::Read;
                return;
            case Mode::Setup2:
                Record(c, address, value);
                c.mode = Mode::Read;
                if (value == kSectorErase) {
                    c.sectors = {address / kChipSectorSize};
                    c.mode = Mode::EraseWindow;
                } else if (At(address, kUnlockAddress) && value == kChipErase) {
                    c.sectors.clear();
                    for (std::uint32_t s = 0; s < ChipSectors(); ++s)
                        c.sectors.insert(s);
                    StartErase(chip);
                }
                return;
            case Mode::EraseWindow:
                Record(c, address, value);
                if (value == kSectorErase) {
                    c.sectors.insert(address / kChipSectorSize);
                } else {
                    c.sectors.clear();  // any other command abandons the erase
                    c.mode = Mode::Read;
                }
                return;
            case Mode::Read:
                break;
        }
        if (At(address, kUnlockAddress) && value == kUnlock1) {
            c.pending = {address, value};
            c.mode = Mode::Unlock1;
            return;
        }
        Program(chip, address, value);
    }
};

FlashChipPair::FlashChipPair(unsigned char* cells, std::uint32_t size, FlashTiming timing)
    : impl_(std::make_unique<Impl>()) {
    impl_->cells = cells;
    impl_->size = cells != nullptr ? size - size % kSectorSize : 0;
    impl_->timing = timing;
}

FlashChipPair::~FlashChipPair() = default;

std::uint32_t FlashChipPair::Size() const {
    return impl_->size;
}

int FlashChipPair::Sectors() const {
    return static_cast<int>(impl_->size / kSectorSize);
}

unsigned char* FlashChipPair::Cells() {
    return impl_->cells;
}

FlashTiming& FlashChipPair::Timing() {
    return impl_->timing;
}

std::uint16_t FlashChipPair::ReadWord(std::uint32_t offset) {
    const std::uint32_t address = offset / 2;
    const std::uint8_t low = impl_->Read(kLow, address);
    const std::uint8_t high = impl_->Read(kHigh, address);
    return static_cast<std::uint16_t>(low | high << 8);
}

std::uint8_t FlashChipPair::ReadByte(std::uint32_t offset) {
    return impl_->Read(static_cast<int>(offset & 1), offset / 2);
}

void FlashChipPair::WriteWord(std::uint32_t offset, std::uint16_t value) {
    const std::uint32_t address = offset / 2;
    impl_->Write(kLow, address, static_cast<std::uint8_t>(value));
    impl_->Write(kHigh, address, static_cast<std::uint8_t>(value >> 8));
}

void FlashChipPair::WriteByte(std::uint32_t offset, std::uint8_t value) {
    impl_->Write(static_cast<int>(offset & 1), offset / 2, value);
}

void FlashChipPair::StickBits(std::uint32_t offset, std::uint8_t mask) {
    if (offset < impl_->size) impl_->stuck[offset] |= mask;
}

void FlashChipPair::FailErase(std::uint32_t offset) {
    if (offset < impl_->size)
        impl_->failingSectors[offset & 1].insert(offset / 2 / kChipSectorSize);
}

void FlashChipPair::CutPowerAfter(std::int64_t bytes) {
    impl_->cutAfter = bytes < 0 ? -1 : impl_->programmed + bytes;
    if (bytes == 0) impl_->powered = false;
}

void FlashChipPair::PowerOn() {
    impl_->powered = true;
    impl_->cutAfter = -1;
    for (auto& c : impl_->chips) {
        c.mode = Mode::Read;
        c.sectors.clear();
    }
}

bool FlashChipPair::Powered() const {
    return impl_->powered;
}

void FlashChipPair::ClearFaults() {
    impl_->stuck.clear();
    for (auto& sectors : impl_->failingSectors)
        sectors.clear();
    impl_->cutAfter = -1;
}

std::int64_t FlashChipPair::ProgrammedBytes() const {
    return impl_->programmed;
}

bool FlashChipPair::Busy(int chip) const {
    const Mode mode = impl_->chips[chip & 1].mode;
    return mode == Mode::Busy || mode == Mode::Failed;
}

const std::vector<FlashCycle>& FlashChipPair::Cycles(int chip) const {
    return impl_->chips[chip & 1].cycles;
}

void FlashChipPair::ClearCycles() {
    for (auto& c : impl_->chips)
        c.cycles.clear();
}

}  // namespace tn
