// TPSaveList: the 512-byte header in front of a file of saved records.
#include <tnpackage/persist/TPSaveList.h>
#include <tnpackage/time/TPDateTime.h>

#include <cstring>

#include "persist/RecordBytes.h"
#include "platform/Platform.h"
#include "util/LittleEndian.h"

namespace tn {

namespace {

constexpr int kHeaderLength = 512;
constexpr int kValueOffset = 4;
constexpr int kDateOffset = 8;
constexpr int kTextOffset = 16;
constexpr int kLongestText = kHeaderLength - kTextOffset - 1;  // room for the NUL

}  // namespace

int TPSaveList::SaveHeader(std::intptr_t fileHandle, void* buffer, int value, const char* text) {
    if (buffer == nullptr) return -1;
    auto* header = static_cast<unsigned char*>(buffer);
    std::memset(header, 0xFF, kHeaderLength);
    WriteLE32(header, kHeaderLength);
    WriteLE32(header + kValueOffset, static_cast<std::uint32_t>(value));
    WriteLE32(header + kDateOffset, TPDateTime::CurrentDateTime().FileDate());
    if (text != nullptr) {
        const void* nul = std::memchr(text, 0, kLongestText);
        const std::size_t length =
            nul != nullptr ? static_cast<std::size_t>(static_cast<const char*>(nul) - text)
                           : kLongestText;
        std::memcpy(header + kTextOffset, text, length);
        header[kTextOffset + length] = 0;
    } else {
        header[kTextOffset] = 0;
    }
    return static_cast<int>(platform::FileWrite(fileHandle, header, kHeaderLength));
}

}  // namespace tn
