// A memory image whose medium is its own buffer: the FAT volume's sector reads and writes go
// straight to the bytes that are loaded from and saved to the ".DAT" file.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/storage/TPSpeicher.h>

#include <cstdint>

namespace tn {

class TN_EXPORT TPImageSpeicher : public TPSpeicher {
  public:
    /// Bytes moved by one block operation unless BlockSize says otherwise.
    static constexpr int kSectorSize = 512;

    TPImageSpeicher(TPString name, int size);

    /// Copies the sector (BlockSize bytes) at byte `address` of the buffer. A sector that does not
    /// lie wholly inside the buffer is not copied and is reported through Warning.
    void ReadBlock(void* destination, std::int64_t address) override;
    /// Copies one sector into the buffer at byte `address`, with the same check.
    void WriteBlock(const void* source, std::int64_t address) override;

    /// The buffer's size.
    std::int64_t MediumSize() const override { return Extent(); }

  private:
    bool BlockInside(std::int64_t address) const;
};

}  // namespace tn
