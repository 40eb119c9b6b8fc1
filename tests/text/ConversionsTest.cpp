// The German letters between Windows-1252, OEM, 7-bit, ASCII spellings, HTML and the URL form,
// and the decoding of character references.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <sstream>
#include <string>

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
    for (const char* page : {"CP850", "CP437"}) {
        const std::string oem = RunReference(std::string("iconv -f CP1252 -t ") + page, kLetters);
        ASSERT_EQ(oem.size(), kLetters.size()) << page;
        TPString s = Owned(kLetters + kDegree + "~_x");
        const TPString copy = s.Ansi2OEM();
        EXPECT_EQ(Text(s), oem + kDegree + "~_x") << page;  // the caller's string is converted
        EXPECT_EQ(Text(copy), Text(s));
        // The underscore is the 7-bit sharp s, the tilde stays a tilde.
        EXPECT_EQ(Text(s.OEM2Ansi()), kLetters + kDegree + "~\xDFx");
        CreateStdStrings();
        EXPECT_EQ(Text(OEMChar), oem) << page;
    }
    EXPECT_EQ(Text(Owned("[\\]{|}_~").OEM2Ansi()), kLetters + "~");
    // 0xE1 is both the OEM sharp s and the Windows-1252 a acute.
    EXPECT_EQ(Text(Owned("\xE1").Ansi2OEM()), "\xE1");
    EXPECT_EQ(Text(Owned("\xE1").OEM2Ansi()), "\xDF");

    static const char literal[] = "\xE4_[";
    const TPString borrowed(literal, 0);
    EXPECT_EQ(Text(borrowed.Ansi2OEM()), literal);
    EXPECT_EQ(Text(borrowed.OEM2Ansi()), literal);
    EXPECT_EQ(std::string(literal), "\xE4_[");
    char buffer[8] = {};
    const TPString external("\xFCz", buffer, 0);
    external.Ansi2OEM();
    EXPECT_EQ(std::string(buffer), "\x81z");  // the caller's buffer holds the OEM text
    EXPECT_EQ(TPString().Ansi2OEM().c_str(), nullptr);
    EXPECT_EQ(TPString().OEM2Ansi().c_str(), nullptr);
}

TEST(Conversions, Utf8AndHtmlAgreeWithIconv) {
    for (const char c : kLetters + kDegree) {
        const std::string one(1, c);
        const std::string utf8 = RunReference("iconv -f CP1252 -t UTF-8", one);
        const std::string utf32 = RunReference("iconv -f CP1252 -t UTF-32BE", one);
        ASSERT_EQ(utf32.size(), 4u);
        unsigned codePoint = 0;
        for (const char b : utf32)
            codePoint = codePoint << 8 | static_cast<unsigned char>(b);
        const std::string reference = "&#" + std::to_string(codePoint) + ";";
        EXPECT_EQ(Text(Owned(utf8).UTF8toAscii()), one);
        EXPECT_EQ(Text(Owned(utf8).UTF8toHTML(0)), reference);
        EXPECT_EQ(Text(Owned(one).Ansi2HTML(false)), reference);
        EXPECT_EQ(Decoded(reference), one);
    }
    // Every byte but the five the code page leaves undefined, through UTF-8 and back.
    std::string all;
    for (int b = 1; b < 256; ++b) {
        if (b != 0x81 && b != 0x8D && b != 0x8F && b != 0x90 && b != 0x9D)
            all += static_cast<char>(b);
    }
    const std::string utf8 = RunReference("iconv -f CP1252 -t UTF-8", all);
    EXPECT_EQ(Text(Owned(utf8).UTF8toAscii()), all);
    EXPECT_EQ(Text(Owned(utf8).UTF8toHTML(0)), Text(Owned(all).Ansi2HTML(false)));
    EXPECT_EQ(Text(Owned(utf8).UTF8toHTML(1)), Text(Owned(all).Ansi2HTML(true)));
    const std::string ascii = Text(Owned(utf8).UTF8toHTML(3));
    for (const char c : ascii)
        EXPECT_TRUE(c > 0 && c != '<' && c != '>') << c;
    TPString back = Owned(ascii);
    back.HTMLDecodierung2();
    EXPECT_EQ(Text(back), all);
    EXPECT_EQ(Text(Owned("\xF0\x9F\x98\x80 \xE2\x82\xAC<").UTF8toHTML(0)), "&#128512; \x80<");
    EXPECT_EQ(Text(Owned("\xC3\xC3\xA4").UTF8toHTML(2)), "?&#228;");
    EXPECT_EQ(TPString().UTF8toHTML(0).c_str(), nullptr);
}

