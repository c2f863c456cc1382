// ProjectionMean and ProjectionMedian through their facades on the large Tarn::uint16 volume
// (512 x 512 x 256), on 1 and 2 threads (the argument), against plain loops that give the same bits:
// for the mean a float64 sum in walk order, a division and a conversion to Tarn::float32, the last
// two spread over the threads as the pipeline's stages spread them; for the median each ray gathered
// into a buffer and QuickSelectMedian run on it, the rays spread over the threads.
#include "LargeVolume.h"

#include <Kito/IVolume>
#include <Kito/MedianOperators/QuickSelectMedian>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/IProjectionMean.h>
#include <Lumo_MiscDispatcher_DLL/IProjectionMedian.h>

#include <benchmark/benchmark.h>

#include <omp.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using LumoBench::LargeVolume;
using LumoBench::LargeVolumePtr;
using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;

constexpr std::int64_t voxels = static_cast<std::int64_t>(LumoBench::largeCount);

/// The process's thread setting for one benchmark, given back at its end.
class ThreadSetting {
public:
    explicit ThreadSetting(int threads) : saved(omp_get_max_threads()) { omp_set_num_threads(threads); }
    ThreadSetting(const ThreadSetting&) = delete;
    ThreadSetting& operator=(const ThreadSetting&) = delete;
    ~ThreadSetting() { omp_set_num_threads(saved); }

private:
    int saved;
};

SmartPointer<Tarn::Kito::IVolume> asVolume(const LargeVolumePtr<Tarn::uint16>& volume)
{
    return DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(volume);
}

// ---- mean along tert into Tarn::float32 -----------------------------------------------------------

/// The plain mean along tert into out (a new array of the plane's size): the float64 sums in walk
/// order by one thread, the division and the conversion spread over the threads.
void plainMeanTert(float* out)
{
    const Tarn::uint16* p = LumoBench::largeVolume<Tarn::uint16>()->getIterator();
    const SizeType plane = LumoBench::largeVolume<Tarn::uint16>()->getDimPrim() *
                           LumoBench::largeVolume<Tarn::uint16>()->getDimSec();
    const SizeType nTert = LumoBench::largeVolume<Tarn::uint16>()->getDimTert();
    std::vector<double> acc(plane, 0.0);
    for (SizeType t = 0; t < nTert; ++t, p += plane)
        for (SizeType i = 0; i < plane; ++i) acc[i] += static_cast<double>(p[i]);
    const auto count = static_cast<double>(nTert);
    const auto n = static_cast<std::int64_t>(plane);
#pragma omp parallel for schedule(static)
    for (std::int64_t i = 0; i < n; ++i) acc[i] = acc[i] / count;
#pragma omp parallel for schedule(static)
    for (std::int64_t i = 0; i < n; ++i) out[i] = static_cast<float>(acc[i]);
}

/// A host's run: a new Tarn::float32 volume of one voxel in outputVolume picks the instance each
/// time, so the result is made anew, page faults included, as the plain loop's is.
void LargeMeanTertFloat32Facade(benchmark::State& state)
{
    const ThreadSetting threads(static_cast<int>(state.range(0)));
    using Parameter = Tarn::Lumo_DLL::IProjectionMean::Parameter;
    Tarn::Lumo_DLL::IProjectionMean::IOperator facade;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(asVolume(LumoBench::largeVolume<Tarn::uint16>()));
    p->inputDirection.setValue(0);
    const auto run = [&] {
        p->outputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(
            LargeVolumePtr<Tarn::float32>(new LargeVolume<Tarn::float32>(Dimension<SizeType>(1, 1, 1)))));
        facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
        return DynamicCast<LargeVolumePtr<Tarn::float32>>(p->outputVolume.getValue());
    };
    std::vector<float> plain(LumoBench::largePrim * LumoBench::largeSec);
    plainMeanTert(plain.data());
    if (std::memcmp(run()->getIterator(), plain.data(), plain.size() * sizeof(float)) != 0) {
        state.SkipWithError("the facade's means differ from the plain loop's");
        return;
    }
    for (auto _ : state) benchmark::DoNotOptimize(run().get());
    state.SetItemsProcessed(state.iterations() * voxels);
}

