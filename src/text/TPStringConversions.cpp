// TPString: the German letters between Windows-1252, the OEM code page, the 7-bit replacements
// and ASCII spellings.
#include <tnpackage/text/Conversions.h>
#include <tnpackage/text/TPString.h>

#include <string>

#include "text/GermanLetters.h"
#include "text/WorkBuffer.h"

namespace tn {

namespace {

constexpr int kSpellingBuffer = 1024;  // Ansi2Uml
constexpr int kCodingBuffer = 4096;    // UmlautCodierung
// UmlautCodierung checks its output count before each character and stops here, so that a
// two-letter spelling still fits in front of the NUL.
constexpr int kCodingLimit = 4094;
static_assert((kCodingLimit - 1) + 2 < kCodingBuffer);  // the last spelling and the NUL fit

char ToOem(char c) {
    const german::Letter* l = german::FromAnsi(c);
    return l != nullptr ? static_cast<char>(l->oem) : c;
}

}  // namespace

// Both code-page conversions walk the recorded size, not the length: a borrowed text (size 0)
// is left alone, and the caller's own string is converted, not only the copy returned.
TPString TPString::Ansi2OEM() const {
    for (int i = 0; text_ != nullptr && i < size_; ++i)
        text_[i] = ToOem(text_[i]);
    return TPString(*this);
}

TPString TPString::OEM2Ansi() const {
    for (int i = 0; text_ != nullptr && i < size_; ++i)
        text_[i] = german::FromOem(text_[i]);
    return TPString(*this);
}

TPString TPString::Ansi2Uml() const {
    if (text_ == nullptr) return TPString();
    detail::WorkBuffer<kSpellingBuffer> out;
    for (const char* p = text_; *p != '\0'; ++p) {
        const german::Letter* l = german::FromAnsi(*p);
        if (!(l != nullptr ? out.Put(l->spelling) : out.Put(*p))) break;
    }
    return TPString(out.Text());
}

TPString TPString::UmlautCodierung(bool upper) {
    if (text_ == nullptr) return TPString();
    detail::WorkBuffer<kCodingBuffer> out;
    for (const char* p = text_; *p != '\0' && out.Used() < kCodingLimit; ++p) {
        const german::Letter* l = german::FromAnsi(*p);
        if (l == nullptr) {
            out.Put(*p);
        } else {
            out.Put(upper ? l->upperSpelling : l->spelling);
        }
    }
    return TPString(out.Text());
}

TPString KeinUmlaut(TPString text) {
    std::string out;
    for (const char* p = text.c_str(); p != nullptr && *p != '\0'; ++p) {
        const german::Letter* l = german::FromAnsi(*p);
        if (l != nullptr) {
            out += l->spelling;
        } else {
            out += *p;
        }
    }
    return TPString(out.data());
}

}  // namespace tn
