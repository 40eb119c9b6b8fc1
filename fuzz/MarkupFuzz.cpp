// The decoders of outside text: character references (HTMLDecodierung2, free and member) and
// UTF-8 (UTF8toAscii, UTF8toHTML in every mode).
//
// Invariants: the free decoder writes at most the source's length plus its NUL (the target is
// exactly that big), also in place; the member agrees with it; UTF-8 of a Windows-1252 text
// comes back as that text, and as Ansi2HTML's entities through UTF8toHTML; decoding what
// Ansi2HTML(true) wrote gives the text back.
#include <cstdint>
#include <cstring>
#include <string>

#include "FuzzSupport.h"

namespace {

using tn::TPString;

void Decoders(const std::string& text) {
    const auto source = tn::fuzz::ExactCopy(text);
    auto target = std::make_unique<char[]>(text.size() + 1);
    tn::HTMLDecodierung2(source.get(), target.get());
    const std::string decoded = target.get();
    TN_FUZZ_CHECK(decoded.size() <= text.size());

    auto inPlace = tn::fuzz::ExactCopy(text);
    tn::HTMLDecodierung2(inPlace.get(), inPlace.get());
    TN_FUZZ_CHECK(decoded == inPlace.get());

    TPString member(source.get());
    member.HTMLDecodierung2();
    if (text.size() < 4096) TN_FUZZ_CHECK(ToStdString(member) == decoded);

    const TPString owned(source.get());
    const std::string ascii = ToStdString(owned.UTF8toAscii());
    TN_FUZZ_CHECK(ascii.size() <= text.size());
    for (int mode = 0; mode < 4; ++mode) {
        const TPString html = owned.UTF8toHTML(mode);
        if (mode & 2) {
            for (const char c : ToStdString(html))
                TN_FUZZ_CHECK(static_cast<unsigned char>(c) < 0x80);
        }
    }
}

void RoundTrips(const std::string& text) {
    // Short enough that no conversion meets its work buffer's end.
    const std::string t = text.substr(0, 150);
    const auto source = tn::fuzz::ExactCopy(t);
    const TPString ansi(source.get());
    const std::string utf8 = tn::Win1252ToUtf8(t);
    const auto utf8Copy = tn::fuzz::ExactCopy(utf8);
    const TPString fromUtf8(utf8Copy.get());
    TN_FUZZ_CHECK(ToStdString(fromUtf8.UTF8toAscii()) == t);
    TN_FUZZ_CHECK(ToStdString(fromUtf8.UTF8toHTML(0)) == ToStdString(ansi.Ansi2HTML(false)));
    TN_FUZZ_CHECK(ToStdString(fromUtf8.UTF8toHTML(1)) == ToStdString(ansi.Ansi2HTML(true)));

    const TPString escaped = ansi.Ansi2HTML(true);
    TPString back(escaped);
    back.HTMLDecodierung2();
    TN_FUZZ_CHECK(ToStdString(back) == t);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tn::fuzz::Quiet();
    tn::fuzz::Bytes in(data, size);
    const std::uint8_t mode = in.Byte();
    const std::string text = tn::fuzz::Text(in.Rest());
    if (mode & 1) {
        RoundTrips(text);
    } else {
        Decoders(text);
    }
    return 0;
}
