// The tool's handling of arguments it cannot read, its --json forms and its progress line.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "support/RunTool.h"
#include "support/Scratch.h"

namespace {

using tn::test::RunCommand;
using tn::test::RunTool;

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

bool ToolBuilt() {
    return !std::string(TN_TNPKG_PATH).empty();
}

TEST(ToolArguments, NumbersAndPointsThatCannotBeReadAreRejected) {
    TN_REQUIRE_SHELL();
    if (!ToolBuilt()) GTEST_SKIP() << "tnpkg is not built";
    struct Case {
        const char* arguments;
        int status;
        const char* message;  // part of what standard error says
    };
    const Case cases[] = {
        {"date garbage 33", 1, "'garbage' does not match the form of flag 33 (DDMMYYHHMMSS)"},
        {"date nonsense 32", 1, "does not match the form of flag 32"},
        {"date 00:xx:00 22", 1, "flag 22"},
        {"date xxxxxx123000 33", 1, "flag 33"},  // a time alone is no date and time
        {"date 150712xx3000 161", 1, "flag 161"},
        {"date 'd2012Xyz15 t073015' 43", 1, "flag 43"},
        {"date 2012-13-15 44", 1, "flag 44"},
        {"date 150712 98", 2, "flag 98 has no text form to read"},
        {"date 150712 0", 2, "no text form"},
        {"date 150712 3x", 2, "FLAG must be a whole number"},
        {"date --fat 0x1FFFFFFFF", 2, "32-bit number"},
        {"mod36 60466176", 2, "VALUE must be a number from 0 to 60466175"},
        {"mod36 -1", 2, "VALUE must be"},
        {"mod36 12abc", 2, "VALUE must be"},
        {"mod36 1 256", 2, "WIDTH must be a number from 0 to 255"},
        {"mod36 1 -1", 2, "WIDTH must be"},
        {"mod36 --decode 1_", 2, "one to five base-36 digits"},
        {"mod36 --decode 100000", 2, "one to five base-36 digits"},
        {"mod36 --decode ''", 2, "one to five base-36 digits"},
        {"igcname 1.5 1", 2, "SERIAL must be a number from 0 to 46655"},
        {"igcname 1 -1", 2, "FLIGHT must be a number from 0 to 35"},
        {"dist 47 11 48 11 --mode 5", 2, "--mode must be 1, 2, 3, 4 or 100"},
        {"dist 47 11 48 11 --mode 4294967298", 2, "--mode must be"},
        {"dist 47 11 48", 2, "needs a longitude"},
        {"dist 47 11 nan 11", 2, "not a latitude"},
        {"dist 47 11 48 inf", 2, "needs a longitude"},
        {"course 47 11 47 181", 2, "needs a longitude"},
        {"coord 91 0", 2, "not a latitude"},
        {"coord 47 11 12", 2, "unexpected argument: 12"},
        {"coord 4728123X01134567E", 1, "Koordinate nicht lesbar"},
        {"image dump NONE --offset -1", 2, "offset must be 0 or more"},
        {"image create NONE --size 4194305", 2, "--size from 1 to 4194304"},
        {"image load NONE FILE --offset 0x", 2, "offset takes a number of bytes"},
        {"crc --width 16 --poly 0x1021 --init 0x1FFFFFFFF", 2, "--init needs a number"},
        {"records FILE --min-version 65536", 2, "--min-version takes a number"},
    };
    for (const Case& c : cases) {
        const auto r = RunTool(std::string(c.arguments) + " </dev/null", true);
        EXPECT_EQ(r.status, c.status) << c.arguments << "\n" << r.output;
        EXPECT_TRUE(Has(r.output, c.message)) << c.arguments << "\n" << r.output;
    }
}

TEST(ToolArguments, DateAcceptsEveryReadableTextIncludingMidnight) {
    TN_REQUIRE_SHELL();
    if (!ToolBuilt()) GTEST_SKIP() << "tnpkg is not built";
    // A time of 0 is midnight, not a failure; the day counts are the library's.
    const std::pair<const char*, const char*> readings[] = {
        {"date 000000 16", "0.000000000 311299000000\n"},
        {"date 0000 144", "0.000000000 311299000000\n"},
        {"date 00h00 16", "0.000000000 311299000000\n"},
        {"date 00:00:00 22", "0.000000000 311299000000\n"},
        {"date 0:00:00 150", "0.000000000 311299000000\n"},
        {"date 00:00:00.00 24", "0.000000000 311299000000\n"},
        {"date 12:30 144", "0.520833333 311299123000\n"},
        {"date 150712000000 33", "41105.000000000 150712000000\n"},
        {"date 120715 34", "41105.000000000 150712000000\n"},
        {"date 15.07.12 40", "41105.000000000 150712000000\n"},
        {"date 2012-07-15 44", "41105.000000000 150712000000\n"},
        {"date 'd2012Jul15 t000000' 43", "41105.000000000 150712000000\n"},
    };
    for (const auto& [arguments, output] : readings) {
        const auto r = RunTool(arguments);
        EXPECT_EQ(std::to_string(r.status) + " " + r.output, std::string("0 ") + output)
            << arguments;
    }
}

TEST(ToolArguments, Mod36TakesTheWholeFiveDigitRange) {
    TN_REQUIRE_SHELL();
    if (!ToolBuilt()) GTEST_SKIP() << "tnpkg is not built";
    EXPECT_EQ(RunTool("mod36 60466175").output + RunTool("mod36 0 5").output +
                  RunTool("mod36 --decode ZZZZZ").output + RunTool("mod36 --decode zz").output,
              "ZZZZZ\n00000\n60466175\n1295\n");
}

// The JSON forms are read back with python3's json module, a parser this project did not write.
TEST(ToolJson, CoordAndRecordsGiveJsonThatParses) {
    if (!ToolBuilt()) GTEST_SKIP() << "tnpkg is not built";
    if (RunCommand("python3 -c 1 2>/dev/null").status != 0) GTEST_SKIP() << "no python3";
    const auto coord = RunTool("coord -33.5 151.25 --json");
    EXPECT_EQ(coord.status, 0);
    EXPECT_EQ(coord.output,
              "{\"units\":{\"latitude\":-335000000,\"longitude\":1512500000},"
              "\"degrees\":{\"latitude\":\"-33.5000000\",\"longitude\":\"151.2500000\"},"
              "\"igc\":\"3330000S15115000E\",\"valid\":true}\n");
    const std::string script =
        "import json,sys; d=json.load(sys.stdin); u=d['units']; "
        "print(u['latitude'], d['degrees']['longitude'], d['igc'], d['valid'])";
    EXPECT_EQ(RunCommand("'" + std::string(TN_TNPKG_PATH) +
                         "' coord 4728123N01134567E --json | python3 -c \"" + script + "\"")
                  .output,
              "474687167 11.5761167 4728123N01134567E True\n");

    // Two records, one live but with a checksum that fails (so listed only with --all), a
    // stride and an erased gap in between.
    std::vector<unsigned char> bytes(64, 0xFF);
    const unsigned char live[] = {'Z',  'K',  20, 0, 7,    0,    2,   0,   24,  0,
                                  0xFF, 0x7F, 0,  0, 0xFF, 0xFF, 'a', 'b', 'c', 'd'};
    std::copy(std::begin(live), std::end(live), bytes.begin());
    std::copy(std::begin(live), std::end(live), bytes.begin() + 32);
    bytes[32 + 10] = 0xFF;  // state 0x3FFF: deleted
    bytes[32 + 11] = 0x3F;
    const std::string path = (tn::test::ScratchFolder() / "records.bin").string();
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<long>(bytes.size()));
    const auto records = RunTool("records '" + path + "' --json --all");
    EXPECT_EQ(records.status, 0);
    EXPECT_EQ(records.output, "{\"file\":\"" + path +
                                  "\",\"records\":[{\"offset\":0,\"type\":7,\"version\":2,"
                                  "\"size\":20,\"stride\":24,\"state\":32767,"
                                  "\"checksum\":\"invalid\",\"damaged\":true}]}\n");
    EXPECT_EQ(RunCommand("'" + std::string(TN_TNPKG_PATH) + "' records '" + path +
                         "' --json --all --min-version 0 | python3 -c \"import json,sys; "
                         "print(len(json.load(sys.stdin)['records']))\"")
                  .output,
              "1\n");
}

