// `tnpkg records FILE [--min-version N] [--json] [--quiet]`: lists the live records in a file of
// records.
#include <tnpackage/tnpackage.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "cli/Command.h"
#include "cli/Failure.h"
#include "cli/HostFiles.h"
#include "cli/Json.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "records/RecordHealth.h"

namespace tnpkg {
namespace {

constexpr long long kDefaultMinimumVersion = 1;
// Scan steps between two looks at the progress line (a look is cheap, a redraw is rarer).
constexpr int kStepsPerUpdate = 4096;

struct Listed {
    std::uint64_t offset;
    unsigned type, version, size, stride, state;
    const char* checksum;
    bool damaged;
};

// Collects each record the scan hands over, with its place in the file.
class RecordCollector : public tn::TPSaveList {
  public:
    explicit RecordCollector(const unsigned char* base) : base_(base) {}

    int AddData(tn::TPSaveObject* r) override {
        const auto offset = reinterpret_cast<const unsigned char*>(r) - base_;
        const char* checksum = r->Size <= tn::TPObject::kHeaderSize ? "none"
                               : r->CheckSumValid()                 ? "valid"
                                                                    : "invalid";
        records.push_back({static_cast<std::uint64_t>(offset), r->Type, r->Version, r->Size,
                           r->Stride, r->State, checksum, !RecordIntact(*r)});
        return 1;
    }
    std::vector<Listed> records;

  private:
    const unsigned char* base_;
};

// The scan of LoadRegion, step by step so that the progress line can follow it.
void Scan(RecordCollector& collector, std::vector<unsigned char>& bytes, int minimum,
          Progress& progress) {
    unsigned char* begin = bytes.data();
    const unsigned char* end = begin + bytes.size();
    auto* cursor = reinterpret_cast<unsigned short*>(begin);
    int steps = 0;
    while (reinterpret_cast<const unsigned char*>(cursor) < end) {
        collector.LoadObject(cursor, end, minimum);
        if (steps++ % kStepsPerUpdate == 0) {
            const auto done = reinterpret_cast<const unsigned char*>(cursor) - begin;
            progress.Update(static_cast<std::uint64_t>(done), bytes.size(), "bytes scanned");
        }
    }
}

void PrintTable(const std::vector<Listed>& records) {
    Print("offset       type  version   size  stride  state   checksum\n");
    for (const Listed& r : records) {
        Print("0x%08llX  %5u  %7u  %5u  0x%04X  0x%04X  %s%s\n",
              static_cast<unsigned long long>(r.offset), r.type, r.version, r.size, r.stride,
              r.state, r.checksum, r.damaged ? "  damaged" : "");
    }
}

// The intact records, and the damaged ones too when `all`; the count left out goes to `left`.
std::vector<Listed> Shown(const std::vector<Listed>& records, bool all, int& left) {
    std::vector<Listed> shown;
    left = 0;
    for (const Listed& r : records) {
        if (all || !r.damaged) {
            shown.push_back(r);
        } else {
            ++left;
        }
    }
    return shown;
}

void PrintJson(const std::string& path, const std::vector<Listed>& records) {
    JsonWriter json;
    json.BeginObject().Key("file").Value(path).Key("records").BeginArray();
    for (const Listed& r : records) {
        json.BeginObject();
        json.Key("offset").Value(r.offset).Key("type").Value(r.type);
        json.Key("version").Value(r.version).Key("size").Value(r.size);
        json.Key("stride").Value(r.stride).Key("state").Value(r.state);
        json.Key("checksum").Value(r.checksum);
        if (r.damaged) json.Key("damaged").Value(true);
        json.EndObject();
    }
    json.EndArray().EndObject().Print();
}

int RunRecords(const Args& args) {
    long long minimum = kDefaultMinimumVersion;
    if (const auto text = args.Option("--min-version")) {
        if (!ParseInteger(*text, minimum) || minimum < 0 || minimum > 0xFFFF) {
            return UsageError("records", "--min-version takes a number from 0 to 65535");
        }
    }

    const std::string& path = args.Positional()[0];
    std::vector<unsigned char> bytes;
    {
        Progress progress("records: reading", args.Flag("--quiet"));
        std::string problem;
        const auto shown = [&progress](std::uint64_t done, std::uint64_t total) {
            progress.Update(done, total, "bytes read");
        };
        if (!ReadInputFile(path, bytes, problem, shown)) {
            RecordFailure(problem);
            std::fprintf(stderr, "tnpkg records: %s\n", problem.c_str());
            return kFailure;
        }
    }
    RecordCollector collector(bytes.data());
    {
        Progress progress("records: scanning", args.Flag("--quiet"));
        Scan(collector, bytes, static_cast<int>(minimum), progress);
    }
    int left = 0;
    const std::vector<Listed> shown = Shown(collector.records, args.Flag("--all"), left);
    if (args.Flag("--json")) {
        PrintJson(path, shown);
    } else {
        PrintTable(shown);
    }
    if (left > 0) std::fputs(PassedOverNote("records", left).c_str(), stderr);
    return kSuccess;
}

const CommandRegistration reg(
    {"records",
     "list the live records in a file of records",
     "usage: tnpkg records FILE [--min-version N] [--all] [--json] [--quiet]\n\n"
     "Scans FILE record by record as the package reads a region of records: a record of at\n"
     "least version N (default 1) that is live is listed and the scan moves on by its stride\n"
     "(or its size when no stride is set); anything else moves the scan on by 4 bytes.\n"
     "Each line shows the record's offset in the file, its type, version, size, stride and\n"
     "state word, and whether its checksum is valid (\"none\" for a record without payload).\n"
     "A record whose magic is not \"ZK\" or whose checksum is invalid (what a power cut in the\n"
     "middle of a record leaves) is damaged: it is passed over, with the count on standard\n"
     "error, and listed, marked \"damaged\", only with --all.\n\n"
     "  --all     lists the damaged records too\n"
     "  --json    one object instead: {\"file\": \"FILE\", \"records\": [{\"offset\": N, \"type\": "
     "N,\n"
     "            \"version\": N, \"size\": N, \"stride\": N, \"state\": N, \"checksum\":\n"
     "            \"valid\" | \"invalid\" | \"none\", \"damaged\": true (only when so)}, ...]};\n"
     "            a failure prints {\"error\": TEXT}\n"
     "  --quiet   no progress line (it shows on a terminal while a large file is read and\n"
     "            scanned)\n",
     {{nullptr,
       "FILE",
       1,
       1,
       {{"--min-version", Takes::Value}, {"--all"}, {"--json"}, {"--quiet"}}}},
     RunRecords});

}  // namespace
}  // namespace tnpkg
