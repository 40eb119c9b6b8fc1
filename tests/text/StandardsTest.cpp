// Base-36 digits, IGC short file names, number formatting and the small text helpers.
#include <gtest/gtest.h>
#include <tnpackage/tnpackage.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "ExternalTools.h"
#include "support/WarningCapture.h"

namespace tn {
namespace {

std::string Text(const TPString& s) {
    return s.c_str() != nullptr ? s.c_str() : "";
}
TPString Owned(const std::string& s) {
    return TPString(const_cast<char*>(s.c_str()));
}

// Base 36 as the standard library writes it, in capitals.
std::string ToChars36(int value) {
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof digits, value, 36).ptr;
    std::string s(digits, end);
    std::transform(s.begin(), s.end(), s.begin(), [](char c) {
        return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    });
    return s;
}

TEST(Standards, Mod36Digits) {
    for (int v = 0; v < 36; ++v) {
        EXPECT_EQ(std::string(1, Mod36Char(static_cast<char>(v))), ToChars36(v)) << v;
    }
    EXPECT_EQ(Mod36Char(35), 'Z');
    EXPECT_EQ(Mod36Char(36), '_');
    EXPECT_EQ(Mod36Char(-1), '_');
    EXPECT_EQ(Mod36Char(127), '_');
    EXPECT_EQ(TimeChar(0), '0');
    EXPECT_EQ(TimeChar(9), '9');
    EXPECT_EQ(TimeChar(10), ':');  // no range check
    EXPECT_EQ(TimeChar(17), 'A');

    EXPECT_EQ(Mod36ToInt(TPString("1z", 0)), 71);
    EXPECT_EQ(Mod36ToInt(TPString("1Z", 0)), 71);
    EXPECT_EQ(Mod36ToInt(TPString()), 0);
    // No character is rejected: "-" (0x2D) counts as 13, "[" (0x5B) as 36.
    EXPECT_EQ(Mod36ToInt(TPString("-", 0)), 13);
    EXPECT_EQ(Mod36ToInt(TPString("[", 0)), 36);
    // A text too long for an int wraps instead of overflowing.
    EXPECT_EQ(Mod36ToInt(TPString("ZZZZZZZZZZZZZZZZZZZZ", 0)), [] {
        std::uint32_t v = 0;
        for (int i = 0; i < 20; ++i)
            v = v * 36 + 35;
        return static_cast<int>(v);
    }());

    std::mt19937 random(36);
    for (int i = 0; i < 1000; ++i) {
        const int value = static_cast<int>(random() % 60466176);  // 36^5
        const std::string expected = ToChars36(value);
        EXPECT_EQ(Text(IntToMod36(value, 0)), expected);
        EXPECT_EQ(Mod36ToInt(IntToMod36(value, 0)), value);
        std::string lower = expected;
        for (char& c : lower)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        EXPECT_EQ(Mod36ToInt(Owned(lower)), value);
    }
}

TEST(Standards, IntToMod36PadsAndStopsAtFiveDigits) {
    EXPECT_EQ(Text(IntToMod36(36, 3)), "010");
    EXPECT_EQ(Text(IntToMod36(0, 0)), "0");
    EXPECT_EQ(Text(IntToMod36(0, 3)), "000");
    EXPECT_EQ(Text(IntToMod36(35, 1)), "Z");
    EXPECT_EQ(Text(IntToMod36(1295, 1)), "ZZ");  // a width shorter than the digits cuts nothing
    EXPECT_EQ(Text(IntToMod36(60466175, 0)), "ZZZZZ");
    // Five digits at most: 36^5 keeps its five lowest digits, and so does INT_MAX.
    EXPECT_EQ(Text(IntToMod36(60466176, 0)), "00000");
    EXPECT_EQ(Text(IntToMod36(60466176 + 37, 7)), "0000011");
    EXPECT_EQ(Text(IntToMod36(INT_MAX, 0)), ToChars36(INT_MAX).substr(1));
    // A negative value has no base-36 digits: its remainder is written as "_".
    EXPECT_EQ(Text(IntToMod36(-1, 3)), "00_");
    EXPECT_EQ(IntToMod36(5, 100000).Length(), 255);
}

TEST(Standards, IgcNumbers) {
    EXPECT_EQ(IGCToInt('0'), 0);
    EXPECT_EQ(IGCToInt('9'), 9);
    EXPECT_EQ(IGCToInt('A'), 10);
    EXPECT_EQ(IGCToInt('z'), 35);
    EXPECT_EQ(IGCToInt('_'), 0);
    EXPECT_EQ(IGCToInt('\xE4'), 0);
    EXPECT_EQ(IGCToInt(TPString("9A0", 0)), 9 * 1296 + 10 * 36 + 0);
    EXPECT_EQ(IGCToInt(TPString("9a0", 0)), 12024);
    EXPECT_EQ(IGCToInt(TPString("9A0XYZ", 0)), 12024);  // only the first three count
    EXPECT_EQ(IGCToInt(TPString("9", 0)), 9 * 1296);    // missing digits count as 0
    EXPECT_EQ(IGCToInt(TPString()), 0);
    EXPECT_EQ(IGCToInt(TPString("ZZZ", 0)), 46655);
}

// Today's date as the C library sees it, in the short IGC form.
std::string IgcDateOfToday() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    const std::string digits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    return std::string(1, static_cast<char>('0' + (local.tm_year + 1900) % 10)) +
           digits[static_cast<std::size_t>(local.tm_mon + 1)] +
           digits[static_cast<std::size_t>(local.tm_mday)];
}

