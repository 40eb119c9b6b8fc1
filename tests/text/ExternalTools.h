// Runs a reference tool (iconv, python3) on bytes and returns what it printed.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace tn::test {

inline std::filesystem::path ScratchFolder() {
    const char* root = std::getenv("TN_TEST_TMP");
    std::filesystem::path folder = root != nullptr && *root != '\0'
                                       ? std::filesystem::path(root)
                                       : std::filesystem::temp_directory_path() / "tn_text_tests";
    std::filesystem::create_directories(folder);
    return folder;
}

/// Output of `command` run by the shell with `input` on its standard input; `status` receives
/// its exit status.
inline std::string RunReference(const std::string& command, const std::string& input,
                                int* status = nullptr) {
    static int counter = 0;
    const std::filesystem::path inputFile =
        ScratchFolder() / ("input_" + std::to_string(::getpid()) + "_" + std::to_string(++counter));
    { std::ofstream(inputFile, std::ios::binary) << input; }
    const std::string line = command + " < '" + inputFile.string() + "'";
    std::string output;
    if (FILE* pipe = ::popen(line.c_str(), "r")) {
        char chunk[4096];
        std::size_t n;
        while ((n = std::fread(chunk, 1, sizeof chunk, pipe)) > 0)
            output.append(chunk, n);
        const int result = ::pclose(pipe);
        if (status != nullptr) *status = WIFEXITED(result) ? WEXITSTATUS(result) : -1;
    } else if (status != nullptr) {
        *status = -1;
    }
    std::filesystem::remove(inputFile);
    return output;
}

}  // namespace tn::test
