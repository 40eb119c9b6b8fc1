// TPString: writing a string into device memory and following it there.
//
// A saved string refers to its text by device address. The text is reached through the device
// window that maps the address, and it belongs to that image: it is never released.
#include <tnpackage/frame/DeviceAddressSpace.h>
#include <tnpackage/frame/Messages.h>
#include <tnpackage/persist/TPWriter.h>
#include <tnpackage/text/TPString.h>

#include <cstring>

#include "persist/RecordBytes.h"

namespace tn {

char* TPString::DeviceText() const noexcept {
    // The whole buffer the string accounts for must lie in the window, at least its first byte.
    const auto need = static_cast<std::uint32_t>(size_ > 0 ? size_ : 1);
    return static_cast<char*>(DeviceAddressSpace::ToHost(device_, need));
}

void TPString::ReferToDevice(std::uint32_t address) {
    storage_ = Storage::Device;
    device_ = address;
    text_ = DeviceText();
}

void TPString::ReleaseOwnBuffer() {
    if (storage_ == Storage::Heap && !DeviceAddressSpace::Contains(text_)) delete[] text_;
    storage_ = Storage::None;
    text_ = nullptr;
}

int TPString::Save(int& address, const TPWriter& writer, int offset) {
    if (text_ == nullptr) return 0;
    const int start = address;
    if (writer && size_ > 0) detail::HandOut(text_, size_, address, writer);
    ReleaseOwnBuffer();
    ReferToDevice(static_cast<std::uint32_t>(start) + static_cast<std::uint32_t>(offset));
    return static_cast<int>(static_cast<std::uint32_t>(address) -
                            static_cast<std::uint32_t>(start));
}

int TPString::Copy(int& address, const TPWriter& writer) const {
    if (text_ == nullptr || !writer) return 0;
    detail::HandOut(text_, size_, address, writer);
    return size_;
}

int TPString::Saving(void* destination, int offset) {
    if (text_ == nullptr) return 0;
    if (IsEmpty()) {
        Delete();
        return 0;
    }
    if (destination == nullptr) return 0;
    const int n = Length() + 1;
    std::memmove(destination, text_, static_cast<std::size_t>(n));
    ReleaseOwnBuffer();
    if (const auto device = DeviceAddressSpace::ToDevice(destination)) {
        ReferToDevice(*device + static_cast<std::uint32_t>(offset));
        return n;
    }
    // Ordinary memory has no device address to move by an offset: the string stays with the
    // copy it just made.
    if (offset != 0) {
        Warning("TPString::Saving: Ziel liegt in keinem Ger\xE4tespeicher, Offset nicht verwendet");
    }
    storage_ = Storage::External;
    text_ = static_cast<char*>(destination);
    return n;
}

void TPString::SetOffset(int delta) {
    const auto step = static_cast<std::uint32_t>(delta);
    if (storage_ == Storage::Device) {
        ReferToDevice(device_ + step);
        return;
    }
    if (text_ == nullptr || delta == 0) return;
    const auto device = DeviceAddressSpace::ToDevice(text_);
    if (!device) {
        Warning("TPString::SetOffset: Text liegt in keinem Ger\xE4tespeicher");
        return;
    }
    ReleaseOwnBuffer();
    ReferToDevice(*device + step);
}

}  // namespace tn
