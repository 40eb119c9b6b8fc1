// Base-36 digits, IGC short file names, number formatting and the small text helpers.
#include <gtest/gtest.h>

#include <cctype>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "TextTestHelpers.h"
#include "support/WarningCapture.h"

namespace tn::test {
namespace {

// `value` as the standard library writes it in `base`, in capitals.
std::string ToChars(std::uint32_t value, int base) {
    char digits[40];
    std::string s(digits, std::to_chars(digits, digits + sizeof digits, value, base).ptr);
    for (char& c : s)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return s;
}

TEST(Standards, Mod36AndIgcNumbers) {
    for (int v = -1; v <= 36; ++v) {
        const char digit = v >= 0 && v < 36 ? ToChars(static_cast<std::uint32_t>(v), 36)[0] : '_';
        EXPECT_EQ(Mod36Char(static_cast<char>(v)), digit) << v;
    }
    EXPECT_EQ(TimeChar(10), ':');  // no range check
    // No character is rejected ("-" counts 13, "[" 36); 20 Z's wrap to 36^20 - 1 = -1 mod 2^32.
    EXPECT_EQ(Mod36ToInt(TPString("-[", 0)), 13 * 36 + 36);
    EXPECT_EQ(Mod36ToInt(Owned(std::string(20, 'Z'))), -1);
    EXPECT_EQ(Mod36ToInt(TPString()), 0);
    std::mt19937 random(36);
    for (int i = 0; i < 1000; ++i) {
        const int value = static_cast<int>(random() % 60466176);  // 36^5
        const std::string digits = ToChars(static_cast<std::uint32_t>(value), 36);
        std::string lower = digits;
        for (char& c : lower)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        EXPECT_EQ(Text(IntToMod36(value, 0)), digits);
        EXPECT_EQ(Mod36ToInt(Owned(lower)), value);
        EXPECT_EQ(IGCToInt(Owned(lower)), IGCToInt(Owned(digits.substr(0, 3))));
    }
    // Pads to the width but never cuts; five digits at most; a negative remainder is "_".
    EXPECT_EQ(Text(IntToMod36(36, 3)), "010");
    EXPECT_EQ(Text(IntToMod36(1295, 1)), "ZZ");
    EXPECT_EQ(Text(IntToMod36(60466176 + 37, 7)), "0000011");
    EXPECT_EQ(Text(IntToMod36(INT_MAX, 0)), ToChars(INT_MAX, 36).substr(1));
    EXPECT_EQ(Text(IntToMod36(-1, 3)), "00_");
    EXPECT_EQ(IntToMod36(5, 100000).Length(), 255);
    // IGC numbers: three digits, missing ones and other characters count as 0.
    EXPECT_EQ(IGCToInt(TPString("9a0XYZ", 0)), 9 * 1296 + 10 * 36);
    EXPECT_EQ(IGCToInt(TPString("9", 0)), 9 * 1296);
    EXPECT_EQ(IGCToInt('_') + IGCToInt('\xE4') + IGCToInt(TPString()), 0);
}

TEST(Standards, IgcShortFileName) {
    // A flight beyond 35 has no digit; a serial beyond three digits makes the name longer.
    EXPECT_EQ(Text(IGCName(1, 36)).substr(4), "001_.IGC");
    EXPECT_EQ(Text(IGCName(46656, 1)).substr(4), "10001.IGC");
    // With the host counting tenths of a second, "today" is the date of ResetTime.
    const auto saved = std::tuple(ResetTime, ZehntelTimer);
    for (const auto& [day, month, year, date] :
         std::initializer_list<std::tuple<short, short, short, const char*>>{
             {31, 12, 2029, "9CV"}, {1, 1, 2030, "011"}, {9, 10, 2005, "5A9"}}) {
        ResetTime.DateKonvert(day, month, year);
        ZehntelTimer = 600;  // a minute after midnight
        EXPECT_EQ(Text(IGCName(1234, 1)),
                  date + std::string(1, build::kIgcManufacturer) + "0YA1.IGC");
    }
    std::tie(ResetTime, ZehntelTimer) = saved;
}

TEST(Standards, IntegersAsText) {
    for (const int v : {0, -28, INT_MAX, INT_MIN})
        EXPECT_EQ(Text(zkIntToStr(v)), std::to_string(v));
    EXPECT_EQ(Text(zkIntToHex(-28, 2)), "FFFFFFE4");  // 32-bit two's complement
    EXPECT_EQ(zkIntToHex(1, 100000).Length(), 255);
    std::mt19937 random(16);
    for (int i = 0; i < 200; ++i) {
        const auto value = static_cast<std::uint32_t>(random());
        const auto width = static_cast<std::size_t>(random() % 12);
        std::string expected = ToChars(value, 16);
        expected.insert(0, width > expected.size() ? width - expected.size() : 0, '0');
        EXPECT_EQ(Text(zkIntToHex(static_cast<int>(value), static_cast<int>(width))), expected);
    }
}

struct SeparatorGuard {
    char saved = zkDecimalSeparator;
    ~SeparatorGuard() { zkDecimalSeparator = saved; }
};

// The forms Python's check below does not cover.
TEST(Standards, FormatLanguage) {
    SeparatorGuard guard;
    zkDecimalSeparator = '.';
    // format|value|result
    for (const std::string c :
         {"#,##0|100|100", "0.0#|1.5|1.5", "0.0#|1.25|1.25", "#.##|0|", "#.00|0.5|.50", "000|7|007",
          "0.##|0.999|1", "0.0 km|12.34|12.3 km", "ca. 0 m|99.5|ca. 100 m", "abc|5.4|abc5",
          "0|1e20|100000000000000000000", "0|-inf|-INF", "|-1234.5|-1234.5"}) {
        const auto bar = c.find('|'), lastBar = c.rfind('|');
        const TPString format = Owned(c.substr(0, bar));
        const double value = std::stod(c.substr(bar + 1, lastBar - bar - 1));
        EXPECT_EQ(Text(zkFormatFloat(format, value)), c.substr(lastBar + 1)) << c;
        EXPECT_EQ(Text(MeinFormat(format, value)), c.substr(lastBar + 1)) << c;
    }
    EXPECT_EQ(zkFormatFloat(TPString("0", 0), 1.7e308).Length(), 309);
    EXPECT_EQ(Text(zkFormatFloat(TPString("0.00", 0), 2.675L)), "2.68");  // 15 digits, as a double
    zkDecimalSeparator = ',';
    EXPECT_EQ(Text(zkFormatFloat(TPString("#,##0.00", 0), 1234.5)), "1.234,50");
    EXPECT_EQ(Text(zkFormatFloat(TPString(), 0.5)), "0,5");
}

// Python's decimal module rounds half up (away from zero) on the value's 15 significant digits.
TEST(Standards, FormatLanguageAgreesWithPythonDecimal) {
    SeparatorGuard guard;
    zkDecimalSeparator = '.';
    std::mt19937_64 random(1900);
    std::vector<double> values;
    std::string input;
    for (int i = 0; i < 400; ++i) {
        const double magnitude = std::pow(10.0, static_cast<double>(random() % 13) - 4);
        double v = static_cast<double>(random() % 2000001) / 1000.0 * magnitude;
        if (i % 4 == 0) v = std::round(v * 1000.0) / 1000.0 + 0.0005;  // ties on three places
        values.push_back(random() % 2 ? -v : v);
        char line[64];
        std::snprintf(line, sizeof line, "%.17g\n", values.back());
        input += line;
    }
    std::istringstream expected(RunReference(
        "python3 -c \"import sys\n"
        "from decimal import Decimal, ROUND_HALF_UP\n"
        "for line in sys.stdin:\n"
        "    d = Decimal('%.14e' % float(line))\n"
        "    for places, grouping in ((0, ''), (1, ''), (3, ''), (2, ',')):\n"
        "        q = d.quantize(Decimal(1).scaleb(-places), rounding=ROUND_HALF_UP)\n"
        "        print(format(abs(q) if q == 0 else q, grouping + '.' + str(places) + 'f'))\"",
        input));
    for (const double v : values) {
        for (const char* format : {"0", "0.0", "0.000", "#,##0.00"}) {
            std::string line;
            ASSERT_TRUE(std::getline(expected, line)) << "python3 gave too few lines";
            EXPECT_EQ(Text(zkFormatFloat(TPString(format, 0), v)), line) << format << " " << v;
        }
    }
}

TEST(Standards, SmallHelpersMessagesAndFiles) {
    EXPECT_EQ(Text(StringOfChar('*', 3)), "***");
    EXPECT_EQ(StringOfChar('*', -4).c_str(), nullptr);
    EXPECT_EQ(Text(LeftString(TPString("ab", 0), 4) + RightString(TPString("ab", 0), 4)),
              "ab    ab");
    EXPECT_EQ(Text(Trim(Owned(" \t x y\xA0 "))), "x y");
    static const char literal[] = "a.b";
    EXPECT_EQ(Text(ChangeChar(TPString(literal, 0), '.', '_')) + literal, "a_ba.b");
    WarningCapture capture;
    WrnEnabled = false;  // a message, not a warning: still shown
    zkShowMessage(TPString("Daten gespeichert", 0));
    EXPECT_EQ(capture.Texts(), std::vector<std::string>{"Daten gespeichert"});

    const auto folder = ScratchFolder();
    std::ofstream(folder / "flight.igc") << "A";
    EXPECT_TRUE(zkFileExists(Owned((folder / "flight.igc").string())));
    EXPECT_FALSE(zkFileExists(Owned((folder / "missing.igc").string())));
    EXPECT_FALSE(zkFileExists(Owned(folder.string())));  // a folder is not a file
    EXPECT_FALSE(zkFileExists(TPString()));
}

TEST(Standards, PathMacros) {
    const std::string savedDir = Text(ProgramDir);
    WarningCapture capture;
    ::setenv("TN_TEST_FOLDER", "/srv/tn", 1);
    ::unsetenv("TN_TEST_UNSET");
    for (const char* dir : {"/opt/zander", "/opt/zander/"}) {
        ProgramDir = dir;
        EXPECT_EQ(Text(PfadErweiterung(TPString("$(ZKS)\\daten\\flug.dat", 0))),
                  "/opt/zander/daten/flug.dat");
        EXPECT_EQ(Text(PfadErweiterung(TPString("a\\$(ZKS)", 0))), "a//opt/zander/");
    }
    EXPECT_EQ(Text(PfadErweiterung(TPString("%TN_TEST_FOLDER%\\log.txt", 0))), "/srv/tn/log.txt");
    for (const char* plain : {"50% von 100%", "100%", "%%", "$(ZKS", "$x", "a b.txt"})
        EXPECT_EQ(Text(PfadErweiterung(TPString(plain, 0))), plain);
    EXPECT_TRUE(capture.Texts().empty());
    // Unknown macros stay as they are, with a warning each.
    EXPECT_EQ(Text(PfadErweiterung(TPString("%TN_TEST_UNSET%\\a$(FOO)", 0))),
              "%TN_TEST_UNSET%/a$(FOO)");
    EXPECT_EQ(capture.Texts(),
              (std::vector<std::string>{"PfadErweiterung: unbekanntes Makro %TN_TEST_UNSET%",
                                        "PfadErweiterung: unbekanntes Makro $(FOO)"}));
    EXPECT_EQ(PfadErweiterung(TPString()).c_str(), nullptr);
    ::unsetenv("TN_TEST_FOLDER");
    ProgramDir = savedDir.empty() ? nullptr : savedDir.c_str();
}

TEST(Standards, UnitRestartEmptiesTheProgressSlots) {
    const auto saved = std::tuple(OnProgress, DoStartProgress, DoFinishProgress);
    int object = 0;
    OnProgress = {[](void*, int, int) {}, &object};
    DoStartProgress.Object = &object;
    DoFinishProgress.Code = [](void*) {};
    PackageExit();  // a full exit and restart, as a host that drives the package may do
    PackageStart();
    EXPECT_TRUE(!OnProgress.Code && !OnProgress.Object && !DoStartProgress.Object &&
                !DoFinishProgress.Code);
    std::tie(OnProgress, DoStartProgress, DoFinishProgress) = saved;
}

}  // namespace
}  // namespace tn::test
