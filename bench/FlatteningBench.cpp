// HeightMap and OrthogonalPlanarisationOperator, through their facades, against minimal loops doing
// the same arithmetic in the same order.
#include "BenchVolume.h"

#include <Kito/Orientation>
#include <Lumo_MiscDispatcher_DLL/IHeightMap.h>
#include <Lumo_MiscDispatcher_DLL/IOrthogonalPlanarisationOperator.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace {

using LumoBench::edge;
using LumoBench::Volume16;
using LumoBench::Volume16Ptr;
using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::OffsetType;
using Tarn::Kito::Orientation;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;

constexpr std::int64_t voxels = static_cast<std::int64_t>(edge * edge * edge);

/// The depth of the surface under column (p, s): a smooth relief between 8 and 88 slices.
SizeType depthOf(SizeType p, SizeType s)
{
    return static_cast<SizeType>(48.0 + 40.0 * std::sin(static_cast<double>(p) / 20.0) * std::cos(static_cast<double>(s) / 25.0));
}

/// The shared volume with everything above a curved surface along tert set to background (0), in
/// a volume object of its own, since the height map turns the view of the volume it searches.
Volume16Ptr makeSurfaceVolume()
{
    Volume16Ptr volume(new Volume16(Dimension<SizeType>(edge, edge, edge)));
    const Tarn::uint16* source = LumoBench::sharedVolume()->getIterator();
    Tarn::uint16* voxel = volume->getIterator();
    for (SizeType t = 0; t < edge; ++t)
        for (SizeType s = 0; s < edge; ++s)
            for (SizeType p = 0; p < edge; ++p, ++voxel, ++source) *voxel = t < depthOf(p, s) ? 0 : *source;
    return volume;
}

const Volume16Ptr& surfaceVolume()
{
    static const Volume16Ptr volume = makeSurfaceVolume();
    return volume;
}

/// The facade's run on the surface volume with a Tarn::uint16 height map.
SmartPointer<Tarn::Lumo_DLL::IHeightMap::Parameter> heightMapParameter(Tarn::uint64 direction)
{
    SmartPointer<Tarn::Lumo_DLL::IHeightMap::Parameter> p(new Tarn::Lumo_DLL::IHeightMap::Parameter);
    p->inputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(surfaceVolume()));
    p->inputDirection.setValue(direction);
    return p;
}

void runHeightMapFacade(benchmark::State& state, Tarn::uint64 direction)
{
    Tarn::Lumo_DLL::IHeightMap::IOperator facade;
    const SmartPointer<Tarn::Lumo_DLL::IHeightMap::Parameter> p = heightMapParameter(direction);
    const SmartPointer<IVolume> chooser = DynamicCast<SmartPointer<IVolume>>(Volume16Ptr(new Volume16(Dimension<SizeType>(1, 1, 1))));
    for (auto _ : state) {
        p->outputVolume.setValue(chooser);
        facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
        benchmark::DoNotOptimize(p->outputVolume.getValue().get());
    }
    surfaceVolume()->setOrientation(Orientation(0, 2, 4));
    state.SetItemsProcessed(state.iterations() * voxels);
}

