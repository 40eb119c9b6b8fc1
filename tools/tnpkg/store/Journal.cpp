#include "store/Journal.h"

#include <array>
#include <cstring>
#include <system_error>

#include "store/TestHooks.h"
#include "util/LittleEndian.h"

namespace tnpkg::store {
namespace {

namespace fs = std::filesystem;
using namespace journal;

std::vector<unsigned char> HeaderAndList(const JournalContent& c) {
    std::vector<unsigned char> bytes(kHeaderSize + c.pages.size() * kEntrySize, 0);
    std::memcpy(bytes.data() + kMagicAt, kMagic, sizeof kMagic);
    tn::WriteLE32(&bytes[kVersionAt], kVersion);
    tn::WriteLE32(&bytes[kPageSizeAt], static_cast<std::uint32_t>(kPageSize));
    tn::WriteLE64(&bytes[kOldLengthAt], static_cast<std::uint64_t>(c.oldLength));
    tn::WriteLE64(&bytes[kNewLengthAt], static_cast<std::uint64_t>(c.newLength));
    tn::WriteLE32(&bytes[kFlagsAt], c.createdImage ? kCreatedImage : 0);
    tn::WriteLE32(&bytes[kCountAt], static_cast<std::uint32_t>(c.pages.size()));
    for (std::size_t i = 0; i < c.pages.size(); ++i)
        tn::WriteLE64(&bytes[kHeaderSize + i * kEntrySize], static_cast<std::uint64_t>(c.pages[i]));
    return bytes;
}

bool WriteAll(os::File& file, const JournalContent& c) {
    const auto head = HeaderAndList(c);
    std::uint32_t crc = Crc32(0, head.data(), head.size());
    if (!file.WriteAt(0, head.data(), head.size())) return false;
    auto at = static_cast<std::int64_t>(head.size());
    for (std::size_t i = 0; i < c.pages.size(); ++i) {
        const unsigned char* page = c.oldBytes.data() + i * kPageSize;
        crc = Crc32(crc, page, kPageSize);
        if (!file.WriteAt(at, page, kPageSize)) return false;
        at += static_cast<std::int64_t>(kPageSize);
        CrashPoint(CrashHook::InJournal, static_cast<long>(i + 1));
    }
    unsigned char trailer[kTrailerSize];
    tn::WriteLE32(trailer, crc);
    return file.WriteAt(at, trailer, sizeof trailer);
}

}  // namespace

fs::path JournalPath(const fs::path& image) {
    return fs::path(image.string() + ".tnpkg-journal");
}

bool WriteJournal(const fs::path& path, const JournalContent& content, std::string& problem) {
    os::File file;
    std::string error;
    if (!file.Open(path, os::OpenMode::CreateNew, error)) {
        problem = "cannot create the journal " + path.string() + ": " + error;
        return false;
    }
    CrashPoint(CrashHook::InJournal, 0);
    if (!WriteAll(file, content) || !file.Sync()) {
        problem = "cannot write the journal " + path.string() + ": " + os::LastError();
        file.Close();
        std::error_code ec;
        fs::remove(path, ec);
        return false;
    }
    file.Close();
    if (!os::SyncFolder(path.parent_path())) {
        problem = "cannot force the journal " + path.string() + " onto the disk";
        std::error_code ec;
        fs::remove(path, ec);
        return false;
    }
    return true;
}

JournalState ParseJournal(const unsigned char* bytes, std::size_t length, JournalContent& content) {
    if (bytes == nullptr || length < kHeaderSize + kTrailerSize ||
        std::memcmp(bytes + kMagicAt, kMagic, sizeof kMagic) != 0 ||
        tn::ReadLE32(bytes + kVersionAt) != kVersion ||
        tn::ReadLE32(bytes + kPageSizeAt) != kPageSize) {
        return JournalState::Incomplete;
    }
    // The count is checked against the real length before anything is allocated.
    const std::uint64_t count = tn::ReadLE32(bytes + kCountAt);
    const std::uint64_t expected = kHeaderSize + count * (kEntrySize + kPageSize) + kTrailerSize;
    if (static_cast<std::uint64_t>(length) != expected) return JournalState::Incomplete;
    const std::size_t checked = length - kTrailerSize;
    if (Crc32(0, bytes, checked) != tn::ReadLE32(bytes + checked)) return JournalState::Incomplete;

    content.oldLength = static_cast<std::int64_t>(tn::ReadLE64(bytes + kOldLengthAt));
    content.newLength = static_cast<std::int64_t>(tn::ReadLE64(bytes + kNewLengthAt));
    content.createdImage = (tn::ReadLE32(bytes + kFlagsAt) & kCreatedImage) != 0;
    // The length matched, so the count fits the bytes in hand (and a size_t).
    const auto n = static_cast<std::size_t>(count);
    content.pages.resize(n);
    const unsigned char* list = bytes + kHeaderSize;
    for (std::size_t i = 0; i < n; ++i)
        content.pages[i] = static_cast<std::int64_t>(tn::ReadLE64(list + i * kEntrySize));
    const unsigned char* pages = list + n * kEntrySize;
    content.oldBytes.assign(pages, pages + n * kPageSize);
    if (content.oldLength < 0) return JournalState::Incomplete;
    // Every page lies inside the old image, in ascending order, each once.
    std::int64_t previous = -1;
    for (const auto offset : content.pages) {
        if (offset <= previous || offset >= content.oldLength) return JournalState::Incomplete;
        previous = offset;
    }
    return JournalState::Complete;
}

JournalState ReadJournal(os::File& file, JournalContent& content) {
    const std::int64_t length = file.Size();
    unsigned char head[kHeaderSize] = {};
    if (length < static_cast<std::int64_t>(kHeaderSize + kTrailerSize) ||
        file.ReadAt(0, head, sizeof head) != static_cast<std::int64_t>(sizeof head)) {
        return JournalState::Incomplete;
    }
    // Only a journal whose length matches its own count is read whole.
    const std::uint64_t count = tn::ReadLE32(head + kCountAt);
    const std::uint64_t expected = kHeaderSize + count * (kEntrySize + kPageSize) + kTrailerSize;
    if (static_cast<std::uint64_t>(length) != expected) return JournalState::Incomplete;
    std::vector<unsigned char> bytes(static_cast<std::size_t>(length));
    if (file.ReadAt(0, bytes.data(), bytes.size()) != static_cast<std::int64_t>(bytes.size())) {
        return JournalState::Incomplete;
    }
    return ParseJournal(bytes.data(), bytes.size(), content);
}

bool PlayBack(os::File& image, const JournalContent& c) {
    // The length first: the pages then land inside an image of the old length.
    if (!image.Resize(c.oldLength)) return false;
    for (std::size_t i = 0; i < c.pages.size(); ++i) {
        const std::int64_t offset = c.pages[i];
        const auto n = static_cast<std::size_t>(
            std::min<std::int64_t>(static_cast<std::int64_t>(kPageSize), c.oldLength - offset));
        if (!image.WriteAt(offset, c.oldBytes.data() + i * kPageSize, n)) return false;
    }
    return image.Sync();
}

std::uint32_t Crc32(std::uint32_t crc, const unsigned char* bytes, std::size_t n) {
    static const auto table = [] {
        std::array<std::uint32_t, 256> t{};
        for (std::uint32_t i = 0; i < 256; ++i) {
            std::uint32_t c = i;
            for (int k = 0; k < 8; ++k)
                c = (c & 1) != 0 ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            t[i] = c;
        }
        return t;
    }();
    crc = ~crc;
    for (std::size_t i = 0; i < n; ++i)
        crc = table[(crc ^ bytes[i]) & 0xFF] ^ (crc >> 8);
    return ~crc;
}

}  // namespace tnpkg::store
