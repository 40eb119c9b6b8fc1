// `tnpkg crc`: the CRC of files or standard input, with the package's calculators.
#include <tnpackage/tnpackage.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/Command.h"
#include "cli/HostFiles.h"
#include "cli/Output.h"
#include "cli/Progress.h"

namespace tnpkg {
namespace {

constexpr const char* kName = "crc";
constexpr const char* kStandardInput = "-";

// Which routine of the package computes a preset.
enum class Routine { Crc16, Crc7, Table, Hyperstone };

struct Preset {
    const char* name;
    Routine routine;
    int width;
    std::uint32_t polynomial;
    bool reflected;
    // Start and final XOR of the Hyperstone presets; table presets keep the constructor's.
    std::uint32_t initial;
    std::uint32_t finalXor;
};

constexpr int kWidth7 = 7;
constexpr int kWidth16 = 16;
constexpr std::uint32_t kCcitt = 0x1021;
constexpr std::uint32_t kAllOnes16 = 0xFFFF;

const Preset kPresets[] = {
    {"xmodem", Routine::Crc16, kWidth16, kCcitt, false, 0, 0},
    {"crc7", Routine::Crc7, kWidth7, 0x09, false, 0, 0},
    {"kermit", Routine::Table, kWidth16, kCcitt, true, 0, 0},
    {"arc", Routine::Table, kWidth16, 0x8005, true, 0, 0},
    {"umts", Routine::Table, kWidth16, 0x8005, false, 0, 0},
    {"bzip2", Routine::Table, 32, 0x04C11DB7, false, 0, 0},
    {"smbus", Routine::Table, 8, 0x07, false, 0, 0},
    {"hyperstone", Routine::Hyperstone, kWidth16, kCcitt, true, 0, 0},
    {"mcrf4xx", Routine::Hyperstone, kWidth16, kCcitt, true, kAllOnes16, 0},
    {"ibm-sdlc", Routine::Hyperstone, kWidth16, kCcitt, true, kAllOnes16, kAllOnes16},
};

constexpr const char* kUsage =
    "usage: tnpkg crc [--preset NAME | --width W --poly P [--reflected]]\n"
    "                 [--init I] [--xorout X] [--xorin B] [--quiet] [FILE...]\n"
    "\n"
    "Prints one line per input: \"0x\", the CRC in upper-case hexadecimal with width/4 digits\n"
    "(rounded up), two blanks and the file name. Without a FILE, or for the name \"-\", the\n"
    "input is standard input, shown as \"-\". Numbers may be decimal or 0x-hexadecimal.\n"
    "\n"
    "presets (check value of the text 123456789):\n"
    "  xmodem      the package's CRC-16 (CRC-16/XMODEM), the default   0x31C3\n"
    "  crc7        the memory-card frame byte: CRC-7/MMC << 1 | 1      0xEB\n"
    "  kermit      table CRC, width 16, polynomial 0x1021, reflected   0x2189\n"
    "  arc         table CRC, width 16, polynomial 0x8005, reflected   0xBB3D\n"
    "  umts        table CRC, width 16, polynomial 0x8005              0xFEE8\n"
    "  bzip2       table CRC, width 32, polynomial 0x04C11DB7          0xFC891918\n"
    "  smbus       table CRC, width 8, polynomial 0x07                 0xF4\n"
    "  hyperstone  the Hyperstone CRC, start 0                         0x2189\n"
    "  mcrf4xx     the Hyperstone CRC, start 0xFFFF                    0x6F91\n"
    "  ibm-sdlc    the Hyperstone CRC, start and final XOR 0xFFFF      0x906E\n"
    "\n"
    "--width W --poly P   a table CRC of width 1 to 32 with the polynomial P (normal form,\n"
    "                     without its top term); --reflected builds it least significant bit\n"
    "                     first, which from width 17 on is not the common reflected CRC\n"
    "                     (the register moves by width - 8 bits per byte).\n"
    "--init I, --xorout X start value and final XOR (default: all ones at width 32, else 0);\n"
    "                     for table and Hyperstone presets they replace the preset's values.\n"
    "--xorin B            a byte XORed into every input byte before use (default 0).\n"
    "--quiet              no progress line (it shows on a terminal while inputs are read).\n";

// A whole number in [low, high], or nothing.
std::optional<long long> Number(const std::optional<std::string>& text, long long low,
                                long long high) {
    long long value = 0;
    if (!text || !ParseInteger(*text, value) || value < low || value > high) return std::nullopt;
    return value;
}

constexpr long long kMaxWord = 0xFFFFFFFFLL;
constexpr long long kMinWord = std::numeric_limits<std::int32_t>::min();

// The chosen calculation: a preset, possibly with its start, final and byte XOR replaced.
struct Calculation {
    Preset preset{};
    std::optional<std::uint32_t> initial, finalXor;
    std::optional<std::uint8_t> byteXor;
};

std::optional<std::uint32_t> WordOption(const Args& args, const char* name, std::string& problem) {
    const auto text = args.Option(name);
    if (!text) return std::nullopt;
    const auto value = Number(text, kMinWord, kMaxWord);
    if (!value) problem = std::string(name) + " needs a number that fits in 32 bits";
    return value ? std::optional<std::uint32_t>(static_cast<std::uint32_t>(*value)) : std::nullopt;
}

// Reads the options into a calculation; a non-empty problem means bad usage.
Calculation Choose(const Args& args, std::string& problem) {
    Calculation calc;
    const auto presetName = args.Option("--preset");
    const bool custom = args.Option("--width") || args.Option("--poly");
    if (presetName && (custom || args.Flag("--reflected"))) {
        problem = "--preset and --width/--poly/--reflected exclude each other";
        return calc;
    }
    if (custom) {
        const auto width = Number(args.Option("--width"), 1, 32);
        const auto poly = Number(args.Option("--poly"), 0, kMaxWord);
        if (!width) problem = "--width needs a number from 1 to 32";
        if (!poly) problem = "--poly needs a number from 0 to 0xFFFFFFFF";
        if (!problem.empty()) return calc;
        calc.preset = {"",
                       Routine::Table,
                       static_cast<int>(*width),
                       static_cast<std::uint32_t>(*poly),
                       args.Flag("--reflected"),
                       0,
                       0};
    } else if (args.Flag("--reflected")) {
        problem = "--reflected needs --width and --poly";
        return calc;
    } else {
        const std::string wanted = presetName.value_or("xmodem");
        bool found = false;
        for (const Preset& p : kPresets) {
            if (wanted == p.name) {
                calc.preset = p;
                found = true;
            }
        }
        if (!found) {
            problem = "unknown preset '" + wanted + "'";
            return calc;
        }
    }
    calc.initial = WordOption(args, "--init", problem);
    calc.finalXor = WordOption(args, "--xorout", problem);
    if (const auto text = args.Option("--xorin")) {
        const auto value = Number(text, 0, 0xFF);
        if (value) calc.byteXor = static_cast<std::uint8_t>(*value);
        if (!value) problem = "--xorin needs a number from 0 to 0xFF";
    }
    const bool fixed =
        calc.preset.routine == Routine::Crc16 || calc.preset.routine == Routine::Crc7;
    if (fixed && (calc.initial || calc.finalXor || calc.byteXor)) {
        problem = std::string("preset ") + calc.preset.name +
                  " is a fixed function: no --init, --xorout or --xorin";
    }
    return calc;
}

// The package's calculator object for table and Hyperstone calculations.
std::unique_ptr<tn::TPCRC> MakeCalculator(const Calculation& calc) {
    const Preset& p = calc.preset;
    const int savedMode = tn::CRCInsertMode;
    tn::CRCInsertMode = p.reflected ? 1 : 0;
    auto crc = std::make_unique<tn::TPCRC>(p.width, static_cast<int>(p.polynomial));
    tn::CRCInsertMode = savedMode;
    const bool hyperstone = p.routine == Routine::Hyperstone;
    const std::uint32_t initial = calc.initial.value_or(hyperstone ? p.initial : crc->Initial());
    const std::uint32_t finalXor =
        calc.finalXor.value_or(hyperstone ? p.finalXor : crc->FinalXor());
    crc->Set(static_cast<int>(initial), static_cast<int>(finalXor), calc.byteXor.value_or(0));
    return crc;
}

std::uint32_t Compute(const Calculation& calc, const tn::TPCRC* crc,
                      const std::vector<unsigned char>& data) {
    const int n = static_cast<int>(data.size());
    switch (calc.preset.routine) {
        case Routine::Crc16:
            return tn::CreateCRC16(data.data(), n);
        case Routine::Crc7:
            return tn::CreateCRC7(data.data(), n);
        case Routine::Hyperstone:
            return crc->CreateHyperstone(data.data(), n);
        case Routine::Table:
            break;
    }
    return crc->Create(data.data(), n);
}

// The progress line of a run: which input of how many, and how far it has been read.
struct Reading {
    Progress& progress;
    std::size_t index, count;
    const std::string& name;

