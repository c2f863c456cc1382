// DirectionalPlanarisationOperator through its facade on 256 x 256 x 256 Tarn::uint16 with float32
// normals, against a plain loop with the same arithmetic: five trilinear samples per output voxel
// (three normals, the height, the input), the same crop, the same bits.
#include "BenchVolume.h"

#include <Lumo_MiscDispatcher_DLL/IDirectionalPlanarisationOperator.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using LumoBench::edge;
using LumoBench::Volume16;
using LumoBench::Volume16Ptr;
using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::OffsetType;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;
using Map = Tarn::Kito::Volume<float, Tarn::Kito::Allocator::SingleBlockAllocator>;
using MapPtr = Tarn::Kito::VolumePtr<float, Tarn::Kito::Allocator::SingleBlockAllocator>;

constexpr std::int64_t voxels = static_cast<std::int64_t>(edge * edge * edge);

/// A skin of relief: heights from 20 to 100 slices with slopes up to about 45 degrees, and the unit
/// normals of that height field, pointing into the volume.
struct Surface {
    MapPtr height, normalX, normalY, normalZ;
};

double heightAt(double p, double s) { return 60.0 + 40.0 * std::sin(p / 40.0) * std::cos(s / 50.0); }

const Surface& surface()
{
    static const Surface made = [] {
        Surface m;
        for (MapPtr* map : {&m.height, &m.normalX, &m.normalY, &m.normalZ})
            *map = MapPtr(new Map(Dimension<SizeType>(edge, edge, 1)));
        for (SizeType s = 0; s < edge; ++s)
            for (SizeType p = 0; p < edge; ++p) {
                const double x = static_cast<double>(p), y = static_cast<double>(s);
                const double gx = (heightAt(x + 0.5, y) - heightAt(x - 0.5, y)), gy = (heightAt(x, y + 0.5) - heightAt(x, y - 0.5));
                const double norm = std::sqrt(gx * gx + gy * gy + 1.0);
                const SizeType i = p + edge * s;
                m.height->getIterator()[i] = static_cast<float>(heightAt(x, y));
                m.normalX->getIterator()[i] = static_cast<float>(-gx / norm);
                m.normalY->getIterator()[i] = static_cast<float>(-gy / norm);
                m.normalZ->getIterator()[i] = static_cast<float>(1.0 / norm);
            }
        return m;
    }();
    return made;
}

template <class V> SmartPointer<IVolume> asVolume(const V& volume) { return DynamicCast<SmartPointer<IVolume>>(volume); }

using DirectionalParameter = Tarn::Lumo_DLL::IDirectionalPlanarisationOperator::Parameter;

/// The facade's parameter for the shared volume and the relief, with the identity grids.
SmartPointer<DirectionalParameter> facadeParameter(int threads)
{
    SmartPointer<DirectionalParameter> p(new DirectionalParameter);
    p->inputVolume.setValue(asVolume(LumoBench::sharedVolume()));
    p->inputHeightMapVolume.setValue(asVolume(surface().height));
    p->inputNormalMapVolumeX.setValue(asVolume(surface().normalX));
    p->inputNormalMapVolumeY.setValue(asVolume(surface().normalY));
    p->inputNormalMapVolumeZ.setValue(asVolume(surface().normalZ));
    p->inputNumberOfThreads.setValue(threads);
    return p;
}

