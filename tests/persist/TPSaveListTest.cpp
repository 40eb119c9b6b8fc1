#include <tnpackage/persist/TPSaveList.h>
#include <tnpackage/time/Clock.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>

#include "support/DeviceWindow.h"
#include "support/Platform.h"
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
    DeviceWindow w(0x00600000, 0x200);
    for (std::uint32_t at : {0x00600000u, 0x00600040u})  // the lists' table, and another
        std::memcpy(w.At(at), Le32s({0x00600100, 0, at + 0x110}).data(), 12);
    auto table = [&](std::uint32_t at) { return w.Range(at, at + 12); };
    TPSaveList moved, prepared;
    for (int i = 0; i < 3; ++i) {
        moved.Add(nullptr);
        prepared.Add(&w);
    }
    moved.TableAddress = prepared.TableAddress = 0x00600000;

    moved.SetOffset(0x40);  // the table already stands at the new place: changed there
    EXPECT_EQ(moved.TableAddress, 0x00600040u);
    EXPECT_EQ(table(0x00600040), Le32s({0x00600140, 0, 0x00600190}));
    EXPECT_EQ(table(0x00600000), Le32s({0x00600100, 0, 0x00600110}));
    EXPECT_EQ(std::vector<void*>(moved.Items, moved.Items + 3),
              (std::vector<void*>{w.At(0x00600140), nullptr, w.At(0x00600190)}));
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
    EXPECT_EQ(TPSaveList().SaveHeader(tn::test::OsHandle(file), buffer.data(), -2, "Segelflug"),
              512);
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
    EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + 512), expected);
    // A text too long for the header is cut before its end; a bad handle gives -1.
    EXPECT_EQ(TPSaveList().SaveHeader(-1, buffer.data(), 0, std::string(600, 'x').c_str()), -1);
    EXPECT_EQ((Bytes{buffer[510], buffer[511], buffer[512]}), (Bytes{'x', 0, 0x11}));
}

using Offsets = std::vector<std::ptrdiff_t>;

// Notes where the records it is handed start and end, and reads each one completely, so that a
// record reaching past its region shows up under the address sanitizer.
struct Collector : tn::TPSaveList {
    const unsigned char* base = nullptr;
    Offsets seen, ends;
    int AddData(tn::TPSaveObject* r) override {
        const auto* bytes = reinterpret_cast<const unsigned char*>(r);
        const std::vector<unsigned char> copy(bytes, bytes + r->Size);
        seen.push_back(bytes - base);
        ends.push_back(seen.back() + static_cast<std::ptrdiff_t>(copy.size()));
        return 1;
    }
};

// A record header of type 5, little-endian.
using Word = unsigned long;
void PutRecord(unsigned char* p, Word size, Word version, Word stride, Word state, Word sum = 0) {
    for (Word word : {0x4B5Aul, size, 5ul, version, stride, state, sum, 0xFFFFul}) {
        *p++ = static_cast<unsigned char>(word);
        *p++ = static_cast<unsigned char>(word >> 8);
    }
}

TEST(LoadObject, StepsAsTheRecordsSayWithOrWithoutTheRegionsEnd) {
    std::vector<unsigned char> region(144, 0);
    PutRecord(&region[0], 40, 1, 0xFFFF, 0x7FFF);  // live, stride unset: the size is the step
    PutRecord(&region[40], 20, 1, 24, 0x3FFF);     // deleted, padded to 24
    PutRecord(&region[96], 32, 2, 0, 0x1555);      // live again; stride 0: the size is the step
    PutRecord(&region[128], 0, 1, 0, 0x7FFF);      // size and stride 0: 4 bytes, never 0
    // offset, minimum version, handed to AddData, next offset; 64 to 95 is zeros (version 0).
    const std::tuple<std::ptrdiff_t, int, bool, std::ptrdiff_t> steps[] = {
        {0, 1, true, 40},   {40, 1, false, 64}, {64, 1, false, 68},
        {64, 0, false, 68}, {96, 1, true, 128}, {128, 1, true, 132}};
    for (bool bounded : {false, true}) {
        Collector c;
        c.base = region.data();
        for (auto [at, minimum, live, next] : steps) {
            auto* cursor = reinterpret_cast<unsigned short*>(&region[static_cast<std::size_t>(at)]);
            EXPECT_EQ(bounded ? c.LoadObject(cursor, region.data() + region.size(), minimum)
                              : c.LoadObject(cursor, minimum),
                      live);
            EXPECT_EQ(reinterpret_cast<unsigned char*>(cursor) - region.data(), next) << at;
        }
        EXPECT_EQ(c.seen, (Offsets{0, 96, 128}));
    }
    Collector c;  // whole regions (a scan through zeros would land inside the record at 96)
    EXPECT_EQ(c.LoadRegion(region.data(), 64, 1) + c.LoadRegion(&region[96], 48, 1), 3);
}

TEST(LoadObject, StaysInsideItsRegion) {
    const std::size_t n = 48;  // an exactly sized block: any read past it is caught
    const auto block = std::make_unique<unsigned char[]>(n);
    const unsigned char* end = block.get() + n;
    Collector c;
    c.base = block.get();
    for (Word size : {200ul, 40ul}) {  // claims more than there is; fits, then a short tail
        PutRecord(block.get(), size, 1, size, 0x7FFF);
        auto* cursor = reinterpret_cast<unsigned short*>(block.get());
        EXPECT_EQ(c.LoadObject(cursor, end, 1), size == 40);
        EXPECT_FALSE(c.LoadObject(cursor, end, 1));
        EXPECT_EQ(reinterpret_cast<unsigned char*>(cursor), end);
    }
    unsigned short* none = nullptr;
    EXPECT_FALSE(c.LoadObject(none, end, 1) || c.LoadObject(none, 1));
    EXPECT_EQ(c.LoadRegion(nullptr, 10, 1), 0);
    EXPECT_EQ(c.ends, Offsets{40});
}

TEST(LoadObject, ScansRandomBytesSafely) {
    std::mt19937 random(20240611);
    for (int round = 0; round < 300; ++round) {
        const std::size_t n = 1 + random() % 600;
        const auto block = std::make_unique<unsigned char[]>(n);
        for (std::size_t i = 0; i < n; ++i)
            block[i] = static_cast<unsigned char>(random());
        for (std::size_t at = 0; at + 16 <= n; at += 4 + 4 * (random() % 8)) {
            if (random() % 3 == 0)  // plausible headers among the noise
                PutRecord(&block[at], random() % 300, random() % 3,
                          random() % 2 ? random() % 64 : 0xFFFF, random() & 0xFFFF);
        }
        Collector c;
        c.base = block.get();
        const std::size_t skew = random() % 2;  // odd starts as well
        const int handed = c.LoadRegion(block.get() + skew, n - skew, 1);
        EXPECT_EQ(handed, static_cast<int>(c.seen.size()));
        for (std::ptrdiff_t e : c.ends)
            EXPECT_LE(e, static_cast<std::ptrdiff_t>(n));
    }
}

}  // namespace
