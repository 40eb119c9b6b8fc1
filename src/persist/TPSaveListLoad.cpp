// TPSaveList: reading a region of records back, one record per step.
#include <tnpackage/persist/TPSaveList.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "persist/RecordBytes.h"
#include "util/LittleEndian.h"

namespace tn {

namespace {

// Offsets of the header words that a scan reads.
constexpr std::size_t kSizeOffset = 2;
constexpr std::size_t kVersionOffset = 6;
constexpr std::size_t kStrideOffset = 8;
constexpr std::size_t kStateOffset = 10;
// The step over anything that is not a record of interest.
constexpr std::size_t kSkip = 4;

struct Header {
    std::uint16_t size, version, stride, state;
};

Header ReadHeader(const unsigned char* p) {
    return {ReadLE16(p + kSizeOffset), ReadLE16(p + kVersionOffset), ReadLE16(p + kStrideOffset),
            ReadLE16(p + kStateOffset)};
}

bool Live(std::uint16_t state) {
    TPSaveObject probe;
    probe.State = state;
    return probe.Deleted();
}

std::size_t StepOf(const Header& h) {
    std::size_t step = h.stride < TPSaveObject::kStrideUnset ? h.stride : h.size;
    if (step == 0 && h.stride < TPSaveObject::kStrideUnset) step = h.size;
    return step != 0 ? step : kSkip;  // never stand still
}

bool Aligned(const unsigned char* p) {
    return reinterpret_cast<std::uintptr_t>(p) % alignof(TPSaveObject) == 0;
}

}  // namespace

bool TPSaveList::LoadObject(unsigned short*& cursor, int minimumVersion) {
    if (cursor == nullptr) return false;
    auto* p = reinterpret_cast<unsigned char*>(cursor);
    const Header h = ReadHeader(p);
    bool handed = false;
    std::size_t step = kSkip;
    if (h.version >= minimumVersion) {
        if (Live(h.state) && Aligned(p)) {
            AddData(reinterpret_cast<TPSaveObject*>(p));
            handed = true;
        }
        step = StepOf(h);
    }
    cursor = reinterpret_cast<unsigned short*>(p + step);
    return handed;
}

bool TPSaveList::LoadObject(unsigned short*& cursor, const void* end, int minimumVersion) {
    if (cursor == nullptr || end == nullptr) return false;
    auto* p = reinterpret_cast<unsigned char*>(cursor);
    const auto* last = static_cast<const unsigned char*>(end);
    const auto pAddress = reinterpret_cast<std::uintptr_t>(p);
    const auto endAddress = reinterpret_cast<std::uintptr_t>(last);
    if (pAddress >= endAddress) return false;
    const std::size_t remaining = endAddress - pAddress;
    auto advance = [&](std::size_t step) {
        cursor = reinterpret_cast<unsigned short*>(p + (step < remaining ? step : remaining));
    };
    if (remaining < static_cast<std::size_t>(kHeaderSize)) {
        advance(remaining);  // no room for a header: the scan is over
        return false;
    }
    const Header h = ReadHeader(p);
    if (h.version < minimumVersion) {
        advance(kSkip);
        return false;
    }
    bool handed = false;
    if (Live(h.state) && h.size <= remaining && Aligned(p)) {
        AddData(reinterpret_cast<TPSaveObject*>(p));
        handed = true;
    }
    advance(StepOf(h));
    return handed;
}

int TPSaveList::LoadRegion(const void* begin, std::size_t length, int minimumVersion) {
    if (begin == nullptr) return 0;
    auto* first = static_cast<unsigned char*>(const_cast<void*>(begin));
    const unsigned char* end = first + length;
    auto* cursor = reinterpret_cast<unsigned short*>(first);
    int handed = 0;
    while (reinterpret_cast<const unsigned char*>(cursor) < end) {
        if (LoadObject(cursor, end, minimumVersion)) ++handed;
    }
    return handed;
}

}  // namespace tn
