#include <tnpackage/persist/TPSaveList.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "PersistTestSupport.h"

using persist_test::DeviceWindow;
using persist_test::Recorder;
using persist_test::WarningCapture;
using tn::TPSaveList;
using tn::TPSaveObject;

namespace {

// A small record class that is its own record.
struct Point : TPSaveObject {
    std::int32_t x;
    std::int32_t y;
    Point(std::int32_t ax, std::int32_t ay) : TPSaveObject(6, 24, 1), x(ax), y(ay) {}
};

std::vector<unsigned char> Le32(std::uint32_t v) {
    return {static_cast<unsigned char>(v), static_cast<unsigned char>(v >> 8),
            static_cast<unsigned char>(v >> 16), static_cast<unsigned char>(v >> 24)};
}

void Append(std::vector<unsigned char>& to, const std::vector<unsigned char>& what) {
    to.insert(to.end(), what.begin(), what.end());
}

TEST(TPSaveList, ConstructorsMakeATypeTwoRecordOf32Bytes) {
    TPSaveList list;
    EXPECT_EQ(list.Type, 2);
    EXPECT_EQ(list.Size, 32);
    EXPECT_EQ(list.Version, 1);
    EXPECT_EQ(list.State, 0x7FFF);
    EXPECT_EQ(list.Capacity, 0);
    TPSaveList sized(7);
    EXPECT_EQ(sized.Capacity, 7);
    EXPECT_EQ(sized.Size, 32);
    EXPECT_EQ(list.AddData(&sized), 0);
}

TEST(TPSaveList, SaveStreamsTableThenRecordAndComputesTheChecksumOnce) {
    DeviceWindow elements(0x00100000, 0x100);
    TPSaveList list;
    list.Add(elements.At(0x00100040));
    list.Add(elements.At(0x00100080));
    list.Add(nullptr);

    Recorder out;
    int address = 0x00200000;
    list.Save(address, out.Writer());
    EXPECT_EQ(address, 0x00200000 + 32 + 12 + 32);
    EXPECT_TRUE(out.Consecutive(0x00200000 + 32));  // the first 32 bytes are skipped
    EXPECT_EQ(list.TableAddress, 0x00100040u - 12);

    std::vector<unsigned char> payload;
    Append(payload, Le32(10));                // capacity
    Append(payload, Le32(0x00100040u - 12));  // table address
    Append(payload, Le32(3));                 // count
    Append(payload, Le32(0));                 // the word readers ignore
    const std::uint16_t crc = persist_test::XmodemReference(payload.data(), payload.size());
    EXPECT_EQ(list.CheckSum, crc);
    EXPECT_NE(crc, 0);
    EXPECT_TRUE(list.CheckSumValid());

    std::vector<unsigned char> expected;
    Append(expected, Le32(0x00100040));
    Append(expected, Le32(0x00100080));
    Append(expected, Le32(0));
    Append(expected,
           {0x5A, 0x4B, 32, 0, 2, 0, 1, 0, 0xFF, 0xFF, 0xFF, 0x7F, static_cast<unsigned char>(crc),
            static_cast<unsigned char>(crc >> 8), 0xFF, 0xFF});
    Append(expected, payload);
    EXPECT_EQ(out.Bytes(), expected);

    // A second save keeps the checksum although the payload changed.
    list.Add(elements.At(0x00100090));
    Recorder again;
    address = 0;
    list.Save(address, again.Writer());
    EXPECT_EQ(list.CheckSum, crc);
    EXPECT_FALSE(list.CheckSumValid());
    EXPECT_EQ(list.TableAddress, 0x00100040u - 16);

    // The record bytes are the last 32 handed out.
    const auto record = list.Record();
    const auto bytes = again.Bytes();
    EXPECT_TRUE(std::equal(record.begin(), record.end(), bytes.end() - 32));
}

TEST(TPSaveList, SaveOfAnEmptyListKeepsItsTableAddress) {
    TPSaveList list;
    list.TableAddress = 0x1234;
    Recorder out;
    int address = 0;
    list.Save(address, out.Writer());
    EXPECT_EQ(address, 64);
    EXPECT_EQ(out.calls.size(), 32u);
    EXPECT_EQ(list.TableAddress, 0x1234u);
}

TEST(TPSaveList, ElementsOutsideEveryWindowGetNoAddressAndAWarning) {
    WarningCapture warnings;
    Point host(1, 2);
    TPSaveList list;
    list.Add(&host);
    EXPECT_EQ(list.Entry(0), 0u);
    EXPECT_EQ(list.Entry(5), 0u);
    EXPECT_EQ(list.Entry(-1), 0u);
    ASSERT_EQ(warnings.Texts().size(), 1u);
    Recorder out;
    int address = 0;
    list.Save(address, out.Writer());
    EXPECT_EQ(warnings.Texts().size(), 2u);  // one warning per operation
    const auto bytes = out.Bytes();
    EXPECT_EQ(std::vector<unsigned char>(bytes.begin(), bytes.begin() + 4), Le32(0));
}

TEST(TPSaveList, SaveToMemoryWritesTableAnd28RecordBytesWithoutAChecksum) {
    DeviceWindow elements(0x00300000, 0x40);
    TPSaveList list;
    list.Add(elements.At(0x00300010));
    list.Add(elements.At(0x00300020));
    std::vector<char> memory(64, '\x77');
    char* cursor = memory.data();
    char* start = list.Save(cursor);
    EXPECT_EQ(start, memory.data());
    EXPECT_EQ(cursor, memory.data() + 4 * 2 + 28);
    EXPECT_EQ(list.CheckSum, 0);
    std::vector<unsigned char> expected;
    Append(expected, Le32(0x00300010));
    Append(expected, Le32(0x00300020));
    const auto record = list.Record();
    expected.insert(expected.end(), record.begin(), record.begin() + 28);
    EXPECT_EQ(std::vector<unsigned char>(memory.begin(), memory.begin() + 36), expected);
    EXPECT_EQ(memory[36], '\x77');

    char* none = nullptr;
    EXPECT_EQ(list.Save(none), nullptr);

    char record32[32];
    list.Saving(record32);
    EXPECT_NE(list.CheckSum, 0);
    EXPECT_EQ(std::memcmp(record32, list.Record().data(), 32), 0);
}

TEST(TPSaveList, CopyBuildsASelfContainedImage) {
    WarningCapture warnings;
    DeviceWindow foreign(0x00500000, 0x10, 0xEE);
    DeviceWindow image(0x00400000, 0x100);
    Point a(10, -20);
    Point b(30, 40);
    TPSaveList list;
    list.Add(&a);
    list.Add(foreign.At(0x00500004));  // not a record: only referred to
    list.Add(&b);
    list.Add(nullptr);

    int address = 0x00400000;
    list.Copy(address, image.Writer());
    const std::uint32_t table = 0x00400000 + 32;
    const std::uint32_t first = table + 4 * 4;
    EXPECT_EQ(address, static_cast<int>(first + 24 + 24));
    EXPECT_TRUE(warnings.Texts().empty());

    // The copy refers to its own table; the list itself is unchanged.
    EXPECT_EQ(image.Le32(0x00400000 + 20), table);
    EXPECT_EQ(list.TableAddress, 0u);
    EXPECT_EQ(image.Le32(table + 0), first);
    EXPECT_EQ(image.Le32(table + 4), 0x00500004u);
    EXPECT_EQ(image.Le32(table + 8), first + 24);
    EXPECT_EQ(image.Le32(table + 12), 0u);
    EXPECT_EQ(std::memcmp(image.At(first), &a, 24), 0);
    EXPECT_EQ(std::memcmp(image.At(first + 24), &b, 24), 0);
    // The record's other bytes are the list's, checksum included.
    const auto record = list.Record();
    EXPECT_NE(list.CheckSum, 0);
    EXPECT_EQ(std::memcmp(image.At(0x00400000), record.data(), 20), 0);
    EXPECT_EQ(std::memcmp(image.At(0x00400000 + 24), record.data() + 24, 8), 0);
}

TEST(TPSaveList, CopyIntoUnmappedMemoryWarnsInsteadOfWriting) {
    WarningCapture warnings;
    Point a(1, 2);
    TPSaveList list;
    list.Add(&a);
    Recorder out;
    int address = 0x00700000;  // nothing is mapped here
    list.Copy(address, out.Writer());
    EXPECT_EQ(out.calls.size(), 32u + 24u);
    EXPECT_FALSE(warnings.Texts().empty());
}

// A table of three entries (one null) standing at `at`.
void PutTable(DeviceWindow& w, std::uint32_t at, std::uint32_t e0, std::uint32_t e2) {
    w.PutLe32(at, e0);
    w.PutLe32(at + 4, 0);
    w.PutLe32(at + 8, e2);
}

TEST(TPSaveList, SetOffsetMovesTheTableFirstAndReadsItThere) {
    DeviceWindow w(0x00600000, 0x200);
    // The old place holds one table, the new place another: only the new one changes.
    PutTable(w, 0x00600000, 0x00600100, 0x00600110);
    PutTable(w, 0x00600040, 0x00600100, 0x00600120);
    TPSaveList list;
    for (int i = 0; i < 3; ++i)
        list.Add(nullptr);
    list.TableAddress = 0x00600000;
    list.SetOffset(0x40);
    EXPECT_EQ(list.TableAddress, 0x00600040u);
    EXPECT_EQ(w.Le32(0x00600040), 0x00600140u);
    EXPECT_EQ(w.Le32(0x00600044), 0u);  // null stays null
    EXPECT_EQ(w.Le32(0x00600048), 0x00600160u);
    EXPECT_EQ(w.Le32(0x00600000), 0x00600100u);  // the old table is untouched
    // The list reaches its elements again, through the window.
    EXPECT_EQ(list.Items[0], w.At(0x00600140));
    EXPECT_EQ(list.Items[1], nullptr);
    EXPECT_EQ(list.Items[2], w.At(0x00600160));
}

TEST(TPSaveList, SetExternOffsetChangesTheTableWhereItIsThenMovesIt) {
    DeviceWindow w(0x00600000, 0x200);
    PutTable(w, 0x00600000, 0x00600100, 0x00600110);
    PutTable(w, 0x00600040, 0x00600100, 0x00600120);
    int marker = 0;
    TPSaveList list;
    for (int i = 0; i < 3; ++i)
        list.Add(&marker);
    list.TableAddress = 0x00600000;
    list.SetExternOffset(0x1000);
    EXPECT_EQ(list.TableAddress, 0x00601000u);
    EXPECT_EQ(w.Le32(0x00600000), 0x00601100u);
    EXPECT_EQ(w.Le32(0x00600004), 0u);
    EXPECT_EQ(w.Le32(0x00600008), 0x00601110u);
    EXPECT_EQ(w.Le32(0x00600040), 0x00600100u);  // the other table is untouched
    EXPECT_EQ(list.Items[0], &marker);           // the local list stays usable

    // Negative deltas wrap as 32-bit addresses do.
    list.TableAddress = 0x00600000;
    list.SetExternOffset(-0x1000);
    EXPECT_EQ(w.Le32(0x00600000), 0x00600100u);
    EXPECT_EQ(list.TableAddress, 0x005FF000u);
}

TEST(TPSaveList, RelocationWithoutATableOrWithAnUnmappedOneChangesNothing) {
    WarningCapture warnings;
    TPSaveList list;
    list.Add(nullptr);
    list.SetOffset(0x100);
    list.SetExternOffset(0x100);
    EXPECT_EQ(list.TableAddress, 0u);
    EXPECT_TRUE(warnings.Texts().empty());

    list.TableAddress = 0x00900000;  // maps nowhere
    list.SetOffset(0x10);
    EXPECT_EQ(list.TableAddress, 0x00900000u);
    list.SetExternOffset(0x10);
    EXPECT_EQ(list.TableAddress, 0x00900000u);
    ASSERT_EQ(warnings.Texts().size(), 2u);
    EXPECT_EQ(warnings.Texts()[0],
              "TPSaveList: Tabelle bei 0x00900010 liegt in keinem Ger\xE4tespeicher");
    EXPECT_EQ(warnings.Texts()[1],
              "TPSaveList: Tabelle bei 0x00900000 liegt in keinem Ger\xE4tespeicher");

    // An empty list only moves its address.
    TPSaveList empty;
    empty.TableAddress = 0x00900000;
    empty.SetOffset(0x10);
    empty.SetExternOffset(0x10);
    EXPECT_EQ(empty.TableAddress, 0x00900020u);
    EXPECT_EQ(warnings.Texts().size(), 2u);
}

TEST(TPSaveList, SaveThenSetOffsetRestoresAUsableList) {
    // Elements saved into an image; the list saved behind them with its table in front of its
    // record; relocating the table to where it really stands makes the list usable again.
    DeviceWindow image(0x00800000, 0x200);
    Point a(1, 2);
    Point b(3, 4);
    int address = 0x00800000;
    a.Save(address, image.Writer());
    b.Save(address, image.Writer());
    TPSaveList list;
    list.Add(image.At(0x00800000));
    list.Add(image.At(0x00800018));
    const int listStart = address;
    list.Save(address, image.Writer());
    const std::uint32_t tableAt = static_cast<std::uint32_t>(listStart) + 32;
    EXPECT_EQ(list.TableAddress, 0x00800000u - 8);
    list.SetOffset(static_cast<int>(tableAt - list.TableAddress));
    EXPECT_EQ(list.TableAddress, tableAt);
    // The delta was also added to the entries: they now point past the elements by that much,
    // exactly as the table arithmetic of the format does.
    EXPECT_EQ(image.Le32(tableAt), 0x00800000u + (tableAt - (0x00800000u - 8)));
}

}  // namespace
