// TPString: pieces, padding, trimming, case and edits. The fixed work buffers (256 and 4096
// bytes) are part of the behaviour: they bound the length of what these operations return.
#include <tnpackage/frame/Messages.h>
#include <tnpackage/text/TPString.h>

#include <algorithm>
#include <cctype>
#include <cstring>

namespace tn {

namespace {

constexpr int kWorkBuffer = 4096;  // SubString and ReplaceStrings
constexpr int kFieldBuffer = 256;  // Left and Right
constexpr int kLongestField = kFieldBuffer - 1;

bool InSet(char c, const char* set) {
    return c != '\0' && set != nullptr && std::strchr(set, c) != nullptr;
}

// The comparison of `==` on two pieces of equal length.
bool SameCharacters(const char* a, const char* b, int count) {
    for (int i = 0; i < count; ++i) {
        const auto ca = static_cast<unsigned char>(a[i]);
        const auto cb = static_cast<unsigned char>(b[i]);
        if (TPString::CaseSensitive ? ca != cb : std::toupper(ca) != std::toupper(cb)) return false;
    }
    return true;
}

TPString OwnedCopy(const char* text, int length) {
    if (length <= 0) return TPString();
    return TPString(const_cast<char*>(text), static_cast<unsigned>(length));
}

}  // namespace

TPString TPString::SubString(int start, int count) const {
    if (count >= kWorkBuffer) {
        Warning(TPString("SubString zu gro\xDF: ") + count);
        return TPString(0);
    }
    const int offset = start > 0 ? start - 1 : start;
    const int length = Length();
    if (offset + count > length || count == 0) count = length - offset;
    if (count >= 1 && text_ != nullptr) {
        // A negative offset would read in front of the text, which faulted in the original.
        if (offset < 0) {
            Warning("Exception");
            return TPString(0);
        }
        char buffer[kWorkBuffer];
        count = std::min(count, kWorkBuffer - 1);
        std::memcpy(buffer, text_ + offset, static_cast<std::size_t>(count));
        buffer[count] = '\0';
        return TPString(buffer);
    }
    return TPString();
}

TPString TPString::Left(int n) const {
    const int length = Length();
    if (length >= kFieldBuffer) return OwnedCopy(text_, kLongestField);
    n = std::clamp(n, 0, kLongestField);
    char buffer[kFieldBuffer];
    const int copied = std::min(n, length);
    if (copied > 0) std::memcpy(buffer, text_, static_cast<std::size_t>(copied));
    std::memset(buffer + copied, ' ', static_cast<std::size_t>(n - copied));
    buffer[n] = '\0';
    return TPString(buffer);
}

TPString TPString::Right(int n) const {
    const int length = Length();
    if (length >= kFieldBuffer) return OwnedCopy(text_, kLongestField);
    n = std::clamp(n, 0, kLongestField);
    char buffer[kFieldBuffer];
    // A text longer than the field keeps its last n characters.
    const int copied = std::min(n, length);
    std::memset(buffer, ' ', static_cast<std::size_t>(n - copied));
    if (copied > 0) {
        std::memcpy(buffer + n - copied, text_ + length - copied, static_cast<std::size_t>(copied));
    }
    buffer[n] = '\0';
    return TPString(buffer);
}

TPString TPString::SetLength(int n) {
    if (IsEmpty()) return TPString(0);
    if (n < 0) n = 0;
    if (storage_ == Storage::None) {
        // Borrowed text may be a read-only literal: cut an own copy instead.
        if (n >= Length()) return TPString(*this);
        TakeCopyOf(text_);
    }
    if (size_ == 0 || n + 1 < size_) {
        text_[n] = '\0';
        if (storage_ == Storage::Heap) size_ = n + 1;
    }
    return TPString(*this);
}

TPString TPString::StringOfChar(char c, int n) {
    if (n <= 0 || c == '\0') return TPString();
    TPString result;
    char* buffer = result.iAlloc(n + 1);
    if (buffer == nullptr) return result;
    std::memset(buffer, c, static_cast<std::size_t>(n));
    result.ReplaceBuffer(buffer);
    return result;
}

TPString TPString::Trim() const {
    // A string that owns no buffer is handed back as it is, untrimmed (kept from the original).
    if (size_ == 0) return TPString(*this);
    const int length = Length();
    int first = 0;
    while (first < length && IsSpace(text_[first]))
        ++first;
    int last = length;
    while (last > first && IsSpace(text_[last - 1]))
        --last;
    return SubString(first + 1, last - first);
}

TPString TPString::TrimLeft() const {
    const int length = Length();
    int first = 0;
    while (first < length && IsSpace(text_[first]))
        ++first;
    return OwnedCopy(text_ + first, length - first);
}

TPString TPString::TrimRight() const {
    int last = Length();
    while (last > 0 && IsSpace(text_[last - 1]))
        --last;
    return OwnedCopy(text_, last);
}

TPString TPString::UpperCase() const {
    TPString result;
    result.TakeCopyOf(text_);
    for (char* p = result.text_; p != nullptr && *p != '\0'; ++p) {
        *p = static_cast<char>(std::toupper(static_cast<unsigned char>(*p)));
    }
    return result;
}

TPString TPString::LowerCase() const {
    TPString result;
    result.TakeCopyOf(text_);
    for (char* p = result.text_; p != nullptr && *p != '\0'; ++p) {
        *p = static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
    }
    return result;
}

TPString TPString::NormalCase() const {
    if (Length() <= 3) {
        for (const char* word : {"am", "im", "in", "bei"}) {
            if (Equal(TPString(word))) return LowerCase();
        }
    }
    TPString result = LowerCase();
    if (result.text_ != nullptr) {
        result.text_[0] =
            static_cast<char>(std::toupper(static_cast<unsigned char>(result.text_[0])));
    }
    return result;
}

void TPString::DeleteDelimiter(const TPString& set) {
    if (text_ == nullptr) return;
    if (storage_ == Storage::None) TakeCopyOf(text_);  // never write into a borrowed literal
    if (text_ == nullptr) return;
    char* out = text_;
    for (const char* in = text_; *in != '\0'; ++in) {
        if (!InSet(*in, set.text_)) *out++ = *in;
    }
    *out = '\0';
    size_ = static_cast<std::int32_t>(std::strlen(text_)) + 1;
}

TPString TPString::ChangeChar(char from, char to) const {
    TPString result;
    result.TakeCopyOf(text_);
    for (char* p = result.text_; p != nullptr && *p != '\0'; ++p) {
        if (*p == from) *p = to;
    }
    return result;
}

TPString TPString::WithoutChar(const TPString& set) const {
    TPString copy(*this);
    for (;;) {
        const int p = copy.LastDelimiter(set);
        if (p == 0) return copy;
        const int length = copy.Length();
        if (length < 2) return TPString();
        copy = copy.SubString(1, p - 1) + copy.SubString(p + 1, length - p);
    }
}

TPString TPString::ReplaceStrings(const TPString& pattern, const TPString& replacement) const {
    const int n = Length();
    if (n == 0) return TPString();
    const int m = pattern.Length();
    const int r = replacement.Length();
    char buffer[kWorkBuffer];
    int out = 0;
    auto put = [&](const char* s, int count) {
        count = std::min(count, kWorkBuffer - 1 - out);  // the original did not check
        if (count > 0) std::memcpy(buffer + out, s, static_cast<std::size_t>(count));
        out += std::max(count, 0);
    };
    // The index advances by one whether or not it matched, and stops m - 1 characters before
    // the end: those are never copied, and after a match the rest of the pattern is copied
    // again character by character. Kept as the original did it.
    for (int i = 0; i < n + 1 - m; ++i) {
        bool match;
        if (m == 0) {
            match = i == n;  // an empty piece only equals the empty rest at the very end
        } else {
            match = SameCharacters(text_ + i, pattern.text_, m);
        }
        if (match) {
            put(replacement.text_, r);
        } else {
            put(text_ + i, 1);
        }
    }
    buffer[out] = '\0';
    return TPString(buffer);
}

void TPString::SwapText() {
    const int length = Length();
    if (length < 2) return;
    if (storage_ == Storage::None) TakeCopyOf(text_);
    if (text_ != nullptr) std::reverse(text_, text_ + length);
}

}  // namespace tn