TEST(Standards, IgcShortFileName) {
    std::string before, name, after;
    do {  // never across midnight
        before = IgcDateOfToday();
        name = Text(IGCName(46655, 35));
        after = IgcDateOfToday();
    } while (before != after);
    EXPECT_EQ(name, before + build::kIgcManufacturer + "ZZZZ.IGC");
    EXPECT_EQ(Text(IGCName(36, 1)), before + build::kIgcManufacturer + "0101.IGC");
    EXPECT_EQ(Text(IGCName(0, 0)).size(), 12u);
    // A flight beyond 35 has no digit; a serial beyond three digits makes the name longer.
    EXPECT_EQ(Text(IGCName(1, 36)).substr(4), "001_.IGC");
    EXPECT_EQ(Text(IGCName(46656, 1)).substr(4), "10001.IGC");
}

// With the host counting tenths of a second, "today" is the date of ResetTime.
TEST(Standards, IgcShortFileNameOnTheCountedClock) {
    const TPDateTime savedReset = ResetTime;
    const std::int32_t savedCounter = ZehntelTimer;
    const struct {
        short day, month, year;
        const char* name;
    } cases[] = {
        {24, 11, 2026, "6BOX0YA1.IGC"},
        {31, 12, 2029, "9CVX0YA1.IGC"},
        {1, 1, 2030, "011X0YA1.IGC"},
        {9, 10, 2005, "5A9X0YA1.IGC"},
    };
    for (const auto& c : cases) {
        TPDateTime day;
        day.DateKonvert(c.day, c.month, c.year);
        ResetTime = day;
        ZehntelTimer = 600;  // a minute after midnight
        std::string expected = c.name;
        expected[3] = build::kIgcManufacturer;
        EXPECT_EQ(Text(IGCName(1234, 1)), expected);
    }
    ResetTime = savedReset;
    ZehntelTimer = savedCounter;
}

