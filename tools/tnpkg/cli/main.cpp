// tnpkg: the package's command-line tool. `tnpkg <command> [options] [arguments]`.
#include <tnpackage/tnpackage.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "cli/Command.h"
#include "cli/Output.h"

namespace {

int warningCount = 0;

// Package warnings go to standard error and are counted: they make the command fail.
void PrintWarning(tn::TPString text) {
    ++warningCount;
    std::fprintf(stderr, "warning: %s\n", tnpkg::ToUtf8(text).c_str());
}

void PrintOverview(std::FILE* out) {
    std::fprintf(out,
                 "usage: tnpkg <command> [options] [arguments]\n"
                 "       tnpkg <command> --help\n"
                 "       tnpkg --version\n\ncommands:\n");
    for (const auto& c : tnpkg::Commands())
        std::fprintf(out, "  %-10s %s\n", c.name, c.summary);
}

const tnpkg::Command* Find(const char* name) {
    for (const auto& c : tnpkg::Commands()) {
        if (std::strcmp(c.name, name) == 0) return &c;
    }
    return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        PrintOverview(stderr);
        return tnpkg::kUsage;
    }
    const std::string first = argv[1];
    if (first == "--help" || first == "-h" || first == "help") {
        PrintOverview(stdout);
        return tnpkg::kSuccess;
    }
    if (first == "--version") {
        std::printf("tnpkg %s\n", tn::build::kVersion);
        return tnpkg::kSuccess;
    }
    const tnpkg::Command* command = Find(argv[1]);
    if (command == nullptr) {
        std::fprintf(stderr, "tnpkg: unknown command '%s'\n", argv[1]);
        PrintOverview(stderr);
        return tnpkg::kUsage;
    }
    std::vector<std::string> words(argv + 2, argv + argc);
    for (const auto& w : words) {
        if (w == "--help" || w == "-h") {
            std::printf("%s", command->usage);
            return tnpkg::kSuccess;
        }
    }
    tn::OnWarning = PrintWarning;
    const int status = command->run(words);
    if (status == tnpkg::kSuccess && warningCount > 0 && command->warningsFail) {
        return tnpkg::kFailure;
    }
    return status;
}