TEST(Conversions, SpellingsAndHtmlReferencesStopAtTheirWorkBuffers) {
    const std::string greeting = "\xD6l, Gr\xFC\xDF Gott";
    EXPECT_EQ(Text(Owned(greeting).Ansi2Uml()), "Oel, Gruess Gott");
    EXPECT_EQ(Text(KeinUmlaut(Owned(greeting))), "Oel, Gruess Gott");
    EXPECT_EQ(Text(Owned(kLetters + kDegree).Ansi2Uml()), "AeOeUeaeoeuess\xB0");
    EXPECT_EQ(Text(Owned(kLetters).UmlautCodierung(true)), "AEOEUEaeoeuess");
    EXPECT_EQ(Text(Owned(kLetters).UmlautCodierung(false)), "AeOeUeaeoeuess");
    EXPECT_EQ(Text(TPString("\xE4", 0).Ansi2Uml()), "ae");  // a borrowed literal is only read
    EXPECT_EQ(Text(Owned("a<b>&c\xB0").Ansi2HTML(false)), "a<b>&c&#176;");
    EXPECT_EQ(Text(Ansi2HTML(Owned("a<b>&c\xB0\xE9"), true)), "a&#60;b&#62;&#38;c&#176;\xE9");
    EXPECT_EQ(TPString().Ansi2Uml().c_str(), nullptr);
    EXPECT_EQ(TPString().Ansi2HTML(true).c_str(), nullptr);

    const std::string many(3000, '\xE4');
    // 1024 bytes: the last two-letter spelling that fits whole ends at 1022.
    EXPECT_EQ(Owned(many).Ansi2Uml().Length(), 1022);
    EXPECT_EQ(Owned("x" + many).Ansi2Uml().Length(), 1023);
    EXPECT_EQ(KeinUmlaut(Owned(many)).Length(), 6000);
    // UmlautCodierung stops once 4094 characters are written.
    EXPECT_EQ(Owned(many).UmlautCodierung(false).Length(), 4094);
    EXPECT_EQ(Owned("x" + many).UmlautCodierung(false).Length(), 4095);
    EXPECT_EQ(Owned(many).Ansi2HTML(false).Length(), 1020);  // 170 six-character references
}

TEST(Conversions, UrlEncodingKeepsItsSetAndWritesHighBytesAsFF) {
    for (int b = 1; b < 256; ++b) {
        const char c = static_cast<char>(b);
        const bool kept =
            b < 128 && (std::isalnum(b) || c == '%' || c == '&' || c == '=' || c == '_');
        char expected[8];
        std::snprintf(expected, sizeof expected, kept ? "%c" : "%%%02X", b < 128 ? b : 255);
        TPString one(c);
        one.HTMLCodierung();
        EXPECT_EQ(Text(one), expected) << b;
    }
    static const char literal[] = "x y";
    TPString borrowed(literal, 0);
    borrowed.HTMLCodierung();
    EXPECT_EQ(Text(borrowed), "x%20y");
    EXPECT_EQ(std::string(literal), "x y");
    TPString blanks = Owned(std::string(2000, ' '));
    blanks.HTMLCodierung();
    EXPECT_EQ(blanks.Length(), 4095);  // 4096 bytes: 1365 escapes fit
}

// Python's table of HTML 4: each name whose character Windows-1252 has decodes to that byte.
TEST(Conversions, DecodingKnowsTheNamedReferencesOfHtml4) {
    std::istringstream table(
        RunReference("python3 -c \"import html.entities as e\n"
                     "for n, c in sorted(e.name2codepoint.items()):\n"
                     "    try: b = chr(c).encode('cp1252')[0]\n"
                     "    except UnicodeEncodeError: b = -1\n"
                     "    print(n, b)\"",
                     ""));
    std::string name;
    int byte = 0, names = 0, known = 0;
    while (table >> name >> byte) {
        ++names;
        const std::string reference = "x&" + name + ";y";
        if (byte < 0) {
            EXPECT_EQ(Decoded(reference), reference) << name;
            continue;
        }
        ++known;
        const char expected = name == "nbsp" ? ' ' : static_cast<char>(byte);
        EXPECT_EQ(Decoded(reference), std::string("x") + expected + "y") << name;
    }
    EXPECT_EQ(names, 252);
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

}  // namespace
}  // namespace tn::test
