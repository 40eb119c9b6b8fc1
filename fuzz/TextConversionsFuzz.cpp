// The conversions of outside text into other forms: OEM code page and 7-bit replacements
// (in place), the ASCII spellings, the URL form, and the code pages to and from UTF-8.
//
// Invariants: the in-place conversions keep the length and undo each other on text without OEM
// codes and replacement characters; the two ASCII spellings agree; the URL form holds only the
// characters it keeps and "%XX" escapes, and its escapes give back every ASCII text. Every byte
// string, NULs included, comes back from UTF-8 unchanged in both code pages; any input read as
// UTF-8 gives at most one byte per input byte, and a result that contains no replacement is
// exactly what the input said.
#include <cctype>
#include <cstdint>
#include <string>

#include "FuzzSupport.h"

namespace {

using tn::TPString;

bool HasOemOrReplacement(const std::string& t) {
    for (const char ch : t) {
        const auto c = static_cast<unsigned char>(ch);
        if (c == 0x8E || c == 0x99 || c == 0x9A || c == 0x84 || c == 0x94 || c == 0x81 ||
            c == 0xE1 || ch == '[' || ch == '\\' || ch == ']' || ch == '{' || ch == '|' ||
            ch == '}' || ch == '_') {
            return true;
        }
    }
    return false;
}

bool Kept(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 && static_cast<unsigned char>(c) < 0x80;
}

// DEL stands in for the replacement; input that holds DEL itself skips the last check.
void CodePages(const std::string& raw) {
    constexpr char kReplacement = '\x7F';
    for (const bool oem : {false, true}) {
        const auto toUtf8 = oem ? tn::OemToUtf8 : tn::Win1252ToUtf8;
        const auto fromUtf8 = oem ? tn::Utf8ToOem : tn::Utf8ToWin1252;
        const std::string utf8 = toUtf8(raw);
        TN_FUZZ_CHECK(fromUtf8(utf8, kReplacement) == raw);
        const std::string narrowed = fromUtf8(raw, kReplacement);
        TN_FUZZ_CHECK(narrowed.size() <= raw.size());
        if (raw.find(kReplacement) == std::string::npos &&
            narrowed.find(kReplacement) == std::string::npos) {
            TN_FUZZ_CHECK(toUtf8(narrowed) == raw);
        }
    }
}

int Hex(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tn::fuzz::Quiet();
    CodePages(std::string(reinterpret_cast<const char*>(data), size));
    const std::string text = tn::fuzz::Text(std::string(reinterpret_cast<const char*>(data), size));
    const auto source = tn::fuzz::ExactCopy(text);

    TPString oem(source.get());
    const TPString converted = oem.Ansi2OEM();
    TN_FUZZ_CHECK(ToStdString(oem).size() == text.size() &&
                  ToStdString(converted) == ToStdString(oem));
    if (!HasOemOrReplacement(text)) {
        oem.OEM2Ansi();
        TN_FUZZ_CHECK(ToStdString(oem) == text);
    }
    TPString ansi(source.get());
    ansi.OEM2Ansi();
    TN_FUZZ_CHECK(ToStdString(ansi).size() == text.size());
    const TPString borrowed(static_cast<const char*>(source.get()), 0u);
    TN_FUZZ_CHECK(ToStdString(borrowed.Ansi2OEM()) == text);  // borrowed text is left alone

    TPString spelled(source.get());
    const std::string uml = ToStdString(spelled.Ansi2Uml());
    const std::string kein = ToStdString(tn::KeinUmlaut(spelled));
    if (kein.size() < 1024) TN_FUZZ_CHECK(uml == kein);
    const std::string upper = ToStdString(spelled.UmlautCodierung(true));
    TN_FUZZ_CHECK(upper.size() <= 4095 && uml.size() <= 1023);
    if (kein.size() < 4094) TN_FUZZ_CHECK(upper.size() == kein.size());

    TPString url(source.get());
    url.HTMLCodierung();
    const std::string encoded = ToStdString(url);
    TN_FUZZ_CHECK(encoded.size() <= 4095);
    std::string decoded;
    bool ascii = true;
    for (std::size_t i = 0; i < encoded.size(); ++i) {
        const char c = encoded[i];
        if (c == '%' && i + 2 < encoded.size() && Hex(encoded[i + 1]) >= 0 &&
            Hex(encoded[i + 2]) >= 0) {
            decoded += static_cast<char>(Hex(encoded[i + 1]) * 16 + Hex(encoded[i + 2]));
            i += 2;
            continue;
        }
        TN_FUZZ_CHECK(Kept(c) || c == '%' || c == '&' || c == '=' || c == '_');
        decoded += c;
    }
    for (const char c : text)
        ascii = ascii && static_cast<unsigned char>(c) < 0x80 && c != '%';
    if (ascii && text.size() * 3 < 4095) TN_FUZZ_CHECK(decoded == text);
    return 0;
}