/// The search as the plain loop has it: a new image of the not-found value, then slice by slice,
/// with the walk's increments for a view whose prim, sec and tert run along dPrim, and after a
/// row and a slice by dSec and dTert. The pixel is written back unchanged where nothing is found,
/// as the operator does; with a branch around the store instead, this loop takes 21 ms along tert.
void runHeightMapPlain(benchmark::State& state, const Tarn::uint16* first, OffsetType dPrim, OffsetType dSec,
                       OffsetType dTert)
{
    for (auto _ : state) {
        std::vector<Tarn::uint16> image(edge * edge, 65535);
        const Tarn::uint16* in = first;
        for (SizeType t = 0; t < edge; ++t) {
            Tarn::uint16* o = image.data();
            for (SizeType s = 0; s < edge; ++s) {
                for (SizeType p = 0; p < edge; ++p, ++o, in += dPrim)
                    *o = (*in != 0 && *o == 65535) ? static_cast<Tarn::uint16>(t) : *o;
                in += dSec;
            }
            in += dTert;
        }
        benchmark::DoNotOptimize(image.data());
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}

void HeightMapTertFacade(benchmark::State& state) { runHeightMapFacade(state, 2); }
BENCHMARK(HeightMapTertFacade)->Unit(benchmark::kMillisecond);

void HeightMapTertPlain(benchmark::State& state)
{
    // The stored order: prim, sec, tert forward.
    runHeightMapPlain(state, surfaceVolume()->getIterator(), 1, 0, 0);
}
BENCHMARK(HeightMapTertPlain)->Unit(benchmark::kMillisecond);

void HeightMapPrimFacade(benchmark::State& state) { runHeightMapFacade(state, 0); }
BENCHMARK(HeightMapPrimFacade)->Unit(benchmark::kMillisecond);

void HeightMapPrimPlain(benchmark::State& state)
{
    // View prim is stored sec backwards, view sec stored tert, view tert stored prim.
    const OffsetType e = static_cast<OffsetType>(edge);
    runHeightMapPlain(state, surfaceVolume()->getIterator() + (e - 1) * e, -e, e * e + e * e, 1 - e * e * e);
}
BENCHMARK(HeightMapPrimPlain)->Unit(benchmark::kMillisecond);

/// The surface volume's height map along tert, made once by the facade.
const Volume16Ptr& surfaceHeights()
{
    static const Volume16Ptr heights = [] {
        Tarn::Lumo_DLL::IHeightMap::IOperator facade;
        const SmartPointer<Tarn::Lumo_DLL::IHeightMap::Parameter> p = heightMapParameter(2);
        p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(Volume16Ptr(new Volume16(Dimension<SizeType>(1, 1, 1)))));
        facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
        return DynamicCast<Volume16Ptr>(p->outputVolume.getValue());
    }();
    return heights;
}

void PlanarisationFacade(benchmark::State& state)
{
    Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::IOperator facade;
    SmartPointer<Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::Parameter> p(
        new Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::Parameter);
    surfaceVolume()->setOrientation(Orientation(0, 2, 4));
    p->inputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(surfaceVolume()));
    p->inputHeightMapVolume.setValue(DynamicCast<SmartPointer<IVolume>>(surfaceHeights()));
    p->inputNumberOfThreads.setValue(static_cast<Tarn::int32>(state.range(0)));
    // The first run makes the output; the timed ones reuse it, as the plain loop reuses its buffer.
    facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
    for (auto _ : state) {
        facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
        benchmark::DoNotOptimize(p->outputVolume.getValue().get());
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}
BENCHMARK(PlanarisationFacade)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void PlanarisationPlain(benchmark::State& state)
{
    const Tarn::uint16* in = surfaceVolume()->getIterator();
    const Tarn::uint16* heights = surfaceHeights()->getIterator();
    std::vector<Tarn::uint16> out(edge * edge * edge);
    const int threads = static_cast<int>(state.range(0));
    const OffsetType e = static_cast<OffsetType>(edge);
    for (auto _ : state) {
        std::fill(out.begin(), out.end(), Tarn::uint16(0));
        Tarn::uint16* first = out.data();
#pragma omp parallel for schedule(static) num_threads(threads)
        for (OffsetType k = 0; k < e; ++k) {
            Tarn::uint16* o = first + k * e * e;
            for (OffsetType s = 0; s < e; ++s)
                for (OffsetType p = 0; p < e; ++p, ++o) {
                    const OffsetType h = static_cast<OffsetType>(heights[p + e * s]);
                    if (h + k < e) *o = in[p + e * s + e * e * (k + h)];
                }
        }
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}
BENCHMARK(PlanarisationPlain)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
