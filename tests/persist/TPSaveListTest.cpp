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
using tn::test::WarningCapture;
using Bytes = std::vector<unsigned char>;

namespace {

struct Point : tn::TPSaveObject {
    std::int32_t x, y;
    Point(std::int32_t ax, std::int32_t ay) : TPSaveObject(6, 24, 1), x(ax), y(ay) {}
};

// `prefix`, then little-endian words.
Bytes Le32s(std::initializer_list<std::uint32_t> words, Bytes prefix = {}) {
    for (std::uint32_t v : words)
        for (int i = 0; i < 4; ++i)
            prefix.push_back(static_cast<unsigned char>(v >> (8 * i)));
    return prefix;
}
auto Into(Bytes& out) {
    return [&out](int, char b) { out.push_back(static_cast<unsigned char>(b)); };
}
// Header words of a fresh list record: "ZK" and size 32, type 2 and version 1, stride unset and
// state live.
constexpr std::uint32_t kZk32 = 0x00204B5A, kType2 = 0x00010002, kLive = 0x7FFFFFFF;

TEST(TPSaveList, SaveSkipsItsRecordThenStreamsTableAndRecord) {
    DeviceWindow elements(0x00100000, 0x100), out(0x00200000, 0x100, 0xEE);
    TPSaveList list;
    for (void* p : std::vector<void*>{elements.At(0x00100040), elements.At(0x00100080), nullptr})
        list.Add(p);
    int address = 0x00200000;
    list.Save(address, out.Writer());
    EXPECT_EQ(list.TableAddress, 0x00100034u);  // where the table stands before element 0
    // 32 bytes untouched, the table, the record: 0x592B is binascii.crc_hqx of its payload.
    EXPECT_EQ(
        out.Range(0x00200000, static_cast<std::uint32_t>(address)),
        Le32s({0x00100040, 0x00100080, 0, kZk32, kType2, kLive, 0xFFFF592B, 10, 0x00100034, 3, 0},
              Bytes(32, 0xEE)));
    list.Add(elements.At(0x00100090));  // a second save keeps the now stale checksum
    list.Save(address, out.Writer());
    EXPECT_EQ(list.CheckSum, 0x592B);
    EXPECT_FALSE(list.CheckSumValid());
    EXPECT_EQ(list.TableAddress, 0x00100030u);

    TPSaveList empty;  // no table: only the record, and the table address stays
    empty.TableAddress = 0x1234;
    Bytes got;
    address = 0;
    empty.Save(address, Into(got));
    EXPECT_EQ(address + static_cast<int>(got.size()), 64 + 32);
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
    char record[32];
    list.Saving(record);  // the record alone, checksum computed
    EXPECT_TRUE(list.CheckSumValid());
    const auto encoded = list.Record();
    EXPECT_EQ(Bytes(record, record + 32), Bytes(encoded.begin(), encoded.end()));
}

TEST(TPSaveList, CopyBuildsASelfContainedImage) {
    WarningCapture warnings;
    DeviceWindow foreign(0x00500000, 0x10, 0xEE), image(0x00400000, 0x100);
    Point a(10, -20), b(30, 40);
    TPSaveList list;  // the foreign entry is not a record: it is only referred to
    for (void* p : std::vector<void*>{&a, foreign.At(0x00500004), &b, nullptr})
        list.Add(p);
    int address = 0x00400000;
    list.Copy(address, image.Writer());
    const std::uint32_t table = 0x00400020, first = table + 16;
    EXPECT_EQ(address, static_cast<int>(first + 2 * 24));
    EXPECT_TRUE(warnings.Texts().empty());
    EXPECT_EQ(list.TableAddress, 0u);  // only the copy refers to its table
    EXPECT_TRUE(list.CheckSumValid());
    const auto encoded = list.Record();
    Bytes record(encoded.begin(), encoded.end());
    std::memcpy(&record[20], &table, 4);
    EXPECT_EQ(image.Range(0x00400000, first), Le32s({first, 0x00500004, first + 24, 0}, record));
    EXPECT_EQ(std::memcmp(image.At(first), &a, 24) | std::memcmp(image.At(first + 24), &b, 24), 0);

    Bytes got;  // into memory that maps nowhere: records handed out, no table written
    address = 0x00700000;
    list.Copy(address, Into(got));
    EXPECT_EQ(got.size(), 32u + 2 * 24);
    EXPECT_FALSE(warnings.Texts().empty());
}

TEST(TPSaveList, ElementsOutsideEveryWindowGetNoAddressAndAWarning) {
    WarningCapture warnings;
    Point host(1, 2);
    TPSaveList list;
    list.Add(&host);
    EXPECT_EQ(list.Entry(0) | list.Entry(5) | list.Entry(-1), 0u);
    EXPECT_EQ(warnings.Texts().size(), 1u);
    Bytes got;
    int address = 0;
    list.Save(address, Into(got));
    EXPECT_EQ(warnings.Texts().size(), 2u);  // one warning per operation
    EXPECT_EQ(Bytes(got.begin(), got.begin() + 4), Bytes(4, 0));
}

// Two tables of three entries, the middle one null: the list's at 0x600000, another at 0x600040.
class Relocation : public testing::Test {
  protected:
    DeviceWindow w{0x00600000, 0x200};
    TPSaveList list;
    void SetUp() override {
        Bytes tables = Le32s({0x00600100, 0, 0x00600110});
        tables.resize(0x40);
        tables = Le32s({0x00600100, 0, 0x00600120}, tables);
        std::memcpy(w.At(0x00600000), tables.data(), tables.size());
        for (int i = 0; i < 3; ++i)
            list.Add(nullptr);
        list.TableAddress = 0x00600000;
    }
    Bytes Table(std::uint32_t at) { return w.Range(at, at + 12); }
};

TEST_F(Relocation, SetOffsetMovesTheTableFirstAndChangesItThere) {
    list.SetOffset(0x40);
    EXPECT_EQ(list.TableAddress, 0x00600040u);
    EXPECT_EQ(Table(0x00600040), Le32s({0x00600140, 0, 0x00600160}));
    EXPECT_EQ(Table(0x00600000), Le32s({0x00600100, 0, 0x00600110}));
    const std::vector<void*> items(list.Items, list.Items + 3);
    EXPECT_EQ(items, (std::vector<void*>{w.At(0x00600140), nullptr, w.At(0x00600160)}));
}

TEST_F(Relocation, SetExternOffsetChangesTheTableWhereItIsThenMovesIt) {
    list.Items[0] = &list;
    list.SetExternOffset(0x1000);
    EXPECT_EQ(list.TableAddress, 0x00601000u);
    EXPECT_EQ(Table(0x00600000), Le32s({0x00601100, 0, 0x00601110}));
    EXPECT_EQ(Table(0x00600040), Le32s({0x00600100, 0, 0x00600120}));
    EXPECT_EQ(list.Items[0], &list);  // the local list stays usable
    list.TableAddress = 0x00600000;
    list.SetExternOffset(-0x1000);  // negative deltas wrap as 32-bit addresses do
    EXPECT_EQ(Table(0x00600000), Le32s({0x00600100, 0, 0x00600110}));
    EXPECT_EQ(list.TableAddress, 0x005FF000u);
}

TEST_F(Relocation, WithoutATableOrWithAnUnmappedOneNothingChanges) {
    WarningCapture warnings;
    TPSaveList empty;  // an empty list only moves its address
    for (std::uint32_t at : {0u, 0x00900000u}) {
        list.TableAddress = empty.TableAddress = at;
        list.SetOffset(0x10);
        list.SetExternOffset(0x10);
        EXPECT_EQ(list.TableAddress, at);
        empty.SetOffset(0x10);
        empty.SetExternOffset(0x10);
    }
    EXPECT_EQ(empty.TableAddress, 0x00900020u);
    const char* const where = " liegt in keinem Ger\xE4tespeicher";
    EXPECT_EQ(warnings.Texts(), (std::vector<std::string>{
                                    std::string("TPSaveList: Tabelle bei 0x00900010") + where,
                                    std::string("TPSaveList: Tabelle bei 0x00900000") + where}));
}

TEST(TPSaveList, SaveHeaderWrites512Bytes) {
    const std::string path = (tn::test::ScratchFolder() / "header.bin").string();
    const int fd = ::open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0644);
    Bytes buffer(600, 0x11);
    TPSaveList list;
    // The package clock at 31 Dec 2011 23:59:50 plus 8 seconds.
    const auto previousTimer = tn::ZehntelTimer;
    const tn::TPDateTime previousReset = tn::ResetTime;
    tn::ResetTime = tn::TPDateTime(31, 12, 2011) + tn::TPDateTime(23, 59, 50, 0);
    tn::ZehntelTimer = 80;
    EXPECT_EQ(list.SaveHeader(fd, buffer.data(), -2, "Segelflug"), 512);
    tn::ZehntelTimer = previousTimer;
    tn::ResetTime = previousReset;
    ::close(fd);
    std::ifstream in(path, std::ios::binary);
    // 512, the value, the moment as a FAT date (seconds / 2, minute, hour, day, month,
    // year - 1980), 0xFF, the text with its NUL, 0xFF to the end.
    Bytes expected = Le32s(
        {512, 0xFFFFFFFE, 29 | 59 << 5 | 23 << 11 | 31 << 16 | 12 << 21 | 31 << 25, 0xFFFFFFFF});
    expected.insert(expected.end(), {'S', 'e', 'g', 'e', 'l', 'f', 'l', 'u', 'g', 0});
    expected.resize(512, 0xFF);
    EXPECT_EQ(Bytes(std::istreambuf_iterator<char>(in), {}), expected);
    expected.push_back(0x11);  // nothing beyond the header
    EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + 513), expected);
    // A text too long for the header is cut before its end; a bad handle gives -1.
    EXPECT_EQ(list.SaveHeader(-1, buffer.data(), 0, std::string(600, 'x').c_str()), -1);
    EXPECT_EQ(Bytes(buffer.begin() + 510, buffer.begin() + 512), (Bytes{'x', 0}));
    EXPECT_EQ(list.SaveHeader(-1, nullptr, 0, "x"), -1);
}

}  // namespace