TEST(Standards, IntegersAsText) {
    for (const int v : {0, 1, -1, 42, -28, INT_MAX, INT_MIN}) {
        EXPECT_EQ(Text(zkIntToStr(v)), std::to_string(v));
    }
    EXPECT_EQ(Text(zkIntToHex(-28, 2)), "FFFFFFE4");
    EXPECT_EQ(Text(zkIntToHex(255, 4)), "00FF");
    EXPECT_EQ(Text(zkIntToHex(0, 0)), "0");
    EXPECT_EQ(Text(zkIntToHex(0x1F, 1)), "1F");
    EXPECT_EQ(Text(zkIntToHex(INT_MIN, 2)), "80000000");
    EXPECT_EQ(Text(zkIntToHex(-1, -5)), "FFFFFFFF");
    EXPECT_EQ(zkIntToHex(1, 100000).Length(), 255);
    // Against the standard library, reading negative values as 32-bit unsigned.
    std::mt19937 random(16);
    for (int i = 0; i < 200; ++i) {
        const auto value = static_cast<int>(random());
        const int digits = static_cast<int>(random() % 12);
        std::string expected(16, '\0');
        const auto end = std::to_chars(expected.data(), expected.data() + expected.size(),
                                       static_cast<std::uint32_t>(value), 16)
                             .ptr;
        expected.resize(static_cast<std::size_t>(end - expected.data()));
        for (char& c : expected)
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        if (static_cast<int>(expected.size()) < digits) {
            expected.insert(0, static_cast<std::size_t>(digits) - expected.size(), '0');
        }
        EXPECT_EQ(Text(zkIntToHex(value, digits)), expected);
    }
}

struct SeparatorGuard {
    char saved = zkDecimalSeparator;
    ~SeparatorGuard() { zkDecimalSeparator = saved; }
};

TEST(Standards, FormatLanguage) {
    SeparatorGuard guard;
    zkDecimalSeparator = '.';
    const struct {
        const char* format;
        double value;
        const char* expected;
    } cases[] = {
        {"0", 2.5, "3"},
        {"0", -2.5, "-3"},
        {"0", 0.4999, "0"},
        {"0", -0.4, "0"},
        {"0", 1234567.0, "1234567"},
        {"0.0", 0.05, "0.1"},
        {"0.000", 1.0005, "1.001"},
        {"0.00", 1.005, "1.01"},
        {"0.00", 2.675, "2.68"},
        {"0.00", -0.001, "0.00"},
        {"#,##0.00", 1234567.891, "1,234,567.89"},
        {"#,##0.00", 999.995, "1,000.00"},
        {"#,##0.00", -1234.5, "-1,234.50"},
        {"#,##0.00", 0.0, "0.00"},
        {"#,##0", 100.0, "100"},
        {"0.0#", 1.5, "1.5"},
        {"0.0#", 1.25, "1.25"},
        {"0.0#", 1.0, "1.0"},
        {"#.##", 0.0, ""},
        {"#.00", 0.5, ".50"},
        {"000", 7.0, "007"},
        {"0.0 km", 12.34, "12.3 km"},
        {"ca. 0 m", 99.5, "ca. 100 m"},
        {"0", 1e20, "100000000000000000000"},
        {"0.00", 1e-300, "0.00"},
        {"0.0", 9.96, "10.0"},
        {"0.##", 0.999, "1"},
        {"abc", 5.4, "abc5"},  // all prefix: only the significant integer digits follow
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Text(zkFormatFloat(TPString(c.format, 0), c.value)), c.expected)
            << c.format << " " << c.value;
        EXPECT_EQ(Text(MeinFormat(TPString(c.format, 0), c.value)), c.expected);
    }
    EXPECT_EQ(Text(zkFormatFloat(TPString("0", 0), NAN)), "NAN");
    EXPECT_EQ(Text(zkFormatFloat(TPString("0", 0), INFINITY)), "INF");
    EXPECT_EQ(Text(zkFormatFloat(TPString("0", 0), -INFINITY)), "-INF");
    EXPECT_EQ(Text(zkFormatFloat(TPString(), 0.1)), "0.1");
    EXPECT_EQ(Text(zkFormatFloat(TPString(), -1234.5)), "-1234.5");
    EXPECT_EQ(zkFormatFloat(TPString("0", 0), 1.7e308).Length(), 309);
    // An extended value counts with the 15 digits a double carries.
    EXPECT_EQ(Text(zkFormatFloat(TPString("0.00", 0), 2.675L)), "2.68");
    EXPECT_EQ(Text(zkFormatFloat(TPString("0.000", 0), 1.0L / 3.0L)), "0.333");

    zkDecimalSeparator = ',';
    EXPECT_EQ(Text(zkFormatFloat(TPString("#,##0.00", 0), 1234.5)), "1.234,50");
    EXPECT_EQ(Text(zkFormatFloat(TPString("0.0", 0), 0.25)), "0,3");
    EXPECT_EQ(Text(zkFormatFloat(TPString(), 0.5)), "0,5");
}

