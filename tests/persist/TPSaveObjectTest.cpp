#include <tnpackage/crc/TPCRC.h>
#include <tnpackage/persist/TPSaveObject.h>

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <utility>

#include "persist/FlashHook.h"
#include "support/DeviceWindow.h"

using tn::TPSaveObject;
using Bytes = std::vector<unsigned char>;
using Words = std::vector<unsigned>;

namespace {

// A host record whose payload is the CRC catalogue's check string.
struct CheckRecord : TPSaveObject {
    char payload[9];
    CheckRecord() : TPSaveObject(5, 25, 3) { std::memcpy(payload, "123456789", 9); }
};

TEST(TPSaveObject, StateLadder) {
    // state, after one deletion, after ReAktiv
    const std::uint16_t ladder[][3] = {{0x7FFF, 0x3FFF, 0x5555}, {0x3FFF, 0x3FFF, 0x1555},
                                       {0x1555, 0x0555, 0x1555}, {0x0555, 0x0155, 0x0555},
                                       {0xFFFF, 0xFFFF, 0x5555}, {0, 0, 0}};
    TPSaveObject o;
    for (auto [state, deleted, reactivated] : ladder) {
        o.State = state;
        o.ReAktiv();
        EXPECT_EQ((Words{tn::DeleteSaveObject(state), o.State}), (Words{deleted, reactivated}));
    }
    // A deletion only clears bits (flash needs no erase) and changes exactly the states that
    // Deleted() calls live.
    for (unsigned s = 0; s <= 0xFFFF; ++s) {
        o.State = static_cast<std::uint16_t>(s);
        const std::uint16_t next = tn::DeleteSaveObject(o.State);
        ASSERT_EQ(next & ~s, 0u) << s;
        ASSERT_EQ(next != s, o.Deleted()) << s;
    }
}

TEST(TPSaveObject, ChecksumIsTheLazyXmodemCrcOfThePayload) {
    std::mt19937 random(7);
    struct Blob : TPSaveObject {
        unsigned char payload[300];
    } blob;
    for (int round = 0; round < 50; ++round) {
        blob.Size = static_cast<std::uint16_t>(17 + random() % 300);
        unsigned crc = 0;  // bit by bit, as XMODEM is defined
        for (int i = 0; i < blob.Size - 16; ++i) {
            blob.payload[i] = static_cast<unsigned char>(random());
            crc ^= static_cast<unsigned>(blob.payload[i]) << 8;
            for (int bit = 0; bit < 8; ++bit)
                crc = (crc & 0x8000) != 0 ? (crc << 1 ^ 0x1021) & 0xFFFF : crc << 1 & 0xFFFF;
        }
        ASSERT_EQ(blob.CheckSumme(), crc);
    }
    CheckRecord r;
    r.Type = 77;  // the header is not covered
    EXPECT_FALSE(r.CheckSumValid());
    int address = 0;
    r.Save(address, nullptr);
    r.payload[0] = 'X';  // the stale checksum stays until the owner clears it
    r.Copy(address, nullptr);
    EXPECT_EQ(r.CheckSum, 0x31C3);
    r.CheckSum = 0;
    char image[25];
    r.Saving(image);
    EXPECT_TRUE(r.CheckSumValid());
    TPSaveObject header(1, 16, 1);  // no payload: no checksum, never a valid one
    EXPECT_FALSE(header.CheckSumme() != 0 || header.CheckSumCheck(0));

    tn::TPCRC ccittFalse(16, 0x1021);  // the application's shared calculator is used
    ccittFalse.Set(0xFFFF, 0);
    tn::TPCRC* const previous = std::exchange(tn::CRC16, &ccittFalse);
    const std::uint16_t shared = CheckRecord().CheckSumme();
    tn::CRC16 = previous;
    EXPECT_EQ(shared, 0x29B1);  // the CRC-16/CCITT-FALSE check value
}

TEST(TPSaveObject, SaveCopySavingAndPaddingByteForByte) {
    tn::test::DeviceWindow w(0x20800000, 64);
    int address = 0x20800010;
    TPSaveObject().Save(address, w.Writer());
    EXPECT_EQ(w.Range(0x20800010, static_cast<std::uint32_t>(address)),
              (Bytes{0x5A, 0x4B, 8, 0, 0, 0, 1, 0}));
    CheckRecord r;
    r.Stride = 28;
    r.State = 0x3FFF;
    struct Collect {
        Bytes got;
        void Put(int, char b) { got.push_back(static_cast<unsigned char>(b)); }
    } copied, saved;
    unsigned char memory[25];
    r.Copy(address, tn::TPWriter(copied, &Collect::Put));
    r.Saving(reinterpret_cast<char*>(memory));
    EXPECT_EQ(r.State, 0x3FFF);  // Copy and Saving leave the state alone
    r.Save(address, tn::TPWriter(saved, &Collect::Put));
    EXPECT_EQ(r.State, 0x7FFF);  // Save marks it live, but streams the state from before
    const Bytes expected = {0x5A, 0x4B, 25,   0,   5,   0,   3,   0,   28,  0,   0xFF, 0x3F, 0xC3,
                            0x31, 0xFF, 0xFF, '1', '2', '3', '4', '5', '6', '7', '8',  '9'};
    for (const Bytes& got : {copied.got, saved.got, Bytes(memory, memory + 25)})
        EXPECT_EQ(got, expected);

    auto* small = new TPSaveObject(1, 16, 1);  // Copy from a record takes at most the
    void* from = memory;                       // object's own bytes (the sanitizer sees more)
    small->Copy(from);
    EXPECT_EQ(std::memcmp(small, memory, 16), 0);
    delete small;
    TPSaveObject o;
    char pad[4] = {}, *cursor = pad, *none = nullptr;
    o.Stride = 30;
    for (int alignment : {4, 4, 0, -4})  // the second call finds the stride aligned
        o.BlindAnhang(cursor, alignment, '\x55');
    EXPECT_EQ(std::string(pad), "\x55\x55");
    EXPECT_EQ(o.Stride, 32);
    o.Stride = 33;
    o.BlindAnhang(none, 16, 0);
    EXPECT_EQ(o.Stride, 48);
}

std::vector<std::pair<std::uint32_t, std::uint16_t>> programmed;

TEST(TPSaveObject, DeleteProgramsOnlyRecordsInTheInstrumentsFlash) {
    const auto previous = tn::detail::flashWordProgrammer;
    TPSaveObject ordinary;
    ordinary.Delete();  // no flash
    tn::detail::flashWordProgrammer = [](std::uint32_t address, std::uint16_t word) {
        programmed.emplace_back(address, word);
        return true;
    };
    ordinary.Delete();  // ordinary memory
    tn::test::DeviceWindow low(0x00200000, 64), instrument(0x60000000, 64);
    (new (low.At(0x00200000)) TPSaveObject(1, 16, 1))->Delete();  // below the instrument
    auto* inFlash = new (instrument.At(0x60000020)) TPSaveObject(1, 16, 1);
    inFlash->Delete();
    tn::test::DeviceWindow window(0x20800000, 64), above(0x20800040, 64);
    (new (window.At(0x20800010)) TPSaveObject(1, 16, 1))->Delete();  // the flash window
    (new (above.At(0x20800040)) TPSaveObject(1, 16, 1))->Delete();   // another window
    tn::detail::flashWordProgrammer = previous;
    EXPECT_EQ(programmed, (decltype(programmed){{0x6000002A, 0x3FFF}, {0x2080001A, 0x3FFF}}));
    EXPECT_EQ((Words{inFlash->State, ordinary.State}), (Words{0x7FFF, 0x7FFF}));  // flash does it
}

TEST(TPSaveObject, NewHandlerMakesAllocationsFailInsteadOfRetrying) {
    const std::new_handler previous = std::get_new_handler();
    tn::SetMyNewHandler();
    const std::new_handler installed = std::set_new_handler(previous);
    ASSERT_NE(installed, nullptr);
    EXPECT_THROW(installed(), std::bad_alloc);
}

}  // namespace