void DirectionalPlanarisationFacade(benchmark::State& state)
{
    Tarn::Lumo_DLL::IDirectionalPlanarisationOperator::IOperator facade;
    const SmartPointer<DirectionalParameter> p = facadeParameter(static_cast<int>(state.range(0)));
    // The work space is handed in and reused, as the plain loop reuses its buffer; the cropped
    // result is a new volume each time, in both.
    const SmartPointer<IVolume> workSpace = asVolume(Volume16Ptr(new Volume16(Dimension<SizeType>(edge, edge, edge))));
    for (auto _ : state) {
        p->outputVolume.setValue(workSpace);
        facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
        benchmark::DoNotOptimize(p->outputVolume.getValue().get());
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}
BENCHMARK(DirectionalPlanarisationFacade)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

/// The blend at (x, y, z) of an image of extent (nx, ny, nz) stored densely, with 0 outside, in
/// floats in the order of the library's sampler.
template <class T> float blendAt(const T* v, OffsetType nx, OffsetType ny, OffsetType nz, float x, float y, float z)
{
    const float fx = std::floor(x), fy = std::floor(y), fz = std::floor(z);
    const OffsetType i = static_cast<OffsetType>(fx), j = static_cast<OffsetType>(fy), l = static_cast<OffsetType>(fz);
    auto at = [&](OffsetType a, OffsetType b, OffsetType c) {
        return a >= 0 && a < nx && b >= 0 && b < ny && c >= 0 && c < nz ? static_cast<float>(v[a + nx * (b + ny * c)]) : 0.0f;
    };
    const float c000 = at(i, j, l), c001 = at(i, j, l + 1), c010 = at(i, j + 1, l), c011 = at(i, j + 1, l + 1);
    const float c100 = at(i + 1, j, l), c101 = at(i + 1, j, l + 1), c110 = at(i + 1, j + 1, l), c111 = at(i + 1, j + 1, l + 1);
    const float dx = x - fx, dy = y - fy, dz = z - fz;
    return c000 + (c100 - c000) * dx + (c010 - c000) * dy + (c001 - c000) * dz + (c000 - c010 - c100 + c110) * dx * dy +
           (c000 - c001 - c100 + c101) * dx * dz + (c000 - c001 - c010 + c011) * dy * dz +
           (c001 - c000 + c010 - c011 + c100 - c101 - c110 + c111) * dx * dy * dz;
}

/// The plain loop over the whole volume into work, which holds edge^3 voxels: slices in parallel,
/// five samples per voxel. Gives the last slice with a sample other than 0.
OffsetType unrollPlain(int threads, std::vector<Tarn::uint16>& work)
{
    const Tarn::uint16* in = LumoBench::sharedVolume()->getIterator();
    const float* h = surface().height->getIterator();
    const float* nx = surface().normalX->getIterator();
    const float* ny = surface().normalY->getIterator();
    const float* nz = surface().normalZ->getIterator();
    const OffsetType e = static_cast<OffsetType>(edge);
    const float extent = static_cast<float>(edge);
    Tarn::uint16* first = work.data();
    OffsetType maxSlice = 0;
#pragma omp parallel for schedule(static) num_threads(threads) reduction(max : maxSlice)
    for (OffsetType k = 0; k < e; ++k) {
        Tarn::uint16* o = first + k * e * e;
        const float kf = static_cast<float>(k), ratio = 1.0f;
        for (OffsetType s = 0; s < e; ++s)
            for (OffsetType p = 0; p < e; ++p, ++o) {
                const float a = static_cast<float>(p), b = static_cast<float>(s);
                const float x = blendAt(nx, e, e, 1, a, b, 0.0f) * kf * ratio + a;
                const float y = blendAt(ny, e, e, 1, a, b, 0.0f) * kf * ratio + b;
                const float z = blendAt(nz, e, e, 1, a, b, 0.0f) * kf + blendAt(h, e, e, 1, a, b, 0.0f);
                Tarn::uint16 v = 0;
                if (0.0f <= x && x < extent && 0.0f <= y && y < extent && 0.0f <= z && z < extent)
                    v = static_cast<Tarn::uint16>(
                        static_cast<std::int64_t>(std::floor(static_cast<double>(blendAt(in, e, e, e, x, y, z)) + 0.5)));
                *o = v;
                if (v != 0) maxSlice = std::max(maxSlice, k);
            }
    }
    return maxSlice;
}

void DirectionalPlanarisationPlain(benchmark::State& state)
{
    std::vector<Tarn::uint16> work(edge * edge * edge);
    const int threads = static_cast<int>(state.range(0));
    for (auto _ : state) {
        const OffsetType maxSlice = unrollPlain(threads, work);
        std::vector<Tarn::uint16> cropped(work.begin(), work.begin() + maxSlice * static_cast<OffsetType>(edge * edge));
        benchmark::DoNotOptimize(cropped.data());
    }
    state.SetItemsProcessed(state.iterations() * voxels);
}
BENCHMARK(DirectionalPlanarisationPlain)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

/// The plain loop gives the facade's bits; the counter "differences" must read 0, or the ratio
/// compares two different results.
void DirectionalPlanarisationSameBits(benchmark::State& state)
{
    std::vector<Tarn::uint16> work(edge * edge * edge);
    SizeType differences = 0, slices = 0;
    for (auto _ : state) {
        Tarn::Lumo_DLL::IDirectionalPlanarisationOperator::IOperator facade;
        const SmartPointer<DirectionalParameter> p = facadeParameter(0);
        facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
        const Volume16Ptr out = DynamicCast<Volume16Ptr>(p->outputVolume.getValue());
        slices = static_cast<SizeType>(unrollPlain(2, work));
        differences = out->getDimTert() != slices ? 1 : 0;
        const Tarn::uint16* got = out->getIterator();
        for (SizeType i = 0; differences == 0 && i < slices * edge * edge; ++i) differences += got[i] != work[i];
    }
    state.counters["differences"] = static_cast<double>(differences);
    state.counters["slices"] = static_cast<double>(slices);
}
BENCHMARK(DirectionalPlanarisationSameBits)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
