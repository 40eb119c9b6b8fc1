// Random and truncated input for the decoders. Every input lives in an exact-size owned
// buffer, so that a read past its end shows under AddressSanitizer.
#include <gtest/gtest.h>
#include <tnpackage/tnpackage.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "ExternalTools.h"

namespace tn {
namespace {

std::string Text(const TPString& s) {
    return s.c_str() != nullptr ? s.c_str() : "";
}
TPString Owned(const std::string& s) {
    return TPString(const_cast<char*>(s.c_str()));
}

std::string Hex(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string out;
    for (const char c : bytes) {
        out += digits[static_cast<unsigned char>(c) >> 4];
        out += digits[static_cast<unsigned char>(c) & 15];
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
        c = random() % 2 ? static_cast<char>(interesting[random() % sizeof interesting])
                         : static_cast<char>(1 + random() % 255);
    }
    return s;
}

// Valid UTF-8 of random code points, then cut at a random byte.
std::string TruncatedUtf8(std::mt19937& random) {
    std::string s;
    const int count = 1 + static_cast<int>(random() % 6);
    for (int i = 0; i < count; ++i) {
        char32_t cp;
        do {
            const int width = static_cast<int>(random() % 4);
            const char32_t limits[] = {0x7F, 0x7FF, 0xFFFF, 0x10FFFF};
            cp = static_cast<char32_t>(1 + random() % limits[width]);
        } while (cp >= 0xD800 && cp <= 0xDFFF);
        if (cp < 0x80) {
            s += static_cast<char>(cp);
        } else if (cp < 0x800) {
            s += static_cast<char>(0xC0 | cp >> 6);
            s += static_cast<char>(0x80 | (cp & 0x3F));
        } else if (cp < 0x10000) {
            s += static_cast<char>(0xE0 | cp >> 12);
            s += static_cast<char>(0x80 | (cp >> 6 & 0x3F));
            s += static_cast<char>(0x80 | (cp & 0x3F));
        } else {
            s += static_cast<char>(0xF0 | cp >> 18);
            s += static_cast<char>(0x80 | (cp >> 12 & 0x3F));
            s += static_cast<char>(0x80 | (cp >> 6 & 0x3F));
            s += static_cast<char>(0x80 | (cp & 0x3F));
        }
    }
    s.resize(random() % (s.size() + 1));
    return s;
}

// Python's decoder replaces each maximal ill-formed piece once, as the Unicode standard
// recommends; its Windows-1252 codec lacks the five undefined bytes, which keep their value.
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
    std::mt19937 random(20261122);
    std::vector<std::string> inputs;
    for (int i = 0; i < 3000; ++i) {
        inputs.push_back(i % 2 ? RandomUtf8ish(random) : TruncatedUtf8(random));
    }
    std::string batch;
    for (const auto& s : inputs)
        batch += Hex(s) + "\n";
    std::istringstream expected(test::RunReference(kPythonUtf8Oracle, batch));
    for (const auto& s : inputs) {
        std::string line;
        ASSERT_TRUE(std::getline(expected, line)) << "python3 gave too few lines";
        EXPECT_EQ(Hex(Text(Owned(s).UTF8toAscii())), line) << Hex(s);
        // The pure ASCII form of the same input is pure ASCII whatever the input.
        const std::string html = Text(Owned(s).UTF8toHTML(3));
        for (const char c : html)
            ASSERT_GT(c, 0) << Hex(s);
    }
}

std::string RandomReferences(std::mt19937& random) {
    static const char alphabet[] = "&&&##;;xXeE0123456789aAuUmlMLsSzZgGtT \xE4\xFF";
    std::string s(random() % 40, 'a');
    for (char& c : s)
        c = alphabet[random() % (sizeof alphabet - 1)];
    return s;
}

TEST(ConversionsFuzz, ReferenceDecoderStaysInsideItsBuffers) {
    std::mt19937 random(4096);
    const std::vector<std::string> valid = {"&auml;", "&#228;", "&#xE4;", "&thorn;", "&euro;"};
    for (int i = 0; i < 20000; ++i) {
        std::string s = RandomReferences(random);
        if (i % 3 == 0) {
            // A valid reference cut short at a random place, at the end of the text.
            const std::string& r = valid[random() % valid.size()];
            s += r.substr(0, random() % (r.size() + 1));
        }
        // The target is exactly as large as the contract asks for.
        std::vector<char> target(s.size() + 1);
        HTMLDecodierung2(s.c_str(), target.data());
        const std::string decoded = target.data();
        ASSERT_LE(decoded.size(), s.size()) << s;
        if (s.find('&') == std::string::npos) {
            ASSERT_EQ(decoded, s);
        }

        TPString member = Owned(s);
        member.HTMLDecodierung2();
        ASSERT_EQ(Text(member), decoded) << s;

        // In place gives the same.
        std::vector<char> inPlace(s.begin(), s.end());
        inPlace.push_back('\0');
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
        for (const char c : s) {
            letters += std::string("\xC4\xD6\xDC\xE4\xF6\xFC\xDF").find(c) != std::string::npos;
        }
        EXPECT_EQ(KeinUmlaut(source).Length(), static_cast<int>(s.size()) + letters);
        TPString oem(source);
        oem.Ansi2OEM();
        EXPECT_EQ(oem.Length(), source.Length());
    }
}

}  // namespace
}  // namespace tn
