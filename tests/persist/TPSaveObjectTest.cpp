#include <tnpackage/crc/TPCRC.h>
#include <tnpackage/persist/TPSaveObject.h>

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <new>

#include "PersistTestSupport.h"
#include "persist/FlashHook.h"

using persist_test::DeviceWindow;
using persist_test::Recorder;
using tn::TPSaveObject;

namespace {

// A host record: its payload is the check string of the CRC catalogue.
struct CheckRecord : TPSaveObject {
    char payload[9];
    CheckRecord() : TPSaveObject(5, 25, 3) { std::memcpy(payload, "123456789", 9); }
};

TEST(TPSaveObject, StateLadderGivesTheWorkedValues) {
    EXPECT_EQ(tn::DeleteSaveObject(0x7FFF), 0x3FFF);
    EXPECT_EQ(tn::DeleteSaveObject(0x3FFF), 0x3FFF);
    EXPECT_EQ(tn::DeleteSaveObject(0x1555), 0x0555);
    EXPECT_EQ(tn::DeleteSaveObject(0xFFFF), 0xFFFF);
    EXPECT_EQ(tn::DeleteSaveObject(0), 0);

    TPSaveObject o;
    const std::pair<std::uint16_t, bool> live[] = {{0xFFFF, false}, {0x7FFF, true}, {0x3FFF, false},
                                                   {0x1555, true},  {0x0555, true}, {0, false}};
    for (auto [state, expected] : live) {
        o.State = state;
        EXPECT_EQ(o.Deleted(), expected) << std::hex << state;
    }
    for (auto [from, to] : std::array<std::pair<std::uint16_t, std::uint16_t>, 3>{
             {{0x3FFF, 0x1555}, {0xFFFF, 0x5555}, {0x7FFF, 0x5555}}}) {
        o.State = from;
        o.ReAktiv();
        EXPECT_EQ(o.State, to);
        EXPECT_TRUE(o.Deleted());
    }

    // Deleting only ever clears bits, so flash can do it without an erase, and deletes a live
    // record unless the ladder has run out of room.
    for (unsigned s = 0; s <= 0xFFFF; ++s) {
        const auto state = static_cast<std::uint16_t>(s);
        const std::uint16_t next = tn::DeleteSaveObject(state);
        ASSERT_EQ(next & ~state, 0) << s;
        o.State = state;
        if (!o.Deleted()) {
            ASSERT_EQ(next, state) << s;
        }
    }
}

TEST(TPSaveObject, ConstructorsFillTheHeader) {
    TPSaveObject plain;
    EXPECT_EQ(plain.Magic, 0x4B5A);
    EXPECT_EQ(plain.Size, 8);
    EXPECT_EQ(plain.Type, 0);
    EXPECT_EQ(plain.Version, 1);
    EXPECT_EQ(plain.State, 0x7FFF);
    EXPECT_EQ(plain.CheckSum, 0);

    TPSaveObject typed(9, 40, 2);
    EXPECT_EQ(typed.Type, 9);
    EXPECT_EQ(typed.Size, 40);
    EXPECT_EQ(typed.Version, 2);
    EXPECT_EQ(typed.Reserved, 0xFFFF);
    typed.Init(1, 2, 3);
    EXPECT_EQ(typed.Type, 1);
    EXPECT_EQ(typed.Size, 2);
    EXPECT_EQ(typed.Version, 3);

    auto* onHeap = new TPSaveObject(4, 16, 1);
    EXPECT_EQ(onHeap->Type, 4);
    delete onHeap;
    auto* quiet = new (std::nothrow) TPSaveObject;
    ASSERT_NE(quiet, nullptr);
    delete quiet;
}

TEST(TPSaveObject, ChecksumCoversThePayloadOnlyAndIsComputedLazily) {
    CheckRecord r;
    EXPECT_EQ(r.CheckSumme(), 0x31C3);  // CRC-16/XMODEM of "123456789"
    r.Type = 77;                        // the header is not covered
    EXPECT_EQ(r.CheckSumme(), 0x31C3);
    EXPECT_FALSE(r.CheckSumValid());

    Recorder out;
    int address = 100;
    r.Save(address, out.Writer());
    EXPECT_EQ(r.CheckSum, 0x31C3);
    EXPECT_TRUE(r.CheckSumValid());
    EXPECT_TRUE(r.CheckSumCheck(0x31C3));
    EXPECT_FALSE(r.CheckSumCheck(0x31C4));

    // A changed payload keeps the stale checksum until the owner clears it.
    r.payload[0] = 'X';
    address = 0;
    r.Save(address, out.Writer());
    EXPECT_EQ(r.CheckSum, 0x31C3);
    EXPECT_FALSE(r.CheckSumValid());
    r.CheckSum = 0;
    char image[25];
    r.Saving(image);
    EXPECT_EQ(r.CheckSum,
              persist_test::XmodemReference(reinterpret_cast<const unsigned char*>(r.payload), 9));
    EXPECT_TRUE(r.CheckSumValid());

    // No payload: no checksum, and never a valid one.
    TPSaveObject header(1, 16, 1);
    EXPECT_EQ(header.CheckSumme(), 0);
    EXPECT_FALSE(header.CheckSumValid());
    EXPECT_FALSE(header.CheckSumCheck(0));
    address = 0;
    header.Save(address, tn::TPWriter());
    EXPECT_EQ(header.CheckSum, 0);
    EXPECT_EQ(address, 16);
}

TEST(TPSaveObject, ChecksumGoesThroughTheSharedCalculatorWhenThereIsOne) {
    tn::TPCRC* const previous = tn::CRC16;
    const int previousMode = tn::CRCInsertMode;
    CheckRecord r;

    tn::TPCRC xmodem(16, 0x1021);  // what the application normally shares: the same value
    tn::CRC16 = &xmodem;
    EXPECT_EQ(r.CheckSumme(), 0x31C3);

    tn::CRCInsertMode = 1;  // a reflected calculator, to see that it is really used
    tn::TPCRC kermit(16, 0x1021);
    tn::CRCInsertMode = previousMode;
    tn::CRC16 = &kermit;
    EXPECT_EQ(r.CheckSumme(), 0x2189);
    EXPECT_TRUE(r.CheckSumCheck(0x2189));

    tn::CRC16 = previous;
    EXPECT_EQ(r.CheckSumme(), 0x31C3);
}

TEST(TPSaveObject, SaveHandsOutTheRecordByteForByte) {
    TPSaveObject plain;
    Recorder out;
    int address = 0x20800010;
    plain.Save(address, out.Writer());
    EXPECT_EQ(out.Bytes(), (std::vector<unsigned char>{0x5A, 0x4B, 8, 0, 0, 0, 1, 0}));
    EXPECT_TRUE(out.Consecutive(0x20800010));
    EXPECT_EQ(address, 0x20800018);

    // The stream carries the state from before; afterwards the object is live.
    CheckRecord r;
    r.Stride = 28;
    r.State = 0x3FFF;
    Recorder saved;
    address = 0;
    r.Save(address, saved.Writer());
    const std::vector<unsigned char> expected = {0x5A, 0x4B, 25,   0,    5,    0,    3,    0,   28,
                                                 0,    0xFF, 0x3F, 0xC3, 0x31, 0xFF, 0xFF, '1', '2',
                                                 '3',  '4',  '5',  '6',  '7',  '8',  '9'};
    EXPECT_EQ(saved.Bytes(), expected);
    EXPECT_EQ(r.State, 0x7FFF);

    // Copy hands out the same bytes and leaves the state alone.
    r.State = 0x3FFF;
    Recorder copied;
    address = 0;
    r.Copy(address, copied.Writer());
    EXPECT_EQ(copied.Bytes(), expected);
    EXPECT_EQ(r.State, 0x3FFF);

    unsigned char memory[25];
    r.Saving(reinterpret_cast<char*>(memory));
    EXPECT_EQ(std::vector<unsigned char>(memory, memory + 25), expected);

    // A writer made from a lambda sees the same; an empty one only moves the address.
    std::vector<unsigned char> lambdaBytes;
    address = 0;
    r.Copy(address, [&](int, char b) { lambdaBytes.push_back(static_cast<unsigned char>(b)); });
    EXPECT_EQ(lambdaBytes, expected);
    address = 5;
    r.Copy(address, tn::TPWriter(static_cast<void (*)(int, char)>(nullptr)));
    EXPECT_EQ(address, 30);
}

TEST(TPSaveObject, CopyFillsTheObjectButNeverBeyondItsOwnSize) {
    CheckRecord source;
    source.payload[0] = 'Q';
    source.CheckSum = 0x1234;
    CheckRecord target;
    std::memset(target.payload, 0, sizeof target.payload);
    void* from = &source;
    target.Copy(from);
    EXPECT_EQ(from, &source);
    EXPECT_EQ(std::memcmp(&target, &source, 25), 0);

    // A record claiming 25 bytes into an object of 16: only 16 are taken.
    struct Guarded {
        TPSaveObject header{1, 16, 1};
        unsigned char after[9] = {};
    } guarded;
    guarded.header.Copy(from);
    EXPECT_EQ(guarded.header.Size, 25);
    for (unsigned char b : guarded.after)
        EXPECT_EQ(b, 0);
}

TEST(TPSaveObject, PaddingWritesFillBytesAndGrowsTheStride) {
    TPSaveObject o;
    char buffer[8] = {};
    char* cursor = buffer;
    o.Stride = 30;
    o.BlindAnhang(cursor, 4, '\x55');
    EXPECT_EQ(o.Stride, 32);
    EXPECT_EQ(cursor, buffer + 2);
    EXPECT_EQ(buffer[0], '\x55');
    EXPECT_EQ(buffer[1], '\x55');
    EXPECT_EQ(buffer[2], 0);
    o.BlindAnhang(cursor, 4, '\x55');
    EXPECT_EQ(o.Stride, 32);
    EXPECT_EQ(cursor, buffer + 2);

    char* none = nullptr;
    o.Stride = 33;
    o.BlindAnhang(none, 16, 0);
    EXPECT_EQ(o.Stride, 48);
    EXPECT_EQ(none, nullptr);
    o.BlindAnhang(cursor, 0, 0);
    o.BlindAnhang(cursor, -4, 0);
    EXPECT_EQ(o.Stride, 48);
}

std::vector<std::pair<std::uint32_t, std::uint16_t>> programmed;
bool FakeFlash(std::uint32_t address, std::uint16_t word) {
    programmed.emplace_back(address, word);
    return true;
}

TEST(TPSaveObject, DeleteProgramsOnlyRecordsInTheInstrumentsFlash) {
    const auto previous = tn::detail::flashWordProgrammer;
    programmed.clear();

    TPSaveObject ordinary;
    ordinary.Delete();  // no flash: nothing
    EXPECT_EQ(ordinary.State, 0x7FFF);

    tn::detail::flashWordProgrammer = FakeFlash;
    ordinary.Delete();  // flash present, but the object is in ordinary memory
    EXPECT_TRUE(programmed.empty());
    EXPECT_EQ(ordinary.State, 0x7FFF);

    DeviceWindow low(0x00200000, 64);
    auto* below = new (low.Bytes().data()) TPSaveObject(1, 16, 1);
    below->Delete();  // mapped, but below the instrument's range
    EXPECT_TRUE(programmed.empty());

    DeviceWindow instrument(0x60000000, 64);
    ASSERT_TRUE(instrument.Mapped());
    auto* inFlash = new (instrument.Bytes().data() + 32) TPSaveObject(1, 16, 1);
    inFlash->Delete();
    ASSERT_EQ(programmed.size(), 1u);
    EXPECT_EQ(programmed[0].first, 0x60000000u + 32 + 10);  // the state word's address
    EXPECT_EQ(programmed[0].second, 0x3FFF);
    EXPECT_EQ(inFlash->State, 0x7FFF);  // the flash, not the package, changes the word

    tn::detail::flashWordProgrammer = previous;
}

TEST(TPSaveObject, NewHandlerMakesAllocationsFailInsteadOfRetrying) {
    const std::new_handler previous = std::get_new_handler();
    tn::SetMyNewHandler();
    const std::new_handler installed = std::get_new_handler();
    ASSERT_NE(installed, nullptr);
    EXPECT_THROW(installed(), std::bad_alloc);
    std::set_new_handler(previous);
}

}  // namespace
