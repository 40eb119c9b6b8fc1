// A medium that is any image file on the PC (a memory-card image, a partition dump): one sector
// is read or written at a 64-bit offset, so large images are never loaded whole.
//
// It is a TPSpeicher of size 0: it has no buffer, loads no ".DAT" file and saves nothing.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/storage/TPSpeicher.h>

#include <cstdint>
#include <vector>

namespace tn {

class TN_EXPORT TPDateiSpeicher : public TPSpeicher {
  public:
    /// Opens `path` (read-only unless `writable`); byte address a of the medium is file offset
    /// origin + a, which lets a partition's volume sit at base 0. A file that cannot be opened
    /// is reported and gives a medium of size 0.
    TPDateiSpeicher(TPString path, bool writable, std::int64_t origin = 0);
    ~TPDateiSpeicher() override;

    /// One block (BlockSize bytes); outside the file: zeros and a Warning.
    void ReadBlock(void* destination, std::int64_t address) override;
    /// One block; outside the file or on a read-only medium: nothing, with a Warning.
    void WriteBlock(const void* source, std::int64_t address) override;
    /// Bytes from the origin to the file's end.
    std::int64_t MediumSize() const override;

    bool IsOpen() const;
    bool Writable() const { return writable_; }
    std::int64_t Origin() const { return origin_; }
    /// Forces written blocks onto the disk; false on failure.
    bool Flush();

  private:
    std::intptr_t file_;
    bool writable_;
    std::int64_t origin_;
    std::int64_t length_ = 0;
    TPString path_;
    // Reads go through one aligned chunk of the file kept in memory, so that walking a FAT or
    // a directory costs one system call per chunk instead of one per block; writes go to the
    // file and into the chunk alike.
    std::vector<unsigned char> chunk_;
    std::int64_t chunkAddress_ = -1;  // medium address of chunk_[0]; -1: nothing held

    bool ReadThroughChunk(void* destination, std::int64_t address);
};

}  // namespace tn
