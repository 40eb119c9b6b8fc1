#include <tnpackage/persist/TPList.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

using Ids = std::vector<std::ptrdiff_t>;
int slots[32];

void Fill(tn::TPList& list, int n) {
    for (int i = 0; i < n; ++i)
        list.Add(&slots[i]);
}
Ids Entries(const tn::TPList& list) {  // as slot numbers
    Ids out;
    for (int i = 0; i < list.Count; ++i)
        out.push_back(static_cast<int*>(list.Items[i]) - slots);
    return out;
}

TEST(TPList, GrowsByTenSlotsAndInsertsInOrder) {
    tn::TPList empty, one, eleven, five(5), full(4);
    Fill(one, 1);
    Fill(eleven, 11);
    Fill(five, 5);
    EXPECT_EQ(five.Add(&slots[5]), 5);
    EXPECT_EQ((Ids{empty.Capacity, one.Capacity, eleven.Capacity, five.Capacity}),
              (Ids{0, 10, 20, 15}));
    Fill(full, 4);  // inserting into a full list grows it by ten and keeps the order
    EXPECT_EQ(full.Insert(2, &slots[9]), 2);
    EXPECT_EQ(full.Capacity, 14);
    EXPECT_EQ(full.Insert(0, &slots[8]), 0);
    // At or past the end it appends; a pointer already standing earlier answers that index.
    EXPECT_EQ(full.Insert(full.Count, &slots[10]), 6);
    EXPECT_EQ(full.Insert(full.Count + 7, &slots[11]), 7);
    EXPECT_EQ(full.Insert(3, &slots[0]), 1);
    EXPECT_EQ(Entries(full), (Ids{8, 0, 1, 0, 9, 2, 3, 10, 11}));
}

TEST(TPList, MoveSwapDeleteAndClear) {
    tn::TPList list;
    Fill(list, 5);
    list.Move(4, 1);
    EXPECT_EQ(Entries(list), (Ids{0, 4, 1, 2, 3}));
    list.Move(1, 4);
    EXPECT_EQ(Entries(list), (Ids{0, 1, 2, 3, 4}));
    list.Swap(0, 4);
    list.Delete(1);
    EXPECT_EQ(list.Items[4], nullptr);  // Delete(int) clears the vacated slot ...
    list.Add(&slots[2]);
    list.Delete(&slots[2]);  // ... Delete(p) removes the first occurrence and leaves the slot
    list.Delete(&slots[7]);
    EXPECT_EQ(Entries(list), (Ids{4, 3, 0, 2}));
    EXPECT_EQ(list.Items[4], &slots[2]);
    EXPECT_EQ(list.IndexOf(&slots[7]), -1);
    list.Clear();
    EXPECT_EQ(std::vector<void*>(list.Items, list.Items + 10), std::vector<void*>(10));
    EXPECT_EQ(list.Add(&slots[5]), 0);

    // Out-of-range arguments change nothing.
    for (auto [from, to] : {std::pair{-1, 0}, {0, 1}, {0, -2}}) {
        list.Move(from, to);
        list.Swap(from, to);
        list.Delete(from + to);
    }
    list.SetCapacity(2);
    EXPECT_EQ(list.Insert(-1, &slots[9]), -1);
    EXPECT_EQ(Entries(list), (Ids{5}));
    EXPECT_EQ(list.Capacity, 10);
    tn::TPList negative(-3);
    EXPECT_EQ((Ids{negative.Capacity, negative.Add(&slots[1])}), (Ids{0, 0}));
}

}  // namespace
