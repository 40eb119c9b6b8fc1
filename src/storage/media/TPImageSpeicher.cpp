// A memory image whose medium is its own buffer.
#include <tnpackage/storage/TPImageSpeicher.h>

#include <tnpackage/frame/Messages.h>

#include <cstring>
#include <string>

#include "storage/media/SpeicherMessages.h"

namespace tn {

namespace {

void WarnBlockOutside(std::int64_t address) {
    Warning(
        storage::Owned("Sektor au\xDF"
                       "erhalb von 'Speicher' (Adresse " +
                       std::to_string(address) + ")"));
}

}  // namespace

TPImageSpeicher::TPImageSpeicher(TPString name, int size) : TPSpeicher(name, size) {}

bool TPImageSpeicher::BlockInside(std::int64_t address) const {
    return BlockSize > 0 && address >= 0 && address <= Extent() - BlockSize;
}

void TPImageSpeicher::ReadBlock(void* destination, std::int64_t address) {
    if (destination == nullptr) return;
    if (!BlockInside(address)) {
        WarnBlockOutside(address);
        return;
    }
    std::memcpy(destination, Buffer + address, static_cast<std::size_t>(BlockSize));
}

void TPImageSpeicher::WriteBlock(const void* source, std::int64_t address) {
    if (source == nullptr) return;
    if (!BlockInside(address)) {
        WarnBlockOutside(address);
        return;
    }
    std::memcpy(Buffer + address, source, static_cast<std::size_t>(BlockSize));
}

}  // namespace tn
