// HeightMap and OrthogonalPlanarisationOperator, through their facades, against minimal loops doing
// the same arithmetic in the same order.
#include "BenchVolume.h"
#include "LargeVolume.h"

#include <Kito/Orientation>
#include <Lumo_MiscDispatcher_DLL/IHeightMap.h>
#include <Lumo_MiscDispatcher_DLL/IOrthogonalPlanarisationOperator.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

#include <sys/mman.h>

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

// ---- 512 x 512 x 256, against the fastest loops that give the same bits -----------------------------

namespace {

using LumoBench::largePrim;
using LumoBench::largeSec;
using LumoBench::largeTert;

constexpr std::int64_t largeVoxels = static_cast<std::int64_t>(LumoBench::largeCount);
constexpr Tarn::uint16 notFound = 65535;

/// The facade's height map of the large surface volume along direction, as a Tarn::uint16 image.
std::vector<Tarn::uint16> facadeHeights(Tarn::Lumo_DLL::IHeightMap::IOperator& facade, Tarn::uint64 direction)
{
    SmartPointer<Tarn::Lumo_DLL::IHeightMap::Parameter> p(new Tarn::Lumo_DLL::IHeightMap::Parameter);
    p->inputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(LumoBench::largeSurfaceVolume()));
    p->inputDirection.setValue(direction);
    p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(Volume16Ptr(new Volume16(Dimension<SizeType>(1, 1, 1)))));
    facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
    const Volume16Ptr image = DynamicCast<Volume16Ptr>(p->outputVolume.getValue());
    LumoBench::largeSurfaceVolume()->setOrientation(Orientation(0, 2, 4));
    return std::vector<Tarn::uint16>(image->getIterator(), image->getIterator() + image->size());
}

/// The fastest loops that give the height map's bits, on the stored volume of extent (P, S, T).
/// Along tert (direction 2): layer by layer over the image, each pixel taking the first t, ending
/// after the first layer that leaves no pixel open.
void heightsAlongTert(const Tarn::uint16* in, SizeType P, SizeType S, SizeType T, Tarn::uint16* image)
{
    std::fill(image, image + P * S, notFound);
    bool open = true;
    for (SizeType t = 0; t < T && open; ++t) {
        open = false;
        const Tarn::uint16* layer = in + t * P * S;
        for (SizeType i = 0; i < P * S; ++i) {
            const Tarn::uint16 now = (layer[i] != 0 && image[i] == notFound) ? static_cast<Tarn::uint16>(t) : image[i];
            image[i] = now;
            open |= now == notFound;
        }
    }
}

/// Along prim (direction 0): each stored prim row scanned to its first non-background voxel; the
/// image's pixel (p, s) is row (S - 1 - p, s). Heights below 65535 cannot wrap here (P = 512).
void heightsAlongPrim(const Tarn::uint16* in, SizeType P, SizeType S, SizeType T, Tarn::uint16* image)
{
    for (SizeType t = 0; t < T; ++t)
        for (SizeType s = 0; s < S; ++s) {
            const Tarn::uint16* row = in + (t * S + s) * P;
            SizeType first = 0;
            while (first < P && row[first] == 0) ++first;
            image[(S - 1 - s) + t * S] = first < P ? static_cast<Tarn::uint16>(first) : notFound;
        }
}

/// Along sec (direction 1): each stored slice t gives image row T - 1 - t, its rows read in order
/// until none of the row's pixels is open.
void heightsAlongSec(const Tarn::uint16* in, SizeType P, SizeType S, SizeType T, Tarn::uint16* image)
{
    std::fill(image, image + P * T, notFound);
    for (SizeType t = 0; t < T; ++t) {
        Tarn::uint16* o = image + (T - 1 - t) * P;
        bool open = true;
        for (SizeType s = 0; s < S && open; ++s) {
            const Tarn::uint16* row = in + (t * S + s) * P;
            open = false;
            for (SizeType p = 0; p < P; ++p) {
                const Tarn::uint16 now = (row[p] != 0 && o[p] == notFound) ? static_cast<Tarn::uint16>(s) : o[p];
                o[p] = now;
                open |= now == notFound;
            }
        }
    }
}

using HeightLoop = void (*)(const Tarn::uint16*, SizeType, SizeType, SizeType, Tarn::uint16*);
const HeightLoop fastestHeights[3] = {heightsAlongPrim, heightsAlongSec, heightsAlongTert};

std::vector<Tarn::uint16> loopHeights(Tarn::uint64 direction)
{
    std::vector<Tarn::uint16> image(direction == 0 ? largeSec * largeTert : largePrim * (direction == 1 ? largeTert : largeSec));
    fastestHeights[direction](LumoBench::largeSurfaceVolume()->getIterator(), largePrim, largeSec, largeTert, image.data());
    return image;
}

