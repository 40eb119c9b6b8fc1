// A pointer list that stores itself, with a table of its elements' addresses, in device memory,
// and rebuilds its elements from a region of records.
//
// Unlike the classes below it, a TPSaveList is not its own record: it holds host pointers. Its
// 32-byte record is encoded field by field (see Record()):
//
//   0  16-byte header        16  capacity (signed 32-bit)   20  table address (32-bit)
//   24 count (signed 32-bit) 28  a word that carries nothing (written as 0; readers ignore it)
//
// The table is Count 32-bit device addresses, one per element. Items always holds host
// pointers; an element's table entry is the device address of the memory it points to (0 for a
// null entry). TableAddress is the device address of the table as the record states it. Every
// access to device memory goes through DeviceAddressSpace; an address that maps nowhere is never
// read or written: the operation then does nothing and warns.
//
// Use the list's own record members (Save, Copy, Saving, CheckSumme, CheckSumValid), never
// those of TPObject or TPSaveObject through a base reference: those treat the C++ object as its
// own record, which a class holding host pointers is not.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/persist/TPList.h>
#include <tnpackage/persist/TPWriter.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace tn {

class TN_EXPORT TPSaveList : public TPList {
  public:
    static constexpr std::uint16_t kType = 2;
    static constexpr int kRecordSize = 32;
    using RecordBytes = std::array<unsigned char, kRecordSize>;

    /// Device address of the element table; 0 while the list has none.
    std::uint32_t TableAddress = 0;

    /// Type 2, size 32, version 1, live.
    TPSaveList();
    explicit TPSaveList(int capacity);

    /// Called for every live record that LoadObject meets; the base does nothing and returns 0.
    virtual int AddData(TPSaveObject* object);
    virtual ~TPSaveList();

    /// The element's table entry: the device address of Items[index], 0 for a null entry or an
    /// index outside the list. An element outside every device window has no address: 0, and
    /// the call warns.
    std::uint32_t Entry(int index) const;

    /// The record as it is written: header, capacity, table address, count, a zero word.
    RecordBytes Record() const;
    /// CRC-16 of the encoded payload (bytes 16 to 31).
    std::uint16_t CheckSumme() const;
    bool CheckSumValid() const;

    /// Skips 32 bytes, hands the table to `writer` (4 bytes per entry, low byte first), sets
    /// TableAddress to entry 0 - 4 * Count (where the table lies when it stands right in front
    /// of the first element), computes the checksum if it is 0, then hands out the record.
    void Save(int& address, const TPWriter& writer);
    /// A self-contained image from `address` on: the record, the table, then every element that
    /// is a record (magic "ZK"), each Size bytes, without padding. The copy's table address and
    /// the table entries are written directly into the destination, which must therefore lie in
    /// a device window. Elements that are not records are only referred to.
    void Copy(int& address, const TPWriter& writer);
    /// The table (4 * Count bytes) and then the first 28 bytes of the record, to ordinary
    /// memory at `cursor`, which advances; returns where they begin. No checksum is computed.
    char* Save(char*& cursor);
    /// The record (32 bytes) to ordinary memory, computing the checksum first if it is 0.
    void Saving(char* destination);

    /// Moves TableAddress by `delta`, then adds `delta` to every non-null entry of the table at
    /// the new address, and points Items at the elements the entries now address. For a table
    /// that already stands at its new place.
    void SetOffset(int delta);
    /// Adds `delta` to every non-null entry of the table at the current address, then moves
    /// TableAddress. For an image prepared here that will be placed elsewhere; Items stay.
    void SetExternOffset(int delta);

    /// Writes a 512-byte file header through `buffer` (at least 512 bytes) to an open file:
    /// 0xFF throughout, then 512, `value` and the current local date-time as a file date (three
    /// little-endian 32-bit words), and `text` with its NUL from offset 16 (at most 495
    /// characters are taken). Returns the bytes written, or -1.
    /// `fileHandle` is a platform file handle, as the package's file functions hold them.
    int SaveHeader(std::intptr_t fileHandle, void* buffer, int value, const char* text);

    using TPSaveObject::BlindAnhang;

    /// Looks at the record at `cursor`: a record of at least `minimumVersion` that is live is
    /// handed to AddData (result true) and the cursor advances by its stride (by its size when
    /// the stride is not set); any other record advances the cursor by 4 bytes (result false).
    /// A step of 0 becomes a step of 4, so a scan never stands still. Trusts the memory.
    bool LoadObject(unsigned short*& cursor, int minimumVersion);
    /// The same within a region ending at `end`: the cursor never passes `end`, nothing outside
    /// the region is read, and a record that does not fit in it is not handed to AddData.
    bool LoadObject(unsigned short*& cursor, const void* end, int minimumVersion);
    /// Scans `length` bytes from `begin` with LoadObject; returns how many records went to
    /// AddData.
    int LoadRegion(const void* begin, std::size_t length, int minimumVersion);
};

}  // namespace tn
