// The registry of mounted volumes: lookup by letter, ownership, and the read-back of a hit from
// the global registry.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include "support/WarningCapture.h"

namespace {

// A volume over no medium: it exists, has no FAT, and reports that once.
tn::TPVolumeFAT* Inert(char letter) {
    return new tn::TPVolumeFAT(nullptr, letter, 0);
}

TEST(TP_FATList, SearchAddDeleteAndTheGlobalReadBack) {
    tn::test::WarningCapture warnings;
    auto* list = new tn::TP_FATList();
    tn::TPVolumeFAT* a = Inert('A');
    tn::TPVolumeFAT* f = Inert('F');
    EXPECT_EQ(list->Add(a), 0);
    EXPECT_EQ(list->Add(static_cast<const void*>(f)), 1);

    // Hits are read back from the global registry; without it nothing is found.
    tn::TP_FATList* saved = tn::FATList;
    tn::FATList = nullptr;
    EXPECT_EQ(list->Search('A'), nullptr);
    tn::FATList = list;
    EXPECT_EQ(list->Search('A'), a);
    EXPECT_EQ(list->Search('F'), f);
    EXPECT_EQ(list->Search('a'), nullptr);  // exact, case-sensitive
    EXPECT_EQ(list->Search('C'), nullptr);
    EXPECT_EQ(a->VolumeString(), "A:\\");
    EXPECT_FALSE(list->ForceDirectories('C', "X"));
    EXPECT_FALSE(list->ForceDirectories('A', "X"));  // no FAT on that medium

    // Another list searched: its index i is read from the global one.
    tn::TP_FATList other;
    tn::TPVolumeFAT* g = Inert('G');
    other.Add(g);
    EXPECT_EQ(other.Search('G'), a);
    tn::FATList = &other;
    EXPECT_EQ(list->Search('F'), nullptr);  // index 1 is past the global's end
    tn::FATList = list;

    list->Delete(static_cast<void*>(&other));  // not registered: nothing
    EXPECT_EQ(list->Count, 2);
    list->Delete(a);
    EXPECT_EQ(list->Count, 1);
    EXPECT_EQ(list->Search('F'), f);
    EXPECT_EQ(tn::TPVolumeFAT::GetSectorSize(nullptr), 512);
    delete list;  // destroys f
    tn::FATList = saved;
}

}  // namespace
