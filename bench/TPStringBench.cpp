// What the exact-size buffers cost: every append reallocates, and pieces go through fixed work
// buffers.
#include <benchmark/benchmark.h>
#include <tnpackage/tnpackage.h>

#include <string>

using namespace tn;

static void AppendCharacters(benchmark::State& state) {
    for (auto _ : state) {
        TPString s;
        for (int i = 0; i < state.range(0); ++i)
            s += 'x';
        benchmark::DoNotOptimize(s.c_str());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(AppendCharacters)->Arg(16)->Arg(256)->Arg(4096);

static void SubStringOfALine(benchmark::State& state) {
    const TPString line("B1101355206343N00006198WA0058700558", 0);
    for (auto _ : state)
        benchmark::DoNotOptimize(line.SubString(8, 8).c_str());
}
BENCHMARK(SubStringOfALine);

static void CompareWithoutCase(benchmark::State& state) {
    const TPString a("UNTERWOESSEN", 0);
    const TPString b("unterwoessen", 0);
    for (auto _ : state)
        benchmark::DoNotOptimize(a == b);
}
BENCHMARK(CompareWithoutCase);

// A copy through the pointer constructor probes the pointer first; Trusted does not.
static void CopyProbed(benchmark::State& state) {
    std::string text = "Datei mit langem Namen 00001.txt";
    for (auto _ : state)
        benchmark::DoNotOptimize(tn::TPString(text.data()));
}
BENCHMARK(CopyProbed);

static void CopyTrusted(benchmark::State& state) {
    const std::string text = "Datei mit langem Namen 00001.txt";
    for (auto _ : state)
        benchmark::DoNotOptimize(tn::TPString::Trusted(text));
}
BENCHMARK(CopyTrusted);
