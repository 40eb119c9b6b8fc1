#include "cli/HostFiles.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

namespace tnpkg {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kChunk = 64 * 1024;

std::string Named(const std::string& path) {
    return path == kStandardInput ? std::string("standard input") : path;
}

// A missing file and a folder are the usual mistakes; their texts differ between systems.
bool Refused(const std::string& path, std::string& problem) {
    std::error_code ec;
    const fs::file_status status = fs::status(path, ec);
    if (status.type() == fs::file_type::not_found) {
        problem = "cannot open " + path + ": no such file";
        return true;
    }
    if (status.type() == fs::file_type::directory) {
        problem = path + " is a folder, not a file";
        return true;
    }
    return false;
}

bool ReadAll(std::FILE* in, std::vector<unsigned char>& bytes, std::uint64_t total,
             const ReadProgress& progress) {
    std::vector<unsigned char> chunk(kChunk);
    std::size_t n;
    while ((n = std::fread(chunk.data(), 1, chunk.size(), in)) > 0) {
        bytes.insert(bytes.end(), chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(n));
        if (progress) progress(bytes.size(), total);
    }
    return std::ferror(in) == 0;
}

}  // namespace

std::string SystemReason(int error) {
    if (error == ENOENT) return "no such file or folder";
    if (error == EISDIR) return "it is a folder";
    std::string text = std::strerror(error);
    if (!text.empty())
        text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    return text;
}

bool ReadInputFile(const std::string& path, std::vector<unsigned char>& bytes, std::string& problem,
                   const ReadProgress& progress) {
    bytes.clear();
    if (path == kStandardInput) {
#if defined(_WIN32)
        _setmode(_fileno(stdin), _O_BINARY);
#endif
        if (ReadAll(stdin, bytes, 0, progress)) return true;
        problem = "cannot read standard input: " + SystemReason(errno);
        return false;
    }
    if (Refused(path, problem)) return false;
    std::FILE* in = std::fopen(path.c_str(), "rb");
    if (in == nullptr) {
        problem = "cannot open " + Named(path) + ": " + SystemReason(errno);
        return false;
    }
    std::error_code ec;
    const std::uintmax_t size = fs::file_size(path, ec);
    const bool read = ReadAll(in, bytes, ec ? 0 : static_cast<std::uint64_t>(size), progress);
    const int error = errno;
    std::fclose(in);
    if (!read) problem = "cannot read " + path + ": " + SystemReason(error);
    return read;
}

bool WriteOutputFile(const std::string& path, const char* bytes, std::size_t count,
                     std::string& problem) {
    std::error_code ec;
    if (fs::is_directory(path, ec)) {
        problem = path + " is a folder, not a file";
        return false;
    }
    // Beside the target, so that the rename stays on one file system. A device or a pipe is
    // written directly: it cannot be replaced, and a rename would replace its entry.
    const fs::file_type type = fs::status(path, ec).type();
    const bool direct = type != fs::file_type::not_found && type != fs::file_type::regular;
    const std::string partial = direct ? path : path + ".tnpkg-partial";
    std::FILE* out = std::fopen(partial.c_str(), "wb");
    if (out == nullptr) {
        problem = "cannot write " + path + ": " + SystemReason(errno);
        return false;
    }
    bool written = count == 0 || std::fwrite(bytes, 1, count, out) == count;
    written = std::fflush(out) == 0 && written;
    int error = errno;
    if (std::fclose(out) != 0 && written) {
        written = false;
        error = errno;
    }
    if (written && direct) return true;
    if (direct) {
        problem = "cannot write " + path + ": " + SystemReason(error);
        return false;
    }
    if (written) {
        fs::rename(partial, path, ec);
        if (!ec) return true;
        error = ec.value();
    }
    fs::remove(partial, ec);
    problem = "cannot write " + path + ": " + SystemReason(error);
    return false;
}

}  // namespace tnpkg
