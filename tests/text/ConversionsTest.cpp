// The German letters between Windows-1252, OEM, 7-bit, ASCII spellings, HTML and the URL form,
// the decoding of character references and UTF-8, with fixed and random input.
#include <cctype>
#include <cstdio>

#include "TextTestHelpers.h"

namespace tn::test {
namespace {

const std::string kLetters = "\xC4\xD6\xDC\xE4\xF6\xFC\xDF";  // the seven German letters
const std::string kDegree = "\xB0";

std::string Decoded(const std::string& s) {
    std::string target(s.size() + 1, '\x7F');
    HTMLDecodierung2(s.c_str(), target.data());
    return target.c_str();
}

TEST(Conversions, CodePagesAgreeWithIconvAndConvertInPlace) {
    TN_REQUIRE_SHELL();
    for (const char* page : {"CP850", "CP437"}) {
        const std::string oem = RunReference(std::string("iconv -f CP1252 -t ") + page, kLetters);
        ASSERT_EQ(oem.size(), kLetters.size()) << page;
        TPString s = Owned(kLetters + kDegree + "~_x");
        EXPECT_EQ(ToStdString(s.Ansi2OEM()), oem + kDegree + "~_x") << page;
        EXPECT_EQ(ToStdString(s),
                  oem + kDegree + "~_x");  // the caller's string itself is converted
        // The underscore is the 7-bit sharp s, the tilde stays a tilde.
        EXPECT_EQ(ToStdString(s.OEM2Ansi()), kLetters + kDegree + "~\xDFx");
        CreateStdStrings();
        EXPECT_EQ(ToStdString(OEMChar), oem) << page;
    }
    EXPECT_EQ(ToStdString(Owned("[\\]{|}_~").OEM2Ansi()), kLetters + "~");
    // 0xE1 is both the Windows-1252 a acute (kept) and the OEM sharp s.
    EXPECT_EQ(ToStdString(Owned("\xE1").Ansi2OEM().OEM2Ansi()), "\xDF");

    static const char literal[] = "\xE4_[";
    const TPString borrowed(literal, 0);
    EXPECT_EQ(ToStdString(borrowed.Ansi2OEM()), literal);
    EXPECT_EQ(ToStdString(borrowed.OEM2Ansi()), literal);
    char buffer[8] = {};
    const TPString external("\xFCz", buffer, 0);
    external.Ansi2OEM();
    EXPECT_EQ(std::string(buffer), "\x81z");  // the caller's buffer holds the OEM text
}

TEST(Conversions, Utf8AndHtmlAgreeWithIconv) {
    TN_REQUIRE_SHELL();
    const std::string utf32 = RunReference("iconv -f CP1252 -t UTF-32BE", kLetters + kDegree);
    ASSERT_EQ(utf32.size(), 32u);
    for (std::size_t i = 0; i < 8; ++i) {
        unsigned codePoint = 0;
        for (std::size_t k = 4 * i; k < 4 * i + 4; ++k)
            codePoint = codePoint << 8 | static_cast<unsigned char>(utf32[k]);
        const std::string one(1, (kLetters + kDegree)[i]);
        const std::string reference = "&#" + std::to_string(codePoint) + ";";
        EXPECT_EQ(ToStdString(Owned(one).Ansi2HTML(false)), reference);
        EXPECT_EQ(Decoded(reference), one);
    }
    // Every byte but the five the code page leaves undefined, through UTF-8 and back.
    std::string all;
    for (int b = 1; b < 256; ++b)
        if (b != 0x81 && b != 0x8D && b != 0x8F && b != 0x90 && b != 0x9D)
            all += static_cast<char>(b);
    const std::string utf8 = RunReference("iconv -f CP1252 -t UTF-8", all);
    EXPECT_EQ(ToStdString(Owned(utf8).UTF8toAscii()), all);
    EXPECT_EQ(ToStdString(Owned(utf8).UTF8toHTML(0)), ToStdString(Owned(all).Ansi2HTML(false)));
    EXPECT_EQ(ToStdString(Owned(utf8).UTF8toHTML(1)), ToStdString(Owned(all).Ansi2HTML(true)));
    const std::string ascii = ToStdString(Owned(utf8).UTF8toHTML(3));
    for (const char c : ascii)
        EXPECT_TRUE(c > 0 && c != '<' && c != '>') << c;
    EXPECT_EQ(Decoded(ascii), all);
    EXPECT_EQ(ToStdString(Owned("\xF0\x9F\x98\x80 \xE2\x82\xAC<").UTF8toHTML(0)),
              "&#128512; \x80<");
    EXPECT_EQ(ToStdString(Owned("\xC3\xC3\xA4").UTF8toHTML(2)), "?&#228;");
}

TEST(Conversions, SpellingsHtmlAndUrlFormsStopAtTheirWorkBuffers) {
    for (const TPString& spelled :
         {Owned(kLetters + kDegree).Ansi2Uml(), KeinUmlaut(Owned(kLetters + kDegree)),
          Owned(kLetters + kDegree).UmlautCodierung(false)})
        EXPECT_EQ(ToStdString(spelled), "AeOeUeaeoeuess\xB0");
    EXPECT_EQ(ToStdString(Owned(kLetters).UmlautCodierung(true)), "AEOEUEaeoeuess");
    EXPECT_EQ(ToStdString(TPString("\xE4", 0).Ansi2Uml()),
              "ae");  // a borrowed literal is only read
    EXPECT_EQ(ToStdString(Ansi2HTML(Owned("a<b>&c\xB0\xE9"), true)),
              "a&#60;b&#62;&#38;c&#176;\xE9");
    for (const TPString& empty :
         {TPString().Ansi2OEM(), TPString().OEM2Ansi(), TPString().Ansi2Uml(),
          TPString().UmlautCodierung(true), KeinUmlaut(TPString()), TPString().Ansi2HTML(true),
          TPString().UTF8toAscii(), TPString().UTF8toHTML(0)})
        EXPECT_EQ(empty.c_str(), nullptr);

    const std::string many(3000, '\xE4');
    // 1024 bytes: the last two-letter spelling that fits whole ends at 1022.
    EXPECT_EQ(Owned(many).Ansi2Uml().Length(), 1022);
    EXPECT_EQ(Owned("x" + many).Ansi2Uml().Length(), 1023);
    EXPECT_EQ(KeinUmlaut(Owned(many)).Length(), 6000);
    // UmlautCodierung stops once 4094 characters are written.
    EXPECT_EQ(Owned(many).UmlautCodierung(false).Length(), 4094);
    EXPECT_EQ(Owned("x" + many).UmlautCodierung(false).Length(), 4095);
    EXPECT_EQ(Owned(many).Ansi2HTML(false).Length(), 1020);  // 170 six-character references

    // The URL form keeps its set and writes every byte from 0x80 on as "%FF".
    for (int b = 1; b < 256; ++b) {
        const char c = static_cast<char>(b);
        const bool kept =
            b < 128 && (std::isalnum(b) || c == '%' || c == '&' || c == '=' || c == '_');
        char expected[8];
        std::snprintf(expected, sizeof expected, kept ? "%c" : "%%%02X", b < 128 ? b : 255);
        TPString one(c);
        one.HTMLCodierung();
        EXPECT_EQ(ToStdString(one), expected) << b;
    }
    static const char literal[] = "x y";
    TPString borrowed(literal, 0);
    borrowed.HTMLCodierung();
    EXPECT_EQ(ToStdString(borrowed),
              "x%20y");  // an owned result; the literal itself is not written
    TPString blanks = Owned(std::string(2000, ' '));
    blanks.HTMLCodierung();
    EXPECT_EQ(blanks.Length(), 4095);  // 4096 bytes: 1365 escapes fit
}

// Python's table of HTML 4: each name whose character Windows-1252 has decodes to that byte
// (the non-breaking space to a plain one), the others stay.
TEST(Conversions, DecodingKnowsTheNamedReferencesOfHtml4) {
    TN_REQUIRE_SHELL();
    std::istringstream table(
        RunReference("python3 -c \"import html.entities as e\n"
                     "for n, c in sorted(e.name2codepoint.items()):\n"
                     "    try: b = chr(c).encode('cp1252')[0]\n"
                     "    except UnicodeEncodeError: b = -1\n"
                     "    print(n, 32 if n == 'nbsp' else b)\"",
                     ""));
    std::string name;
    int byte = 0, known = 0;
    while (table >> name >> byte) {
        const std::string reference = "x&" + name + ";y";
        known += byte >= 0;
        EXPECT_EQ(Decoded(reference),
                  byte < 0 ? reference : "x" + std::string(1, static_cast<char>(byte)) + "y")
            << name;
    }
    EXPECT_EQ(known, 96 + 4 + 25);  // Latin-1, the mark-up four, and those of 0x80 to 0x9F
}

TEST(Conversions, DecodingNumericAndMalformedReferences) {
    EXPECT_EQ(Decoded("&#228;&#xE4;&#XE4;&#xe4;&&auml;"), "\xE4\xE4\xE4\xE4&\xE4");
    EXPECT_EQ(Decoded("&#8364;&#x2013;&#150;&#160;&nbsp;"), "\x80\x96\x96\xA0 ");
    EXPECT_EQ(Decoded("&lt;b&gt; &amp;auml; &quot;"), "<b> &auml; \"");  // one pass only
    for (const char* unchanged : {"&auml", "&Xuml;", "&AUML;", "&#0;", "&#;", "&#x;", "&#xG;",
                                  "&#12a;", "&#1114112;", "&#x110000;", "&#99999999999999999999;",
                                  "&#x263A;", "&", "&;", "&#", "&verylongname;", "&#55296;"}) {
        EXPECT_EQ(Decoded(unchanged), unchanged);
    }
    char text[] = "Gr&uuml;&szlig; Gott &#x26; mehr";
    HTMLDecodierung2(text, text);
    EXPECT_EQ(std::string(text), "Gr\xFC\xDF Gott & mehr");
    char target[4] = "abc";
    HTMLDecodierung2(nullptr, target);
    EXPECT_EQ(std::string(target), "");
    HTMLDecodierung2("x", nullptr);  // nothing to write to: nothing happens
    TPString longText = Owned(std::string(5000, 'a'));
    longText.HTMLDecodierung2();
    EXPECT_EQ(longText.Length(), 4095);  // the member decodes into 4096 bytes
}

// Random input, up to `longest - 1` bytes each drawn by `pick`. Every input of the fuzz tests
// lives in an exact-size buffer, so that a read past its end shows under AddressSanitizer.
template <class Pick>
std::string RandomText(std::mt19937& random, unsigned longest, Pick pick) {
    std::string s(random() % longest, 'a');
    for (char& c : s)
        c = static_cast<char>(pick());
    return s;
}

std::string FromHex(const std::string& hex) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    return bytes;
}

// Lines "input:expected" in hex: overlong, surrogate, beyond U+10FFFF, stray and cut-short
// pieces, then bytes that often look like UTF-8 and valid UTF-8 cut at a random byte. Python
// replaces each maximal ill-formed piece once, as the Unicode standard recommends; its
// Windows-1252 codec lacks the five undefined bytes, which keep their value.
constexpr const char* kPythonUtf8Cases =
    "python3 -c \"import random\n"
    "random.seed(20261122)\n"
    "hot = bytes.fromhex('417f808f9fa0bfc0c2c3dfe0e2edeff0f4f5ff')\n"
    "def sample(i):\n"
    "    if i % 2: return bytes(random.choice(hot) if random.random() < 0.5\n"
    "                           else random.randint(1, 255) for _ in range(random.randrange(24)))\n"
    "    cps = [random.randint(1, random.choice((0x7f, 0x7ff, 0xffff, 0x10ffff)))\n"
    "           for _ in range(random.randint(1, 6))]\n"
    "    s = ''.join(chr(c) for c in cps if not 0xd800 <= c <= 0xdfff).encode()\n"
    "    return s[:random.randint(0, len(s))]\n"
    "edges = 'c3 e282 e28278 c0af e08080 eda080 80bfff f4908080 f09f9880 c281c280'.split()\n"
    "for s in [bytes.fromhex(e) for e in edges] + [sample(i) for i in range(3000)]:\n"
    "    out = bytearray()\n"
    "    for ch in s.decode('utf-8', 'replace'):\n"
    "        try: out += ch.encode('cp1252')\n"
    "        except UnicodeEncodeError:\n"
    "            out.append(ord(ch) if ord(ch) in (0x81, 0x8d, 0x8f, 0x90, 0x9d) else 63)\n"
    "    print(s.hex() + ':' + out.hex())\"";

TEST(ConversionsFuzz, Utf8DecoderAgreesWithPythonOnRandomAndTruncatedInput) {
    TN_REQUIRE_SHELL();
    std::istringstream cases(RunReference(kPythonUtf8Cases, ""));
    int count = 0;
    for (std::string line; std::getline(cases, line); ++count) {
        const std::size_t colon = line.find(':');
        const TPString input = Owned(FromHex(line.substr(0, colon)));
        EXPECT_EQ(ToStdString(input.UTF8toAscii()), FromHex(line.substr(colon + 1))) << line;
        for (const char c : ToStdString(input.UTF8toHTML(3)))
            ASSERT_GT(c, 0) << line;  // the pure ASCII form, whatever the input
    }
    EXPECT_EQ(count, 3010);
}

TEST(ConversionsFuzz, ReferenceDecoderStaysInsideItsBuffers) {
    static const char alphabet[] = "&&&##;;xXeE0123456789aAuUmlMLsSzZgGtT \xE4\xFF";
    const std::vector<std::string> valid = {"&auml;", "&#228;", "&#xE4;", "&thorn;", "&euro;"};
    std::mt19937 random(4096);
    for (int i = 0; i < 20000; ++i) {
        std::string s =
            RandomText(random, 40, [&] { return alphabet[random() % (sizeof alphabet - 1)]; });
        if (i % 3 == 0) {  // a valid reference cut short at the end of the text
            const std::string& r = valid[random() % valid.size()];
            s += r.substr(0, random() % (r.size() + 1));
        }
        std::vector<char> target(s.size() + 1);  // exactly as large as the contract asks for
        HTMLDecodierung2(s.c_str(), target.data());
        const std::string decoded = target.data();
        ASSERT_LE(decoded.size(), s.size()) << s;
        ASSERT_TRUE(s.find('&') != std::string::npos || decoded == s) << s;
        TPString member = Owned(s);
        member.HTMLDecodierung2();
        ASSERT_EQ(ToStdString(member), decoded) << s;
        std::vector<char> inPlace(s.c_str(), s.c_str() + s.size() + 1);
        HTMLDecodierung2(inPlace.data(), inPlace.data());
        ASSERT_EQ(std::string(inPlace.data()), decoded) << s;
    }
}

TEST(ConversionsFuzz, EncodersStayInsideTheirBuffers) {
    std::mt19937 random(1024);
    for (int i = 0; i < 300; ++i) {
        const TPString source = Owned(RandomText(random, 6000, [&] { return 1 + random() % 255; }));
        EXPECT_LE(source.Ansi2Uml().Length(), 1023);
        EXPECT_LE(source.Ansi2HTML(true).Length(), 1023);
        EXPECT_LE(TPString(source).UmlautCodierung(true).Length(), 4095);
        TPString url(source);
        url.HTMLCodierung();
        EXPECT_LE(url.Length(), 4095);
    }
}

}  // namespace
}  // namespace tn::test
