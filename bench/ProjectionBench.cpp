// ProjectionMax and ProjectionSum, through their facades, in each direction, against minimal loops
// doing the same arithmetic in the same order into a new zeroed output.
#include "BenchVolume.h"

#include <Kito/IVolume>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/IProjectionMax.h>
#include <Lumo_MiscDispatcher_DLL/IProjectionSum.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

namespace {

using LumoBench::edge;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;

constexpr std::int64_t voxels = static_cast<std::int64_t>(edge * edge * edge);

/// The facade's run on the shared volume, direction state.range(0), the output type picked by a
/// volume of type O in outputVolume, as a host that wants another sum type does.
template <class Facade, class O> void facadeProjection(benchmark::State& state)
{
    using Parameter = typename Facade::Parameter;
    typename Facade::IOperator facade;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(LumoBench::sharedVolume()));
    p->inputDirection.setValue(static_cast<Tarn::uint64>(state.range(0)));
    const SmartPointer<Tarn::Kito::IVolume> selector = DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(
        Tarn::Kito::VolumePtr<O, Tarn::Kito::Allocator::SingleBlockAllocator>(
            new Tarn::Kito::Volume<O, Tarn::Kito::Allocator::SingleBlockAllocator>(
                Tarn::Kito::Dimension<SizeType>(1, 1, 1))));
    for (auto _ : state) {
        p->outputVolume.setValue(selector);
        facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
        benchmark::DoNotOptimize(p->outputVolume.getValue());
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}

/// The same projection by hand: a zeroed output of edge * edge voxels, the input read in storage
/// order, each voxel folded into its output voxel with fold(output, voxel).
template <class O, class Fold> void plainProjection(benchmark::State& state, Fold fold)
{
    const auto direction = state.range(0);
    const Tarn::uint16* const first = LumoBench::sharedVolume()->getIterator();
    // The extent as a loop over any volume has it, from the volume: a constant 256 would let the
    // compiler drop the remainder handling of every line, which no walk over a view can do.
    const SizeType n = LumoBench::sharedVolume()->getDimPrim();
    for (auto _ : state) {
        std::vector<O> out(n * n, O(0));
        const Tarn::uint16* p = first;
        for (SizeType t = 0; t < n; ++t)
            for (SizeType s = 0; s < n; ++s, p += n) {
                if (direction == 2) {
                    O running = out[t * n + s];
                    for (SizeType i = 0; i < n; ++i) running = fold(running, p[i]);
                    out[t * n + s] = running;
                } else {
                    O* const row = out.data() + (direction == 0 ? s : t) * n;
                    for (SizeType i = 0; i < n; ++i) row[i] = fold(row[i], p[i]);
                }
            }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}

void ProjectionMaxFacade(benchmark::State& state) { facadeProjection<Tarn::Lumo_DLL::IProjectionMax, Tarn::uint16>(state); }
void ProjectionMaxPlain(benchmark::State& state)
{
    plainProjection<Tarn::uint16>(state, [](Tarn::uint16 w, Tarn::uint16 v) { return (w > v) ? w : v; });
}

void ProjectionSumUint32Facade(benchmark::State& state)
{
    facadeProjection<Tarn::Lumo_DLL::IProjectionSum, Tarn::uint32>(state);
}
void ProjectionSumUint32Plain(benchmark::State& state)
{
    plainProjection<Tarn::uint32>(state, [](Tarn::uint32 w, Tarn::uint16 v) { return w + static_cast<Tarn::uint32>(v); });
}

void ProjectionSumFloat64Facade(benchmark::State& state)
{
    facadeProjection<Tarn::Lumo_DLL::IProjectionSum, Tarn::float64>(state);
}
void ProjectionSumFloat64Plain(benchmark::State& state)
{
    plainProjection<Tarn::float64>(state, [](Tarn::float64 w, Tarn::uint16 v) { return w + static_cast<Tarn::float64>(v); });
}

BENCHMARK(ProjectionMaxFacade)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(ProjectionMaxPlain)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(ProjectionSumUint32Facade)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(ProjectionSumUint32Plain)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(ProjectionSumFloat64Facade)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(ProjectionSumFloat64Plain)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

} // namespace
