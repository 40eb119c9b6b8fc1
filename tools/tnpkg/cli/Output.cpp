#include "cli/Output.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

#include "cli/Command.h"
#include "cli/HostFiles.h"

namespace tnpkg {
namespace {

// The first failed write's errno; 0 while everything arrived.
int outputError = 0;
bool anythingWritten = false;

void NoteFailure() {
    if (outputError == 0) outputError = errno != 0 ? errno : EIO;
}

}  // namespace

bool WriteOutput(const void* bytes, std::size_t count) {
    if (outputError != 0) return false;
    if (count == 0) return true;
    anythingWritten = true;
    errno = 0;
    if (std::fwrite(bytes, 1, count, stdout) != count || std::ferror(stdout) != 0) {
        NoteFailure();
        return false;
    }
    return true;
}

void Print(const char* format, ...) {
    char small[512];
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(small, sizeof small, format, args);
    va_end(args);
    if (length < 0) {
        va_end(again);
        return;
    }
    if (static_cast<std::size_t>(length) < sizeof small) {
        va_end(again);
        WriteOutput(small, static_cast<std::size_t>(length));
        return;
    }
    std::vector<char> large(static_cast<std::size_t>(length) + 1);
    std::vsnprintf(large.data(), large.size(), format, again);
    va_end(again);
    WriteOutput(large.data(), static_cast<std::size_t>(length));
}

void BinaryOutput() {
#ifdef _WIN32
    std::fflush(stdout);
    _setmode(_fileno(stdout), _O_BINARY);
#endif
}

bool OutputWritten() {
    return anythingWritten;
}

bool OutputFailed() {
    return outputError != 0;
}

int FinishOutput(int status) {
    errno = 0;
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) NoteFailure();
    if (outputError == 0) return status;
    // The reader has stopped reading: what it wanted, it has; nothing to tell anyone.
    if (outputError == EPIPE) return kFailure;
    std::fprintf(stderr, "tnpkg: cannot write the output: %s\n", SystemReason(outputError).c_str());
    return kFailure;
}

}  // namespace tnpkg
