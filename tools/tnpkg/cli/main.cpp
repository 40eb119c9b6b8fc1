// tnpkg: the package's command-line tool. `tnpkg <command> [options] [arguments]`.
#include <tnpackage/tnpackage.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "cli/Command.h"
#include "cli/Failure.h"
#include "cli/Json.h"
#include "cli/Output.h"
#include "cli/Warnings.h"

namespace {

void PrintOverview(bool toOutput) {
    std::string text =
        "usage: tnpkg <command> [options] [arguments]\n"
        "       tnpkg <command> --help\n"
        "       tnpkg --version\n\ncommands:\n";
    for (const tnpkg::Command* c : tnpkg::Commands()) {
        char line[160];
        std::snprintf(line, sizeof line, "  %-10s %s\n", c->name, c->summary);
        text += line;
    }
    if (toOutput) {
        tnpkg::WriteOutput(text);
    } else {
        std::fputs(text.c_str(), stderr);
    }
}

const tnpkg::Command* Find(const char* name) {
    for (const tnpkg::Command* c : tnpkg::Commands()) {
        if (std::strcmp(c->name, name) == 0) return c;
    }
    return nullptr;
}

// Whether the words ask for JSON ("--json" before any "--").
bool AsksForJson(const std::vector<std::string>& words) {
    for (const auto& w : words) {
        if (w == "--") return false;
        if (w == "--json") return true;
    }
    return false;
}

// A failed command asked for JSON still prints JSON: the reason as {"error": ...}.
int Finished(int status, bool json) {
    if (status != tnpkg::kSuccess && json && !tnpkg::OutputWritten()) {
        const std::string& reason = tnpkg::RecordedFailure();
        tnpkg::JsonWriter()
            .BeginObject()
            .Key("error")
            .Value(reason.empty() ? std::string("failed") : reason)
            .EndObject()
            .Print();
    }
    return status;
}

int Run(int argc, char** argv) {
    if (argc < 2) {
        PrintOverview(false);
        return tnpkg::kUsage;
    }
    const std::string first = argv[1];
    if (first == "--help" || first == "-h" || first == "help") {
        PrintOverview(true);
        return tnpkg::kSuccess;
    }
    if (first == "--version") {
        tnpkg::Print("tnpkg %s\n", tn::build::kVersion);
        return tnpkg::kSuccess;
    }
    const tnpkg::Command* command = Find(argv[1]);
    if (command == nullptr) {
        std::fprintf(stderr, "tnpkg: unknown command '%s'\n", argv[1]);
        PrintOverview(false);
        return tnpkg::kUsage;
    }
    const std::vector<std::string> words(argv + 2, argv + argc);
    if (tnpkg::AsksForHelp(words)) {
        tnpkg::WriteOutput(std::string(command->usage));
        return tnpkg::kSuccess;
    }
    tnpkg::Args args;
    std::string problem;
    const bool json = AsksForJson(words);
    if (!tnpkg::ParseArgs(command->grammar, words, args, problem)) {
        return Finished(tnpkg::UsageError(command->name, problem), json);
    }
    // The tool reads and writes FAT volumes as the format defines them, as mtools, fsck.fat and
    // operating systems do; the library's compatible default keeps the original's quirks for
    // the host programs that rely on them.
    tn::FATStandard = true;
    // Warnings no command caught for itself are shown; they fail nothing by themselves.
    const tnpkg::WarningCapture shown("tnpkg " + std::string(command->name));
    return Finished(command->run(args), json);
}

}  // namespace

int main(int argc, char** argv) {
    return tnpkg::FinishOutput(Run(argc, argv));
}
