// TPStringList: slots, growth, insertion, search and joining.
#include <tnpackage/text/TPStringList.h>

#include <cstring>
#include <new>

namespace tn {

namespace {

constexpr int kDefaultCapacity = 10;
constexpr int kGrowth = 10;

// A TPString whose bytes are all zero is the empty string, and an empty string releases nothing.
// Slots therefore move between arrays as plain bytes, buffers and all, and the slots left behind
// are zeroed so that destroying them releases nothing twice.
void MoveSlots(TPString* to, TPString* from, int n) {
    if (n <= 0) return;
    std::memmove(static_cast<void*>(to), static_cast<const void*>(from), sizeof(TPString) * n);
}

void ZeroSlots(TPString* slots, int n) {
    if (n <= 0) return;
    std::memset(static_cast<void*>(slots), 0, sizeof(TPString) * n);
}

}  // namespace

TPStringList::TPStringList() : TPStringList(kDefaultCapacity) {}

TPStringList::TPStringList(int capacity) : TPObject(kType, kSize, 1) {
    SetCapacity(capacity);
}

TPStringList::TPStringList(TPString text, char delimiter) : TPStringList() {
    Set(text, delimiter);
}

TPStringList::TPStringList(TPString text, char delimiter, bool extended) : TPStringList() {
    if (extended) {
        SetExt(text, delimiter);
    } else {
        Set(text, delimiter);
    }
}

TPStringList::TPStringList(TPString text, TPString separator) : TPStringList() {
    Set(text, separator);
}

TPStringList::TPStringList(const TPStringList& other) : TPObject(kType, kSize, 1) {
    *this = other;
}

TPStringList::~TPStringList() {
    Clear();
    delete[] Items;
}

void TPStringList::SetCapacity(int n) {
    if (n < 0) n = 0;
    if (n == Capacity) return;
    TPString* slots = n > 0 ? new (std::nothrow) TPString[static_cast<std::size_t>(n)] : nullptr;
    if (n > 0 && slots == nullptr) return;
    for (int i = n; i < Count; ++i)
        Items[i].Delete();  // no room left for these
    const int kept = Count < n ? Count : n;
    MoveSlots(slots, Items, kept);
    ZeroSlots(Items, kept);
    delete[] Items;
    Items = slots;
    Capacity = n;
    Count = kept;
}

int TPStringList::Add(TPString s) {
    if (Count >= Capacity) SetCapacity(Capacity + kGrowth);
    if (Count >= Capacity) return -1;
    Items[Count] = s;
    return Count++;
}

void TPStringList::Insert(int index, TPString s) {
    if (index >= Count) {
        Add(s);
        return;
    }
    if (index < 0) return;
    if (Count >= Capacity) SetCapacity(Capacity + kGrowth);
    if (Count >= Capacity) return;
    MoveSlots(Items + index + 1, Items + index, Count - index);
    ZeroSlots(Items + index, 1);
    Items[index] = s;
    ++Count;
}

void TPStringList::Delete(int index) {
    if (index < 0 || index >= Count) return;
    Items[index].Delete();
    MoveSlots(Items + index, Items + index + 1, Count - index - 1);
    --Count;
    ZeroSlots(Items + Count, 1);
}

void TPStringList::Clear() {
    for (int i = 0; i < Count; ++i)
        Items[i].Delete();
    Count = 0;
}

int TPStringList::IndexOf(TPString s) const {
    for (int i = 0; i < Count; ++i) {
        if (Items[i] == s) return i;
    }
    return -1;
}

TPString TPStringList::String(int index) const {
    if (index < 0 || index >= Count) return TPString();
    return Items[index];
}

TPString TPStringList::Text(TPString separator) const {
    TPString text;
    for (int i = 0; i < Count; ++i) {
        if (i > 0) text += separator;
        text += Items[i];
    }
    return text;
}

TPStringList& TPStringList::operator=(const TPStringList& other) {
    if (&other == this) return *this;
    Clear();
    for (int i = 0; i < other.Count; ++i)
        Add(other.Items[i]);
    return *this;
}

TPStringList& TPStringList::operator=(const std::vector<std::string>& lines) {
    Clear();
    for (const std::string& line : lines)
        Add(TPString(const_cast<char*>(line.c_str())));
    return *this;
}

}  // namespace tn
