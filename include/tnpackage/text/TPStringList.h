// A growable array of TPString values, made mostly by splitting a line into fields and joined
// back into one text.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/persist/TPObject.h>
#include <tnpackage/text/TPString.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tn {

class TN_EXPORT TPStringList : public TPObject {
  public:
    static constexpr std::uint16_t kType = 3;
    static constexpr std::uint16_t kSize = 20;

    std::int32_t Capacity = 0;  ///< slots allocated
    TPString* Items = nullptr;  ///< the slots; those at or beyond Count are empty
    std::int32_t Count = 0;     ///< slots in use

    /// Ten slots, none in use.
    TPStringList();
    explicit TPStringList(int capacity);
    /// Split at every `delimiter` (see Set).
    TPStringList(TPString text, char delimiter);
    /// SetExt when `extended`, else Set.
    TPStringList(TPString text, char delimiter, bool extended);
    /// Split at every occurrence of `separator`.
    TPStringList(TPString text, TPString separator);
    TPStringList(const TPStringList& other);
    ~TPStringList();

    /// Splits `text` at each `delimiter` character into trimmed fields. Adjacent delimiters give
    /// an empty field, a delimiter at the very end gives none; blank text gives no fields.
    void Set(TPString text, char delimiter);
    /// As Set, but a run of delimiters separates just two fields (one after a leading run).
    void SetExt(TPString text, char delimiter);
    /// As Set, with a separator of several characters (found case-sensitively).
    void Set(TPString text, TPString separator);

    /// Exactly `n` slots; the strings move along without being copied. Shrinking below Count
    /// releases the strings that no longer fit.
    void SetCapacity(int n);
    /// Appends a copy (growing by ten slots when full); the new item's index.
    int Add(TPString s);
    /// Inserts a copy before `index`; an index at or past the end appends, a negative one does
    /// nothing.
    void Insert(int index, TPString s);
    /// Removes the item at `index`; nothing for an index outside the list.
    void Delete(int index);
    /// Releases every item; the capacity stays.
    void Clear();
    /// Index of the first item equal to `s` (compared as TPString's == does), or -1.
    int IndexOf(TPString s) const;
    /// A copy of the item; empty for an index outside the list.
    TPString String(int index) const;
    /// The items joined by `separator`, none after the last.
    TPString Text(TPString separator) const;

    TPStringList& operator=(const TPStringList& other);
    /// A string list holds host pointers and is not its own record: it cannot be filled from one.
    void Copy(void*& source) = delete;
    /// Copies the lines of a host string list.
    TPStringList& operator=(const std::vector<std::string>& lines);

  private:
    void Split(const TPString& text, char delimiter, bool skipRuns);
};

}  // namespace tn
