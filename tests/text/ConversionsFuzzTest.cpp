// Random and truncated input for the decoders. Every input lives in an exact-size owned buffer,
// so that a read past its end shows under AddressSanitizer.
#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "TextTestHelpers.h"

namespace tn::test {
namespace {

std::string Hex(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string out;
    for (const unsigned char c : bytes) {
        out += digits[c >> 4];
        out += digits[c & 15];
    }
    return out;
}

// Bytes that look like UTF-8 often enough to reach every branch of a decoder.
std::string RandomUtf8ish(std::mt19937& random) {
    static const unsigned char interesting[] = {0x41, 0x7F, 0x80, 0x8F, 0x9F, 0xA0, 0xBF,
                                                0xC0, 0xC2, 0xC3, 0xDF, 0xE0, 0xE2, 0xED,
                                                0xEF, 0xF0, 0xF4, 0xF5, 0xFF, 0x26, 0x3B};
    std::string s(random() % 24, 'a');
    for (char& c : s) {
        c = static_cast<char>(random() % 2 ? interesting[random() % sizeof interesting]
                                           : 1 + random() % 255);
    }
    return s;
}

// Valid UTF-8 of random code points, then cut at a random byte.
std::string TruncatedUtf8(std::mt19937& random) {
    static const char32_t limits[] = {0x7F, 0x7FF, 0xFFFF, 0x10FFFF};
    static const unsigned char leads[] = {0x00, 0xC0, 0xE0, 0xF0};
    std::string s;
    for (auto count = 1 + random() % 6; count > 0; --count) {
        const auto trailing = random() % 4;
        const auto cp = static_cast<char32_t>(1 + random() % limits[trailing]);
        if (cp >= 0xD800 && cp <= 0xDFFF) continue;
        const int n = cp < 0x80 ? 0 : cp < 0x800 ? 1 : cp < 0x10000 ? 2 : 3;
        s += static_cast<char>(leads[n] | cp >> (6 * n));
        for (int k = n - 1; k >= 0; --k)
            s += static_cast<char>(0x80 | (cp >> (6 * k) & 0x3F));
    }
    s.resize(random() % (s.size() + 1));
    return s;
}

// Python replaces each maximal ill-formed piece once, as the Unicode standard recommends; its
// Windows-1252 codec lacks the five undefined bytes, which keep their value.
constexpr const char* kPythonUtf8Oracle =
    "python3 -c \"import sys\n"
    "for line in sys.stdin:\n"
    "    out = bytearray()\n"
    "    for ch in bytes.fromhex(line.strip()).decode('utf-8', 'replace'):\n"
    "        try: out += ch.encode('cp1252')\n"
    "        except UnicodeEncodeError:\n"
    "            out.append(ord(ch) if ord(ch) in (0x81, 0x8d, 0x8f, 0x90, 0x9d) else 63)\n"
    "    print(out.hex())\"";

TEST(ConversionsFuzz, Utf8DecoderAgreesWithPythonOnRandomAndTruncatedInput) {
    // Overlong, surrogate, beyond U+10FFFF, stray and cut-short pieces, then random ones.
    std::vector<std::string> inputs = {
        "\xC3",         "\xE2\x82",     "\xE2\x82x",        "\xC0\xAF",
        "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xF0\x9F\x98\x80",
        "\x80\xBF",     "\xFF\xFE",     "\xC2\x81\xC2\x80", "\xC3\xA4\xE2\x82\xAC"};
    std::mt19937 random(20261122);
    for (int i = 0; i < 3000; ++i)
        inputs.push_back(i % 2 ? RandomUtf8ish(random) : TruncatedUtf8(random));
    std::string batch;
    for (const auto& s : inputs)
        batch += Hex(s) + "\n";
    std::istringstream expected(RunReference(kPythonUtf8Oracle, batch));
    for (const auto& s : inputs) {
        std::string line;
        ASSERT_TRUE(std::getline(expected, line)) << "python3 gave too few lines";
        EXPECT_EQ(Hex(Text(Owned(s).UTF8toAscii())), line) << Hex(s);
        for (const char c : Text(Owned(s).UTF8toHTML(3)))
            ASSERT_GT(c, 0) << Hex(s);  // the pure ASCII form, whatever the input
    }
}

TEST(ConversionsFuzz, ReferenceDecoderStaysInsideItsBuffers) {
    static const char alphabet[] = "&&&##;;xXeE0123456789aAuUmlMLsSzZgGtT \xE4\xFF";
    const std::vector<std::string> valid = {"&auml;", "&#228;", "&#xE4;", "&thorn;", "&euro;"};
    std::mt19937 random(4096);
    for (int i = 0; i < 20000; ++i) {
        std::string s(random() % 40, 'a');
        for (char& c : s)
            c = alphabet[random() % (sizeof alphabet - 1)];
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
        ASSERT_EQ(Text(member), decoded) << s;
        std::vector<char> inPlace(s.c_str(), s.c_str() + s.size() + 1);
        HTMLDecodierung2(inPlace.data(), inPlace.data());
        ASSERT_EQ(std::string(inPlace.data()), decoded) << s;
    }
}

TEST(ConversionsFuzz, EncodersStayInsideTheirBuffers) {
    std::mt19937 random(1024);
    for (int i = 0; i < 300; ++i) {
        std::string s(random() % 6000, 'a');
        for (char& c : s)
            c = static_cast<char>(1 + random() % 255);
        const TPString source = Owned(s);
        EXPECT_LE(source.Ansi2Uml().Length(), 1023);
        EXPECT_LE(source.Ansi2HTML(true).Length(), 1023);
        EXPECT_LE(TPString(source).UmlautCodierung(true).Length(), 4095);
        TPString url(source);
        url.HTMLCodierung();
        EXPECT_LE(url.Length(), 4095);
        // Each of the seven letters grows by one character, nothing else changes length.
        int letters = 0;
        for (const char c : s)
            letters += std::string("\xC4\xD6\xDC\xE4\xF6\xFC\xDF").find(c) != std::string::npos;
        EXPECT_EQ(KeinUmlaut(source).Length(), static_cast<int>(s.size()) + letters);
        TPString oem(source);
        EXPECT_EQ(oem.Ansi2OEM().Length(), source.Length());
    }
}

}  // namespace
}  // namespace tn::test
