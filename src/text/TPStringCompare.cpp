// TPString: comparison and search. Positions are 1-based; 0 means "not found".
#include <tnpackage/text/TPString.h>

#include <cctype>
#include <cstring>

namespace tn {

namespace {

const char* OrEmpty(const char* s) {
    return s != nullptr ? s : "";
}

bool InSet(char c, const char* set) {
    return c != '\0' && set != nullptr && std::strchr(set, c) != nullptr;
}

int Upper(char c) {
    return std::toupper(static_cast<unsigned char>(c));
}

}  // namespace

bool TPString::IsSpace(char c) {
    const auto u = static_cast<unsigned char>(c);
    return std::isspace(u) != 0 || u == 160;  // 160: the non-breaking space of Windows-1252
}

bool TPString::StrCmpS(const char* a, const char* b) {
    a = OrEmpty(a);
    b = OrEmpty(b);
    return std::strlen(a) == std::strlen(b) && std::strcmp(a, b) == 0;
}

bool TPString::StrCmpU(const char* a, const char* b) {
    a = OrEmpty(a);
    b = OrEmpty(b);
    if (std::strlen(a) != std::strlen(b)) return false;
    for (; *a != '\0'; ++a, ++b) {
        if (Upper(*a) != Upper(*b)) return false;
    }
    return true;
}

bool TPString::Equal(const TPString& other) const {
    return CaseSensitive ? StrCmpS(text_, other.text_) : StrCmpU(text_, other.text_);
}

bool TPString::operator==(const char* other) const {
    return CaseSensitive ? StrCmpS(text_, other) : StrCmpU(text_, other);
}

int TPString::Pos(const TPString& sub) const {
    if (IsEmpty() || sub.IsEmpty()) return 0;
    const char* found = std::strstr(text_, sub.text_);
    return found != nullptr ? static_cast<int>(found - text_) + 1 : 0;
}

int TPString::Pos(const TPString& sub, int start) const {
    if (IsEmpty() || sub.IsEmpty()) return 0;
    if (start < 1) start = 1;
    if (start > Length()) return 0;
    const char* found = std::strstr(text_ + start - 1, sub.text_);
    return found != nullptr ? static_cast<int>(found - text_) + 1 : 0;
}

int TPString::Pos(char c) const {
    if (text_ == nullptr || c == '\0') return 0;
    const char* found = std::strchr(text_, c);
    return found != nullptr ? static_cast<int>(found - text_) + 1 : 0;
}

int TPString::FirstDelimiter(const TPString& set) const {
    if (text_ == nullptr) return 0;
    for (const char* p = text_; *p != '\0'; ++p) {
        if (InSet(*p, set.text_)) return static_cast<int>(p - text_) + 1;
    }
    return 0;
}

int TPString::LastDelimiter(const TPString& set) const {
    for (int i = Length(); i >= 1; --i) {
        if (InSet(text_[i - 1], set.text_)) return i;
    }
    return 0;
}

bool TPString::IsDelimiter(const TPString& set, int index) const {
    return index >= 1 && index <= Length() && InSet(text_[index - 1], set.text_);
}

int TPString::Delimiter(const TPString& set, int n) const {
    if (text_ == nullptr || n < 1) return 0;
    for (const char* p = text_; *p != '\0'; ++p) {
        if (InSet(*p, set.text_) && --n == 0) return static_cast<int>(p - text_) + 1;
    }
    return 0;
}

TPString TPString::CutOnFirst(const TPString& s) const {
    const int p = Pos(s);
    if (p < 1) return TPString(*this);
    return SubString(1, p - 1);  // at p = 1 a count of 0 means "to the end": the whole text
}

TPString TPString::LookForPlaceholder(int& position, TPString open, TPString close) const {
    if (close.IsEmpty()) close = open;
    int p1 = Pos(open, position);
    const int p2 = p1 == 0 ? 0 : Pos(close, p1 + open.Length());
    position = p2 != 0 ? p1 : 0;
    const bool opened = p1 != 0;
    p1 += open.Length();
    if (!opened || p2 == 0 || p2 <= p1) return TPString(0);
    return SubString(p1, p2 - p1);
}

}  // namespace tn
