// A new 128 MiB volume with every page touched once, as an operator's new output is: the library's
// volume (2 MiB-aligned, huge pages advised) against a block from the plain allocation operator,
// which is how volumes were made before.
#include "LargeVolume.h"

#include <Kito/SingleBlockAllocator>
#include <Kito/Volume>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <new>

namespace {

using Tarn::Kito::SizeType;

constexpr SizeType bytes = LumoBench::largeCount * sizeof(Tarn::uint16);

/// One write per 4 KiB page, the least that makes the kernel give every page.
void touchPages(Tarn::uint16* first)
{
    for (SizeType i = 0; i < LumoBench::largeCount; i += 4096 / sizeof(Tarn::uint16)) first[i] = 1;
}

void NewLargeVolumeTouched(benchmark::State& state)
{
    for (auto _ : state) {
        LumoBench::LargeVolume<Tarn::uint16> volume(
            Tarn::Kito::Dimension<SizeType>(LumoBench::largePrim, LumoBench::largeSec, LumoBench::largeTert));
        touchPages(volume.getIterator());
        benchmark::DoNotOptimize(volume.getIterator());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}
BENCHMARK(NewLargeVolumeTouched)->Unit(benchmark::kMillisecond);

void PlainNewBlockTouched(benchmark::State& state)
{
    for (auto _ : state) {
        auto* block = static_cast<Tarn::uint16*>(::operator new(bytes));
        touchPages(block);
        benchmark::DoNotOptimize(block);
        benchmark::ClobberMemory();
        ::operator delete(block);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}
BENCHMARK(PlainNewBlockTouched)->Unit(benchmark::kMillisecond);

} // namespace
