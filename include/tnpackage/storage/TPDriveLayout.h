// The partition layout of a disk as the Windows drive-layout query returns it: a fixed buffer of
// 168 bytes holding a count, the disk signature and at most five 32-byte partition entries.
//
// A master boot record gives four entries, and every further partition table of an extended
// partition four more, so a disk with logical drives does not fit; such a query fails (and is
// reported) instead of overflowing, on every platform.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/text/TPString.h>

#include <cstdint>

namespace tn {

class TN_EXPORT TPDriveLayout {
  public:
    static constexpr int kBufferSize = 168;
    static constexpr int kHeaderSize = 8;  ///< partition count, disk signature
    static constexpr int kEntrySize = 32;
    static constexpr int kMaxEntries = (kBufferSize - kHeaderSize) / kEntrySize;

    /// One partition entry, decoded.
    struct Entry {
        std::int64_t StartingOffset = 0;   ///< bytes from the start of the disk
        std::int64_t PartitionLength = 0;  ///< bytes
        std::uint32_t HiddenSectors = 0;   ///< sectors before the partition
        std::uint32_t PartitionNumber = 0;
        std::uint8_t PartitionType = 0;
        bool BootIndicator = false;
        bool RecognizedPartition = false;
        bool RewritePartition = false;
    };

    /// Queries the disk that holds the drive named like "X:". False, reported through Warning,
    /// when the device cannot be opened or its layout does not fit.
    bool ReadDrive(TPString drive);
    /// The layout of a disk image file, read from its master boot record. False (reported) when
    /// the file cannot be read, has no master boot record, or its layout does not fit.
    bool ReadImage(TPString fileName);
    /// Partitions in the buffer (the count field, limited to the entries actually returned).
    int PartitionCount() const;
    std::uint32_t Signature() const;
    /// Entry `index` (0-based); false beyond the count.
    bool Partition(int index, Entry& entry) const;
    /// "Ok <bytes>Bytes", "PartCount = n, Signature = 0x........" and one line per partition
    /// ("Partition = i, Type: 0x.., No: 0x........, Test: r" and ", n.e.!" when the system
    /// does not recognise the partition type), separated by line feeds.
    TPString Report() const;

    std::uint32_t Bytes = 0;  ///< bytes the query returned
    unsigned char Buffer[kBufferSize] = {};
};

}  // namespace tn
