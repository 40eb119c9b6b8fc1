// A journal file left beside an image is read before anything else the next command does: any
// bytes there (cut short, damaged, or made up) are either taken as a complete journal whose
// every page lies inside the old image, or refused; never a crash or an allocation the bytes
// merely claim.
#include <cstddef>
#include <cstdint>

#include "FuzzSupport.h"
#include "store/Journal.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tnpkg::store;
    JournalContent content;
    if (ParseJournal(data, size, content) != JournalState::Complete) return 0;
    TN_FUZZ_CHECK(content.oldBytes.size() == content.pages.size() * journal::kPageSize);
    TN_FUZZ_CHECK(content.oldLength >= 0);
    std::int64_t previous = -1;
    for (const std::int64_t offset : content.pages) {
        TN_FUZZ_CHECK(offset > previous && offset < content.oldLength);
        previous = offset;
    }
    return 0;
}
