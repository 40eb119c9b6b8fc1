// Records written one after another into the flash, with the power cut after every byte in
// turn, then read back as the instrument reads a region of records.
#include <tnpackage/tnpackage.h>

#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "flash/FlashTestSupport.h"

namespace {

using tn::TFlash;

struct Sample : tn::TPSaveObject {
    std::uint8_t payload[40];
    Sample(std::uint16_t type, std::uint16_t size, int seed) : tn::TPSaveObject(type, size, 1) {
        for (int i = 0; i < 40; ++i)
            payload[i] = static_cast<std::uint8_t>((seed + 13 * i) % 0xF0);  // never 0xFF
    }
};

class Collector : public tn::TPSaveList {
  public:
    std::vector<const tn::TPSaveObject*> found;
    int AddData(tn::TPSaveObject* r) override {
        found.push_back(r);
        return 1;
    }
};

class FlashPowerCut : public tn::test::FlashTest {};

TEST_F(FlashPowerCut, EveryCompleteRecordReadsBackAndNothingUnwrittenIsLive) {
    const std::vector<Sample> samples = {{11, 24, 1}, {12, 32, 40}, {13, 56, 90}, {14, 20, 7}};
    std::vector<int> starts;
    int total = 0;
    for (const auto& s : samples) {
        starts.push_back(total);
        total += s.Size;
    }
    TFlash flash(TFlash::kSectorSize);
    int tornButLive = 0;
    for (int cut = 0; cut <= total; ++cut) {
        SCOPED_TRACE(cut);
        std::memset(flash.Buffer, 0xFF, TFlash::kSectorSize);
        flash.Chips().PowerOn();
        flash.Chips().CutPowerAfter(cut);
        flash.SetWriter(0);
        std::vector<Sample> written = samples;
        for (auto& s : written)
            flash.Write(&s, -1);
        EXPECT_EQ(flash.Writer(), total);  // the writer goes on counting without power
        flash.Chips().PowerOn();

        Collector scan;
        scan.LoadRegion(flash.Buffer, TFlash::kSectorSize, 1);  // the scan ends
        std::size_t next = 0;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const char* at = flash.Buffer + starts[i];
            const bool complete = starts[i] + samples[i].Size <= cut;
            const bool listed =
                next < scan.found.size() && reinterpret_cast<const char*>(scan.found[next]) == at;
            if (complete) {
                ASSERT_TRUE(listed) << "record " << i;
                EXPECT_TRUE(scan.found[next]->CheckSumValid());
                EXPECT_EQ(std::memcmp(at, &written[i], samples[i].Size), 0);
            } else if (listed) {
                // Its state word (bytes 10 and 11) went out before its payload: live, but its
                // checksum gives it away.
                EXPECT_GE(cut, starts[i] + 12);
                EXPECT_FALSE(scan.found[next]->CheckSumValid());
                ++tornButLive;
            }
            next += listed ? 1 : 0;
        }
        EXPECT_EQ(next, scan.found.size());  // nothing else is live
    }
    // Every record is torn-but-live for the cuts between its state word and its last byte.
    int expected = 0;
    for (const auto& s : samples)
        expected += s.Size - 12;
    EXPECT_EQ(tornButLive, expected);
}

}  // namespace
