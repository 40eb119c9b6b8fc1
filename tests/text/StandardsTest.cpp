// Base-36 digits, IGC short file names, number formatting and the small text helpers.
#include <cctype>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <tuple>

#include "TextTestHelpers.h"
#include "support/Platform.h"
#include "support/WarningCapture.h"

namespace tn::test {
namespace {

// `value` in base 36 as the standard library writes it, in capitals.
std::string Base36(int value) {
    char digits[16];
    std::string s(digits, std::to_chars(digits, digits + sizeof digits, value, 36).ptr);
    for (char& c : s)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return s;
}

TEST(Standards, NumbersAsText) {
    for (int v = -1; v <= 36; ++v) {
        const char digit = v >= 0 && v < 36 ? Base36(v)[0] : '_';
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
        const std::string digits = Base36(value);
        std::string lower = digits;
        for (char& c : lower)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        EXPECT_EQ(ToStdString(IntToMod36(value, 0)), digits);
        EXPECT_EQ(Mod36ToInt(Owned(lower)), value);
        EXPECT_EQ(IGCToInt(Owned(lower)), Mod36ToInt(Owned((digits + "00").substr(0, 3))));
    }
    // Pads to the width but never cuts; five digits at most; a negative remainder is "_".
    EXPECT_EQ(ToStdString(IntToMod36(36, 3)), "010");
    EXPECT_EQ(ToStdString(IntToMod36(1295, 1)), "ZZ");
    EXPECT_EQ(ToStdString(IntToMod36(60466176 + 37, 7)), "0000011");
    EXPECT_EQ(ToStdString(IntToMod36(INT_MAX, 0)), Base36(INT_MAX).substr(1));
    EXPECT_EQ(ToStdString(IntToMod36(-1, 3)), "00_");
    EXPECT_EQ(IntToMod36(5, 100000).Length(), 255);
    // IGC numbers read three digits; a missing one, or another character, counts as 0.
    EXPECT_EQ(IGCToInt(TPString("9", 0)), 9 * 1296);
    EXPECT_EQ(IGCToInt('_') + IGCToInt('\xE4') + IGCToInt(TPString()), 0);
    for (const int v : {0, -28, INT_MAX, INT_MIN})
        EXPECT_EQ(ToStdString(zkIntToStr(v)), std::to_string(v));
    EXPECT_EQ(ToStdString(zkIntToHex(-28, 2)), "FFFFFFE4");  // 32-bit two's complement
    EXPECT_EQ(zkIntToHex(1, 100000).Length(), 255);
    for (int i = 0; i < 200; ++i) {
        const auto value = static_cast<unsigned>(random());
        const int width = static_cast<int>(random() % 12);
        char expected[16];
        std::snprintf(expected, sizeof expected, "%0*X", width, value);
        EXPECT_EQ(ToStdString(zkIntToHex(static_cast<int>(value), width)), expected);
    }
}

TEST(Standards, IgcShortFileName) {
    // A flight beyond 35 has no digit; a serial beyond three digits makes the name longer.
    EXPECT_EQ(ToStdString(IGCName(1, 36)).substr(4), "001_.IGC");
    EXPECT_EQ(ToStdString(IGCName(46656, 1)).substr(4), "10001.IGC");
    // With the host counting tenths of a second, "today" is the date of ResetTime.
    const auto saved = std::tuple(ResetTime, ZehntelTimer);
    for (const auto& [day, month, year, date] :
         std::initializer_list<std::tuple<short, short, short, const char*>>{
             {31, 12, 2029, "9CV"}, {1, 1, 2030, "011"}, {9, 10, 2005, "5A9"}}) {
        ResetTime.DateKonvert(day, month, year);
        ZehntelTimer = 600;  // a minute after midnight
        EXPECT_EQ(ToStdString(IGCName(1234, 1)),
                  date + std::string(1, build::kIgcManufacturer) + "0YA1.IGC");
    }
    std::tie(ResetTime, ZehntelTimer) = saved;
}

TEST(Standards, FormatLanguage) {
    const char savedSeparator = zkDecimalSeparator;
    zkDecimalSeparator = '.';
    // format|value|result
    for (const std::string c :
         {"#,##0|100|100", "0.0#|1.5|1.5", "0.0#|1.25|1.25", "#.##|0|", "#.00|0.5|.50", "000|7|007",
          "0.##|0.999|1", "0.0 km|12.34|12.3 km", "ca. 0 m|99.5|ca. 100 m", "abc|5.4|abc5",
          "0|1e20|100000000000000000000", "0|-inf|-INF", "|-1234.5|-1234.5"}) {
        const auto bar = c.find('|'), lastBar = c.rfind('|');
        const TPString format = Owned(c.substr(0, bar));
        const double value = std::stod(c.substr(bar + 1, lastBar - bar - 1));
        EXPECT_EQ(ToStdString(zkFormatFloat(format, value)), c.substr(lastBar + 1)) << c;
        EXPECT_EQ(ToStdString(MeinFormat(format, value)), c.substr(lastBar + 1)) << c;
    }
    EXPECT_EQ(zkFormatFloat(TPString("0", 0), 1.7e308).Length(), 309);
    EXPECT_EQ(ToStdString(zkFormatFloat(TPString("0.00", 0), 2.675L)),
              "2.68");  // 15 digits, as a double
    TN_REQUIRE_SHELL();
    // Python's decimal module rounds half up (away from zero) on the value's 15 significant
    // digits; a fourth of the values are ties on three places. Lines: a value, its four forms.
    std::istringstream cases(RunReference(
        "python3 -c \"import random\n"
        "from decimal import Decimal, ROUND_HALF_UP\n"
        "random.seed(1900)\n"
        "for i in range(400):\n"
        "    v = random.randint(0, 2000000) / 1000 * 10.0 ** random.randint(-4, 8)\n"
        "    v = random.choice((1, -1)) * (round(v, 3) + 0.0005 if i % 4 == 0 else v)\n"
        "    d = Decimal('%.14e' % v)\n"
        "    forms = [repr(v)]\n"
        "    for places, grouping in ((0, ''), (1, ''), (3, ''), (2, ',')):\n"
        "        q = d.quantize(Decimal(1).scaleb(-places), rounding=ROUND_HALF_UP)\n"
        "        forms.append(format(abs(q) if q == 0 else q, grouping + '.%df' % places))\n"
        "    print(*forms)\"",
        ""));
    int count = 0;
    for (std::string value, expected; cases >> value; ++count) {
        for (const char* format : {"0", "0.0", "0.000", "#,##0.00"}) {
            cases >> expected;
            EXPECT_EQ(ToStdString(zkFormatFloat(TPString(format, 0), std::stod(value))), expected)
                << format << " " << value;
        }
    }
    EXPECT_EQ(count, 400);
    zkDecimalSeparator = ',';
    EXPECT_EQ(ToStdString(zkFormatFloat(TPString("#,##0.00", 0), 1234.5)), "1.234,50");
    EXPECT_EQ(ToStdString(zkFormatFloat(TPString(), 0.5)), "0,5");
    zkDecimalSeparator = savedSeparator;
}

TEST(Standards, SmallHelpersMessagesFilesAndPathMacros) {
    EXPECT_EQ(ToStdString(StringOfChar('*', 3)), "***");
    EXPECT_EQ(StringOfChar('*', -4).c_str(), nullptr);
    EXPECT_EQ(ToStdString(LeftString(TPString("ab", 0), 3) + RightString(TPString("ab", 0), 3)),
              "ab  ab");
    EXPECT_EQ(ToStdString(Trim(Owned(" \t x y\xA0 "))), "x y");
    static const char literal[] = "a.b";
    EXPECT_EQ(ToStdString(ChangeChar(TPString(literal, 0), '.', '_')) + literal, "a_ba.b");
    const auto folder = ScratchFolder();
    std::ofstream(folder / "flight.igc") << "A";
    EXPECT_TRUE(zkFileExists(Owned((folder / "flight.igc").string())));
    EXPECT_FALSE(zkFileExists(Owned((folder / "missing.igc").string())));
    EXPECT_FALSE(zkFileExists(Owned(folder.string())));  // a folder is not a file
    EXPECT_FALSE(zkFileExists(TPString()));

    const std::string savedDir = ToStdString(ProgramDir);
    WarningCapture capture;
    // Paths in the platform's own form: the expansion keeps the separators it is given.
    const std::string testFolder = NativePath("/srv/tn");
    SetEnv("TN_TEST_FOLDER", testFolder.c_str());
    UnsetEnv("TN_TEST_UNSET");
    const std::string dirs[] = {NativePath("/opt/zander"), NativePath("/opt/zander/")};
    for (const std::string& dir : dirs) {
        ProgramDir = dir.c_str();
        EXPECT_EQ(ToStdString(PfadErweiterung(TPString("$(ZKS)\\daten\\flug.dat", 0))),
                  NativePath("/opt/zander/daten/flug.dat"));
        EXPECT_EQ(ToStdString(PfadErweiterung(TPString("a\\$(ZKS)", 0))),
                  NativePath("a//opt/zander/"));
    }
    ProgramDir = savedDir.empty() ? nullptr : savedDir.c_str();
    EXPECT_EQ(ToStdString(PfadErweiterung(TPString("%TN_TEST_FOLDER%\\log.txt", 0))),
              NativePath("/srv/tn/log.txt"));
    UnsetEnv("TN_TEST_FOLDER");
    for (const char* plain : {"50% von 100%", "100%", "%%", "$(ZKS", "$x", "a b.txt"})
        EXPECT_EQ(ToStdString(PfadErweiterung(TPString(plain, 0))), plain);
    EXPECT_EQ(PfadErweiterung(TPString()).c_str(), nullptr);
    EXPECT_TRUE(capture.Texts().empty());
    // Unknown macros stay as they are, with a warning each.
    EXPECT_EQ(ToStdString(PfadErweiterung(TPString("%TN_TEST_UNSET%\\a$(FOO)", 0))),
              NativePath("%TN_TEST_UNSET%/a$(FOO)"));
    EXPECT_EQ(capture.Texts(),
              (std::vector<std::string>{"PfadErweiterung: unbekanntes Makro %TN_TEST_UNSET%",
                                        "PfadErweiterung: unbekanntes Makro $(FOO)"}));
    capture.Clear();
    WrnEnabled = false;  // a message, not a warning: still shown
    zkShowMessage(TPString("Daten gespeichert", 0));
    EXPECT_EQ(capture.Texts(), std::vector<std::string>{"Daten gespeichert"});
}

TEST(Standards, UnitRestartEmptiesTheProgressSlots) {
    const auto saved = std::tuple(OnProgress, DoStartProgress, DoFinishProgress);
    int object = 0;
    OnProgress.Object = DoStartProgress.Object = DoFinishProgress.Object = &object;
    PackageExit();  // a full exit and restart, as a host that drives the package may do
    PackageStart();
    EXPECT_TRUE(!OnProgress.Object && !DoStartProgress.Object && !DoFinishProgress.Object);
    std::tie(OnProgress, DoStartProgress, DoFinishProgress) = saved;
}

}  // namespace
}  // namespace tn::test
