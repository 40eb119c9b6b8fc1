// The German letters between Windows-1252, OEM, 7-bit, ASCII spellings and HTML, the URL form
// and the decoding of character references.
#include <gtest/gtest.h>
#include <tnpackage/tnpackage.h>

#include <string>

#include "ExternalTools.h"

namespace tn {
namespace {

// Ä Ö Ü ä ö ü ß, then the degree sign.
const std::string kLetters = "\xC4\xD6\xDC\xE4\xF6\xFC\xDF";
const std::string kDegree = "\xB0";

std::string Text(const TPString& s) {
    return s.c_str() != nullptr ? s.c_str() : "";
}
TPString Owned(const std::string& s) {
    return TPString(const_cast<char*>(s.c_str()));
}

TEST(Conversions, CodePageConversionRunsInTheOwnBufferAndReadsTheSevenBitForms) {
    TPString s = Owned(kLetters + kDegree + "~_x");
    const TPString copy = s.Ansi2OEM();
    const std::string oem = "\x8E\x99\x9A\x84\x94\x81\xE1\xB0~_x";
    EXPECT_EQ(Text(s), oem);  // the caller's string itself is converted
    EXPECT_EQ(Text(copy), oem);
    EXPECT_EQ(Text(s.OEM2Ansi()), kLetters + kDegree + "~" +
                                      "\xDF"
                                      "x");
    EXPECT_EQ(Text(s), kLetters + kDegree + "~" +
                           "\xDF"
                           "x");

    // The 7-bit replacements; the underscore is the sharp s, the tilde stays a tilde.
    TPString seven = Owned("[\\]{|}_~");
    EXPECT_EQ(Text(seven.OEM2Ansi()), kLetters + "~");
    // 0xE1 is both the OEM sharp s and the Windows-1252 a acute: OEM2Ansi cannot tell them apart.
    TPString acute = Owned("\xE1");
    EXPECT_EQ(Text(acute.Ansi2OEM()), "\xE1");
    EXPECT_EQ(Text(acute.OEM2Ansi()), "\xDF");
}

TEST(Conversions, BorrowedTextIsLeftAloneAndExternalBuffersAreConverted) {
    static const char literal[] = "\xE4_[";
    const TPString borrowed(literal, 0);
    ASSERT_EQ(borrowed.Size(), 0);
    EXPECT_EQ(Text(borrowed.Ansi2OEM()), "\xE4_[");
    EXPECT_EQ(Text(borrowed.OEM2Ansi()), "\xE4_[");
    EXPECT_EQ(std::string(literal), "\xE4_[");

    char buffer[8] = {};
    const TPString external(
        "\xFC"
        "b",
        buffer, 0);
    ASSERT_EQ(external.Size(), 3);
    EXPECT_EQ(Text(external.Ansi2OEM()),
              "\x81"
              "b");
    EXPECT_EQ(std::string(buffer),
              "\x81"
              "b");  // the caller's buffer holds the OEM text now

    const TPString empty;
    EXPECT_EQ(empty.Ansi2OEM().c_str(), nullptr);
    EXPECT_EQ(empty.OEM2Ansi().c_str(), nullptr);
}

// The letters and the degree sign as the system's iconv converts them.
TEST(Conversions, TheSevenLettersAndTheDegreeSignAgreeWithIconv) {
    for (const char* page : {"CP850", "CP437"}) {
        const std::string oem =
            test::RunReference(std::string("iconv -f CP1252 -t ") + page, kLetters);
        ASSERT_EQ(oem.size(), kLetters.size()) << page;
        EXPECT_EQ(Text(Owned(kLetters).Ansi2OEM()), oem) << page;
        EXPECT_EQ(Text(Owned(oem).OEM2Ansi()), kLetters) << page;
        // The OEM standard string lists the same seven codes.
        CreateStdStrings();
        EXPECT_EQ(Text(OEMChar), oem) << page;
    }
    for (const char c : kLetters + kDegree) {
        const std::string one(1, c);
        const std::string utf8 = test::RunReference("iconv -f CP1252 -t UTF-8", one);
        const std::string utf32 = test::RunReference("iconv -f CP1252 -t UTF-32BE", one);
        ASSERT_EQ(utf32.size(), 4u);
        unsigned codePoint = 0;
        for (const char b : utf32)
            codePoint = codePoint << 8 | static_cast<unsigned char>(b);
        const std::string reference = "&#" + std::to_string(codePoint) + ";";
        EXPECT_EQ(Text(Owned(utf8).UTF8toAscii()), one);
        EXPECT_EQ(Text(Owned(utf8).UTF8toHTML(0)), reference);
        EXPECT_EQ(Text(Owned(one).Ansi2HTML(false)), reference);
        char decoded[16];
        HTMLDecodierung2(reference.c_str(), decoded);
        EXPECT_EQ(std::string(decoded), one);
    }
}

TEST(Conversions, EveryWindows1252CharacterSurvivesUtf8AndHtml) {
    std::string all;
    for (int b = 1; b < 256; ++b) {
        // The five bytes the code page leaves undefined have no UTF-8 form in iconv.
        if (b == 0x81 || b == 0x8D || b == 0x8F || b == 0x90 || b == 0x9D) continue;
        all += static_cast<char>(b);
    }
    const std::string utf8 = test::RunReference("iconv -f CP1252 -t UTF-8", all);
    ASSERT_GT(utf8.size(), all.size());
    EXPECT_EQ(Text(Owned(utf8).UTF8toAscii()), all);
    EXPECT_EQ(Text(Owned(utf8).UTF8toHTML(0)), Text(Owned(all).Ansi2HTML(false)));
    EXPECT_EQ(Text(Owned(utf8).UTF8toHTML(1)), Text(Owned(all).Ansi2HTML(true)));

    // Pure ASCII with every mark-up character escaped, and back.
    const std::string ascii = Text(Owned(utf8).UTF8toHTML(3));
    for (const char c : ascii)
        EXPECT_TRUE(c > 0 && c != '<' && c != '>') << c;
    TPString back = Owned(ascii);
    back.HTMLDecodierung2();
    EXPECT_EQ(Text(back), all);
}

TEST(Conversions, AsciiSpellings) {
    EXPECT_EQ(Text(Owned("\xD6l, Gr\xFC\xDF"
                         "e")
                       .Ansi2Uml()),
              "Oel, Gruesse");
    EXPECT_EQ(Text(KeinUmlaut(Owned("\xD6l, Gr\xFC\xDF"
                                    "e"))),
              "Oel, Gruesse");
    EXPECT_EQ(Text(Owned(kLetters + kDegree).Ansi2Uml()), "AeOeUeaeoeuess\xB0");
    EXPECT_EQ(Text(Owned("\xD6l").UmlautCodierung(true)), "OEl");
    EXPECT_EQ(Text(Owned("\xD6l").UmlautCodierung(false)), "Oel");
    EXPECT_EQ(Text(Owned(kLetters).UmlautCodierung(true)), "AEOEUEaeoeuess");
    EXPECT_EQ(TPString().Ansi2Uml().c_str(), nullptr);
    EXPECT_EQ(TPString().UmlautCodierung(true).c_str(), nullptr);
    EXPECT_EQ(KeinUmlaut(TPString()).c_str(), nullptr);
    // A borrowed literal is read, not written.
    EXPECT_EQ(Text(TPString("\xE4", 0).Ansi2Uml()), "ae");
}

TEST(Conversions, SpellingsStopAtTheirWorkBuffers) {
    const std::string many(3000, '\xE4');
    // 1024 bytes: the last two-letter spelling that fits whole ends at 1022.
    EXPECT_EQ(Owned(many).Ansi2Uml().Length(), 1022);
    EXPECT_EQ(Owned("x" + many).Ansi2Uml().Length(), 1023);
    EXPECT_EQ(KeinUmlaut(Owned(many)).Length(), 6000);
    // UmlautCodierung stops once 4094 characters are written.
    EXPECT_EQ(Owned(many).UmlautCodierung(false).Length(), 4094);
    EXPECT_EQ(Owned("x" + many).UmlautCodierung(false).Length(), 4095);
    EXPECT_EQ(Owned(std::string(5000, 'a')).UmlautCodierung(false).Length(), 4094);
}

TEST(Conversions, HtmlReferencesOfLettersAndMarkup) {
    EXPECT_EQ(Text(Owned("a<b>&c\xB0").Ansi2HTML(false)), "a<b>&c&#176;");
    EXPECT_EQ(Text(Owned("a<b>&c\xB0").Ansi2HTML(true)), "a&#60;b&#62;&#38;c&#176;");
    EXPECT_EQ(Text(Ansi2HTML(Owned("M\xFC"
                                   "nchen <1>"),
                             true)),
              "M&#252;nchen &#60;1&#62;");
    EXPECT_EQ(Text(Owned("\xE9\x80").Ansi2HTML(true)), "\xE9\x80");  // only the table's letters
    EXPECT_EQ(TPString().Ansi2HTML(true).c_str(), nullptr);
    // 1024 bytes: 170 six-character references fit, the 171st does not.
    EXPECT_EQ(Owned(std::string(300, '\xE4')).Ansi2HTML(false).Length(), 1020);
    EXPECT_EQ(Owned(std::string(300, '<')).Ansi2HTML(true).Length(), 1020);
}

TEST(Conversions, UrlEncodingKeepsItsSetAndWritesHighBytesAsFF) {
    TPString s = Owned("a b");
    s.HTMLCodierung();
    EXPECT_EQ(Text(s), "a%20b");

    TPString kept = Owned("Az09%&=_");
    kept.HTMLCodierung();
    EXPECT_EQ(Text(kept), "Az09%&=_");

    // Every byte from 0x80 on is read as a negative number: "%FF", whatever the byte.
    TPString high = Owned(
        "M\xFC"
        "n\x80\xFF");
    high.HTMLCodierung();
    EXPECT_EQ(Text(high), "M%FFn%FF%FF");

    for (int b = 1; b < 128; ++b) {
        const char c = static_cast<char>(b);
        const bool keptAsIs = std::isalnum(b) || c == '%' || c == '&' || c == '=' || c == '_';
        char expected[8];
        std::snprintf(expected, sizeof expected, keptAsIs ? "%c" : "%%%02X", b);
        TPString one(c);
        one.HTMLCodierung();
        EXPECT_EQ(Text(one), expected) << b;
    }

    // A borrowed literal is replaced by an owned result, the literal itself is not written.
    static const char literal[] = "x y";
    TPString borrowed(literal, 0);
    borrowed.HTMLCodierung();
    EXPECT_EQ(Text(borrowed), "x%20y");
    EXPECT_GT(borrowed.Size(), 0);
    EXPECT_EQ(std::string(literal), "x y");

    TPString null;
    null.HTMLCodierung();
    EXPECT_EQ(null.c_str(), nullptr);

    // 4096 bytes: 1365 three-character escapes fit.
    TPString blanks = Owned(std::string(2000, ' '));
    blanks.HTMLCodierung();
    EXPECT_EQ(blanks.Length(), 4095);
}

// The named references against Python's table of HTML 4: each one whose character
// Windows-1252 has is decoded to that byte, the others are left as they are.
TEST(Conversions, DecodingKnowsTheNamedReferencesOfHtml4) {
    const std::string table = test::RunReference(
        "python3 -c \"import html.entities as e\n"
        "for n, c in sorted(e.name2codepoint.items()):\n"
        "    try: b = chr(c).encode('cp1252')[0]\n"
        "    except UnicodeEncodeError: b = -1\n"
        "    print(n, b)\"",
        "");
    int names = 0, known = 0;
    std::size_t start = 0;
    while (start < table.size()) {
        const std::size_t end = table.find('\n', start);
        const std::string line = table.substr(start, end - start);
        start = end == std::string::npos ? table.size() : end + 1;
        const std::size_t blank = line.find(' ');
        ASSERT_NE(blank, std::string::npos) << line;
        const std::string name = line.substr(0, blank);
        const int byte = std::stoi(line.substr(blank + 1));
        const std::string reference = "x&" + name + ";y";
        char decoded[32];
        HTMLDecodierung2(reference.c_str(), decoded);
        ++names;
        if (byte < 0) {
            EXPECT_EQ(std::string(decoded), reference) << name;
        } else {
            ++known;
            const char expected = name == "nbsp" ? ' ' : static_cast<char>(byte);
            EXPECT_EQ(std::string(decoded), std::string("x") + expected + "y") << name;
        }
    }
    EXPECT_EQ(names, 252);
    EXPECT_EQ(known, 96 + 4 + 25);  // Latin-1, the mark-up four, and those of 0x80 to 0x9F
}

std::string Decoded(const std::string& s) {
    std::string target(s.size() + 1, '\x7F');
    HTMLDecodierung2(s.c_str(), target.data());
    return target.c_str();
}

TEST(Conversions, DecodingNumericAndMalformedReferences) {
    EXPECT_EQ(Decoded("&#228;&#xE4;&#XE4;&#xe4;"), "\xE4\xE4\xE4\xE4");
    EXPECT_EQ(Decoded("&#8364;&#x2013;&#150;&#160;&nbsp;"), "\x80\x96\x96\xA0 ");
    EXPECT_EQ(Decoded("&Auml;&Ouml;&Uuml;&auml;&ouml;&uuml;&szlig;&deg;"), kLetters + kDegree);
    EXPECT_EQ(Decoded("&lt;b&gt; &amp;auml; &quot;"), "<b> &auml; \"");  // one pass only
    EXPECT_EQ(Decoded("&&auml;"), "&\xE4");
    for (const char* unchanged :
         {"&auml",          "&Xuml;",     "&AUML;",     "&alpha;",
          "&#0;",           "&#;",        "&#x;",       "&#xG;",
          "&#12a;",         "&#1114112;", "&#x110000;", "&#99999999999999999999;",
          "&#x263A;",       "&",          "&;",         "&#",
          "&verylongname;", "&thetasym;", "a & b",      "&#55296;"}) {
        EXPECT_EQ(Decoded(unchanged), unchanged);
    }
    // In place.
    char text[] = "Gr&uuml;&szlig;e &#x26; mehr";
    HTMLDecodierung2(text, text);
    EXPECT_EQ(std::string(text),
              "Gr\xFC\xDF"
              "e & mehr");
    char target[4] = "abc";
    HTMLDecodierung2(nullptr, target);
    EXPECT_EQ(std::string(target), "");
    HTMLDecodierung2("x", nullptr);  // nothing to write to: nothing happens

    TPString member = Owned("M&uuml;nchen");
    member.HTMLDecodierung2();
    EXPECT_EQ(Text(member), "M\xFCnchen");
    TPString null;
    null.HTMLDecodierung2();
    EXPECT_EQ(null.c_str(), nullptr);
    // The member decodes into 4096 bytes.
    TPString longText = Owned(std::string(5000, 'a'));
    longText.HTMLDecodierung2();
    EXPECT_EQ(longText.Length(), 4095);
}

TEST(Conversions, Utf8IllFormedPiecesBecomeOneQuestionMarkEach) {
    const struct {
        const char* utf8;
        const char* ascii;
    } cases[] = {
        {"\xC3\xA4\xE2\x82\xAC", "\xE4\x80"},
        {"\xC3", "?"},                 // cut short at the end
        {"\xE2\x82", "?"},             // one piece, however much of it is there
        {"\xE2\x82x", "?x"},           // the byte that ends it is read again
        {"\xC0\xAF", "??"},            // overlong lead
        {"\xE0\x80\x80", "???"},       // overlong three-byte form
        {"\xED\xA0\x80", "???"},       // surrogate
        {"\xF4\x90\x80\x80", "????"},  // above U+10FFFF
        {"\xF0\x9F\x98\x80", "?"},     // a character Windows-1252 lacks
        {"\x80\xBF", "??"},            // stray continuation bytes
        {"\xFF\xFE", "??"},
        {"\xC2\x81\xC2\x80", "\x81?"},  // U+0081 keeps its byte, U+0080 has none
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Text(Owned(c.utf8).UTF8toAscii()), c.ascii) << c.utf8;
    }
    EXPECT_EQ(Text(Owned("\xF0\x9F\x98\x80 \xE2\x82\xAC<").UTF8toHTML(0)), "&#128512; \x80<");
    EXPECT_EQ(Text(Owned("\xF0\x9F\x98\x80 \xE2\x82\xAC<").UTF8toHTML(3)),
              "&#128512; &#8364;&#60;");
    EXPECT_EQ(Text(Owned("\xC3\xC3\xA4").UTF8toHTML(2)), "?&#228;");
    EXPECT_EQ(TPString().UTF8toAscii().c_str(), nullptr);
    EXPECT_EQ(TPString().UTF8toHTML(0).c_str(), nullptr);
}

}  // namespace
}  // namespace tn