void LargeMeanTertFloat32Plain(benchmark::State& state)
{
    const ThreadSetting threads(static_cast<int>(state.range(0)));
    const SizeType plane = LumoBench::largePrim * LumoBench::largeSec;
    for (auto _ : state) {
        float* const out = new float[plane];
        plainMeanTert(out);
        benchmark::DoNotOptimize(out);
        benchmark::ClobberMemory();
        delete[] out;
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}

// ---- median along tert (direction 0) and prim (direction 2) ---------------------------------------

/// A host's run into one output volume of the input's extent, reused from run to run (the median
/// writes only its plane of it).
void largeMedianFacade(benchmark::State& state, Tarn::uint64 direction, const std::vector<Tarn::uint16>& plain)
{
    const ThreadSetting threads(static_cast<int>(state.range(0)));
    using Parameter = Tarn::Lumo_DLL::IProjectionMedian::Parameter;
    Tarn::Lumo_DLL::IProjectionMedian::IOperator facade;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(asVolume(LumoBench::largeVolume<Tarn::uint16>()));
    p->inputDirection.setValue(direction);
    const LargeVolumePtr<Tarn::uint16> output(new LargeVolume<Tarn::uint16>(
        Dimension<SizeType>(LumoBench::largePrim, LumoBench::largeSec, LumoBench::largeTert)));
    p->outputVolume.setValue(asVolume(output));
    facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
    // The plane of medians (tert 0, or prim 0) against the plain loop's medians in the same order.
    std::vector<Tarn::uint16> plane;
    const Tarn::uint16* const o = output->getIterator();
    for (SizeType k = 0; k < plain.size(); ++k) plane.push_back(direction == 0 ? o[k] : o[k * LumoBench::largePrim]);
    if (plane != plain) {
        state.SkipWithError("the facade's medians differ from the plain loop's");
        return;
    }
    for (auto _ : state) {
        p->outputVolume.setValue(asVolume(output));
        facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
        benchmark::DoNotOptimize(output->getIterator());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}

/// Each ray gathered on its own into a buffer of the thread's and selected there: rays of length
/// `length`, voxels `step` apart, ray (a, b) starting at a * aStep + b * bStep; the medians go to
/// a plane buffer, rows b spread over the threads.
struct Rays {
    SizeType length;
    std::int64_t step;
    SizeType nA;
    std::int64_t aStep;
    SizeType nB;
    std::int64_t bStep;
};

void plainMedians(const Rays& r, std::vector<Tarn::uint16>& medians)
{
    const Tarn::uint16* const first = LumoBench::largeVolume<Tarn::uint16>()->getIterator();
    const auto rows = static_cast<std::int64_t>(r.nB);
#pragma omp parallel
    {
        std::vector<Tarn::uint16> ray(r.length);
#pragma omp for schedule(static)
        for (std::int64_t b = 0; b < rows; ++b)
            for (SizeType a = 0; a < r.nA; ++a) {
                const Tarn::uint16* p = first + static_cast<std::int64_t>(a) * r.aStep + b * r.bStep;
                for (SizeType k = 0; k < r.length; ++k) ray[k] = p[static_cast<std::int64_t>(k) * r.step];
                medians[static_cast<SizeType>(b) * r.nA + a] =
                    Tarn::Kito::MedianOperators::QuickSelectMedian(ray.data(), static_cast<Tarn::uint32>(r.length));
            }
    }
}

std::vector<Tarn::uint16> plainMedians(const Rays& r)
{
    std::vector<Tarn::uint16> medians(r.nA * r.nB);
    plainMedians(r, medians);
    return medians;
}

void plainMedian(benchmark::State& state, const Rays& r)
{
    const ThreadSetting threads(static_cast<int>(state.range(0)));
    std::vector<Tarn::uint16> medians(r.nA * r.nB);
    for (auto _ : state) {
        plainMedians(r, medians);
        benchmark::DoNotOptimize(medians.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}

constexpr auto P = static_cast<std::int64_t>(LumoBench::largePrim);
constexpr auto S = static_cast<std::int64_t>(LumoBench::largeSec);

const Rays alongTert = {LumoBench::largeTert, P * S, LumoBench::largePrim, 1, LumoBench::largeSec, P};
const Rays alongPrim = {LumoBench::largePrim, 1, LumoBench::largeSec, P, LumoBench::largeTert, P * S};

void LargeMedianTertFacade(benchmark::State& state) { largeMedianFacade(state, 0, plainMedians(alongTert)); }
void LargeMedianTertPlain(benchmark::State& state) { plainMedian(state, alongTert); }
void LargeMedianPrimFacade(benchmark::State& state) { largeMedianFacade(state, 2, plainMedians(alongPrim)); }
void LargeMedianPrimPlain(benchmark::State& state) { plainMedian(state, alongPrim); }

BENCHMARK(LargeMeanTertFloat32Facade)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(LargeMeanTertFloat32Plain)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(LargeMedianTertFacade)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(LargeMedianTertPlain)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(LargeMedianPrimFacade)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(LargeMedianPrimPlain)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
