// The entry list of a directory node: a TPList of TPDirEintrag pointers that owns its entries.
// Directories stand before files.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/persist/TPList.h>

namespace tn {

class TPDirEintrag;
class TPVerzeichnisInfo;

class TN_EXPORT TPDirList : public TPList {
  public:
    TPVerzeichnisInfo* Owner = nullptr;  ///< the directory whose entries these are

    explicit TPDirList(TPVerzeichnisInfo* owner);
    /// Destroys every entry.
    ~TPDirList();

    /// Destroys every entry and empties the list.
    void Clear();
    /// Entry i, or null outside the list.
    TPDirEintrag* Eintrag(int i) const;
    /// Destroys entry i and removes its slot (nothing outside the list).
    void Delete(int i);
    int Insert(int index, void* entry);
    int Add(void* entry);
};

}  // namespace tn
