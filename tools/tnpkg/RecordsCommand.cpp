// `tnpkg records FILE [--min-version N]`: lists the live records in a file of records.
#include <tnpackage/tnpackage.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "Command.h"

namespace tnpkg {
namespace {

constexpr long long kDefaultMinimumVersion = 1;

// Prints each record the scan hands over, with its place in the file.
class RecordPrinter : public tn::TPSaveList {
  public:
    explicit RecordPrinter(const unsigned char* base) : base_(base) {}

    int AddData(tn::TPSaveObject* r) override {
        const auto offset = reinterpret_cast<const unsigned char*>(r) - base_;
        const char* checksum = r->Size <= tn::TPObject::kHeaderSize ? "none"
                               : r->CheckSumValid()                 ? "valid"
                                                                    : "invalid";
        std::printf("0x%08lX  %5u  %7u  %5u  0x%04X  0x%04X  %s\n",
                    static_cast<unsigned long>(offset), r->Type, r->Version, r->Size, r->Stride,
                    r->State, checksum);
        return 1;
    }

  private:
    const unsigned char* base_;
};

int RunRecords(const std::vector<std::string>& words) {
    Args args(words, {"--min-version"});
    args.AllowFlags({});
    if (!args.Problem().empty()) return UsageError("records", args.Problem());
    if (args.Positional().size() != 1) return UsageError("records", "needs exactly one FILE");
    long long minimum = kDefaultMinimumVersion;
    if (const auto text = args.Option("--min-version")) {
        if (!ParseInteger(*text, minimum) || minimum < 0 || minimum > 0xFFFF) {
            return UsageError("records", "--min-version takes a number from 0 to 65535");
        }
    }

    const std::string& path = args.Positional()[0];
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "tnpkg records: cannot read %s\n", path.c_str());
        return kFailure;
    }
    const std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(file)),
                                           std::istreambuf_iterator<char>());

    std::printf("offset       type  version   size  stride  state   checksum\n");
    RecordPrinter printer(bytes.data());
    printer.LoadRegion(bytes.data(), bytes.size(), static_cast<int>(minimum));
    return kSuccess;
}

const CommandRegistration reg(
    {"records", "list the live records in a file of records",
     "usage: tnpkg records FILE [--min-version N]\n\n"
     "Scans FILE record by record as the package reads a region of records: a record of at\n"
     "least version N (default 1) that is live is listed and the scan moves on by its stride\n"
     "(or its size when no stride is set); anything else moves the scan on by 4 bytes.\n"
     "Each line shows the record's offset in the file, its type, version, size, stride and\n"
     "state word, and whether its checksum is valid (\"none\" for a record without payload).\n",
     RunRecords, true});

}  // namespace
}  // namespace tnpkg
