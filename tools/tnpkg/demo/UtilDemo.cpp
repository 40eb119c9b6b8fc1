// Demo: the log file.
#include <tnpackage/tnpackage.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "cli/Output.h"
#include "demo/Demo.h"

namespace tnpkg {
namespace {

namespace fs = std::filesystem;

void ShowLogFile() {
    using namespace tn;
    const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
    const fs::path folder = fs::temp_directory_path() / ("tnpkg-log-" + std::to_string(stamp));
    const fs::path path = folder / "logs" / "demo.log";
    {
        TPLogFile log(path.string().c_str(), false);
        log.Write("Flug geladen");
        log.Append(" (3 Dateien)");
        log.Write(
            "Pr\xFC"
            "fsumme ok");
    }
    std::error_code ec;
    const std::uintmax_t size = fs::file_size(path, ec);
    std::string contents(ec ? 0 : static_cast<std::size_t>(size), '\0');
    std::ifstream(path, std::ios::binary)
        .read(contents.data(), static_cast<std::streamsize>(contents.size()));
    Print("TPLogFile(\"logs/demo.log\"), Write, Append, Write, closed (%zu bytes):\n",
          contents.size());
    std::size_t start = 0;
    for (std::size_t end; (end = contents.find("\r\n", start)) != std::string::npos;
         start = end + 2) {
        Print("  %s\\r\\n\n", ToUtf8(contents.substr(start, end - start).c_str()).c_str());
    }
    fs::remove_all(folder, ec);
}

const DemoRegistration logFile({90, "Log file", ShowLogFile});

}  // namespace
}  // namespace tnpkg
