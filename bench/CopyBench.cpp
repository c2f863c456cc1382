// ICopy on 512 x 512 x 256 Tarn::uint16 (128 MiB), on 1 and 2 threads (the argument), against the
// fastest plain loops that give the same bytes: memcpy per slice or per line, a tiled transpose for a
// permuted view, a reversing loop for a mirrored one, and one read of the whole file for a copy out
// of a file. The last benchmark walks a sparse file of 32 GiB, larger than the machine's memory.
#include "LargeVolume.h"

#include <Kito/BufferedInputFileAllocator>
#include <Kito/ForEach>
#include <Kito/InputFileAllocator>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/ICopy.h>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <omp.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using LumoBench::largeCount;
using LumoBench::largePrim;
using LumoBench::largeSec;
using LumoBench::largeTert;
using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::Orientation;
using Tarn::Kito::Position;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Volume;
using Tarn::Kito::VolumePtr;
using Voxel = Tarn::uint16;
using Memory = LumoBench::LargeVolume<Voxel>;
using MemoryPtr = LumoBench::LargeVolumePtr<Voxel>;

constexpr std::int64_t largeBytes = static_cast<std::int64_t>(largeCount * sizeof(Voxel));
const Dimension<SizeType> largeSize(largePrim, largeSec, largeTert);

/// The process's thread setting for one benchmark, given back afterwards.
class Threads {
public:
    explicit Threads(int threads) : saved(omp_get_max_threads()) { omp_set_num_threads(threads); }
    ~Threads() { omp_set_num_threads(saved); }

private:
    int saved;
};

/// A volume of its own over the large volume's voxels, so that a view set on it leaves the shared
/// volume alone.
MemoryPtr freshLargeVolume()
{
    MemoryPtr volume(new Memory(largeSize));
    std::memcpy(volume->getIterator(), LumoBench::largeVolume<Voxel>()->getIterator(), static_cast<std::size_t>(largeBytes));
    return volume;
}

/// ICopy of source's view into output (NULL: a new volume each time).
void runCopy(benchmark::State& state, const SmartPointer<IVolume>& source, const SmartPointer<IVolume>& output)
{
    SmartPointer<Tarn::Lumo_DLL::ICopy::Parameter> p(new Tarn::Lumo_DLL::ICopy::Parameter);
    p->inputVolume.setValue(source);
    Tarn::Lumo_DLL::ICopy::IOperator copy;
    for (auto _ : state) {
        p->outputVolume.setValue(output);
        copy.apply(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IComposite>>(p));
        benchmark::ClobberMemory();
    }
}

SmartPointer<IVolume> asVolume(const MemoryPtr& volume) { return DynamicCast<SmartPointer<IVolume>>(volume); }

// ---- in memory ------------------------------------------------------------------------------------

/// The views of the source: the whole volume, the 3/4 sub-box, prim and sec swapped, prim mirrored.
enum class SourceView { whole, subBox, permuted, mirrored };

const RegionOfInterest<SizeType> subBox(Dimension<SizeType>(384, 384, 192), Position<SizeType>(64, 64, 32));

MemoryPtr sourceIn(SourceView view)
{
    MemoryPtr source = freshLargeVolume();
    if (view == SourceView::subBox) source->setRoi(subBox);
    if (view == SourceView::permuted) source->setOrientation(Orientation(2, 0, 4));
    if (view == SourceView::mirrored) source->setOrientation(Orientation(1, 2, 4));
    return source;
}

template <SourceView View> void CopyFacade(benchmark::State& state)
{
    Threads threads(static_cast<int>(state.range(0)));
    const MemoryPtr source = sourceIn(View);
    const MemoryPtr output(new Memory(source->getDimension()));
    runCopy(state, asVolume(source), asVolume(output));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(source->size() * sizeof(Voxel)));
}

