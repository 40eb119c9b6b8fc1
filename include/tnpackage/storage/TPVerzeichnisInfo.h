// A directory node of a volume's tree (and the tree's root): its entry list holds the
// subdirectories first, then the files and the volume label.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/storage/TPDirEintrag.h>

namespace tn {

class TPDirList;
class TPStringList;

class TN_EXPORT TPVerzeichnisInfo : public TPDirEintrag {
  public:
    TPDirList* List = nullptr;  ///< the entries, owned

    /// The root of `volume` (no entry on the medium).
    explicit TPVerzeichnisInfo(TPVolumeFAT* volume);
    /// A detached directory node named `name`.
    explicit TPVerzeichnisInfo(TPString name);
    /// A directory found on the medium: `longName` (null or empty: none), entry bytes, address.
    TPVerzeichnisInfo(TPVerzeichnisInfo* parent, char* longName, unsigned char* entry, int address);
    /// A new directory `name` in `parent`: writes its entry set, clears its first cluster with
    /// "." and "..", and links the node into the parent. When nothing could be written the node
    /// stays off the medium (EntryAddress 0) and unlinked.
    TPVerzeichnisInfo(TPVerzeichnisInfo* parent, TPString name);
    ~TPVerzeichnisInfo() override;

    /// Lists `dir` (this one when null) from the medium into the tree, with its subdirectories.
    bool DirListing(TPVerzeichnisInfo* dir);
    /// Adds the lines of this directory and everything below it to `list`.
    void String(TPStringList* list, TPString prefix) override;
    TPString Text(TPString prefix) override;
    /// The first entry named `name` of kind `kind` (0: any kind), or null.
    TPDirEintrag* Search(TPString name, int kind = 0);
    /// Number of entries.
    int Count();
    /// Entry i, or null.
    TPDirEintrag* Eintrag(int i);
    /// Adds a node: a directory after the last directory, anything else at the end.
    void Insert(TPDirEintrag* entry);
    /// Insert, for the root.
    void InsertRootDir(TPDirEintrag* entry);
    /// Adds a directory node after the last directory.
    void InsertDir(TPDirEintrag* entry);
    /// Mounts every entry.
    void Mount() override;
};

}  // namespace tn