// A pseudo-terminal from script(1) shows the progress line; a pipe, or --quiet, does not.
TEST(ToolProgress, ShowsOnlyOnATerminalAndNotWithQuiet) {
    if (!ToolBuilt()) GTEST_SKIP() << "tnpkg is not built";
    if (RunCommand("script -qec true /dev/null >/dev/null 2>&1").status != 0) {
        GTEST_SKIP() << "no script(1) for a pseudo-terminal";
    }
    const std::filesystem::path folder = tn::test::ScratchFolder();
    const std::string big = (folder / "big.bin").string();
    std::ofstream(big, std::ios::binary) << std::string(3 << 20, 'x');
    const std::string tool = "'" + std::string(TN_TNPKG_PATH) + "' ";
    const auto onTerminal = [&](const std::string& arguments) {
        return RunCommand("script -qec \"" + tool + arguments + "\" /dev/null").output;
    };
    const std::string crc = onTerminal("crc '" + big + "'");
    EXPECT_TRUE(Has(crc, "\rcrc 65536/3145728 (1/1) ")) << crc;  // cut to 79 characters
    EXPECT_TRUE(Has(crc, "0x")) << crc;
    const std::string records = onTerminal("records '" + big + "'");
    EXPECT_TRUE(Has(records, "\rrecords: reading") && Has(records, "records: scanning")) << records;
    // (The terminal ends its lines with CR LF; the progress line starts with a CR.)
    for (const std::string& quiet :
         {onTerminal("crc --quiet '" + big + "'"), onTerminal("records --quiet '" + big + "'")}) {
        EXPECT_FALSE(Has(quiet, "\rcrc") || Has(quiet, "\rrecords")) << quiet;
    }
    const auto piped = RunTool(
        "crc '" + big + "' && '" + std::string(TN_TNPKG_PATH) + "' records '" + big + "'", true);
    EXPECT_FALSE(Has(piped.output, "\r")) << piped.output;
}

}  // namespace
