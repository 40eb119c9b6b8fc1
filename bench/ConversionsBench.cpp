// The conversions on a page of text: the HTML reference table is searched name by name, and
// the UTF-8 decoder goes through the code page's table for every character.
#include <benchmark/benchmark.h>
#include <tnpackage/tnpackage.h>

#include <string>
#include <vector>

using namespace tn;

namespace {

std::string Repeated(const std::string& piece, std::size_t length) {
    std::string s;
    while (s.size() + piece.size() <= length)
        s += piece;
    return s;
}

}  // namespace

static void DecodeHtmlReferences(benchmark::State& state) {
    const std::string page = Repeated("Fl&uuml;ge &uuml;ber M&uuml;nchen &amp; &euro; ", 4000);
    std::vector<char> target(page.size() + 1);
    for (auto _ : state) {
        HTMLDecodierung2(page.c_str(), target.data());
        benchmark::DoNotOptimize(target.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(page.size()));
}
BENCHMARK(DecodeHtmlReferences);

static void Utf8ToWindows1252(benchmark::State& state) {
    const std::string page = Repeated(
        "Fl\xC3\xBCge \xC3\xBC"
        "ber M\xC3\xBCnchen \xE2\x82\xAC ",
        4000);
    const TPString text(page.c_str(), 0);
    for (auto _ : state)
        benchmark::DoNotOptimize(text.UTF8toAscii().c_str());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(page.size()));
}
BENCHMARK(Utf8ToWindows1252);

static void UrlEncodeALine(benchmark::State& state) {
    const TPString line(
        "Fl\xFC"
        "ge \xFC"
        "ber M\xFCnchen am 22.11.2026",
        0);
    for (auto _ : state) {
        TPString url(line);
        url.HTMLCodierung();
        benchmark::DoNotOptimize(url.c_str());
    }
}
BENCHMARK(UrlEncodeALine);