    void Show(std::uint64_t done, std::uint64_t total) const {
        std::string item =
            "(" + std::to_string(index + 1) + "/" + std::to_string(count) + ") " + name;
        progress.Update(done, total, item);
    }
};

int RunCrc(const Args& args) {
    std::string problem;
    const Calculation calc = Choose(args, problem);
    if (!problem.empty()) return UsageError(kName, problem);

    std::unique_ptr<tn::TPCRC> crc;
    if (calc.preset.routine == Routine::Crc16) {
        tn::InitCRC16();
    } else if (calc.preset.routine != Routine::Crc7) {
        crc = MakeCalculator(calc);
    }
    const int digits = (calc.preset.width + 3) / 4;

    std::vector<std::string> inputs = args.Positional();
    if (inputs.empty()) inputs.push_back(kStandardInput);
    int status = kSuccess;
    Progress progress("crc", args.Flag("--quiet"));
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        const std::string& name = inputs[i];
        std::vector<unsigned char> data;
        const Reading reading{progress, i, inputs.size(), name};
        std::string unread;
        if (!ReadInputFile(name, data, unread, [&reading](std::uint64_t done, std::uint64_t total) {
                reading.Show(done, total);
            })) {
            progress.Finish();
            std::fprintf(stderr, "tnpkg crc: %s\n", unread.c_str());
            status = kFailure;
            continue;
        }
        if (data.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
            progress.Finish();
            std::fprintf(stderr, "tnpkg crc: '%s' is larger than 2 GiB\n", name.c_str());
            status = kFailure;
            continue;
        }
        const std::uint32_t value = Compute(calc, crc.get(), data);
        progress.Finish();
        Print("0x%0*X  %s\n", digits, static_cast<unsigned>(value), name.c_str());
    }
    return status;
}

const CommandRegistration reg({kName,
                               "CRC of files or standard input (XMODEM, CRC-7, table CRCs)",
                               kUsage,
                               {{nullptr,
                                 "[FILE...]",
                                 0,
                                 kAnyNumber,
                                 {{"--preset", Takes::Value},
                                  {"--width", Takes::Value},
                                  {"--poly", Takes::Value},
                                  {"--init", Takes::Value},
                                  {"--xorout", Takes::Value},
                                  {"--xorin", Takes::Value},
                                  {"--reflected"},
                                  {"--quiet"}}}},
                               RunCrc});

}  // namespace
}  // namespace tnpkg
