// TPString: construction, assignment, appending, allocation and release.
#include <tnpackage/text/TPString.h>

#include <tnpackage/frame/DeviceAddressSpace.h>
#include <tnpackage/frame/Globals.h>

#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "platform/Platform.h"
#include "text/StringFault.h"
#include "text/Windows1252.h"

namespace tn {

constinit bool TPString::CaseSensitive = false;
constinit std::intptr_t HeapAdresse = 0;

namespace detail {
constinit StringFaultReporter stringFaultReporter = nullptr;

void ReportStringFault() {
    if (stringFaultReporter != nullptr) stringFaultReporter("TP-String-Exception");
}
}  // namespace detail

namespace {

// Pointers below this value are never real text: they are treated as "no text".
constexpr std::uintptr_t kSmallestTextAddress = 0x4000;

// A source pointer that a constructor may read: not a small bogus value and readable.
bool Readable(const char* s) {
    return s != nullptr && reinterpret_cast<std::uintptr_t>(s) >= kSmallestTextAddress &&
           platform::IsReadable(s);
}

std::string Narrow(const wchar_t* s) {
    std::string out;
    if (s == nullptr) return out;
    for (; *s != L'\0'; ++s) {
        unsigned char byte = 0;
        out.push_back(cp1252::FromUnicode(static_cast<char32_t>(*s), byte) ? static_cast<char>(byte)
                                                                           : '?');
    }
    return out;
}

}  // namespace

// ---- allocation -------------------------------------------------------------------------------

char* TPString::iAlloc(int n) {
    char* buffer = n > 0 ? new (std::nothrow) char[static_cast<std::size_t>(n)] : nullptr;
    if (buffer == nullptr) {
        size_ = 0;
        return nullptr;
    }
    const auto address = reinterpret_cast<std::intptr_t>(buffer);
    if (address > HeapAdresse) HeapAdresse = address;
    size_ = n;
    buffer[n - 1] = '\0';
    return buffer;
}

char* TPString::Alloc(const char* s) {
    if (s == nullptr || *s == '\0') {
        size_ = 0;
        return nullptr;
    }
    const int n = static_cast<int>(std::strlen(s)) + 1;
    char* buffer = iAlloc(n);
    if (buffer == nullptr) return nullptr;
    std::memcpy(buffer, s, static_cast<std::size_t>(n));
    if (n == 160) buffer[159] = '\0';  // kept from the original allocator
    return buffer;
}

void TPString::TakeCopyOf(const char* s) {
    text_ = Alloc(s);
    storage_ = text_ != nullptr ? Storage::Heap : Storage::None;
}

void TPString::Delete() {
    if (storage_ == Storage::Device) {
        // Text in a device image is not ours to release, and its window may be gone by now.
        text_ = nullptr;
        size_ = 0;
        storage_ = Storage::None;
        return;
    }
    if (text_ == nullptr) return;
    if (size_ > 0) {
        // Length() is called for its development-environment check on the buffer; outside the
        // development environment it has no effect, so an unterminated buffer is not read.
        if (IDERun) (void)Length();
        // Only what this string allocated is released, and never memory that belongs to a
        // mapped device image.
        if (storage_ == Storage::Heap && !DeviceAddressSpace::Contains(text_)) delete[] text_;
        size_ = 0;
    }
    text_ = nullptr;
    storage_ = Storage::None;
}

TPString::~TPString() {
    Delete();
}

void TPString::Swap(TPString& other) noexcept {
    std::swap(text_, other.text_);
    std::swap(size_, other.size_);
    std::swap(storage_, other.storage_);
    std::swap(device_, other.device_);
}

// ---- construction -----------------------------------------------------------------------------

TPString::TPString(const TPString& other) {
    if (!other.IsEmpty()) TakeCopyOf(other.text_);
}

TPString::TPString(char* s, unsigned len) {
    if (s == nullptr) return;
    if (!Readable(s)) {
        detail::ReportStringFault();
        return;
    }
    const std::size_t length = std::strlen(s);
    if (len != 0 && length > len) {
        text_ = iAlloc(static_cast<int>(len) + 1);
        if (text_ == nullptr) return;
        std::memcpy(text_, s, len);
        storage_ = Storage::Heap;
    } else if (length != 0) {
        TakeCopyOf(s);
    }
}

TPString TPString::Trusted(const char* s) {
    TPString result;
    if (s != nullptr) result.TakeCopyOf(s);
    return result;
}

TPString::TPString(unsigned char* s, unsigned len) : TPString(reinterpret_cast<char*>(s), len) {}

TPString::TPString(const char* s, unsigned len) {
    if (!Readable(s)) return;
    if (len != 0 && std::strlen(s) > len) {
        text_ = iAlloc(static_cast<int>(len) + 1);
        if (text_ == nullptr) return;
        std::memcpy(text_, s, len);
        storage_ = Storage::Heap;
    } else if (*s != '\0') {
        text_ = const_cast<char*>(s);  // borrowed: size 0, never written through
    }
}

TPString::TPString(int value) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%d", value);
    TakeCopyOf(digits);
}

