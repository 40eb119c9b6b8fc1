// TPList: a growable array of pointers, ten slots at a time.
#include <tnpackage/persist/TPList.h>

#include <algorithm>
#include <cstddef>
#include <new>

namespace tn {

namespace {

constexpr int kGrowth = 10;

void** NewSlots(int n) {
    return n > 0 ? new (std::nothrow) void*[static_cast<std::size_t>(n)]() : nullptr;
}

}  // namespace

TPList::TPList(int capacity) {
    Items = NewSlots(capacity);
    Capacity = Items != nullptr ? capacity : 0;
}

TPList::~TPList() {
    delete[] Items;
}

void TPList::SetCapacity(int n) {
    if (n <= Capacity) return;
    void** slots = NewSlots(n);
    if (slots == nullptr) return;
    if (Count > 0) std::copy(Items, Items + Count, slots);
    delete[] Items;
    Items = slots;
    Capacity = n;
}

int TPList::Add(void* p) {
    if (Count >= Capacity) SetCapacity(Capacity + kGrowth);
    if (Count >= Capacity) return -1;
    Items[Count] = p;
    return Count++;
}

int TPList::Add(const void* p) {
    return Add(const_cast<void*>(p));
}

int TPList::Insert(int index, void* p) {
    if (index >= Count) return Add(p);
    if (index < 0) return -1;
    if (Count >= Capacity) {
        void** slots = NewSlots(Capacity + kGrowth);
        if (slots == nullptr) return -1;
        std::copy(Items, Items + index, slots);
        std::copy(Items + index, Items + Count, slots + index + 1);
        delete[] Items;
        Items = slots;
        Capacity += kGrowth;
    } else {
        std::copy_backward(Items + index, Items + Count, Items + Count + 1);
    }
    ++Count;
    Items[index] = p;
    // The first equal pointer's index, which is not `index` when p already stood earlier.
    return IndexOf(p);
}

int TPList::Insert(int index, const void* p) {
    return Insert(index, const_cast<void*>(p));
}

void TPList::Move(int from, int to) {
    if (!Contains(from) || !Contains(to)) return;
    void* kept = Items[from];
    if (from > to) {
        std::copy_backward(Items + to, Items + from, Items + from + 1);
    } else if (from < to) {
        std::copy(Items + from + 1, Items + to + 1, Items + from);
    }
    Items[to] = kept;
}

void TPList::Swap(int a, int b) {
    if (!Contains(a) || !Contains(b)) return;
    std::swap(Items[a], Items[b]);
}

void TPList::Delete(int index) {
    if (!Contains(index)) return;
    --Count;
    std::copy(Items + index + 1, Items + Count + 1, Items + index);
    Items[Count] = nullptr;
}

void TPList::Delete(const void* p) {
    for (int i = 0; i < Count; ++i) {
        if (Items[i] == p) {
            // The vacated last slot keeps its old value, as it always did.
            std::copy(Items + i + 1, Items + Count, Items + i);
            --Count;
            return;
        }
    }
}

void TPList::Clear() {
    if (Items != nullptr) std::fill(Items, Items + Capacity, nullptr);
    Count = 0;
}

int TPList::IndexOf(const void* p) const {
    for (int i = 0; i < Count; ++i) {
        if (Items[i] == p) return i;
    }
    return -1;
}

}  // namespace tn
