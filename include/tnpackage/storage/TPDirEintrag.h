// One entry of a mounted FAT volume's directory tree: the base of the file, directory and
// volume-label nodes.
//
// A node remembers where its 32-byte entry lies on the medium (EntryAddress) and keeps those 32
// bytes (Entry), so that a change of size, first cluster or date is written back to exactly
// that entry. The node kind is the record header's Type (kFile, kDirectory, kVolumeLabel).
// Nodes hold pointers and strings: they are not their own records and are never copied as bytes.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/persist/TPObject.h>
#include <tnpackage/text/TPString.h>
#include <tnpackage/time/TPDateTime.h>

#include <cstdint>

namespace tn {

class TPStringList;
class TPVerzeichnisInfo;
class TPVolumeFAT;

class TN_EXPORT TPDirEintrag : public TPObject {
  public:
    static constexpr std::uint16_t kFile = 0x0300;
    static constexpr std::uint16_t kDirectory = 0x0301;
    static constexpr std::uint16_t kVolumeLabel = 0x0302;
    /// Bytes of one directory entry on the medium.
    static constexpr int kEntrySize = 32;

    TPVerzeichnisInfo* Parent = nullptr;   ///< the directory holding the entry; null for the root
    TPString Name;                         ///< the name as listed (the long name when there is one)
    TPString Name2;                        ///< the other form (short or long); empty when none
    TPDateTime Date;                       ///< modification date and time
    std::uint32_t FileDate = 0;            ///< the packed date-time of entry offset 22
    std::int32_t Attributes = 0;           ///< attribute byte & 7 (read-only, hidden, system)
    std::int32_t FirstCluster = 0;         ///< first cluster (entry offset 26)
    TPVolumeFAT* Volume = nullptr;         ///< the parent's volume
    std::int32_t Depth = 0;                ///< the parent's depth + 1; 0 without a parent
    std::int32_t EntryAddress = 0;         ///< medium address of the entry; 0: not on the medium
    std::int32_t EntryOffset = 0;          ///< EntryAddress mod the volume's bytes per sector
    std::uint8_t CheckSum = 0;             ///< long-name checksum of the short name
    unsigned char Entry[kEntrySize] = {};  ///< the raw on-media entry
    bool KeepDate = false;                 ///< SaveEntry leaves the date alone when set

    /// An empty node of kind 0 (not on any medium).
    TPDirEintrag();
    /// Sets the record header to `kind` and takes the entry (see NewEntry).
    TPDirEintrag(TPVerzeichnisInfo* parent, unsigned char* entry, int address, short kind,
                 short reserved1 = 0, short reserved2 = 0);
    virtual ~TPDirEintrag();
    TPDirEintrag(const TPDirEintrag&) = delete;
    TPDirEintrag& operator=(const TPDirEintrag&) = delete;

    /// Links the node below `parent` (volume, depth, entry address and offset) and copies the 32
    /// entry bytes with date, first cluster and attributes (not for a volume label). Without
    /// bytes or without a parent the entry is zero.
    void NewEntry(TPVerzeichnisInfo* parent, unsigned char* entry, int address, short reserved1,
                  short reserved2, short kind);
    /// Writes one 32-byte entry just below `address` (which moves down 32 bytes first): the
    /// short entry for piece < 0 (11 name bytes taken from `name`, which advances; date now;
    /// a newly allocated first cluster; size 0), else long-name piece `piece` (13 characters
    /// taken from `name`).
    void FATDirEintrag(int piece, char*& name, int& address);

    /// Whether the node is a directory / a file / the volume label.
    bool IsDirectory() const { return Type == kDirectory; }
    bool IsFile() const { return Type == kFile; }
    bool IsVolumeLabel() const { return Type == kVolumeLabel; }

    /// One line describing the entry (kind, name, other name, first cluster, address).
    virtual TPString Info();
    /// The listing line of the entry, `prefix` in front.
    virtual TPString Text(TPString prefix);
    /// Adds Text(prefix) to `list`.
    virtual void String(TPStringList* list, TPString prefix);
    /// Mounting hook of an entry; nothing for plain entries.
    virtual void Mount();

    /// Medium-independent path of the node from the root, "\" separated (root: "").
    TPString Path() const;
};

}  // namespace tn