/// The plain loops, parallel over slices as the copy is.
template <SourceView View> void CopyPlain(benchmark::State& state)
{
    const int threads = static_cast<int>(state.range(0));
    const MemoryPtr source = freshLargeVolume();
    const Voxel* from = source->getIterator();
    const SizeType P = largePrim, S = largeSec;
    const Dimension<SizeType> d = View == SourceView::subBox ? subBox.dim : largeSize;
    const MemoryPtr output(new Memory(d));
    Voxel* to = output->getIterator();
    const long long slices = static_cast<long long>(d.tert);
    for (auto _ : state) {
#pragma omp parallel for num_threads(threads) schedule(static)
        for (long long t = 0; t < slices; ++t) {
            Voxel* out = to + static_cast<SizeType>(t) * d.prim * d.sec;
            if constexpr (View == SourceView::whole) {
                std::memcpy(out, from + static_cast<SizeType>(t) * P * S, P * S * sizeof(Voxel));
            } else if constexpr (View == SourceView::subBox) {
                const Voxel* in = from + (static_cast<SizeType>(t) + subBox.origin.tert) * P * S +
                                  subBox.origin.sec * P + subBox.origin.prim;
                for (SizeType s = 0; s < d.sec; ++s) std::memcpy(out + s * d.prim, in + s * P, d.prim * sizeof(Voxel));
            } else if constexpr (View == SourceView::permuted) {
                // out(p, s) = in(s, p), in tiles of 32 x 32 so that both sides stay in the cache.
                const Voxel* in = from + static_cast<SizeType>(t) * P * S;
                for (SizeType s0 = 0; s0 < S; s0 += 32)
                    for (SizeType p0 = 0; p0 < P; p0 += 32)
                        for (SizeType s = s0; s < s0 + 32; ++s)
                            for (SizeType p = p0; p < p0 + 32; ++p) out[s * P + p] = in[p * P + s];
            } else {
                const Voxel* in = from + static_cast<SizeType>(t) * P * S;
                for (SizeType s = 0; s < S; ++s)
                    for (SizeType p = 0; p < P; ++p) out[s * P + p] = in[s * P + (P - 1 - p)];
            }
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(d.size() * sizeof(Voxel)));
}

BENCHMARK(CopyFacade<SourceView::whole>)->Name("Copy/whole/facade")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CopyPlain<SourceView::whole>)->Name("Copy/whole/memcpyPerSlice")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CopyFacade<SourceView::subBox>)->Name("Copy/subBox/facade")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CopyPlain<SourceView::subBox>)->Name("Copy/subBox/memcpyPerLine")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CopyFacade<SourceView::permuted>)->Name("Copy/permuted/facade")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CopyPlain<SourceView::permuted>)->Name("Copy/permuted/tiledTranspose")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CopyFacade<SourceView::mirrored>)->Name("Copy/mirrored/facade")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CopyPlain<SourceView::mirrored>)->Name("Copy/mirrored/reversingLoop")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

/// Into a new volume each time, which the copy makes.
void CopyIntoNewFacade(benchmark::State& state)
{
    Threads threads(static_cast<int>(state.range(0)));
    const MemoryPtr source = freshLargeVolume();
    runCopy(state, asVolume(source), SmartPointer<IVolume>());
    state.SetBytesProcessed(state.iterations() * largeBytes);
}
void CopyIntoNewPlain(benchmark::State& state)
{
    const int threads = static_cast<int>(state.range(0));
    const MemoryPtr source = freshLargeVolume();
    const Voxel* from = source->getIterator();
    const SizeType slice = largePrim * largeSec;
    for (auto _ : state) {
        Memory output(largeSize); // as the library makes new volumes: 2 MiB-aligned, huge pages advised
        Voxel* to = output.getIterator();
#pragma omp parallel for num_threads(threads) schedule(static)
        for (long long t = 0; t < static_cast<long long>(largeTert); ++t)
            std::memcpy(to + static_cast<SizeType>(t) * slice, from + static_cast<SizeType>(t) * slice, slice * sizeof(Voxel));
        benchmark::DoNotOptimize(to);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * largeBytes);
}
BENCHMARK(CopyIntoNewFacade)->Name("Copy/intoNew/facade")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CopyIntoNewPlain)->Name("Copy/intoNew/memcpyPerSlice")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

// ---- out of a file ---------------------------------------------------------------------------------

/// The large volume as a file behind a header of 2048 bytes, in the temporary directory (LUMO_BENCH_DIR
/// elsewhere), written once and left in the page cache; removed when the program ends.
/// A file name of this program in the temporary directory (LUMO_BENCH_DIR elsewhere).
std::string benchFile(const std::string& name)
{
    const char* dir = std::getenv("LUMO_BENCH_DIR");
    return ((dir != nullptr ? std::filesystem::path(dir) : std::filesystem::temp_directory_path()) /
            ("lumo-bench-" + std::to_string(::getpid()) + "-" + name))
        .string();
}

