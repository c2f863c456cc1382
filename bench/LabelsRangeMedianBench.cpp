// StatisticsFromVolumeOfMultipleLabels, FrequencyOfValuesInsideRange and QuickSelectMedianValueOfRoi
// on the large 512 x 512 x 256 volume, through their facades, against the fastest plain loops we
// could write that give the same results; each pair is compared before it is timed, and a mismatch
// ends the benchmark with an error.
#include "LargeVolume.h"

#include <Kito/Data>
#include <Kito/MedianOperators/QuickSelectMedian>
#include <Lumo_MiscDispatcher_DLL/IFrequencyOfValuesInsideRange.h>
#include <Lumo_MiscDispatcher_DLL/IQuickSelectMedianValueOfRoi.h>
#include <Lumo_MiscDispatcher_DLL/IStatisticsFromVolumeOfMultipleLabels.h>

#include <benchmark/benchmark.h>

#include <omp.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>
#include <vector>

namespace {

using LumoBench::largeCount;
using LumoBench::LargeVolume;
using LumoBench::LargeVolumePtr;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;
using Tarn::Kito::Persistence::IData;

constexpr std::int64_t voxels = static_cast<std::int64_t>(largeCount);

class ThreadSetting {
public:
    explicit ThreadSetting(int threads) : saved(omp_get_max_threads()) { omp_set_num_threads(threads); }
    ThreadSetting(const ThreadSetting&) = delete;
    ThreadSetting& operator=(const ThreadSetting&) = delete;
    ~ThreadSetting() { omp_set_num_threads(saved); }

private:
    int saved;
};

template <class T> bool sameBits(const T& a, const T& b) { return std::memcmp(&a, &b, sizeof(T)) == 0; }

// ---- statistics per label -------------------------------------------------------------------------

/// Ten labels, 0 to 9, drawn at random per voxel: every label's chain of divisions is interleaved
/// with the others'.
const LargeVolumePtr<Tarn::uint8>& largeLabels()
{
    static const LargeVolumePtr<Tarn::uint8> labels = [] {
        LargeVolumePtr<Tarn::uint8> made(new LargeVolume<Tarn::uint8>(Tarn::Kito::Dimension<SizeType>(
            LumoBench::largePrim, LumoBench::largeSec, LumoBench::largeTert)));
        std::uint32_t state = 987u;
        Tarn::uint8* p = made->getIterator();
        for (SizeType i = 0; i < largeCount; ++i) {
            state = state * 1664525u + 1013904223u;
            p[i] = static_cast<Tarn::uint8>((state >> 16) % 10);
        }
        return made;
    }();
    return labels;
}

/// The plain loop: 256 accumulators indexed by the label, Welford's step per voxel (CIncrementalStatistic's) with
/// the variance formed once at the end from the final sum, which gives the bits of forming it at
/// every voxel.
struct PlainLabel {
    Tarn::uint64 count = 0;
    Tarn::uint16 minimum = 0, maximum = 0;
    double mean = 0.0, squares = 0.0;
};

std::array<PlainLabel, 256> plainLabelStatistics(const Tarn::uint16* v, const Tarn::uint8* l)
{
    std::array<PlainLabel, 256> labels{};
    for (SizeType i = 0; i < largeCount; ++i) {
        PlainLabel& s = labels[l[i]];
        const Tarn::uint16 value = v[i];
        const double x = value;
        if (++s.count == 1) {
            s.mean = x;
            s.squares = 0.0;
            s.minimum = s.maximum = value;
            continue;
        }
        const double previous = s.mean;
        s.mean = (x - previous) / static_cast<double>(s.count) + s.mean;
        s.squares += (x - previous) * (x - s.mean);
        if (s.maximum < value) s.maximum = value;
        if (s.minimum > value) s.minimum = value;
    }
    return labels;
}

using LabelFacade = Tarn::Lumo_DLL::IStatisticsFromVolumeOfMultipleLabels;

SmartPointer<LabelFacade::Parameter> labelParameter()
{
    SmartPointer<LabelFacade::Parameter> p(new LabelFacade::Parameter);
    p->inputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(LumoBench::largeVolume<Tarn::uint16>()));
    p->inputLabelVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(largeLabels()));
    return p;
}

