// The serial walk against a plain pointer loop doing the same work.
#include "BenchVolume.h"

#include <Kito/ForEach>
#include <Kito/Orientation>

#include <benchmark/benchmark.h>

namespace {

using LumoBench::edge;
using Tarn::Kito::SizeType;

struct IntegerSum : Tarn::Kito::Iterating::Functor {
    void operator()(const Tarn::uint16& v) { sum += v; }
    Tarn::uint64 sum = 0;
};

struct Increment : Tarn::Kito::Iterating::Functor {
    void operator()(Tarn::uint16& v) { v = static_cast<Tarn::uint16>(v + 1); }
};

void WalkIntegerSum(benchmark::State& state)
{
    const auto& volume = LumoBench::sharedVolume();
    std::uint8_t abort = 0;
    for (auto _ : state) {
        Tarn::Kito::Progress progress;
        IntegerSum f;
        Tarn::Kito::Iterating::ForEach::apply(f, volume, progress, &abort);
        benchmark::DoNotOptimize(f.sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(edge * edge * edge));
}
BENCHMARK(WalkIntegerSum)->Unit(benchmark::kMillisecond);

void PlainIntegerSum(benchmark::State& state)
{
    const auto& volume = LumoBench::sharedVolume();
    for (auto _ : state) {
        const Tarn::uint16* p = volume->getIterator();
        Tarn::uint64 sum = 0;
        for (SizeType t = 0; t < edge; ++t)
            for (SizeType s = 0; s < edge; ++s)
                for (SizeType i = 0; i < edge; ++i) sum += *p++;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(edge * edge * edge));
}
BENCHMARK(PlainIntegerSum)->Unit(benchmark::kMillisecond);

void WalkIncrement(benchmark::State& state)
{
    auto volume = LumoBench::sharedVolume();
    std::uint8_t abort = 0;
    for (auto _ : state) {
        Tarn::Kito::Progress progress;
        Increment f;
        Tarn::Kito::Iterating::ForEach::apply(f, volume, progress, &abort);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(edge * edge * edge));
}
BENCHMARK(WalkIncrement)->Unit(benchmark::kMillisecond);

void PlainIncrement(benchmark::State& state)
{
    auto volume = LumoBench::sharedVolume();
    for (auto _ : state) {
        Tarn::uint16* p = volume->getIterator();
        for (SizeType t = 0; t < edge; ++t)
            for (SizeType s = 0; s < edge; ++s)
                for (SizeType i = 0; i < edge; ++i, ++p) *p = static_cast<Tarn::uint16>(*p + 1);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(edge * edge * edge));
}
BENCHMARK(PlainIncrement)->Unit(benchmark::kMillisecond);

// A view turned so that prim runs along storage's tert, mirrored: every step is a long jump.
void WalkIntegerSumTurned(benchmark::State& state)
{
    auto volume = LumoBench::sharedVolume();
    std::uint8_t abort = 0;
    volume->setOrientation(Tarn::Kito::Orientation(5, 2, 0));
    for (auto _ : state) {
        Tarn::Kito::Progress progress;
        IntegerSum f;
        Tarn::Kito::Iterating::ForEach::apply(f, volume, progress, &abort);
        benchmark::DoNotOptimize(f.sum);
    }
    volume->setOrientation(Tarn::Kito::Orientation(0, 2, 4));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(edge * edge * edge));
}
BENCHMARK(WalkIntegerSumTurned)->Unit(benchmark::kMillisecond);

void PlainIntegerSumTurned(benchmark::State& state)
{
    const auto& volume = LumoBench::sharedVolume();
    for (auto _ : state) {
        const Tarn::uint16* base = volume->getIterator();
        Tarn::uint64 sum = 0;
        for (SizeType t = 0; t < edge; ++t)           // storage prim
            for (SizeType s = 0; s < edge; ++s)       // storage sec
                for (SizeType i = 0; i < edge; ++i)   // storage tert, backwards
                    sum += base[(edge - 1 - i) * edge * edge + s * edge + t];
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(edge * edge * edge));
}
BENCHMARK(PlainIntegerSumTurned)->Unit(benchmark::kMillisecond);

} // namespace
