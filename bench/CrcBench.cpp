// The CRCs byte at a time (one dependent table step per byte) against the fast forms that give
// the same results: carry-less-multiply folding where the processor has it (TN_CRC_PORTABLE=1
// measures the eight-bytes-at-a-time tables instead), plus the table-less routines.
#include <tnpackage/tnpackage.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace {

std::vector<std::uint8_t> Data(std::int64_t n) {
    std::vector<std::uint8_t> data(static_cast<std::size_t>(n));
    std::uint32_t x = 0x12345678;
    for (auto& b : data) {
        x = x * 1664525U + 1013904223U;
        b = static_cast<std::uint8_t>(x >> 24);
    }
    return data;
}

std::unique_ptr<tn::TPCRC> Calculator(int width, int polynomial, int mode) {
    const int saved = tn::CRCInsertMode;
    tn::CRCInsertMode = mode;
    auto crc = std::make_unique<tn::TPCRC>(width, polynomial);
    tn::CRCInsertMode = saved;
    return crc;
}

// Arguments: bytes, width, mode.
template <bool Fast>
void TableCrc(benchmark::State& state) {
    const auto data = Data(state.range(0));
    const auto crc =
        Calculator(static_cast<int>(state.range(1)), state.range(1) == 32 ? 0x04C11DB7 : 0x1021,
                   static_cast<int>(state.range(2)));
    const int n = static_cast<int>(data.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(Fast ? crc->Create(data.data(), n)
                                      : crc->CreateByteByByte(data.data(), n));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

template <bool Fast>
void Crc16(benchmark::State& state) {
    tn::InitCRC16();
    const auto data = Data(state.range(0));
    const int n = static_cast<int>(data.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(Fast ? tn::CreateCRC16(data.data(), n)
                                      : tn::CreateCRC16ByteByByte(data.data(), n));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

template <bool Nibbles>
void Hyperstone(benchmark::State& state) {
    const auto data = Data(state.range(0));
    const auto crc = Calculator(16, 0x1021, 0);
    const int n = static_cast<int>(data.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(Nibbles ? crc->CreateHS(data.data(), n)
                                         : crc->CreateHyperstone(data.data(), n));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void Crc7(benchmark::State& state) {
    const auto data = Data(state.range(0));
    const int n = static_cast<int>(data.size());
    for (auto _ : state)
        benchmark::DoNotOptimize(tn::CreateCRC7(data.data(), n));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void TableArgs(benchmark::internal::Benchmark* b) {
    for (std::int64_t bytes : {64, 4096, 1 << 20}) {
        for (std::int64_t width : {4, 7, 12, 16, 24, 32}) {
            for (std::int64_t mode : {0, 1})
                b->Args({bytes, width, mode});
        }
    }
    b->ArgNames({"bytes", "width", "reflected"});
}

BENCHMARK(TableCrc<false>)->Name("TPCRC/ByteByByte")->Apply(TableArgs);
BENCHMARK(TableCrc<true>)->Name("TPCRC/Create")->Apply(TableArgs);
BENCHMARK(Crc16<false>)->Name("CreateCRC16/ByteByByte")->Arg(64)->Arg(4096)->Arg(1 << 20);
BENCHMARK(Crc16<true>)->Name("CreateCRC16/Fast")->Arg(64)->Arg(4096)->Arg(1 << 20);
BENCHMARK(Hyperstone<false>)->Name("TPCRC/CreateHyperstone")->Arg(4096)->Arg(1 << 20);
BENCHMARK(Hyperstone<true>)->Name("TPCRC/CreateHS")->Arg(4096)->Arg(1 << 20);
BENCHMARK(Crc7)->Name("CreateCRC7")->Arg(4096)->Arg(1 << 20);

// Building a calculator fills its slicing tables too: what an object costs to make.
void Construction(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(Calculator(32, 0x04C11DB7, 0));
}
BENCHMARK(Construction)->Name("TPCRC/Construct");

}  // namespace
