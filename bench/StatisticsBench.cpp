// SumOfVoxels and StatisticsFromVolume, through their facades, against minimal loops doing the
// same arithmetic in the same order.
#include "BenchVolume.h"
#include "LargeVolume.h"

#include <Kito/Data>
#include <Lumo_MiscDispatcher_DLL/IStatisticsFromVolume.h>
#include <Lumo_MiscDispatcher_DLL/ISumOfVoxels.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace {

using LumoBench::edge;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::SizeType;
using Tarn::Kito::Persistence::IComposite;

constexpr std::int64_t voxels = static_cast<std::int64_t>(edge * edge * edge);

void SumOfVoxelsFacade(benchmark::State& state)
{
    Tarn::Lumo_DLL::ISumOfVoxels::IOperator facade;
    SmartPointer<Tarn::Lumo_DLL::ISumOfVoxels::Parameter> p(new Tarn::Lumo_DLL::ISumOfVoxels::Parameter);
    p->inputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(LumoBench::sharedVolume()));
    for (auto _ : state) {
        facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
        benchmark::DoNotOptimize(p->outputSum.getValue());
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}
BENCHMARK(SumOfVoxelsFacade)->Unit(benchmark::kMillisecond);

void SumOfVoxelsPlain(benchmark::State& state)
{
    const Tarn::uint16* first = LumoBench::sharedVolume()->getIterator();
    for (auto _ : state) {
        const Tarn::uint16* p = first;
        double sum = 0.0;
        for (SizeType i = 0; i < edge * edge * edge; ++i) sum += static_cast<double>(p[i]);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}
BENCHMARK(SumOfVoxelsPlain)->Unit(benchmark::kMillisecond);

void StatisticsFromVolumeFacade(benchmark::State& state)
{
    Tarn::Lumo_DLL::IStatisticsFromVolume::IOperator facade;
    SmartPointer<Tarn::Lumo_DLL::IStatisticsFromVolume::Parameter> p(new Tarn::Lumo_DLL::IStatisticsFromVolume::Parameter);
    p->inputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(LumoBench::sharedVolume()));
    for (auto _ : state) {
        facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
        benchmark::DoNotOptimize(p->outputMean.getValue());
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}
BENCHMARK(StatisticsFromVolumeFacade)->Unit(benchmark::kMillisecond);

void StatisticsFromVolumePlain(benchmark::State& state)
{
    const Tarn::uint16* first = LumoBench::sharedVolume()->getIterator();
    for (auto _ : state) {
        Tarn::uint64 count = 0;
        Tarn::uint16 minimum = 0, maximum = 0;
        double mean = 0.0, previousMean = 0.0, variance = 0.0, squares = 0.0;
        for (SizeType i = 0; i < edge * edge * edge; ++i) {
            const Tarn::uint16 value = first[i];
            const double x = static_cast<double>(value);
            ++count;
            if (count == 1) {
                mean = x;
                squares = 0.0;
                variance = 0.0;
                minimum = maximum = value;
                continue;
            }
            previousMean = mean;
            mean = (x - previousMean) / static_cast<double>(count) + mean;
            squares += (x - previousMean) * (x - mean);
            if (maximum < value) maximum = value;
            if (minimum > value) minimum = value;
            variance = squares / static_cast<double>(count - 1);
        }
        benchmark::DoNotOptimize(mean);
        benchmark::DoNotOptimize(variance);
        benchmark::DoNotOptimize(minimum);
        benchmark::DoNotOptimize(maximum);
        benchmark::DoNotOptimize(std::sqrt(variance));
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}
BENCHMARK(StatisticsFromVolumePlain)->Unit(benchmark::kMillisecond);

} // namespace

// ---- 512 x 512 x 256, against the fastest loop that gives the same bits ------------------------------

namespace {

using LumoBench::largeCount;

/// The sum of the large volume of T through the facade.
template <class T> double facadeSum(Tarn::Lumo_DLL::ISumOfVoxels::IOperator& facade,
                                    const SmartPointer<Tarn::Lumo_DLL::ISumOfVoxels::Parameter>& p)
{
    facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
    return p->outputSum.getValue();
}

/// The fastest loop with the bits of the walk-order double chain. For integer voxels up to 32 bits
/// whose partial sums stay within 2^53, as here, that is the integer sum converted once: 32-bit
/// lanes over blocks that cannot overflow them for the narrow types, 64-bit ones for the wide.
/// For floating-point voxels there is no such shortcut: the chain itself.
template <class T> double fastestExactSum(const T* p, SizeType n)
{
    if constexpr (std::is_floating_point_v<T>) {
        double sum = 0.0;
        for (SizeType i = 0; i < n; ++i) sum += static_cast<double>(p[i]);
        return sum;
    } else if constexpr (sizeof(T) <= 2) {
        using Lane = std::conditional_t<std::is_signed_v<T>, std::int32_t, std::uint32_t>;
        std::int64_t total = 0;
        for (SizeType b = 0; b < n; b += 32768) {
            Lane lanes = 0;
            const SizeType end = std::min<SizeType>(n, b + 32768);
            for (SizeType i = b; i < end; ++i) lanes += static_cast<Lane>(p[i]);
            total += static_cast<std::int64_t>(lanes);
        }
        return static_cast<double>(total);
    } else {
        std::int64_t total = 0;
        for (SizeType i = 0; i < n; ++i) total += static_cast<std::int64_t>(p[i]);
        return static_cast<double>(total);
    }
}

template <class T> void LargeSumOfVoxelsFacade(benchmark::State& state)
{
    Tarn::Lumo_DLL::ISumOfVoxels::IOperator facade;
    SmartPointer<Tarn::Lumo_DLL::ISumOfVoxels::Parameter> p(new Tarn::Lumo_DLL::ISumOfVoxels::Parameter);
    p->inputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(LumoBench::largeVolume<T>()));
    // Checked once, bit for bit, against the fastest loop before anything is timed.
    const double expected = fastestExactSum(LumoBench::largeVolume<T>()->getIterator(), largeCount);
    const double got = facadeSum<T>(facade, p);
    if (std::memcmp(&expected, &got, sizeof got) != 0) state.SkipWithError("the operator's sum differs from the loop's");
    for (auto _ : state) benchmark::DoNotOptimize(facadeSum<T>(facade, p));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(largeCount));
}

template <class T> void LargeSumOfVoxelsFastestExact(benchmark::State& state)
{
    const T* first = LumoBench::largeVolume<T>()->getIterator();
    // The count as a walk has it, from the volume: a constant would let the compiler drop the
    // remainder handling.
    const SizeType n = LumoBench::largeVolume<T>()->size();
    for (auto _ : state) benchmark::DoNotOptimize(fastestExactSum(first, n));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(largeCount));
}

#define LUMO_BENCH_SUM(T)                                                                                    \
    BENCHMARK_TEMPLATE(LargeSumOfVoxelsFacade, T)->Unit(benchmark::kMillisecond);                            \
    BENCHMARK_TEMPLATE(LargeSumOfVoxelsFastestExact, T)->Unit(benchmark::kMillisecond);
LUMO_BENCH_SUM(Tarn::int8)
LUMO_BENCH_SUM(Tarn::uint8)
LUMO_BENCH_SUM(Tarn::int16)
LUMO_BENCH_SUM(Tarn::uint16)
LUMO_BENCH_SUM(Tarn::int32)
LUMO_BENCH_SUM(Tarn::uint32)
LUMO_BENCH_SUM(Tarn::float32)
LUMO_BENCH_SUM(Tarn::float64)
#undef LUMO_BENCH_SUM

} // namespace
