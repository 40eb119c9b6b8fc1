// An open file on a FAT volume: it walks the file's cluster chain sector by sector through a
// sector buffer of its own.
#pragma once

#include <tnpackage/Export.h>

#include <cstdint>

namespace tn {

class TPDateiInfo;

class TN_EXPORT TPFile {
  public:
    /// Open flags of the drive-letter layer.
    static constexpr std::uint16_t kWriteOnly = 1;
    static constexpr std::uint16_t kReadOnly = 2;

    std::int32_t Position = 0;         ///< byte position in the file
    std::int32_t Cluster = 0;          ///< current cluster; 0: the file has none yet
    std::int32_t SectorIndex = 0;      ///< sector within the current cluster
    std::int32_t SectorAddress = 0;    ///< medium address of the current sector
    std::int32_t BufferedAddress = 0;  ///< medium address of the sector held in Buffer
    TPDateiInfo* File = nullptr;       ///< the file node; not owned
    unsigned char* Buffer = nullptr;   ///< the sector buffer, owned
    std::int32_t BufferSize = 512;     ///< bytes of Buffer (grows to the volume's sector size)
    std::uint8_t Mode = 0;             ///< the open mode
    bool Written = false;              ///< at least one byte was written through this record
    std::uint16_t Flags = 0;           ///< kWriteOnly, kReadOnly

    /// A 512-byte buffer, position 0, no cluster, no file.
    TPFile();
    /// Saves the node's entry (keeping its date) when something was written. A file that is
    /// still empty gives back the cluster it was created with (or that this record took for
    /// it), so that a size of 0 owns no cluster.
    ~TPFile();
    TPFile(const TPFile&) = delete;
    TPFile& operator=(const TPFile&) = delete;

    /// Record set-up: file = node, cluster = its first cluster, sector index 0, sector address
    /// = `address`, or for -1 the address of the first cluster (an empty file gets a cluster
    /// here, in this record's Cluster only).
    void Open(TPDateiInfo* node, int address = -1);
    /// Makes the buffer hold at least `bytes` bytes (its contents are forgotten).
    void EnsureBuffer(int bytes);
};

}  // namespace tn