// Python's decimal module rounds half up (away from zero) on the value's 15 significant
// digits; its "," format groups the thousands.
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
        if (random() % 2) v = -v;
        values.push_back(v);
        char line[64];
        std::snprintf(line, sizeof line, "%.17g\n", v);
        input += line;
    }
    const std::string output = test::RunReference(
        "python3 -c \"import sys\n"
        "from decimal import Decimal, ROUND_HALF_UP\n"
        "for line in sys.stdin:\n"
        "    d = Decimal('%.14e' % float(line))\n"
        "    for places, grouping in ((0, ''), (1, ''), (3, ''), (2, ',')):\n"
        "        q = d.quantize(Decimal(1).scaleb(-places), rounding=ROUND_HALF_UP)\n"
        "        if q == 0: q = abs(q)\n"
        "        print(format(q, grouping + '.' + str(places) + 'f'))\"",
        input);
    std::istringstream expected(output);
    for (const double v : values) {
        for (const char* format : {"0", "0.0", "0.000", "#,##0.00"}) {
            std::string line;
            ASSERT_TRUE(std::getline(expected, line)) << "python3 gave too few lines";
            EXPECT_EQ(Text(zkFormatFloat(TPString(format, 0), v)), line) << format << " " << v;
        }
    }
}

TEST(Standards, PaddingTrimmingAndCharacters) {
    EXPECT_EQ(Text(StringOfChar('*', 3)), "***");
    EXPECT_EQ(StringOfChar('*', 0).c_str(), nullptr);
    EXPECT_EQ(StringOfChar('*', -4).c_str(), nullptr);
    EXPECT_EQ(Text(LeftString(TPString("ab", 0), 5)), "ab   ");
    EXPECT_EQ(Text(RightString(TPString("ab", 0), 5)), "   ab");
    EXPECT_EQ(Text(Trim(Owned(" \t x y\xA0 "))), "x y");
    EXPECT_EQ(Text(ChangeChar(TPString("a.b.c", 0), '.', ',')), "a,b,c");
    static const char literal[] = "a.b";
    EXPECT_EQ(Text(ChangeChar(TPString(literal, 0), '.', '_')), "a_b");
    EXPECT_EQ(std::string(literal), "a.b");
}

TEST(Standards, MessagesGoToTheHostOrTheInformationBox) {
    {
        test::WarningCapture capture;
        WrnEnabled = false;  // not a warning: still shown
        zkShowMessage(TPString("Daten gespeichert", 0));
        ASSERT_EQ(capture.Texts().size(), 1u);
        EXPECT_EQ(capture.Texts()[0], "Daten gespeichert");
    }
    const TPWarningHook saved = OnWarning;
    OnWarning = nullptr;
    testing::internal::CaptureStderr();
    zkShowMessage(TPString("Hallo Pilot", 0));
    const std::string shown = testing::internal::GetCapturedStderr();
    OnWarning = saved;
    EXPECT_NE(shown.find("Hallo Pilot"), std::string::npos);
}

