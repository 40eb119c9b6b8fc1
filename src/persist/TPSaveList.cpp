// TPSaveList: its record, its element table and their relocation in device memory.
#include <tnpackage/frame/DeviceAddressSpace.h>
#include <tnpackage/frame/Messages.h>
#include <tnpackage/persist/TPSaveList.h>
#include <tnpackage/text/Standards.h>

#include <cstring>
#include <limits>

#include "persist/RecordBytes.h"
#include "persist/RecordChecksum.h"
#include "util/LittleEndian.h"

namespace tn {

namespace {

// Offsets of the list's own fields in its record.
constexpr int kCapacityOffset = 16;
constexpr int kTableOffset = 20;
constexpr int kCountOffset = 24;
constexpr int kDispatchOffset = 28;
constexpr int kEntrySize = 4;

void WarnUnaddressableElement() {
    Warning("TPSaveList: Element liegt in keinem Ger\xE4tespeicher");
}

void WarnUnmapped(const char* what, std::uint32_t address) {
    Warning(TPString("TPSaveList: ") + what + " 0x" + zkIntToHex(static_cast<int>(address), 8) +
            " liegt in keinem Ger\xE4tespeicher");
}

// The element's device address; `unaddressable` is set for an element outside every window.
std::uint32_t EntryOf(const void* element, bool& unaddressable) {
    if (element == nullptr) return 0;
    const auto device = DeviceAddressSpace::ToDevice(element);
    if (!device) {
        unaddressable = true;
        return 0;
    }
    return *device;
}

// Host memory of the table of `count` entries at `address`, or null when it is not mapped.
unsigned char* TableMemory(std::uint32_t address, int count) {
    const std::uint64_t bytes = static_cast<std::uint64_t>(count) * kEntrySize;
    if (count < 0 || bytes > std::numeric_limits<std::uint32_t>::max()) return nullptr;
    return static_cast<unsigned char*>(
        DeviceAddressSpace::ToHost(address, static_cast<std::uint32_t>(bytes)));
}

// Adds delta to every non-null entry of a table.
void MoveEntries(unsigned char* table, int count, std::uint32_t delta) {
    for (int i = 0; i < count; ++i) {
        unsigned char* entry = table + i * kEntrySize;
        const std::uint32_t value = ReadLE32(entry);
        if (value != 0) WriteLE32(entry, value + delta);
    }
}

}  // namespace

TPSaveList::TPSaveList() {
    Init(kType, kRecordSize, 1);
    State = kLive;
}

TPSaveList::TPSaveList(int capacity) : TPList(capacity) {
    Init(kType, kRecordSize, 1);
    State = kLive;
}

TPSaveList::~TPSaveList() = default;

int TPSaveList::AddData(TPSaveObject*) {
    return 0;
}

std::uint32_t TPSaveList::Entry(int index) const {
    if (index < 0 || index >= Count || Items == nullptr) return 0;
    bool unaddressable = false;
    const std::uint32_t entry = EntryOf(Items[index], unaddressable);
    if (unaddressable) WarnUnaddressableElement();
    return entry;
}

TPSaveList::RecordBytes TPSaveList::Record() const {
    RecordBytes r{};
    const std::uint16_t header[] = {Magic, Size, Type, Version, Stride, State, CheckSum, Reserved};
    for (int i = 0; i < 8; ++i)
        WriteLE16(r.data() + 2 * i, header[i]);
    WriteLE32(r.data() + kCapacityOffset, static_cast<std::uint32_t>(Capacity));
    WriteLE32(r.data() + kTableOffset, TableAddress);
    WriteLE32(r.data() + kCountOffset, static_cast<std::uint32_t>(Count));
    WriteLE32(r.data() + kDispatchOffset, 0);
    return r;
}

std::uint16_t TPSaveList::CheckSumme() const {
    if (Size <= kHeaderSize) return 0;
    const int size = Size < kRecordSize ? Size : kRecordSize;
    const RecordBytes r = Record();
    return detail::PayloadChecksum(r.data() + kHeaderSize, size - kHeaderSize);
}

bool TPSaveList::CheckSumValid() const {
    return Size > kHeaderSize && CheckSumme() == CheckSum;
}

void TPSaveList::Save(int& address, const TPWriter& writer) {
    detail::AdvanceAddress(address, kRecordSize);
    bool unaddressable = false;
    std::uint32_t first = 0;
    for (int i = 0; i < Count && Items != nullptr; ++i) {
        unsigned char entry[kEntrySize];
        WriteLE32(entry, EntryOf(Items[i], unaddressable));
        if (i == 0) first = ReadLE32(entry);
        detail::HandOut(entry, kEntrySize, address, writer);
    }
    if (Count != 0 && Items != nullptr) {
        TableAddress = first - static_cast<std::uint32_t>(kEntrySize * Count);
    }
    if (CheckSum == 0) CheckSum = CheckSumme();
    const RecordBytes r = Record();
    detail::HandOut(r.data(), kRecordSize, address, writer);
    if (unaddressable) WarnUnaddressableElement();
}

void TPSaveList::Copy(int& address, const TPWriter& writer) {
    if (CheckSum == 0) CheckSum = CheckSumme();
    const auto start = static_cast<std::uint32_t>(address);
    const RecordBytes r = Record();
    detail::HandOut(r.data(), kRecordSize, address, writer);

    // The copy refers to its own table, which follows it; the checksum does not cover this.
    auto* copiedTable =
        static_cast<unsigned char*>(DeviceAddressSpace::ToHost(start + kTableOffset, kEntrySize));
    if (copiedTable == nullptr) {
        WarnUnmapped("Kopie bei", start);
    } else {
        WriteLE32(copiedTable, static_cast<std::uint32_t>(address));
    }

    auto table = static_cast<std::uint32_t>(address);
    const int count = Items != nullptr ? Count : 0;
    detail::AdvanceAddress(address, static_cast<std::uint32_t>(kEntrySize * count));
    bool unaddressable = false;
    for (int i = 0; i < count; ++i, table += kEntrySize) {
        const void* element = Items[i];
        std::uint16_t magic = 0;
        if (element != nullptr) std::memcpy(&magic, element, sizeof magic);
        std::uint32_t entry = 0;
        std::uint16_t elementSize = 0;
        if (magic == TPObject::kMagic) {
            entry = static_cast<std::uint32_t>(address);
            std::memcpy(&elementSize, static_cast<const unsigned char*>(element) + 2,
                        sizeof elementSize);
        } else {
            entry = EntryOf(element, unaddressable);
        }
        auto* slot = static_cast<unsigned char*>(DeviceAddressSpace::ToHost(table, kEntrySize));
        if (slot == nullptr) {
            WarnUnmapped("Tabelle bei", table);
        } else {
            WriteLE32(slot, entry);
        }
        detail::HandOut(element, elementSize, address, writer);
    }
    if (unaddressable) WarnUnaddressableElement();
}

char* TPSaveList::Save(char*& cursor) {
    char* start = cursor;
    if (cursor == nullptr) return nullptr;
    bool unaddressable = false;
    auto* out = reinterpret_cast<unsigned char*>(cursor);
    for (int i = 0; i < Count && Items != nullptr; ++i, out += kEntrySize) {
        WriteLE32(out, EntryOf(Items[i], unaddressable));
    }
    // The last word of the record carries nothing and is left out.
    const RecordBytes r = Record();
    std::memcpy(out, r.data(), kDispatchOffset);
    cursor = reinterpret_cast<char*>(out + kDispatchOffset);
    if (unaddressable) WarnUnaddressableElement();
    return start;
}

void TPSaveList::Saving(char* destination) {
    if (CheckSum == 0) CheckSum = CheckSumme();
    if (destination == nullptr) return;
    const RecordBytes r = Record();
    std::memcpy(destination, r.data(), kRecordSize);
}

void TPSaveList::SetOffset(int delta) {
    if (TableAddress == 0) return;
    const std::uint32_t moved = TableAddress + static_cast<std::uint32_t>(delta);
    if (Count <= 0) {
        TableAddress = moved;
        return;
    }
    unsigned char* table = TableMemory(moved, Count);
    if (table == nullptr) {
        WarnUnmapped("Tabelle bei", moved);
        return;
    }
    TableAddress = moved;
    MoveEntries(table, Count, static_cast<std::uint32_t>(delta));
    // The elements are reached again, now through the window they lie in.
    SetCapacity(Count);
    if (Capacity < Count) return;
    for (int i = 0; i < Count; ++i) {
        const std::uint32_t entry = ReadLE32(table + i * kEntrySize);
        Items[i] = entry != 0 ? DeviceAddressSpace::ToHost(entry) : nullptr;
    }
}

void TPSaveList::SetExternOffset(int delta) {
    if (TableAddress == 0) return;
    if (Count > 0) {
        unsigned char* table = TableMemory(TableAddress, Count);
        if (table == nullptr) {
            WarnUnmapped("Tabelle bei", TableAddress);
            return;
        }
        MoveEntries(table, Count, static_cast<std::uint32_t>(delta));
    }
    TableAddress += static_cast<std::uint32_t>(delta);
}

}  // namespace tn