class LargeFile {
public:
    LargeFile()
    {
        path = benchFile("large.rek");
        std::FILE* out = std::fopen(path.c_str(), "wb");
        const std::vector<char> header(2048, 0);
        std::fwrite(header.data(), 1, header.size(), out);
        std::fwrite(LumoBench::largeVolume<Voxel>()->getIterator(), sizeof(Voxel), largeCount, out);
        std::fclose(out);
    }
    ~LargeFile() { std::filesystem::remove(path); }
    std::string path;
};

const std::string& largeFile()
{
    static const LargeFile file;
    return file.path;
}

template <class A> void CopyFromFileFacade(benchmark::State& state)
{
    Threads threads(static_cast<int>(state.range(0)));
    const VolumePtr<Voxel, A> source(new Volume<Voxel, A>(largeFile(), largeSize));
    const MemoryPtr output(new Memory(largeSize));
    runCopy(state, DynamicCast<SmartPointer<IVolume>>(source), asVolume(output));
    state.SetBytesProcessed(state.iterations() * largeBytes);
}

/// One read of the whole file's voxels into existing memory.
void CopyFromFilePlainRead(benchmark::State& state)
{
    const MemoryPtr output(new Memory(largeSize));
    for (auto _ : state) {
        const int file = ::open(largeFile().c_str(), O_RDONLY);
        char* to = reinterpret_cast<char*>(output->getIterator());
        std::int64_t done = 0;
        while (done < largeBytes) {
            const ssize_t got = ::pread(file, to + done, static_cast<std::size_t>(largeBytes - done), 2048 + done);
            if (got <= 0) break;
            done += got;
        }
        ::close(file);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * largeBytes);
}
BENCHMARK(CopyFromFileFacade<Tarn::Kito::Allocator::BufferedInputFileAllocator>)
    ->Name("Copy/fromFile/buffered/facade")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CopyFromFileFacade<Tarn::Kito::Allocator::InputFileAllocator>)
    ->Name("Copy/fromFile/input/facade")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CopyFromFilePlainRead)->Name("Copy/fromFile/oneRead")->UseRealTime()->Unit(benchmark::kMillisecond);

// ---- a file larger than memory ---------------------------------------------------------------------

/// Adds the voxels up, serially.
struct Sum : Tarn::Kito::Iterating::Functor {
    void operator()(const Voxel& voxel) { total += voxel; }
    std::uint64_t total = 0;
};

/// A sparse file of 32 GiB of voxels (a hole reads as zeros) with a few voxels written, walked by
/// the serial walk through BufferedInputFileAllocator: the sum must be that of the written voxels,
/// and the peak resident memory (reported in MiB) stays that of a few pages. Run it alone
/// (--benchmark_filter=Copy/sparseFile) to read the peak of this walk only.
void SparseFileWalk(benchmark::State& state)
{
    const Dimension<SizeType> d(4096, 4096, 1024); // 2^34 voxels of 2 bytes
    const std::string path = benchFile("sparse.rek");
    {
        const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (::ftruncate(file, static_cast<off_t>(2048 + d.size() * sizeof(Voxel))) != 0) state.SkipWithError("no space");
        // A voxel of 1000 at the start, in the middle and at the very end.
        const Voxel value = 1000;
        for (SizeType at : {SizeType(0), d.size() / 2, d.size() - 1})
            if (::pwrite(file, &value, sizeof value, static_cast<off_t>(2048 + at * sizeof(Voxel))) != sizeof value)
                state.SkipWithError("cannot write");
        ::close(file);
    }
    std::uint64_t total = 0;
    for (auto _ : state) {
        using A = Tarn::Kito::Allocator::BufferedInputFileAllocator;
        VolumePtr<Voxel, A> volume(new Volume<Voxel, A>(path, d));
        Sum sum;
        Tarn::Kito::Progress progress;
        const std::uint8_t goOn = 0;
        Tarn::Kito::Iterating::ForEach::apply(sum, volume, progress, &goOn);
        total = sum.total;
    }
    std::filesystem::remove(path);
    if (total != 3000) state.SkipWithError("wrong sum");
    struct rusage usage;
    ::getrusage(RUSAGE_SELF, &usage);
    state.counters["sum"] = static_cast<double>(total);
    state.counters["peakResidentMiB"] = static_cast<double>(usage.ru_maxrss) / 1024.0;
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(d.size() * sizeof(Voxel)));
}
BENCHMARK(SparseFileWalk)->Name("Copy/sparseFile/serialSum32GiB")->Iterations(1)->UseRealTime()->Unit(benchmark::kSecond);

} // namespace
