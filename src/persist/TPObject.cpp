// TPObject: the payload checksum and filling an object from a record.
#include <tnpackage/persist/TPObject.h>

#include <cstddef>
#include <cstring>

#include "persist/RecordChecksum.h"

namespace tn {

std::uint16_t TPObject::CheckSumme() const {
    if (Size <= kHeaderSize) return 0;
    const auto* record = reinterpret_cast<const unsigned char*>(this);
    return detail::PayloadChecksum(record + kHeaderSize, Size - kHeaderSize);
}

bool TPObject::CheckSumCheck(std::uint16_t expected) const {
    if (Size <= kHeaderSize) return false;
    return CheckSumme() == expected;
}

void TPObject::Copy(void*& source) {
    if (source == nullptr) return;
    std::uint16_t recordSize = 0;
    std::memcpy(&recordSize, static_cast<const unsigned char*>(source) + offsetof(TPObject, Size),
                sizeof recordSize);
    // The object's own Size is all we know of its extent: never write beyond it.
    const std::size_t n = recordSize < Size ? recordSize : Size;
    std::memmove(this, source, n);
}

}  // namespace tn
