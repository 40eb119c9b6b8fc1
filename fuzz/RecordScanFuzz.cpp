// The scan of a region of records (TPSaveList::LoadRegion and the bounded LoadObject) over
// arbitrary bytes, as `tnpkg records` and the owners of flash regions run it.
//
// Invariants: every record handed to AddData lies wholly inside the region, at a 2-byte aligned
// place, is live and of at least the minimum version; the cursor moves forward at every step
// and never passes the end; LoadRegion counts exactly the records it handed over. The region is
// a heap block of exactly its length, so a read behind it is caught.
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "FuzzSupport.h"

namespace {

class Checker : public tn::TPSaveList {
  public:
    Checker(const unsigned char* begin, std::size_t length, int minimum)
        : begin_(begin), end_(begin + length), minimum_(minimum) {}

    int AddData(tn::TPSaveObject* r) override {
        const auto* p = reinterpret_cast<const unsigned char*>(r);
        TN_FUZZ_CHECK(p >= begin_ && p + tn::TPObject::kHeaderSize <= end_);
        TN_FUZZ_CHECK(p + r->Size <= end_);
        TN_FUZZ_CHECK(r->Deleted() && r->Version >= minimum_);
        // The record's bytes are read as its owner would: the checksum covers them all.
        (void)r->CheckSumValid();
        ++handed_;
        return 1;
    }
    int Handed() const { return handed_; }

  private:
    const unsigned char* begin_;
    const unsigned char* end_;
    int minimum_;
    int handed_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tn::fuzz::Quiet();
    tn::fuzz::Bytes in(data, size);
    const int minimum = in.Word() % 4;  // records of version 0 to 3 are the interesting ones
    const std::string region = in.Rest();
    // new[] gives the alignment that records have in memory.
    const auto block = std::make_unique<unsigned char[]>(region.size());
    std::memcpy(block.get(), region.data(), region.size());
    const unsigned char* begin = block.get();
    const unsigned char* end = begin + region.size();

    Checker all(begin, region.size(), minimum);
    const int counted = all.LoadRegion(begin, region.size(), minimum);
    TN_FUZZ_CHECK(counted == all.Handed());

    Checker stepwise(begin, region.size(), minimum);
    auto* cursor = reinterpret_cast<unsigned short*>(block.get());
    int steps = 0;
    while (reinterpret_cast<const unsigned char*>(cursor) < end) {
        const auto* before = reinterpret_cast<const unsigned char*>(cursor);
        stepwise.LoadObject(cursor, end, minimum);
        const auto* after = reinterpret_cast<const unsigned char*>(cursor);
        TN_FUZZ_CHECK(after > before && after <= end);
        ++steps;
    }
    TN_FUZZ_CHECK(stepwise.Handed() == counted);
    TN_FUZZ_CHECK(steps <= static_cast<int>(region.size()));
    return 0;
}