void LargeHeightMapFacade(benchmark::State& state)
{
    const auto direction = static_cast<Tarn::uint64>(state.range(0));
    Tarn::Lumo_DLL::IHeightMap::IOperator facade;
    if (facadeHeights(facade, direction) != loopHeights(direction))
        state.SkipWithError("the operator's height map differs from the loop's");
    for (auto _ : state) benchmark::DoNotOptimize(facadeHeights(facade, direction).data());
    state.SetItemsProcessed(state.iterations() * largeVoxels);
}
BENCHMARK(LargeHeightMapFacade)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

void LargeHeightMapFastestExact(benchmark::State& state)
{
    const auto direction = static_cast<Tarn::uint64>(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(loopHeights(direction).data());
    state.SetItemsProcessed(state.iterations() * largeVoxels);
}
BENCHMARK(LargeHeightMapFastestExact)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

/// The large surface volume's height map along tert, made once by the facade.
const Volume16Ptr& largeSurfaceHeights()
{
    static const Volume16Ptr heights = [] {
        Tarn::Lumo_DLL::IHeightMap::IOperator facade;
        SmartPointer<Tarn::Lumo_DLL::IHeightMap::Parameter> p(new Tarn::Lumo_DLL::IHeightMap::Parameter);
        p->inputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(LumoBench::largeSurfaceVolume()));
        p->inputDirection.setValue(Tarn::uint64(2));
        p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(Volume16Ptr(new Volume16(Dimension<SizeType>(1, 1, 1)))));
        facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
        return DynamicCast<Volume16Ptr>(p->outputVolume.getValue());
    }();
    return heights;
}

/// One planarisation through the facade into a new output volume, as a host that leaves
/// outputVolume NULL gets it.
Volume16Ptr facadePlanarisation(Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::IOperator& facade, int threads)
{
    SmartPointer<Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::Parameter> p(
        new Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::Parameter);
    p->inputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(LumoBench::largeSurfaceVolume()));
    p->inputHeightMapVolume.setValue(DynamicCast<SmartPointer<IVolume>>(largeSurfaceHeights()));
    p->inputNumberOfThreads.setValue(static_cast<Tarn::int32>(threads));
    facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
    return DynamicCast<Volume16Ptr>(p->outputVolume.getValue());
}

/// The fastest loop with the planarisation's bits: a new block, 2 MiB-aligned with huge pages
/// advised, each voxel written once, with the shifted input voxel or the background.
struct OutputBlock {
    explicit OutputBlock(SizeType count)
        : data(static_cast<Tarn::uint16*>(::operator new(count * sizeof(Tarn::uint16), std::align_val_t(1 << 21))))
    {
        ::madvise(data, count * sizeof(Tarn::uint16), MADV_HUGEPAGE);
    }
    OutputBlock(const OutputBlock&) = delete;
    OutputBlock& operator=(const OutputBlock&) = delete;
    ~OutputBlock() { ::operator delete(data, std::align_val_t(1 << 21)); }
    Tarn::uint16* data;
};

void loopPlanarisation(Tarn::uint16* out, int threads)
{
    const Tarn::uint16* in = LumoBench::largeSurfaceVolume()->getIterator();
    const Tarn::uint16* heights = largeSurfaceHeights()->getIterator();
    const auto P = static_cast<OffsetType>(largePrim), S = static_cast<OffsetType>(largeSec),
               T = static_cast<OffsetType>(largeTert);
#pragma omp parallel for schedule(static) num_threads(threads)
    for (OffsetType k = 0; k < T; ++k) {
        Tarn::uint16* o = out + k * P * S;
        for (OffsetType i = 0; i < P * S; ++i) {
            const OffsetType h = heights[i];
            o[i] = h < T - k ? in[i + P * S * (k + h)] : Tarn::uint16(0);
        }
    }
}

void LargePlanarisationNewOutputFacade(benchmark::State& state)
{
    const int threads = static_cast<int>(state.range(0));
    Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::IOperator facade;
    {
        const Volume16Ptr made = facadePlanarisation(facade, threads);
        OutputBlock expected(LumoBench::largeCount);
        loopPlanarisation(expected.data, threads);
        if (std::memcmp(made->getIterator(), expected.data, LumoBench::largeCount * sizeof(Tarn::uint16)) != 0)
            state.SkipWithError("the operator's output differs from the loop's");
    }
    for (auto _ : state) benchmark::DoNotOptimize(facadePlanarisation(facade, threads).get());
    state.SetItemsProcessed(state.iterations() * largeVoxels);
}
BENCHMARK(LargePlanarisationNewOutputFacade)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void LargePlanarisationNewOutputFastestExact(benchmark::State& state)
{
    const int threads = static_cast<int>(state.range(0));
    for (auto _ : state) {
        OutputBlock out(LumoBench::largeCount);
        loopPlanarisation(out.data, threads);
        benchmark::DoNotOptimize(out.data);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * largeVoxels);
}
BENCHMARK(LargePlanarisationNewOutputFastestExact)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
