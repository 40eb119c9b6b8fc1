// A medium the package's FAT volume mounts on, reading and writing through an overlay: byte
// address a of the medium is file offset origin + a, as with tn::TPDateiSpeicher, so a
// partition's volume sits at base 0. Several media can share one overlay.
#pragma once

#include <tnpackage/tnpackage.h>

#include <cstdint>

#include "store/Overlay.h"

namespace tnpkg::store {

class OverlayMedium : public tn::TPSpeicher {
  public:
    OverlayMedium(Overlay& overlay, std::int64_t origin, bool writable);

    /// One block (BlockSize bytes); outside the image: zeros and a Warning.
    void ReadBlock(void* destination, std::int64_t address) override;
    /// One block into the overlay; outside the image or on a read-only medium: nothing, with a
    /// Warning.
    void WriteBlock(const void* source, std::int64_t address) override;
    /// Bytes from the origin to the image's end.
    std::int64_t MediumSize() const override;
    /// Bytes of the blocks read so far that lay beyond the image's end (read as zeros): how a
    /// reader learns that a truncated image clipped what it read.
    std::int64_t BytesReadOutside() const { return bytesReadOutside_; }

  private:
    Overlay& overlay_;
    std::int64_t origin_;
    bool writable_;
    std::int64_t bytesReadOutside_ = 0;
};

}  // namespace tnpkg::store