bool labelsAgree()
{
    SmartPointer<LabelFacade::Parameter> p = labelParameter();
    LabelFacade::IOperator facade;
    facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
    const auto plain = plainLabelStatistics(LumoBench::largeVolume<Tarn::uint16>()->getIterator(), largeLabels()->getIterator());
    const auto map = p->outputMapStatistics.getValue();
    if (map->size() != 10) return false;
    for (const auto& entry : *map) {
        const PlainLabel& r = plain[entry.first];
        const double variance = r.count < 2 ? 0.0 : r.squares / static_cast<double>(r.count - 1);
        const auto minimum = DynamicCast<Tarn::Kito::Persistence::DataPtr<Tarn::uint16>>(entry.second->outputMinimum.getValue());
        const auto maximum = DynamicCast<Tarn::Kito::Persistence::DataPtr<Tarn::uint16>>(entry.second->outputMaximum.getValue());
        if (minimum->getValue() != r.minimum || maximum->getValue() != r.maximum ||
            !sameBits(entry.second->outputMean.getValue(), r.mean) ||
            !sameBits(entry.second->outputVariance.getValue(), variance) ||
            !sameBits(entry.second->outputStandardDeviation.getValue(), std::sqrt(variance)))
            return false;
    }
    return true;
}

void LargeLabelStatisticsFacade(benchmark::State& state)
{
    if (!labelsAgree()) {
        state.SkipWithError("the operator's statistics differ from the loop's");
        return;
    }
    SmartPointer<LabelFacade::Parameter> p = labelParameter();
    LabelFacade::IOperator facade;
    for (auto _ : state) {
        p->outputMapStatistics.setValue(Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::StatisticsMapPtr());
        facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
        benchmark::DoNotOptimize(p->outputMapStatistics.getValue()->size());
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}
BENCHMARK(LargeLabelStatisticsFacade)->Unit(benchmark::kMillisecond);

void LargeLabelStatisticsPlain(benchmark::State& state)
{
    const Tarn::uint16* v = LumoBench::largeVolume<Tarn::uint16>()->getIterator();
    const Tarn::uint8* l = largeLabels()->getIterator();
    for (auto _ : state) {
        auto labels = plainLabelStatistics(v, l);
        benchmark::DoNotOptimize(labels);
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}
BENCHMARK(LargeLabelStatisticsPlain)->Unit(benchmark::kMillisecond);

// ---- count in a range -----------------------------------------------------------------------------

constexpr Tarn::uint16 rangeLower = 16384, rangeUpper = 40000;

using FrequencyFacade = Tarn::Lumo_DLL::IFrequencyOfValuesInsideRange;

Tarn::uint64 facadeFrequency(FrequencyFacade::IOperator& facade, const SmartPointer<FrequencyFacade::Parameter>& p)
{
    facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
    return p->outputFrequency.getValue();
}

/// The plain parallel count: a static schedule over blocks of 32,768 voxels, each counted in 32-bit
/// lanes with one unsigned comparison per voxel (v - lower <= upper - lower), one count per thread,
/// summed.
Tarn::uint64 plainFrequency(const Tarn::uint16* v)
{
    constexpr std::int64_t block = 32768;
    constexpr Tarn::uint16 span = rangeUpper - rangeLower;
    Tarn::uint64 total = 0;
#pragma omp parallel for schedule(static) reduction(+ : total)
    for (std::int64_t b = 0; b < voxels / block; ++b) {
        const Tarn::uint16* p = v + b * block;
        std::uint32_t count = 0;
        for (std::int64_t i = 0; i < block; ++i) count += static_cast<Tarn::uint16>(p[i] - rangeLower) <= span ? 1u : 0u;
        total += count;
    }
    return total;
}

void LargeFrequencyFacade(benchmark::State& state)
{
    const ThreadSetting threads(static_cast<int>(state.range(0)));
    SmartPointer<FrequencyFacade::Parameter> p(new FrequencyFacade::Parameter);
    p->inputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(LumoBench::largeVolume<Tarn::uint16>()));
    p->inputRangeLowerValue.setValue(DynamicCast<SmartPointer<IData>>(Tarn::Kito::Persistence::DataPtr<double>(rangeLower)));
    p->inputRangeUpperValue.setValue(DynamicCast<SmartPointer<IData>>(Tarn::Kito::Persistence::DataPtr<double>(rangeUpper)));
    FrequencyFacade::IOperator facade;
    if (facadeFrequency(facade, p) != plainFrequency(LumoBench::largeVolume<Tarn::uint16>()->getIterator())) {
        state.SkipWithError("the operator's count differs from the loop's");
        return;
    }
    for (auto _ : state) benchmark::DoNotOptimize(facadeFrequency(facade, p));
    state.SetItemsProcessed(state.iterations() * voxels);
}
BENCHMARK(LargeFrequencyFacade)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

void LargeFrequencyPlain(benchmark::State& state)
{
    const ThreadSetting threads(static_cast<int>(state.range(0)));
    const Tarn::uint16* v = LumoBench::largeVolume<Tarn::uint16>()->getIterator();
    for (auto _ : state) benchmark::DoNotOptimize(plainFrequency(v));
    state.SetItemsProcessed(state.iterations() * voxels);
}
BENCHMARK(LargeFrequencyPlain)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

// ---- median of a region ---------------------------------------------------------------------------

using MedianFacade = Tarn::Lumo_DLL::IQuickSelectMedianValueOfRoi;

/// The region: the whole large volume but a border of 8 voxels, pushed on the whole volume.
const Tarn::Kito::RegionOfInterest<SizeType> medianRegion(
    Tarn::Kito::Dimension<SizeType>(LumoBench::largePrim - 16, LumoBench::largeSec - 16, LumoBench::largeTert - 16),
    Tarn::Kito::Position<SizeType>(8, 8, 8));

template <class T> T facadeMedian(MedianFacade::IOperator& facade, const SmartPointer<MedianFacade::Parameter>& p)
{
    facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
    return DynamicCast<Tarn::Kito::Persistence::DataPtr<T>>(p->outputValue.getValue())->getValue();
}

/// The plain loops over the region's lines: for 8- and 16-bit voxels a histogram and the element
/// of rank (n - 1) / 2 from it; for the others a copy and QuickSelectMedian, the operator's own way.
template <class T> T plainMedian(const T* first)
{
    const Tarn::Kito::Dimension<SizeType>& d = medianRegion.dim;
    const Tarn::Kito::Position<SizeType>& o = medianRegion.origin;
    const SizeType n = d.prim * d.sec * d.tert;
    const T* slice = first + o.prim + LumoBench::largePrim * (o.sec + LumoBench::largeSec * o.tert);
    if constexpr (std::is_integral_v<T> && sizeof(T) <= 2) {
        std::vector<std::uint32_t> bins(std::size_t(1) << (8 * sizeof(T)), 0u);
        using U = std::make_unsigned_t<T>;
        constexpr U flip = std::is_signed_v<T> ? U(U(1) << (8 * sizeof(T) - 1)) : U(0);
        for (SizeType t = 0; t < d.tert; ++t, slice += LumoBench::largePrim * LumoBench::largeSec) {
            const T* line = slice;
            for (SizeType s = 0; s < d.sec; ++s, line += LumoBench::largePrim)
                for (SizeType i = 0; i < d.prim; ++i) ++bins[static_cast<U>(static_cast<U>(line[i]) ^ flip)];
        }
        const SizeType rank = (n - 1) / 2;
        SizeType below = 0;
        for (std::size_t key = 0;; ++key) {
            below += bins[key];
            if (below > rank) return static_cast<T>(static_cast<U>(static_cast<U>(key) ^ flip));
        }
    } else {
        std::unique_ptr<T[]> copy(new T[n]);
        T* out = copy.get();
        for (SizeType t = 0; t < d.tert; ++t, slice += LumoBench::largePrim * LumoBench::largeSec) {
            const T* line = slice;
            for (SizeType s = 0; s < d.sec; ++s, line += LumoBench::largePrim, out += d.prim)
                std::memcpy(out, line, d.prim * sizeof(T));
        }
        return Tarn::Kito::MedianOperators::QuickSelectMedian(copy.get(), static_cast<Tarn::uint32>(n));
    }
}

template <class T> void LargeMedianFacade(benchmark::State& state)
{
    const LargeVolumePtr<T>& volume = LumoBench::largeVolume<T>();
    const T* first = volume->getIterator();
    volume->setRoi(medianRegion);
    SmartPointer<MedianFacade::Parameter> p(new MedianFacade::Parameter);
    p->inputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(volume));
    MedianFacade::IOperator facade;
    if (!sameBits(facadeMedian<T>(facade, p), plainMedian(first))) {
        volume->popRoi();
        state.SkipWithError("the operator's median differs from the loop's");
        return;
    }
    for (auto _ : state) benchmark::DoNotOptimize(facadeMedian<T>(facade, p));
    volume->popRoi();
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(medianRegion.dim.size()));
}
BENCHMARK_TEMPLATE(LargeMedianFacade, Tarn::uint8)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(LargeMedianFacade, Tarn::uint16)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(LargeMedianFacade, Tarn::int16)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(LargeMedianFacade, Tarn::float32)->Unit(benchmark::kMillisecond);

template <class T> void LargeMedianPlain(benchmark::State& state)
{
    const T* first = LumoBench::largeVolume<T>()->getIterator();
    for (auto _ : state) benchmark::DoNotOptimize(plainMedian(first));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(medianRegion.dim.size()));
}
BENCHMARK_TEMPLATE(LargeMedianPlain, Tarn::uint8)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(LargeMedianPlain, Tarn::uint16)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(LargeMedianPlain, Tarn::int16)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(LargeMedianPlain, Tarn::float32)->Unit(benchmark::kMillisecond);

} // namespace