TPString::TPString(char c) {
    if (c == '\0') return;
    text_ = iAlloc(2);
    if (text_ == nullptr) return;
    text_[0] = c;
    storage_ = Storage::Heap;
}

TPString::TPString(const UnicodeString& wide) {
    TakeCopyOf(Narrow(wide.c_str()).c_str());
}

TPString::TPString(char* s, void* buffer, unsigned max) {
    Setting(s, buffer, max);
}
TPString::TPString(const char* s, void* buffer, unsigned max) {
    Setting(s, buffer, max);
}
TPString::TPString(const wchar_t* s, void* buffer, unsigned max) {
    Setting(Narrow(s).c_str(), buffer, max);
}
TPString::TPString(TPString s, void* buffer, unsigned max) {
    Setting(s.text_, buffer, max);
}

void TPString::Setting(const char* s, void* buffer, unsigned max) {
    text_ = nullptr;
    size_ = 0;
    storage_ = Storage::None;
    if (s == nullptr || *s == '\0') return;
    std::size_t n = std::strlen(s);
    if (max != 0 && max < n) n = max;
    if (buffer == nullptr) return;
    text_ = static_cast<char*>(buffer);
    size_ = static_cast<std::int32_t>(n + 1);
    storage_ = Storage::External;
    // No terminating NUL: the caller's buffer already holds zeros after the text.
    std::memcpy(text_, s, n);
}

TPString::operator UnicodeString() const {
    UnicodeString wide;
    if (text_ == nullptr) return wide;
    for (const char* p = text_; *p != '\0'; ++p) {
        wide.push_back(static_cast<wchar_t>(cp1252::ToUnicode(static_cast<unsigned char>(*p))));
    }
    return wide;
}

// ---- assignment -------------------------------------------------------------------------------

TPString TPString::operator=(const char* s) {
    // The source may lie inside the old buffer: copy it before releasing.
    TPString source(const_cast<char*>(s));
    Delete();
    TakeCopyOf(source.text_);
    return *this;
}

TPString TPString::operator=(char* s) {
    return *this = static_cast<const char*>(s);
}

TPString TPString::operator=(const TPString& s) {
    TPString source(s);
    Delete();
    TakeCopyOf(source.text_);
    return *this;
}

// ---- appending --------------------------------------------------------------------------------

void TPString::ReplaceBuffer(char* buffer) {
    if (storage_ == Storage::Heap && !DeviceAddressSpace::Contains(text_)) delete[] text_;
    text_ = buffer;
    storage_ = Storage::Heap;
}

