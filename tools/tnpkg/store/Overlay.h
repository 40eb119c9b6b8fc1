// The changes a command makes to an image, held beside it until the command commits: reads see
// the image with the changes laid over it, writes change only the overlay. Pages of a fixed size
// keyed by file offset let any block size and any volume origin share one overlay.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "os/OsFile.h"

namespace tnpkg::store {

class Overlay {
  public:
    static constexpr std::int64_t kPageSize = 512;
    using PageBytes = std::array<unsigned char, kPageSize>;
    struct Page {
        PageBytes before;  // the image's bytes (zeros beyond its end)
        PageBytes after;   // what the command made of them
    };

    /// Lies over `image`, whose length is `size`.
    Overlay(os::File& image, std::int64_t size);

    /// The image's length as the command leaves it.
    std::int64_t Size() const { return size_; }
    /// The image's length before the command.
    std::int64_t BaseSize() const { return baseSize_; }
    /// Gives the image a new length (a new image, a format that replaces one). Bytes beyond
    /// the old end read as zeros.
    void Resize(std::int64_t size);

    /// Reads `n` bytes at `offset`; false when they are not all inside Size or the image
    /// cannot be read (the bytes are zeros then).
    bool Read(std::int64_t offset, void* bytes, std::size_t n);
    /// Writes `n` bytes at `offset` into the overlay; false when they are not all inside Size.
    bool Write(std::int64_t offset, const void* bytes, std::size_t n);

    /// Offsets of the pages whose bytes the command changed, in ascending order.
    std::vector<std::int64_t> ChangedPages() const;
    const Page& PageAt(std::int64_t offset) const { return pages_.at(offset); }
    /// Whether the command changed anything at all (bytes or length).
    bool Changed() const { return size_ != baseSize_ || !ChangedPages().empty(); }
    /// The image's own bytes at `offset` (zeros beyond its end); false on a read error.
    bool ReadImage(std::int64_t offset, void* bytes, std::size_t n);

  private:
    os::File& image_;
    std::int64_t baseSize_;
    std::int64_t size_;
    std::map<std::int64_t, Page> pages_;
    // Walking a FAT or a folder reads many small blocks in a row: the image is read a chunk at
    // a time and the last chunk kept.
    std::vector<unsigned char> chunk_;
    std::int64_t chunkAt_ = -1;

    Page& Touch(std::int64_t pageOffset, bool& ok);
};

}  // namespace tnpkg::store
