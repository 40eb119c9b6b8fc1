#include <tnpackage/persist/TPSaveList.h>
#include <tnpackage/time/Clock.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <iterator>

#include "support/DeviceWindow.h"
#include "support/Scratch.h"
#include "support/WarningCapture.h"

using tn::TPSaveList;
using tn::test::DeviceWindow;
using Bytes = std::vector<unsigned char>;

namespace {

struct Point : tn::TPSaveObject {
    std::int32_t x = 1, y = 2;
    Point() : TPSaveObject(6, 24, 1) {}
};

// `prefix`, then little-endian words.
Bytes Le32s(std::initializer_list<std::uint32_t> words, Bytes prefix = {}) {
    for (std::uint32_t v : words)
        for (int i = 0; i < 4; ++i)
            prefix.push_back(static_cast<unsigned char>(v >> (8 * i)));
    return prefix;
}
// Header words of a fresh list record: "ZK" and size 32, type 2 and version 1, stride unset and
// live. Its checksums below are binascii.crc_hqx of the payload.
constexpr std::uint32_t kZk32 = 0x00204B5A, kType2 = 0x00010002, kLive = 0x7FFFFFFF;

TEST(TPSaveList, SaveSkipsItsRecordThenStreamsTableAndRecord) {
    DeviceWindow elements(0x00100000, 0x100), out(0x00200000, 0x100, 0xEE);
    TPSaveList list, empty;
    for (void* p : std::vector<void*>{elements.At(0x00100040), elements.At(0x00100080), nullptr})
        list.Add(p);
    int address = 0x00200000;
    list.Save(address, out.Writer());
    EXPECT_EQ(list.TableAddress, 0x00100034u);  // where the table stands before element 0
    EXPECT_EQ(
        out.Range(0x00200000, 0x00200000 + 32 + 12 + 32),
        Le32s({0x00100040, 0x00100080, 0, kZk32, kType2, kLive, 0xFFFF592B, 10, 0x00100034, 3, 0},
              Bytes(32, 0xEE)));
    list.Add(elements.At(0x00100090));  // a second save keeps the now stale checksum
    list.Save(address, out.Writer());
    EXPECT_EQ(list.CheckSum, 0x592B);
    EXPECT_EQ(list.TableAddress, 0x00100030u);
    empty.TableAddress = 0x1234;  // no table: only the record, and the table address stays
    address = 0x00200000;
    empty.Save(address, out.Writer());
    EXPECT_EQ(address, 0x00200040);
    EXPECT_EQ(empty.TableAddress, 0x1234u);
}

TEST(TPSaveList, SaveToMemoryWritesTableAnd28RecordBytesWithoutAChecksum) {
    DeviceWindow elements(0x00300000, 0x40);
    TPSaveList list;
    list.Add(elements.At(0x00300010));
    list.Add(elements.At(0x00300020));
    std::vector<char> memory(64, '\x77');
    char *cursor = memory.data(), *none = nullptr;
    EXPECT_EQ(list.Save(cursor), memory.data());
    EXPECT_EQ(cursor, memory.data() + 4 * 2 + 28);
    EXPECT_EQ(
        Bytes(memory.begin(), memory.begin() + 40),
        Le32s({0x00300010, 0x00300020, kZk32, kType2, kLive, 0xFFFF0000, 10, 0, 2, 0x77777777}));
    EXPECT_EQ(list.Save(none), nullptr);
    list.Saving(memory.data());  // the record alone, checksum computed
    EXPECT_EQ(Bytes(memory.begin(), memory.begin() + 32),
              Le32s({kZk32, kType2, kLive, 0xFFFFDE4A, 10, 0, 2, 0}));
}

TEST(TPSaveList, CopyBuildsASelfContainedImage) {
    tn::test::WarningCapture warnings;
    DeviceWindow foreign(0x00500000, 0x10, 0xEE), image(0x00400000, 0x100);
    Point a, b;
    b.x = 30;
    TPSaveList list;  // the foreign entry is not a record: it is only referred to
    for (void* p : std::vector<void*>{&a, foreign.At(0x00500004), &b, nullptr})
        list.Add(p);
    int address = 0x00400000;
    list.Copy(address, image.Writer());
    const std::uint32_t table = 0x00400020, first = table + 16;
    EXPECT_EQ(address, static_cast<int>(first + 2 * 24));
    EXPECT_EQ(list.TableAddress, 0u);  // only the copy refers to its table
    // The checksum was computed before the copy's table address was set.
    EXPECT_EQ(image.Range(0x00400000, first), Le32s({kZk32, kType2, kLive, 0xFFFF5E81, 10, table, 4,
                                                     0, first, 0x00500004, first + 24, 0}));
    EXPECT_EQ(std::memcmp(image.At(first), &a, 24) | std::memcmp(image.At(first + 24), &b, 24), 0);
    EXPECT_TRUE(warnings.Texts().empty());
    int handed = 0;  // into memory that maps nowhere: records handed out, no table written
    address = 0x00700000;
    list.Copy(address, [&](int, char) { ++handed; });
    EXPECT_EQ(handed, 32 + 2 * 24);
    EXPECT_FALSE(warnings.Texts().empty());
}

TEST(TPSaveList, ElementsOutsideEveryWindowGetNoAddressAndAWarning) {
    tn::test::WarningCapture warnings;
    Point host;
    TPSaveList list;
    list.Add(&host);
    EXPECT_EQ(list.Entry(0) | list.Entry(5) | list.Entry(-1), 0u);
    EXPECT_EQ(warnings.Texts().size(), 1u);  // for the element, not for the indices
}

TEST(TPSaveList, RelocationInBothOrdersLeavesNullEntriesNull) {
    DeviceWindow w(0x00600000, 0x200);  // the lists' table at 0x600000, another at 0x600040
    Bytes tables = Le32s({0x00600100, 0, 0x00600110});
    tables.resize(0x40);
    tables = Le32s({0x00600100, 0, 0x00600120}, tables);
    std::memcpy(w.At(0x00600000), tables.data(), tables.size());
    auto table = [&](std::uint32_t at) { return w.Range(at, at + 12); };
    TPSaveList moved, prepared;
    for (int i = 0; i < 3; ++i) {
        moved.Add(nullptr);
        prepared.Add(&w);
    }
    moved.TableAddress = prepared.TableAddress = 0x00600000;

    moved.SetOffset(0x40);  // the table already stands at the new place: changed there
    EXPECT_EQ(moved.TableAddress, 0x00600040u);
    EXPECT_EQ(table(0x00600040), Le32s({0x00600140, 0, 0x00600160}));
    EXPECT_EQ(table(0x00600000), Le32s({0x00600100, 0, 0x00600110}));
    EXPECT_EQ(std::vector<void*>(moved.Items, moved.Items + 3),
              (std::vector<void*>{w.At(0x00600140), nullptr, w.At(0x00600160)}));
    prepared.SetExternOffset(-0x1000);  // changed where it is, for an image placed elsewhere
    EXPECT_EQ(prepared.TableAddress, 0x005FF000u);
    EXPECT_EQ(table(0x00600000), Le32s({0x005FF100, 0, 0x005FF110}));
    EXPECT_EQ(prepared.Items[1], &w);  // the local list stays usable
}

TEST(TPSaveList, RelocationWithoutATableOrWithAnUnmappedOneChangesNothing) {
    tn::test::WarningCapture warnings;
    TPSaveList list, empty;  // an empty list only moves its address
    list.Add(nullptr);
    for (std::uint32_t at : {0u, 0x00900000u}) {
        list.TableAddress = empty.TableAddress = at;
        for (TPSaveList* l : {&list, &empty}) {
            l->SetOffset(0x10);
            l->SetExternOffset(0x10);
        }
        EXPECT_EQ(list.TableAddress, at);
    }
    EXPECT_EQ(empty.TableAddress, 0x00900020u);
    const std::string where = " liegt in keinem Ger\xE4tespeicher";
    EXPECT_EQ(warnings.Texts(),
              (std::vector<std::string>{"TPSaveList: Tabelle bei 0x00900010" + where,
                                        "TPSaveList: Tabelle bei 0x00900000" + where}));
}

TEST(TPSaveList, SaveHeaderWrites512Bytes) {
    const std::string path = (tn::test::ScratchFolder() / "header.bin").string();
    const int file = ::open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0644);
    Bytes buffer(600, 0x11);
    const auto previousTimer = tn::ZehntelTimer;  // the clock at 31 Dec 2011 23:59:50 + 8 s
    const tn::TPDateTime previousReset = tn::ResetTime;
    tn::ResetTime = tn::TPDateTime(31, 12, 2011) + tn::TPDateTime(23, 59, 50, 0);
    tn::ZehntelTimer = 80;
    EXPECT_EQ(TPSaveList().SaveHeader(file, buffer.data(), -2, "Segelflug"), 512);
    tn::ZehntelTimer = previousTimer;
    tn::ResetTime = previousReset;
    ::close(file);
    // 512, the value, the moment as a FAT date (seconds / 2, minute, hour, day, month,
    // year - 1980), 0xFF, the text with its NUL, 0xFF to the end; nothing beyond.
    Bytes expected = Le32s(
        {512, 0xFFFFFFFE, 29 | 59 << 5 | 23 << 11 | 31 << 16 | 12 << 21 | 31 << 25, 0xFFFFFFFF});
    expected.insert(expected.end(), {'S', 'e', 'g', 'e', 'l', 'f', 'l', 'u', 'g', 0});
    expected.resize(512, 0xFF);
    std::ifstream in(path, std::ios::binary);
    EXPECT_EQ(Bytes(std::istreambuf_iterator<char>(in), {}), expected);
    expected.push_back(0x11);
    EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + 513), expected);
    // A text too long for the header is cut before its end; a bad handle gives -1.
    EXPECT_EQ(TPSaveList().SaveHeader(-1, buffer.data(), 0, std::string(600, 'x').c_str()), -1);
    EXPECT_EQ(Bytes(buffer.begin() + 510, buffer.begin() + 512), (Bytes{'x', 0}));
}

}  // namespace
