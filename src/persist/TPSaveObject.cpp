// TPSaveObject: the byte-wise save protocol, the state ladder and padding.
#include <tnpackage/frame/DeviceAddressSpace.h>
#include <tnpackage/persist/TPSaveObject.h>

#include <bit>
#include <cstdlib>
#include <cstring>
#include <new>

#include "persist/FlashHook.h"
#include "persist/RecordBytes.h"

namespace tn {

namespace detail {
TN_EXPORT constinit FlashWordProgrammer flashWordProgrammer = nullptr;
}

namespace {

// Index of the highest set bit counted from bit 15 as index 0; -1 for a state of 0.
int LadderIndex(std::uint16_t state) {
    if (state == 0) return -1;
    return std::countl_zero(state);
}

bool LiveIndex(int index) {
    return index >= 0 && index % 2 == 1;
}

}  // namespace

std::uint16_t DeleteSaveObject(std::uint16_t state) {
    const int index = LadderIndex(state);
    if (!LiveIndex(index)) return state;
    return static_cast<std::uint16_t>(state & ~(0x8000u >> index));
}

bool TPSaveObject::Deleted() const {
    return LiveIndex(LadderIndex(State));
}

void TPSaveObject::ReAktiv() {
    // Even ladder indices are the odd bit numbers 15, 13, ..., 1.
    State = static_cast<std::uint16_t>(State & 0x5555);
}

namespace {

// Whether a device address lies in the window mapped at the flash base: the range from the
// base up to the address is then one window, and windows never overlap.
bool InFlashWindow(std::uint32_t address) {
    return address >= DeviceAddressSpace::kFlashBase &&
           DeviceAddressSpace::ToHost(DeviceAddressSpace::kFlashBase,
                                      address - DeviceAddressSpace::kFlashBase + 2) != nullptr;
}

}  // namespace

void TPSaveObject::Delete() {
    if (detail::flashWordProgrammer == nullptr) return;
    const auto stateAddress = DeviceAddressSpace::ToDevice(&State);
    if (!stateAddress) return;
    if (DeviceAddressSpace::InInstrumentRange(this) || InFlashWindow(*stateAddress)) {
        detail::flashWordProgrammer(*stateAddress, DeleteSaveObject(State));
    }
}

void TPSaveObject::Save(int& address, const TPWriter& writer) {
    if (CheckSum == 0) CheckSum = CheckSumme();
    detail::HandOut(this, Size, address, writer);
    State = kLive;
}

void TPSaveObject::Copy(int& address, const TPWriter& writer) {
    if (CheckSum == 0) CheckSum = CheckSumme();
    detail::HandOut(this, Size, address, writer);
}

void TPSaveObject::Saving(char* destination) {
    if (CheckSum == 0) CheckSum = CheckSumme();
    if (destination != nullptr) std::memcpy(destination, this, Size);
}

bool TPSaveObject::CheckSumValid() const {
    return CheckSumCheck(CheckSum);
}

void TPSaveObject::BlindAnhang(char*& cursor, int alignment, char fill) {
    if (alignment < 1) return;
    const int r = Stride % alignment;
    if (r == 0) return;
    const int pad = alignment - r;
    if (cursor != nullptr) {
        std::memset(cursor, static_cast<unsigned char>(fill), static_cast<std::size_t>(pad));
        cursor += pad;
    }
    Stride = static_cast<std::uint16_t>(Stride + pad);
}

void* TPSaveObject::operator new(std::size_t size) {
    void* p = std::malloc(size);
    if (p == nullptr) throw std::bad_alloc();
    return p;
}

void* TPSaveObject::operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size);
}

void TPSaveObject::operator delete(void* p) noexcept {
    std::free(p);
}

void TPSaveObject::operator delete(void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}

namespace {

// A handler that only returned would make operator new retry for ever; failing the allocation
// is the quiet outcome: a nothrow new then gives null.
void QuietNewHandler() {
    throw std::bad_alloc();
}

}  // namespace

void SetMyNewHandler() {
    std::set_new_handler(QuietNewHandler);
}

}  // namespace tn
