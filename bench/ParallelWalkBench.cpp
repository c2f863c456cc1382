// The parallel walk on 1 and 2 threads against the serial walk with the same functor and against
// hand-written loops doing the same work, once with a functor that only streams memory and once
// with one that computes enough per voxel for the cores, not the memory, to set the pace.
//
// The increment's line loop is six instructions; where the compiler happens to place it across a
// 64-byte boundary it runs 30 to 50% slower (the parallel walk on 2 threads: 0.70 ms, and 0.46 ms
// built with -falign-loops=64). Which instance that hits changes with unrelated code, so compare
// Increment figures between builds with care; the Mix figures do not move.
#include "BenchVolume.h"

#include <Kito/ForEach>
#include <Kito/ForEachParallel>
#include <Kito/Progress>

#include <benchmark/benchmark.h>

#include <omp.h>

#include <cstdint>

namespace {

using LumoBench::edge;
using Tarn::Kito::SizeType;
using Tarn::Kito::Iterating::ForEach;
using Tarn::Kito::Iterating::ForEachParallel;

constexpr std::int64_t voxels = static_cast<std::int64_t>(edge * edge * edge);

/// Memory bound: one load, one add, one store per voxel.
inline Tarn::uint16 incremented(Tarn::uint16 v) { return static_cast<Tarn::uint16>(v + 1); }

/// Compute bound: sixteen rounds of a multiplicative hash per voxel, a chain of dependent
/// multiplications that no memory system can be the limit of.
inline Tarn::uint16 mixed(Tarn::uint16 v)
{
    std::uint32_t x = v;
    for (int round = 0; round < 16; ++round) x = (x ^ (x >> 15)) * 2654435761u;
    return static_cast<Tarn::uint16>(x >> 16);
}

struct Increment : Tarn::Kito::Iterating::Functor {
    void operator()(Tarn::uint16& v) const { v = incremented(v); }
};

struct Mix : Tarn::Kito::Iterating::Functor {
    void operator()(Tarn::uint16& v) const { v = mixed(v); }
};

/// The thread setting of the process, as it was before a benchmark changed it.
class ThreadSetting {
public:
    explicit ThreadSetting(int threads) : saved(omp_get_max_threads()) { omp_set_num_threads(threads); }
    ThreadSetting(const ThreadSetting&) = delete;
    ThreadSetting& operator=(const ThreadSetting&) = delete;
    ~ThreadSetting() { omp_set_num_threads(saved); }

private:
    int saved;
};

template <class F> void parallelWalk(benchmark::State& state)
{
    const ThreadSetting threads(static_cast<int>(state.range(0)));
    auto volume = LumoBench::sharedVolume();
    const std::uint8_t abort = 0;
    const F functor;
    for (auto _ : state) {
        Tarn::Kito::Progress progress;
        const auto copies = ForEachParallel::apply(&functor, volume, progress, &abort);
        benchmark::DoNotOptimize(copies.size());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}

template <class F> void serialWalk(benchmark::State& state)
{
    auto volume = LumoBench::sharedVolume();
    const std::uint8_t abort = 0;
    for (auto _ : state) {
        Tarn::Kito::Progress progress;
        F functor;
        ForEach::apply(functor, volume, progress, &abort);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}

/// The least a walk could be: one pointer over the whole block.
template <Tarn::uint16 (*Work)(Tarn::uint16)> void plainLoop(benchmark::State& state)
{
    auto volume = LumoBench::sharedVolume();
    for (auto _ : state) {
        Tarn::uint16* p = volume->getIterator();
        for (std::int64_t i = 0; i < voxels; ++i) p[i] = Work(p[i]);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}

/// The least a parallel walk could be: the same loop shared out by OpenMP.
template <Tarn::uint16 (*Work)(Tarn::uint16)> void plainParallelLoop(benchmark::State& state)
{
    const int threads = static_cast<int>(state.range(0));
    auto volume = LumoBench::sharedVolume();
    for (auto _ : state) {
        Tarn::uint16* p = volume->getIterator();
#pragma omp parallel for schedule(static) num_threads(threads)
        for (std::int64_t i = 0; i < voxels; ++i) p[i] = Work(p[i]);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}

// Wall time throughout: the work of the other threads does not show in the calling thread's CPU time.
BENCHMARK_TEMPLATE(parallelWalk, Increment)
    ->Name("ParallelWalk/Increment/threads")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(serialWalk, Increment)
    ->Name("ParallelWalk/Increment/serialWalk")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(plainLoop, incremented)
    ->Name("ParallelWalk/Increment/plainLoop")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(plainParallelLoop, incremented)
    ->Name("ParallelWalk/Increment/plainParallelLoop")->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

BENCHMARK_TEMPLATE(parallelWalk, Mix)
    ->Name("ParallelWalk/Mix/threads")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(serialWalk, Mix)->Name("ParallelWalk/Mix/serialWalk")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(plainLoop, mixed)->Name("ParallelWalk/Mix/plainLoop")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(plainParallelLoop, mixed)
    ->Name("ParallelWalk/Mix/plainParallelLoop")->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace
