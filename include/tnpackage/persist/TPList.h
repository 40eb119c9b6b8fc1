// A growable array of untyped pointers; it does not own what they point to. It grows by ten
// slots at a time.
//
// Calls with an index outside the list do nothing (Move, Swap, Delete(int)) or return -1
// (Insert with a negative index, Add or Insert when memory runs out); in-range calls behave as
// the unchecked list always did. Entries are read directly through Items.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/persist/TPSaveObject.h>

#include <cstddef>
#include <cstdint>

namespace tn {

class TN_EXPORT TPList : public TPSaveObject {
  public:
    std::int32_t Capacity = 0;  ///< slots allocated
    void** Items = nullptr;     ///< the slots; null while Capacity is 0
    std::int32_t Count = 0;     ///< slots in use: Items[0] to Items[Count - 1]

    TPList() = default;
    /// Exactly `capacity` slots (cleared), none in use.
    explicit TPList(int capacity);
    /// Frees the slot array, never the objects.
    ~TPList();
    TPList(const TPList&) = delete;
    TPList& operator=(const TPList&) = delete;

    /// Appends; the new entry's index.
    int Add(void* p);
    int Add(const void* p);
    int Add(std::nullptr_t) { return Add(static_cast<void*>(nullptr)); }
    /// Inserts before `index` (an index at or past the end appends). Returns IndexOf(p), so a
    /// pointer already standing earlier gives that earlier index.
    int Insert(int index, void* p);
    int Insert(int index, const void* p);
    int Insert(int index, std::nullptr_t) { return Insert(index, static_cast<void*>(nullptr)); }
    /// Grows to `n` slots; never shrinks.
    void SetCapacity(int n);
    /// Moves one entry from `from` to `to`, shifting those between.
    void Move(int from, int to);
    void Swap(int a, int b);
    /// Removes the entry at `index`; the slot vacated at the end becomes null.
    void Delete(int index);
    /// Removes the first entry equal to `p`.
    void Delete(const void* p);
    using TPSaveObject::Delete;
    /// Empties the list (all slots null); capacity and array stay.
    void Clear();
    /// Index of the first entry equal to `p`, or -1.
    int IndexOf(const void* p) const;

  private:
    bool Contains(int index) const { return index >= 0 && index < Count; }
};

}  // namespace tn
