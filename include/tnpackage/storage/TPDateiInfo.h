// A file node of a volume's directory tree.
//
// So far it carries only what a whole-file check needs: the block of memory that holds the
// file's content once it has been loaded. The block belongs to whoever loaded it.
#pragma once

#include <tnpackage/Export.h>

namespace tn {

class TN_EXPORT TPDateiInfo {
  public:
    TPDateiInfo() = default;

    /// Records where the loaded content lies and how many bytes it has (negative counts as 0).
    void SetBlock(const void* block, int length);
    /// The loaded content, or null when nothing is loaded.
    const unsigned char* Block() const { return block_; }
    /// Number of bytes of the loaded content.
    int BlockLength() const { return blockLength_; }

  private:
    const unsigned char* block_ = nullptr;
    int blockLength_ = 0;
};

}  // namespace tn
