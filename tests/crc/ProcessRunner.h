// Runs a command line for the tests and collects what it printed and its exit status.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#ifndef _WIN32
#include <sys/wait.h>
#endif

namespace crctest {

struct ProcessResult {
    std::string output;  // standard output only
    int status = -1;
};

inline ProcessResult RunProcess(const std::string& command) {
    ProcessResult result;
#ifdef _WIN32
    std::FILE* pipe = _popen(command.c_str(), "rb");
#else
    std::FILE* pipe = popen(command.c_str(), "r");
#endif
    if (pipe == nullptr) return result;
    char buffer[4096];
    std::size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
        result.output.append(buffer, n);
#ifdef _WIN32
    result.status = _pclose(pipe);
#else
    const int raw = pclose(pipe);
    result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
#endif
    return result;
}

/// A scratch folder for this test program (under TN_TEST_TMP when it is set).
inline std::filesystem::path ScratchFolder() {
    const char* base = std::getenv("TN_TEST_TMP");
    std::filesystem::path folder = base != nullptr && *base != '\0'
                                       ? std::filesystem::path(base)
                                       : std::filesystem::temp_directory_path() / "tn_crc_tests";
    folder /= "crc";
    std::filesystem::create_directories(folder);
    return folder;
}

/// The path in double quotes, for a shell command line.
inline std::string Quoted(const std::filesystem::path& p) {
    return "\"" + p.string() + "\"";
}

}  // namespace crctest
