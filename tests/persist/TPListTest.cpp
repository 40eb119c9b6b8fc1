#include <tnpackage/persist/TPList.h>

#include <gtest/gtest.h>

#include <vector>

using tn::TPList;

namespace {

// Distinct pointers to put into lists.
int slots[64];
void* P(int i) {
    return &slots[i];
}

std::vector<void*> Entries(const TPList& list) {
    return std::vector<void*>(list.Items, list.Items + list.Count);
}

TEST(TPList, StartsAsADefaultObjectAndGrowsByTenSlots) {
    TPList list;
    EXPECT_EQ(list.Magic, 0x4B5A);
    EXPECT_EQ(list.Type, 0);
    EXPECT_EQ(list.Size, 8);
    EXPECT_EQ(list.Version, 1);
    EXPECT_EQ(list.State, 0x7FFF);
    EXPECT_EQ(list.CheckSum, 0);
    EXPECT_EQ(list.Capacity, 0);
    EXPECT_EQ(list.Items, nullptr);
    EXPECT_EQ(list.Count, 0);

    const int expected[] = {10, 20, 30};
    int added = 0;
    for (int target : {1, 11, 21}) {
        for (; added < target; ++added)
            EXPECT_EQ(list.Add(P(added)), added);
        EXPECT_EQ(list.Capacity, expected[(target - 1) / 10]);
    }
    for (int i = 0; i < added; ++i)
        EXPECT_EQ(list.Items[i], P(i));

    TPList five(5);
    EXPECT_EQ(five.Capacity, 5);
    for (int i = 0; i < 6; ++i)
        five.Add(P(i));
    EXPECT_EQ(five.Capacity, 15);
    EXPECT_EQ(five.Count, 6);

    TPList constant;
    const int value = 3;
    EXPECT_EQ(constant.Add(static_cast<const void*>(&value)), 0);
    EXPECT_EQ(constant.IndexOf(&value), 0);
}

TEST(TPList, InsertAppendsAtOrPastTheEndAndAnswersWithTheFirstOccurrence) {
    TPList list;
    for (int i = 0; i < 4; ++i)
        list.Add(P(i));
    EXPECT_EQ(list.Insert(list.Count, P(10)), 4);
    EXPECT_EQ(list.Insert(list.Count + 7, P(11)), 5);
    EXPECT_EQ(Entries(list), (std::vector<void*>{P(0), P(1), P(2), P(3), P(10), P(11)}));

    // P(0) already stands at index 0: inserting it at 3 answers 0.
    EXPECT_EQ(list.Insert(3, P(0)), 0);
    EXPECT_EQ(Entries(list), (std::vector<void*>{P(0), P(1), P(2), P(0), P(3), P(10), P(11)}));
    EXPECT_EQ(list.Insert(1, P(20)), 1);
}

TEST(TPList, InsertIntoAFullListGrowsByTenAndKeepsTheOrder) {
    TPList list(4);
    for (int i = 0; i < 4; ++i)
        list.Add(P(i));
    ASSERT_EQ(list.Capacity, list.Count);
    EXPECT_EQ(list.Insert(2, P(9)), 2);
    EXPECT_EQ(list.Capacity, 14);
    EXPECT_EQ(Entries(list), (std::vector<void*>{P(0), P(1), P(9), P(2), P(3)}));
    EXPECT_EQ(list.Insert(0, P(8)), 0);
    EXPECT_EQ(Entries(list), (std::vector<void*>{P(8), P(0), P(1), P(9), P(2), P(3)}));
}

TEST(TPList, MoveSwapAndDeleteShiftTheRightEntries) {
    TPList list;
    for (int i = 0; i < 5; ++i)
        list.Add(P(i));
    list.Move(4, 1);
    EXPECT_EQ(Entries(list), (std::vector<void*>{P(0), P(4), P(1), P(2), P(3)}));

    TPList other;
    for (int i = 0; i < 5; ++i)
        other.Add(P(i));
    other.Move(1, 4);
    EXPECT_EQ(Entries(other), (std::vector<void*>{P(0), P(2), P(3), P(4), P(1)}));
    other.Move(2, 2);
    other.Swap(0, 4);
    EXPECT_EQ(Entries(other), (std::vector<void*>{P(1), P(2), P(3), P(4), P(0)}));

    other.Delete(1);
    EXPECT_EQ(Entries(other), (std::vector<void*>{P(1), P(3), P(4), P(0)}));
    EXPECT_EQ(other.Items[4], nullptr);  // the vacated slot is cleared
}

TEST(TPList, DeleteByPointerRemovesOnlyTheFirstOccurrence) {
    TPList list;
    for (void* p : {P(0), P(1), P(2), P(1), P(3)})
        list.Add(p);
    list.Delete(P(1));
    EXPECT_EQ(Entries(list), (std::vector<void*>{P(0), P(2), P(1), P(3)}));
    EXPECT_EQ(list.Items[4], P(3));  // the vacated slot keeps its old value
    list.Delete(P(7));
    EXPECT_EQ(list.Count, 4);
    EXPECT_EQ(list.IndexOf(P(7)), -1);
    EXPECT_EQ(list.IndexOf(P(1)), 2);
}

TEST(TPList, ClearKeepsTheCapacity) {
    TPList list;
    for (int i = 0; i < 12; ++i)
        list.Add(P(i));
    list.Clear();
    EXPECT_EQ(list.Count, 0);
    EXPECT_EQ(list.Capacity, 20);
    for (int i = 0; i < list.Capacity; ++i)
        EXPECT_EQ(list.Items[i], nullptr);
    EXPECT_EQ(list.Add(P(5)), 0);
    TPList empty;
    empty.Clear();
    EXPECT_EQ(empty.Items, nullptr);
}

TEST(TPList, OutOfRangeArgumentsChangeNothing) {
    TPList list;
    for (int i = 0; i < 3; ++i)
        list.Add(P(i));
    const auto before = Entries(list);
    list.Move(-1, 1);
    list.Move(0, 3);
    list.Swap(0, 3);
    list.Swap(-2, 1);
    list.Delete(3);
    list.Delete(-1);
    EXPECT_EQ(list.Insert(-1, P(9)), -1);
    list.SetCapacity(2);
    list.SetCapacity(-5);
    EXPECT_EQ(Entries(list), before);
    EXPECT_EQ(list.Capacity, 10);

    TPList empty;
    empty.Delete(0);
    EXPECT_EQ(empty.Count, 0);
    TPList negative(-3);
    EXPECT_EQ(negative.Capacity, 0);
    EXPECT_EQ(negative.Add(P(1)), 0);
}

TEST(TPList, DeleteWithoutArgumentsIsTheRecordDeletion) {
    TPList list;
    list.Add(P(1));
    list.Delete();  // a list in ordinary memory: nothing happens
    EXPECT_EQ(list.Count, 1);
    EXPECT_EQ(list.State, 0x7FFF);
}

}  // namespace