void TPString::Append(const char* s, int length) {
    const int own = Length();
    char* buffer = iAlloc(own + length + 1);  // exactly the new length: no spare capacity
    if (buffer == nullptr) return;
    if (own > 0) std::memcpy(buffer, text_, static_cast<std::size_t>(own));
    if (length > 0) std::memcpy(buffer + own, s, static_cast<std::size_t>(length));
    buffer[own + length] = '\0';
    ReplaceBuffer(buffer);
}

TPString TPString::operator+=(char c) {
    if (c == '\0') return *this;
    if (text_ == nullptr) {
        char* buffer = iAlloc(2);
        if (buffer != nullptr) {
            buffer[0] = c;
            ReplaceBuffer(buffer);
        }
        return *this;
    }
    // One byte more than the old buffer (or than the borrowed text); never less than the text
    // needs, should the buffer have been written past its size.
    const int own = Length();
    const int oldSize = size_ > own ? size_ : own + 1;
    char* buffer = iAlloc(oldSize + 1);
    if (buffer == nullptr) return *this;
    std::memcpy(buffer, text_, static_cast<std::size_t>(own));
    buffer[own] = c;
    buffer[own + 1] = '\0';
    ReplaceBuffer(buffer);
    return *this;
}

TPString TPString::operator+=(const TPString& s) {
    if (s.text_ == nullptr || s.text_[0] == '\0') return *this;
    const TPString source(s);  // s may be this very string
    Append(source.text_, source.Length());
    return *this;
}

TPString TPString::operator+=(const wchar_t* s) {
    const std::string narrow = Narrow(s);
    if (!narrow.empty()) Append(narrow.data(), static_cast<int>(narrow.size()));
    return *this;
}

TPString TPString::operator+(const TPString& s) const {
    return Add(text_, s.text_);
}
TPString TPString::operator+(const char* s) const {
    return Add(text_, s);
}
TPString TPString::operator+(char* s) const {
    return Add(text_, s);
}
TPString TPString::operator+(int value) const {
    return *this + TPString(value);
}

TPString TPString::Add(const char* a, const char* b) {
    const std::size_t la = a ? std::strlen(a) : 0;
    const std::size_t lb = b ? std::strlen(b) : 0;
    TPString result;
    if (la + lb == 0) return result;
    char* buffer = result.iAlloc(static_cast<int>(la + lb + 1));
    if (buffer == nullptr) return result;
    if (la) std::memcpy(buffer, a, la);
    if (lb) std::memcpy(buffer + la, b, lb);
    result.text_ = buffer;
    result.storage_ = Storage::Heap;
    return result;
}

// ---- state ------------------------------------------------------------------------------------

int TPString::Length() const {
    if (text_ == nullptr) return 0;
    if (size_ > 0 && IDERun && !IsValid()) platform::Beep(5);  // corrupted buffer
    return static_cast<int>(std::strlen(text_));
}

bool TPString::IsValid() const {
    if (text_ == nullptr) return true;
    if (size_ == 0) return false;
    return static_cast<std::size_t>(size_ - 1) == std::strlen(text_);
}

bool TPString::IsEmptyText(const char* text) {
    if (reinterpret_cast<std::uintptr_t>(text) < kSmallestTextAddress) return true;
    // A text in a device window is known memory; any other pointer might be stale.
    if (!DeviceAddressSpace::Contains(text) && !platform::IsReadable(text)) return true;
    return *text == '\0';
}

bool TPString::IsEmpty() const {
    if (storage_ == Storage::Heap) return text_[0] == '\0';
    return IsEmptyText(text_);
}

char TPString::LastChar() const {
    const int n = Length();
    return n > 0 ? text_[n - 1] : '\0';
}

int TPString::CountChar(char c) const {
    int count = 0;
    if (text_ != nullptr) {
        for (const char* p = text_; *p != '\0'; ++p)
            count += *p == c ? 1 : 0;
    }
    return count;
}

std::string ToStdString(const TPString& text) {
    const char* s = text.c_str();
    return s != nullptr ? std::string(s) : std::string();
}

}  // namespace tn