TEST(Standards, FileExistence) {
    const auto folder = test::ScratchFolder() / "exists";
    std::filesystem::create_directories(folder);
    const auto file = folder / "flight.igc";
    std::ofstream(file) << "A";
    EXPECT_TRUE(zkFileExists(Owned(file.string())));
    EXPECT_FALSE(zkFileExists(Owned((folder / "missing.igc").string())));
    EXPECT_FALSE(zkFileExists(Owned(folder.string())));  // a folder is not a file
    EXPECT_FALSE(zkFileExists(TPString()));
    std::filesystem::remove_all(folder);
}

struct ProgramDirGuard {
    std::string saved = Text(ProgramDir);
    ~ProgramDirGuard() { ProgramDir = saved.empty() ? nullptr : saved.c_str(); }
};

TEST(Standards, PathMacros) {
    ProgramDirGuard guard;
    test::WarningCapture capture;
    ProgramDir = "/opt/zander";
    EXPECT_EQ(Text(PfadErweiterung(TPString("$(ZKS)\\daten\\flug.dat", 0))),
              "/opt/zander/daten/flug.dat");
    ProgramDir = "/opt/zander/";
    EXPECT_EQ(Text(PfadErweiterung(TPString("$(ZKS)\\x", 0))), "/opt/zander/x");
    EXPECT_EQ(Text(PfadErweiterung(TPString("$(ZKS)", 0))), "/opt/zander/");
    EXPECT_EQ(Text(PfadErweiterung(TPString("a\\$(ZKS)/b", 0))), "a//opt/zander/b");

    ::setenv("TN_TEST_FOLDER", "/srv/tn", 1);
    ::unsetenv("TN_TEST_UNSET");
    EXPECT_EQ(Text(PfadErweiterung(TPString("%TN_TEST_FOLDER%\\log.txt", 0))), "/srv/tn/log.txt");
    EXPECT_TRUE(capture.Texts().empty());

    // Unknown macros stay as they are, with a warning each.
    EXPECT_EQ(Text(PfadErweiterung(TPString("%TN_TEST_UNSET%\\a", 0))), "%TN_TEST_UNSET%/a");
    EXPECT_EQ(Text(PfadErweiterung(TPString("$(FOO)\\b", 0))), "$(FOO)/b");
    ASSERT_EQ(capture.Texts().size(), 2u);
    EXPECT_EQ(capture.Texts()[0], "PfadErweiterung: unbekanntes Makro %TN_TEST_UNSET%");
    EXPECT_EQ(capture.Texts()[1], "PfadErweiterung: unbekanntes Makro $(FOO)");

    // Other text, lone or unmatched marks included, is left alone.
    capture.Clear();
    for (const char* plain : {"50% von 100%", "100%", "%%", "$(ZKS", "$x", "a b.txt"}) {
        EXPECT_EQ(Text(PfadErweiterung(TPString(plain, 0))), plain);
    }
    EXPECT_TRUE(capture.Texts().empty());
    EXPECT_EQ(PfadErweiterung(TPString()).c_str(), nullptr);
    ::unsetenv("TN_TEST_FOLDER");
}

TEST(Standards, UnitStartEmptiesTheProgressSlots) {
    const auto savedProgress = OnProgress;
    const auto savedStart = DoStartProgress;
    const auto savedFinish = DoFinishProgress;
    int object = 0;
    OnProgress.Code = [](void*, int, int) {};
    OnProgress.Object = &object;
    DoStartProgress.Object = &object;
    DoFinishProgress.Code = [](void*) {};
    // A full exit and restart, as a host that drives the package itself may do.
    PackageExit();
    PackageStart();
    EXPECT_EQ(OnProgress.Code, nullptr);
    EXPECT_EQ(OnProgress.Object, nullptr);
    EXPECT_EQ(DoStartProgress.Object, nullptr);
    EXPECT_EQ(DoFinishProgress.Code, nullptr);
    OnProgress = savedProgress;
    DoStartProgress = savedStart;
    DoFinishProgress = savedFinish;
}

}  // namespace
}  // namespace tn
