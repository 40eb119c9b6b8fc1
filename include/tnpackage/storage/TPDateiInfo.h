// A file node of a volume's directory tree.
//
// Besides its directory entry it can carry a block of memory that holds the file's content once
// it has been loaded (SetBlock); the block belongs to whoever loaded it.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/storage/TPDirEintrag.h>

#include <cstdint>

namespace tn {

class TPSpeicher;

class TN_EXPORT TPDateiInfo : public TPDirEintrag {
  public:
    std::int32_t FileSize = 0;  ///< size in bytes (entry offset 28)

    /// A detached file node (kind file, no volume).
    TPDateiInfo();
    /// A file found on the medium: `longName` (null or empty: none), the 32 entry bytes and
    /// their medium address.
    TPDateiInfo(TPVerzeichnisInfo* parent, char* longName, unsigned char* entry, int address);
    /// A new file `name` in `parent`: writes its entry set (long name when needed) into the
    /// folder and links the node into the parent's list. When nothing could be written (folder
    /// full, volume full) the node stays off the medium (EntryAddress 0) and unlinked.
    TPDateiInfo(TPVerzeichnisInfo* parent, TPString name);

    /// Copies the file out of the volume into memory at `destination` (flag reserved).
    bool FileCopy(void* destination, bool reserved);
    /// Copies the file into MainMemory at byte `address` through its sector writes (false
    /// without MainMemory; flag reserved).
    bool FileCopy(int address, bool reserved);
    /// Whether the file's first bytes (up to 32) equal `data`.
    bool FileEqual(void* data);
    /// Writes date (now unless `keepDate` or KeepDate), first cluster and size into the entry
    /// and the entry back to the medium.
    void SaveEntry(bool keepDate);
    TPString Text(TPString prefix) override;

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
