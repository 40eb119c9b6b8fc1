#include "store/Overlay.h"

#include <algorithm>
#include <cstring>

namespace tnpkg::store {
namespace {

constexpr std::int64_t kChunkBytes = 64 * 1024;
static_assert(kChunkBytes % Overlay::kPageSize == 0, "a page never straddles two chunks");

}  // namespace

Overlay::Overlay(os::File& image, std::int64_t size)
    : image_(image), baseSize_(size), size_(size) {}

void Overlay::Resize(std::int64_t size) {
    size_ = std::max<std::int64_t>(size, 0);
}

bool Overlay::ReadImage(std::int64_t offset, void* bytes, std::size_t n) {
    auto* out = static_cast<unsigned char*>(bytes);
    std::memset(out, 0, n);
    std::int64_t at = offset;
    const std::int64_t end = offset + static_cast<std::int64_t>(n);
    while (at < end && at < baseSize_) {
        const std::int64_t chunk = at - at % kChunkBytes;
        if (chunk != chunkAt_) {
            const std::int64_t length = std::min(kChunkBytes, baseSize_ - chunk);
            chunk_.resize(static_cast<std::size_t>(length));
            chunkAt_ = -1;
            if (image_.ReadAt(chunk, chunk_.data(), chunk_.size()) != length) return false;
            chunkAt_ = chunk;
        }
        const std::int64_t upTo =
            std::min({end, chunk + static_cast<std::int64_t>(chunk_.size()), baseSize_});
        std::memcpy(out + (at - offset), chunk_.data() + (at - chunk),
                    static_cast<std::size_t>(upTo - at));
        at = upTo;
    }
    return true;
}

Overlay::Page& Overlay::Touch(std::int64_t pageOffset, bool& ok) {
    const auto found = pages_.find(pageOffset);
    if (found != pages_.end()) return found->second;
    Page& page = pages_[pageOffset];
    ok = ReadImage(pageOffset, page.before.data(), page.before.size()) && ok;
    page.after = page.before;
    return page;
}

bool Overlay::Read(std::int64_t offset, void* bytes, std::size_t n) {
    auto* out = static_cast<unsigned char*>(bytes);
    const auto length = static_cast<std::int64_t>(n);
    if (offset < 0 || length > size_ || offset > size_ - length) {
        std::memset(out, 0, n);
        return false;
    }
    bool ok = ReadImage(offset, out, n);
    // Lay the changed pages over what the image holds.
    auto page = pages_.lower_bound(offset - offset % kPageSize);
    for (; page != pages_.end() && page->first < offset + length; ++page) {
        const std::int64_t from = std::max(offset, page->first);
        const std::int64_t to = std::min(offset + length, page->first + kPageSize);
        std::memcpy(out + (from - offset), page->second.after.data() + (from - page->first),
                    static_cast<std::size_t>(to - from));
    }
    return ok;
}

bool Overlay::Write(std::int64_t offset, const void* bytes, std::size_t n) {
    const auto* in = static_cast<const unsigned char*>(bytes);
    const auto length = static_cast<std::int64_t>(n);
    if (offset < 0 || length > size_ || offset > size_ - length) return false;
    bool ok = true;
    std::int64_t at = offset;
    while (at < offset + length) {
        const std::int64_t pageOffset = at - at % kPageSize;
        const std::int64_t upTo = std::min(offset + length, pageOffset + kPageSize);
        Page& page = Touch(pageOffset, ok);
        std::memcpy(page.after.data() + (at - pageOffset), in + (at - offset),
                    static_cast<std::size_t>(upTo - at));
        at = upTo;
    }
    return ok;
}

std::vector<std::int64_t> Overlay::ChangedPages() const {
    std::vector<std::int64_t> changed;
    for (const auto& [offset, page] : pages_) {
        if (offset < size_ && page.after != page.before) changed.push_back(offset);
    }
    return changed;
}

}  // namespace tnpkg::store
