// SumOfVoxels and StatisticsFromVolume, through their facades, against minimal loops doing the
// same arithmetic in the same order.
#include "BenchVolume.h"

#include <Kito/Data>
#include <Lumo_MiscDispatcher_DLL/IStatisticsFromVolume.h>
#include <Lumo_MiscDispatcher_DLL/ISumOfVoxels.h>

#include <benchmark/benchmark.h>

#include <cmath>

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
