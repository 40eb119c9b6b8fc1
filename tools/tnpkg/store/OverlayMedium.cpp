#include "store/OverlayMedium.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace tnpkg::store {
namespace {

// The package's own words for a block outside the medium and a read-only medium.
void WarnOutside(std::int64_t address) {
    const std::string text =
        "Sektor au\xDF"
        "erhalb des Mediums (Adresse " +
        std::to_string(address) + ")";
    tn::Warning(tn::TPString(text.c_str()));
}

}  // namespace

OverlayMedium::OverlayMedium(Overlay& overlay, std::int64_t origin, bool writable)
    : tn::TPSpeicher("", 0), overlay_(overlay), origin_(origin), writable_(writable) {}

std::int64_t OverlayMedium::MediumSize() const {
    const std::int64_t size = overlay_.Size() - origin_;
    return size > 0 ? size : 0;
}

void OverlayMedium::ReadBlock(void* destination, std::int64_t address) {
    if (destination == nullptr || BlockSize < 1) return;
    const auto n = static_cast<std::size_t>(BlockSize);
    if (address < 0 || address > MediumSize() - BlockSize) {
        std::memset(destination, 0, n);
        bytesReadOutside_ += std::min<std::int64_t>(BlockSize, address + BlockSize - MediumSize());
        WarnOutside(address);
        return;
    }
    if (!overlay_.Read(origin_ + address, destination, n)) {
        tn::Warning(tn::TPString("Lesefehler im Abbild"));
    }
}

void OverlayMedium::WriteBlock(const void* source, std::int64_t address) {
    if (source == nullptr || BlockSize < 1) return;
    if (address < 0 || address > MediumSize() - BlockSize) {
        WarnOutside(address);
        return;
    }
    if (!writable_) {
        tn::Warning(tn::TPString("Medium ist schreibgesch\xFCtzt"));
        return;
    }
    if (!overlay_.Write(origin_ + address, source, static_cast<std::size_t>(BlockSize))) {
        tn::Warning(tn::TPString("Lesefehler im Abbild"));
    }
}

}  // namespace tnpkg::store
