#include "store/Journal.h"

#include <array>
#include <cstring>
#include <system_error>

#include "store/TestHooks.h"

namespace tnpkg::store {
namespace {

namespace fs = std::filesystem;
using namespace journal;

void Put32(unsigned char* at, std::uint32_t value) {
    for (int i = 0; i < 4; ++i)
        at[i] = static_cast<unsigned char>(value >> (8 * i));
}

void Put64(unsigned char* at, std::uint64_t value) {
    for (int i = 0; i < 8; ++i)
        at[i] = static_cast<unsigned char>(value >> (8 * i));
}

std::uint32_t Get32(const unsigned char* at) {
    std::uint32_t value = 0;
    for (int i = 3; i >= 0; --i)
        value = value << 8 | at[i];
    return value;
}

std::uint64_t Get64(const unsigned char* at) {
    std::uint64_t value = 0;
    for (int i = 7; i >= 0; --i)
        value = value << 8 | at[i];
    return value;
}

std::vector<unsigned char> HeaderAndList(const JournalContent& c) {
    std::vector<unsigned char> bytes(kHeaderSize + c.pages.size() * kEntrySize, 0);
    std::memcpy(bytes.data() + kMagicAt, kMagic, sizeof kMagic);
    Put32(&bytes[kVersionAt], kVersion);
    Put32(&bytes[kPageSizeAt], static_cast<std::uint32_t>(kPageSize));
    Put64(&bytes[kOldLengthAt], static_cast<std::uint64_t>(c.oldLength));
    Put64(&bytes[kNewLengthAt], static_cast<std::uint64_t>(c.newLength));
    Put32(&bytes[kFlagsAt], c.createdImage ? kCreatedImage : 0);
    Put32(&bytes[kCountAt], static_cast<std::uint32_t>(c.pages.size()));
    for (std::size_t i = 0; i < c.pages.size(); ++i)
        Put64(&bytes[kHeaderSize + i * kEntrySize], static_cast<std::uint64_t>(c.pages[i]));
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
    Put32(trailer, crc);
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

JournalState ReadJournal(os::File& file, JournalContent& content) {
    const std::int64_t length = file.Size();
    unsigned char head[kHeaderSize] = {};
    if (length < static_cast<std::int64_t>(kHeaderSize + kTrailerSize) ||
        file.ReadAt(0, head, sizeof head) != static_cast<std::int64_t>(sizeof head) ||
        std::memcmp(head + kMagicAt, kMagic, sizeof kMagic) != 0 ||
        Get32(head + kVersionAt) != kVersion || Get32(head + kPageSizeAt) != kPageSize) {
        return JournalState::Incomplete;
    }
    // The count is checked against the file's real length before anything is allocated.
    const std::uint64_t count = Get32(head + kCountAt);
    const std::uint64_t expected = kHeaderSize + count * (kEntrySize + kPageSize) + kTrailerSize;
    if (static_cast<std::uint64_t>(length) != expected) return JournalState::Incomplete;

    std::vector<unsigned char> body(static_cast<std::size_t>(length) - kHeaderSize);
    if (file.ReadAt(kHeaderSize, body.data(), body.size()) !=
        static_cast<std::int64_t>(body.size())) {
        return JournalState::Incomplete;
    }
    std::uint32_t crc = Crc32(0, head, sizeof head);
    crc = Crc32(crc, body.data(), body.size() - kTrailerSize);
    if (crc != Get32(body.data() + body.size() - kTrailerSize)) return JournalState::Incomplete;

    content.oldLength = static_cast<std::int64_t>(Get64(head + kOldLengthAt));
    content.newLength = static_cast<std::int64_t>(Get64(head + kNewLengthAt));
    content.createdImage = (Get32(head + kFlagsAt) & kCreatedImage) != 0;
    content.pages.resize(count);
    for (std::size_t i = 0; i < count; ++i)
        content.pages[i] = static_cast<std::int64_t>(Get64(body.data() + i * kEntrySize));
    const auto pagesAt = body.begin() + static_cast<std::ptrdiff_t>(count * kEntrySize);
    content.oldBytes.assign(pagesAt, pagesAt + static_cast<std::ptrdiff_t>(count * kPageSize));
    if (content.oldLength < 0) return JournalState::Incomplete;
    for (const auto offset : content.pages) {
        if (offset < 0 || offset >= content.oldLength) return JournalState::Incomplete;
    }
    return JournalState::Complete;
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
