// The code pages to and from UTF-8, against glibc's iconv for every byte, for characters the
// code pages lack and for malformed UTF-8; and the string class's text as a std::string.
#include <fstream>

#include "TextTestHelpers.h"

namespace tn::test {
namespace {

using ::testing::PrintToString;

// The bytes Windows-1252 leaves undefined; Windows and the package read them as C1 controls.
const std::string kUndefined1252 = "\x81\x8D\x8F\x90\x9D";

std::string AllBytes() {
    std::string all;
    for (int b = 0; b < 256; ++b)
        all.push_back(static_cast<char>(b));
    return all;
}

/// What iconv makes of `input`, and whether it took all of it (exit status 0).
ToolResult Iconv(const std::string& from, const std::string& to, const std::string& input) {
    const std::filesystem::path file = ScratchFolder() / "iconv_input";
    { std::ofstream(file, std::ios::binary) << input; }
    return RunCommand("iconv -f " + from + " -t " + to + " '" + file.string() + "' 2>/dev/null");
}

// Big-endian UTF-32 as code points.
std::vector<char32_t> CodePoints(const std::string& utf32) {
    std::vector<char32_t> out;
    for (std::size_t i = 0; i + 4 <= utf32.size(); i += 4) {
        char32_t c = 0;
        for (std::size_t k = i; k < i + 4; ++k)
            c = c << 8 | static_cast<unsigned char>(utf32[k]);
        out.push_back(c);
    }
    return out;
}

std::string Utf8Of(char32_t codePoint) {
    std::string out;
    AppendUtf8(out, codePoint);
    return out;
}

struct CodePage {
    const char* iconvName;
    std::string (*toUtf8)(std::string_view);
    std::string (*fromUtf8)(std::string_view, char);
    std::string undefined;  // bytes iconv refuses
};

const CodePage kPages[] = {{"CP1252", Win1252ToUtf8, Utf8ToWin1252, kUndefined1252},
                           {"CP850", OemToUtf8, Utf8ToOem, ""}};

TEST(Encodings, EveryByteAgreesWithIconvBothWays) {
    TN_REQUIRE_SHELL();
    for (const CodePage& page : kPages) {
        std::string defined;
        for (const char c : AllBytes()) {
            if (page.undefined.find(c) == std::string::npos) defined.push_back(c);
        }
        const ToolResult utf32 = Iconv(page.iconvName, "UTF-32BE", defined);
        ASSERT_EQ(utf32.status, 0) << page.iconvName;
        const std::vector<char32_t> expected = CodePoints(utf32.output);
        ASSERT_EQ(expected.size(), defined.size()) << page.iconvName;
        for (std::size_t i = 0; i < defined.size(); ++i) {
            const std::string one(1, defined[i]);
            EXPECT_EQ(page.toUtf8(one), Utf8Of(expected[i]))
                << page.iconvName << " byte " << static_cast<int>(defined[i] & 0xFF);
        }
        // The whole run at once: our UTF-8 encoder against iconv's, and back in both.
        const ToolResult utf8 = Iconv(page.iconvName, "UTF-8", defined);
        ASSERT_EQ(utf8.status, 0);
        EXPECT_EQ(page.toUtf8(defined), utf8.output) << page.iconvName;
        EXPECT_EQ(page.fromUtf8(utf8.output, '?'), defined) << page.iconvName;
        EXPECT_EQ(Iconv("UTF-8", page.iconvName, utf8.output).output, defined);
        // Bytes iconv does not know still come back as themselves.
        for (const char c : page.undefined) {
            const std::string one(1, c);
            EXPECT_NE(Iconv(page.iconvName, "UTF-8", one).status, 0);
            EXPECT_EQ(page.toUtf8(one), Utf8Of(static_cast<unsigned char>(c)));
        }
        EXPECT_EQ(page.fromUtf8(page.toUtf8(AllBytes()), '?'), AllBytes()) << page.iconvName;
    }
}

TEST(Encodings, CharactersACodePageLacksAreRefusedLikeIconv) {
    TN_REQUIRE_SHELL();
    // Latin-1 characters code page 850 has no room for, the C1 controls Windows-1252 replaces,
    // and characters of neither.
    const std::vector<char32_t> probes = {0x80,   0x81,   0x9F,   0xA0,    0xB3,   0x100,
                                          0x20AC, 0x2500, 0x2592, 0x1F600, 0xFFFD, 0x10FFFF};
    for (const CodePage& page : kPages) {
        for (const char32_t c : probes) {
            const std::string utf8 = Utf8Of(c);
            const ToolResult reference = Iconv("UTF-8", page.iconvName, utf8);
            const std::string ours = page.fromUtf8("<" + utf8 + ">", '\x7F');
            // The C1 controls of Windows-1252's undefined bytes are those bytes, as in Windows.
            const bool undefinedByte =
                c < 0x100 && page.undefined.find(static_cast<char>(c)) != std::string::npos;
            if (undefinedByte) {
                EXPECT_EQ(ours, "<" + std::string(1, static_cast<char>(c)) + ">");
            } else if (reference.status == 0) {
                EXPECT_EQ(ours, "<" + reference.output + ">")
                    << page.iconvName << " U+" << std::hex << static_cast<unsigned>(c);
            } else {
                EXPECT_EQ(ours, "<\x7F>")
                    << page.iconvName << " U+" << std::hex << static_cast<unsigned>(c);
            }
        }
    }
}

struct Malformed {
    const char* bytes;
    int badBytes;
};

// Each bad byte is one replacement, and the text after it survives.
const Malformed kMalformed[] = {
    {"\x80", 1},                      // lone continuation byte
    {"\xBF\x80", 2},                  // two of them
    {"\xC3", 1},                      // two-byte sequence cut short
    {"\xE2\x82", 2},                  // three-byte sequence cut short
    {"\xF0\x9F\x98", 3},              // four-byte sequence cut short
    {"\xC0\xAF", 2},                  // overlong "/"
    {"\xC1\xBF", 2},                  // overlong DEL
    {"\xE0\x80\xAF", 3},              // overlong in three bytes
    {"\xE0\x9F\xBF", 3},              // the largest overlong of three bytes
    {"\xF0\x80\x80\xAF", 4},          // overlong in four bytes
    {"\xF0\x8F\xBF\xBF", 4},          // the largest overlong of four bytes
    {"\xED\xA0\x80", 3},              // high surrogate
    {"\xED\xBF\xBF", 3},              // low surrogate
    {"\xED\xA0\xBD\xED\xB8\x80", 6},  // a surrogate pair spelled in UTF-8
    {"\xF4\x90\x80\x80", 4},          // U+110000
    {"\xF5\x80\x80\x80", 4},          // beyond any plane
    {"\xF8\x88\x80\x80\x80", 5},      // five-byte form
    {"\xFE", 1},
    {"\xFF", 1},
};

TEST(Encodings, MalformedUtf8IsRefusedLikeIconvOneReplacementPerByte) {
    TN_REQUIRE_SHELL();
    for (const Malformed& m : kMalformed) {
        const std::string bad = m.bytes;
        const std::string text = "a" + bad + "b\xC3\xA4";
        const ToolResult reference = Iconv("UTF-8", "UTF-32BE", text);
        EXPECT_NE(reference.status, 0) << "iconv took " << PrintToString(bad);
        // iconv converts what comes before the fault, and so do we.
        EXPECT_EQ(CodePoints(reference.output), std::vector<char32_t>{U'a'});
        const std::string replaced(static_cast<std::size_t>(m.badBytes), '#');
        EXPECT_EQ(Utf8ToWin1252(text, '#'), "a" + replaced + "b\xE4") << PrintToString(bad);
        EXPECT_EQ(Utf8ToOem(text, '#'), "a" + replaced + "b\x84") << PrintToString(bad);
        // Cut off at the end of the text.
        EXPECT_NE(Iconv("UTF-8", "UTF-32BE", "a" + bad).status, 0);
        EXPECT_EQ(Utf8ToWin1252("a" + bad, '#'), "a" + replaced);
    }
    // A sequence cut short by the start of the next one, which still counts.
    EXPECT_EQ(Utf8ToWin1252("\xE2\x82\xE2\x82\xAC", '#'), "##\x80");
    EXPECT_EQ(Utf8ToOem("\xE2\x82\xE2\x82\xAC", '#'), "###");  // no euro sign in 850
    // The edges that are still characters: iconv takes them, and so do we.
    for (const std::string edge :
         {"\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBF",
          "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
        const ToolResult reference = Iconv("UTF-8", "UTF-32BE", edge);
        ASSERT_EQ(reference.status, 0) << PrintToString(edge);
        ASSERT_EQ(CodePoints(reference.output).size(), 1u);
        EXPECT_EQ(Utf8Of(CodePoints(reference.output)[0]), edge);
        EXPECT_EQ(Utf8ToWin1252(edge, '#'), "#");  // one character, which Windows-1252 lacks
    }
}

TEST(Encodings, KnownCharactersWithoutReferenceTools) {
    // Euro sign, "Ÿ", "ä", a NUL in the middle, and an undefined byte.
    const std::string ansi("\x80\x9F\xE4\0\x81", 5);
    const std::string utf8("\xE2\x82\xAC\xC5\xB8\xC3\xA4\0\xC2\x81", 10);
    EXPECT_EQ(Win1252ToUtf8(ansi), utf8);
    EXPECT_EQ(Utf8ToWin1252(utf8), ansi);
    EXPECT_EQ(Utf8ToWin1252("\xE2\x86\x92\xF0\x9F\x98\x80", '_'), "__");  // arrow, emoji
    EXPECT_EQ(Utf8ToWin1252("x\xC3"), "x?");
    EXPECT_EQ(Win1252ToUtf8(""), "");
    EXPECT_EQ(Utf8ToOem(""), "");

    // The German letters agree with the string class's own OEM conversion.
    const std::string letters = "\xC4\xD6\xDC\xE4\xF6\xFC\xDF";
    TPString own = Owned(letters);
    EXPECT_EQ(Utf8ToOem(Win1252ToUtf8(letters)), ToStdString(own.Ansi2OEM()));
    EXPECT_EQ(OemToUtf8("\x8E\x99\x9A\x84\x94\x81\xE1"), Win1252ToUtf8(letters));
    EXPECT_EQ(OemToUtf8("\xB0\xC9\xFE"), "\xE2\x96\x91\xE2\x95\x94\xE2\x96\xA0");  // box drawing
    EXPECT_EQ(Utf8ToOem("\xE2\x82\xAC"), "?");  // no euro sign in code page 850

    for (const auto& page : kPages) {
        EXPECT_EQ(page.fromUtf8(page.toUtf8(AllBytes()), '?'), AllBytes()) << page.iconvName;
    }
}

TEST(Encodings, AppendUtf8AgreesWithIconvOnEveryLength) {
    const std::vector<char32_t> points = {0, 0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0x10000, 0x10FFFF};
    std::string ours;
    std::string utf32;
    for (const char32_t c : points) {
        AppendUtf8(ours, c);
        for (int shift = 24; shift >= 0; shift -= 8)
            utf32.push_back(static_cast<char>((c >> shift) & 0xFF));
    }
    EXPECT_EQ(ours.size(), 1u + 1 + 2 + 2 + 3 + 3 + 4 + 4);
    TN_REQUIRE_SHELL();
    const ToolResult reference = Iconv("UTF-32BE", "UTF-8", utf32);
    ASSERT_EQ(reference.status, 0);
    EXPECT_EQ(ours, reference.output);
}

TEST(Encodings, ToStdStringOfEveryKindOfText) {
    EXPECT_EQ(ToStdString(TPString()), "");
    EXPECT_EQ(ToStdString(TPString(static_cast<const char*>(nullptr))), "");
    EXPECT_EQ(ToStdString(TPString("geliehen", 0)), "geliehen");  // borrowed, size 0
    EXPECT_EQ(ToStdString(Owned("M\xE4rz")), "M\xE4rz");
    char buffer[8] = {};
    EXPECT_EQ(ToStdString(TPString("extern", buffer, 0)), "extern");
    TPString gone = Owned("weg");
    gone.Delete();
    EXPECT_EQ(ToStdString(gone), "");
}

}  // namespace
}  // namespace tn::test
