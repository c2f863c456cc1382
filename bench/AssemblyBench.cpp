// IConcatVolumes and IDuplicateSlices on Tarn::uint16, on 1 and 2 threads (the argument), each into a
// new volume of 512 x 512 x 256 (128 MiB), against the fastest plain loops that give the same bytes:
// memcpy per slice, parallel over slices, into a new volume made as the library makes them
// (2 MiB-aligned, huge pages advised), so that both sides pay the same page faults. Each pair is
// checked byte for byte once before it is timed.
#include "LargeVolume.h"

#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/IConcatVolumes.h>
#include <Lumo_MiscDispatcher_DLL/IDuplicateSlices.h>

#include <benchmark/benchmark.h>

#include <omp.h>

#include <cstdint>
#include <cstring>
#include <functional>

namespace {

using LumoBench::largeCount;
using LumoBench::largePrim;
using LumoBench::largeSec;
using LumoBench::largeTert;
using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Voxel = Tarn::uint16;
using Memory = LumoBench::LargeVolume<Voxel>;
using MemoryPtr = LumoBench::LargeVolumePtr<Voxel>;
using Composite = SmartPointer<Tarn::Kito::Persistence::IComposite>;

constexpr std::int64_t largeBytes = static_cast<std::int64_t>(largeCount * sizeof(Voxel));
constexpr SizeType sliceCount = largePrim * largeSec;
constexpr SizeType halfTert = largeTert / 2;
constexpr SizeType duplicatedIndex = 100;

class ThreadSetting {
public:
    explicit ThreadSetting(int threads) : saved(omp_get_max_threads()) { omp_set_num_threads(threads); }
    ThreadSetting(const ThreadSetting&) = delete;
    ThreadSetting& operator=(const ThreadSetting&) = delete;
    ~ThreadSetting() { omp_set_num_threads(saved); }

private:
    int saved;
};

SmartPointer<IVolume> asVolume(const MemoryPtr& volume) { return DynamicCast<SmartPointer<IVolume>>(volume); }

/// One half of the large volume along tert, as a volume of its own: 512 x 512 x 128, 64 MiB.
MemoryPtr halfOfLargeVolume(SizeType half)
{
    MemoryPtr volume(new Memory(Dimension<SizeType>(largePrim, largeSec, halfTert)));
    std::memcpy(volume->getIterator(), LumoBench::largeVolume<Voxel>()->getIterator() + half * halfTert * sliceCount,
                static_cast<std::size_t>(largeBytes / 2));
    return volume;
}

/// The plain loop: slice t of a new volume from source(t), one memcpy each, parallel over slices.
MemoryPtr plainSlices(int threads, const std::function<const Voxel*(SizeType)>& source)
{
    MemoryPtr output(new Memory(Dimension<SizeType>(largePrim, largeSec, largeTert)));
    Voxel* to = output->getIterator();
#pragma omp parallel for num_threads(threads) schedule(static)
    for (long long t = 0; t < static_cast<long long>(largeTert); ++t)
        std::memcpy(to + static_cast<SizeType>(t) * sliceCount, source(static_cast<SizeType>(t)), sliceCount * sizeof(Voxel));
    return output;
}

bool sameVoxels(const MemoryPtr& a, const MemoryPtr& b)
{
    return a != 0 && b != 0 && a->getVolumeDimension() == b->getVolumeDimension() &&
           std::memcmp(a->getIterator(), b->getIterator(), static_cast<std::size_t>(largeBytes)) == 0;
}

// ---- the two halves joined along tert --------------------------------------------------------------

struct Halves {
    MemoryPtr lower = halfOfLargeVolume(0);
    MemoryPtr upper = halfOfLargeVolume(1);
    const Voxel* sliceOf(SizeType t) const
    {
        return t < halfTert ? lower->getIterator() + t * sliceCount : upper->getIterator() + (t - halfTert) * sliceCount;
    }
};

/// The second half above the first along tert (face 5), into a new volume each time.
MemoryPtr concatOnce(Tarn::Lumo_DLL::IConcatVolumes::IOperator& concat, const Halves& halves)
{
    SmartPointer<Tarn::Lumo_DLL::IConcatVolumes::Parameter> p(new Tarn::Lumo_DLL::IConcatVolumes::Parameter);
    p->inputVolumeFirst.setValue(asVolume(halves.lower));
    p->inputVolumeSecond.setValue(asVolume(halves.upper));
    p->inputFace.setValue(5);
    concat.apply(DynamicCast<Composite>(p));
    return DynamicCast<MemoryPtr>(p->outputVolume.getValue());
}

void ConcatFacade(benchmark::State& state)
{
    ThreadSetting threads(static_cast<int>(state.range(0)));
    const Halves halves;
    Tarn::Lumo_DLL::IConcatVolumes::IOperator concat;
    if (!sameVoxels(concatOnce(concat, halves), plainSlices(1, [&](SizeType t) { return halves.sliceOf(t); })))
        state.SkipWithError("the join differs from the plain loop");
    for (auto _ : state) {
        MemoryPtr joined = concatOnce(concat, halves);
        benchmark::DoNotOptimize(joined->getIterator());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * largeBytes);
}

void ConcatPlain(benchmark::State& state)
{
    const int threads = static_cast<int>(state.range(0));
    const Halves halves;
    for (auto _ : state) {
        MemoryPtr joined = plainSlices(threads, [&](SizeType t) { return halves.sliceOf(t); });
        benchmark::DoNotOptimize(joined->getIterator());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * largeBytes);
}

BENCHMARK(ConcatFacade)->Name("Concat/tert/facade")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(ConcatPlain)->Name("Concat/tert/memcpyPerSlice")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

// ---- one slice repeated ----------------------------------------------------------------------------

/// Slice 100 of the large volume, 256 times, into a new volume each time.
MemoryPtr duplicateOnce(Tarn::Lumo_DLL::IDuplicateSlices::IOperator& duplicate, const MemoryPtr& input)
{
    SmartPointer<Tarn::Lumo_DLL::IDuplicateSlices::Parameter> p(new Tarn::Lumo_DLL::IDuplicateSlices::Parameter);
    p->inputVolume.setValue(asVolume(input));
    p->inputSliceOrientation.setValue("XY-Slice");
    p->inputSliceIndex.setValue(duplicatedIndex);
    p->inputNumberOfSlices.setValue(largeTert);
    duplicate.apply(DynamicCast<Composite>(p));
    return DynamicCast<MemoryPtr>(p->outputVolume.getValue());
}

void DuplicateFacade(benchmark::State& state)
{
    ThreadSetting threads(static_cast<int>(state.range(0)));
    const MemoryPtr input = LumoBench::largeVolume<Voxel>();
    const Voxel* slice = input->getIterator() + duplicatedIndex * sliceCount;
    Tarn::Lumo_DLL::IDuplicateSlices::IOperator duplicate;
    if (!sameVoxels(duplicateOnce(duplicate, input), plainSlices(1, [&](SizeType) { return slice; })))
        state.SkipWithError("the repetition differs from the plain loop");
    for (auto _ : state) {
        MemoryPtr repeated = duplicateOnce(duplicate, input);
        benchmark::DoNotOptimize(repeated->getIterator());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * largeBytes);
}

void DuplicatePlain(benchmark::State& state)
{
    const int threads = static_cast<int>(state.range(0));
    const Voxel* slice = LumoBench::largeVolume<Voxel>()->getIterator() + duplicatedIndex * sliceCount;
    for (auto _ : state) {
        MemoryPtr repeated = plainSlices(threads, [&](SizeType) { return slice; });
        benchmark::DoNotOptimize(repeated->getIterator());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * largeBytes);
}

BENCHMARK(DuplicateFacade)->Name("DuplicateSlices/XY/facade")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(DuplicatePlain)->Name("DuplicateSlices/XY/memcpyPerSlice")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace
