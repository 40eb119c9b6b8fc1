// TFlash: construction, the bus to the chips, and word and byte programming with data polling.
#include <tnpackage/flash/TFlash.h>

#include <tnpackage/frame/DeviceAddressSpace.h>
#include <tnpackage/frame/Globals.h>

#include <cstring>
#include <new>

#include "flash/FlashSupport.h"
#include "persist/FlashHook.h"
#include "platform/Platform.h"

namespace tn {

constinit TFlash* Flash = nullptr;
constinit char* FlashBuffer = nullptr;
constinit TPSectorEraseHook OnSectorErase = nullptr;
constinit bool FlashWindowEnable = false;
constinit TPFlashDelay FlashDelay = nullptr;
constinit TPFlashBeep FlashBeep = nullptr;

void RegisterFlashVolume(TFlash* flash);  // FlashVolume.cpp

namespace flash {

void Delay(int count) {
    if (FlashDelay != nullptr) {
        FlashDelay(count);
        return;
    }
    volatile int sink = 0;
    for (int i = 0; i < count; ++i)
        sink = i;
    (void)sink;
}

void Beep(int duration) {
    if (FlashBeep != nullptr) {
        FlashBeep(duration);
    } else {
        platform::Beep(duration);
    }
}

char* Buffer() {
    if (FlashBuffer == nullptr) FlashBuffer = new (std::nothrow) char[TFlash::kBufferSize];
    return FlashBuffer;
}

}  // namespace flash

namespace {

using namespace flash;

constinit int liveFlashObjects = 0;
constinit bool writeByteReported = false;

// How a record deletes itself in the flash: the next state of its ladder is programmed into
// the state word.
bool ProgramRecordWord(std::uint32_t address, std::uint16_t word) {
    return Flash != nullptr && Flash->WriteWordDirect(static_cast<int>(address), word);
}

int CheckedSize(int size) {
    if (size >= TFlash::kSectorSize && size <= static_cast<int>(FlashChipPair::kDefaultSize) &&
        size % TFlash::kSectorSize == 0) {
        return size;
    }
    Report(
        "Flash: Gr\xF6\xDF"
        "e " +
        std::to_string(size) +
        " ist keine ganze Zahl von Sektoren zu 128 KiB bis 4 MiB; 4 MiB werden verwendet");
    return static_cast<int>(FlashChipPair::kDefaultSize);
}

void WarnEndlessPolling(std::uint32_t address) {
    Report("Flash: Statusabfrage bei " + Hex(address) + " ohne Ende abgebrochen");
}

}  // namespace

TFlash::TFlash() : TFlash(static_cast<int>(FlashChipPair::kDefaultSize)) {}

TFlash::TFlash(int size)
    : TPSpeicher("Flash", CheckedSize(size)),
      chips_(reinterpret_cast<unsigned char*>(Buffer), Buffer != nullptr ? Size : 0) {
    if (Buffer != nullptr && !MapAt(kBase)) {
        Report("Flash: das Fenster bei " + Hex(kBase) + " ist schon belegt");
    }
    flash::Buffer();
    sectorBase_ = kBase;
    writer_ = 0;
    Volume = nullptr;
    RegisterFlashVolume(this);
    if (Flash == nullptr) Flash = this;
    ++liveFlashObjects;
    detail::flashWordProgrammer = &ProgramRecordWord;
}

TFlash::~TFlash() {
    // Freed even while another flash object uses it; the others make it again when needed.
    delete[] FlashBuffer;
    FlashBuffer = nullptr;
    if (Flash == this) Flash = nullptr;
    if (--liveFlashObjects == 0) detail::flashWordProgrammer = nullptr;
}

// ---- the bus ----------------------------------------------------------------------------------

bool TFlash::InWindow(std::uint32_t address, std::uint32_t length) const {
    return address >= kBase && std::uint64_t{address} - kBase + length <= chips_.Size();
}

std::uint16_t TFlash::Load(std::uint32_t address) {
    if (InWindow(address, 2)) return chips_.ReadWord(address - kBase);
    std::uint16_t value = kBlank;
    if (const void* host = DeviceAddressSpace::ToHost(address, 2)) std::memcpy(&value, host, 2);
    return value;
}

std::uint8_t TFlash::LoadByte(std::uint32_t address) {
    if (InWindow(address, 1)) return chips_.ReadByte(address - kBase);
    if (const void* host = DeviceAddressSpace::ToHost(address, 1)) {
        return *static_cast<const std::uint8_t*>(host);
    }
    return 0xFF;
}

void TFlash::Store(std::uint32_t address, std::uint16_t value) {
    if (InWindow(address, 2)) {
        chips_.WriteWord(address - kBase, value);
    } else if (void* host = DeviceAddressSpace::ToHost(address, 2)) {
        std::memcpy(host, &value, 2);
    }
}

void TFlash::StoreByte(std::uint32_t address, std::uint8_t value) {
    if (InWindow(address, 1)) {
        chips_.WriteByte(address - kBase, value);
    } else if (void* host = DeviceAddressSpace::ToHost(address, 1)) {
        *static_cast<std::uint8_t*>(host) = value;
    }
}

// ---- settings ---------------------------------------------------------------------------------

void TFlash::SetWriter(int position) {
    writer_ = position;
}

void TFlash::SetSector(int base) {
    sectorBase_ = base < 1 ? kBase : static_cast<std::uint32_t>(base);
}

bool TFlash::Formatieren(int) {
    return false;
}

// ---- programming ------------------------------------------------------------------------------

bool TFlash::PollWord(std::uint32_t address, std::uint16_t value) {
    return PollLane(address, value, -1);
}

// Data polling of a whole word (shift -1) or of one lane (shift 0: low, 8: high): wait while
// it reads blank, done when DQ7 shows the programmed bit, on DQ5 one more read decides.
bool TFlash::PollLane(std::uint32_t address, std::uint16_t value, int shift) {
    const auto lane = static_cast<std::uint16_t>(shift < 0 ? 0xFFFF : 0xFF << shift);
    const auto dq7 = static_cast<std::uint16_t>(kDQ7 & lane);
    const auto dq5 = static_cast<std::uint16_t>(kDQ5 & lane);
    constexpr int kReadsPerRound = 51;
    constexpr int kBlankWait = 10;
    long reads = 0;
    for (;;) {
        std::uint16_t read = 0;
        for (int n = 0; n < kReadsPerRound; ++n) {
            read = Load(address);
            ++reads;
            if ((read & lane) != lane) break;
            Delay(kBlankWait);
        }
        if (((read ^ value) & dq7) == 0) return true;
        if ((read & dq5) == dq5) {
            read = Load(address);
            return ((read ^ value) & dq7) == 0;
        }
        if (reads >= kPollLimit) {
            WarnEndlessPolling(address);
            return false;
        }
    }
}

bool TFlash::WriteWord(int wordIndex, unsigned short value) {
    if (value == kBlank) return true;
    const std::uint32_t address = sectorBase_ + 2u * static_cast<std::uint32_t>(wordIndex);
    Store(address, value);
    if (OnMemWrite != nullptr) OnMemWrite(address, &value, 2);
    return PollWord(address, value);
}

bool TFlash::WriteWordDirect(int address, unsigned short value) {
    const auto target = static_cast<std::uint32_t>(address);
    sectorBase_ = target & kSectorMask;
    const bool done = WriteWord(static_cast<int>((target - sectorBase_) / 2), value);
    sectorBase_ = kBase;
    return done;
}

bool TFlash::WriteHighByte(int offset, unsigned short value) {
    const std::uint32_t address = sectorBase_ + 2u * static_cast<std::uint32_t>(offset / 2);
    const auto word = static_cast<unsigned short>(Load(address) & ((value << 8) | 0x00FF));
    Store(address, word);
    if (OnMemWrite != nullptr) OnMemWrite(address, &word, 2);
    return PollLane(address, word, 8);
}

bool TFlash::WriteLowByte(int offset, unsigned short value) {
    const std::uint32_t address = sectorBase_ + 2u * static_cast<std::uint32_t>(offset / 2);
    const auto word = static_cast<unsigned short>(Load(address) & (value | 0xFF00));
    Store(address, word);
    if (OnMemWrite != nullptr) OnMemWrite(address, &word, 2);
    return PollLane(address, word, 0);
}

bool TFlash::WriteChar(int address, char value) {
    const auto byte = static_cast<unsigned char>(value);
    if (byte == 0xFF) return true;
    const auto target = static_cast<std::uint32_t>(address);
    const std::uint32_t previous = sectorBase_;
    sectorBase_ = target & kSectorMask;
    const auto offset = static_cast<int>(target & ~kSectorMask);
    const bool done = (target & 1) != 0 ? WriteHighByte(offset, byte) : WriteLowByte(offset, byte);
    sectorBase_ = previous;
    return done;
}

void TFlash::WriteByte(int address, char value) {
    if (!writeByteReported) {
        writeByteReported = true;
        Warning(TPString("'Flash->WriteByte' wird doch aufgerufen!!!", 0));
    }
    if (address < 0 || address >= Size) return;
    const std::uint32_t target = kBase + static_cast<std::uint32_t>(address);
    if (LoadByte(target) == 0xFF) StoreByte(target, static_cast<std::uint8_t>(value));
}

void TFlash::Write(TPSaveObject* object, int offset) {
    if (object == nullptr) return;
    const int start = offset == -1 ? writer_ : offset;
    int address = static_cast<int>(kBase) + start;
    object->Save(address, TPWriter([this](int at, char byte) {
                     WriteByte(at - static_cast<int>(kBase), byte);
                 }));
    if (offset == -1) writer_ = address - static_cast<int>(kBase);
}

}  // namespace tn
