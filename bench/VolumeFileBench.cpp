// Reading the large Tarn::uint16 volume (512 x 512 x 256, 128 MiB) from a file in the page cache:
// the REK loader's direct path and the raw file facade, each into a new volume as a host gets it,
// against the fastest plain loop giving the same bytes, one read() into memory that already exists;
// and, to tell the reading from the page faults of new memory, the same read into a new volume and
// the loader into a volume that exists.
#include "LargeVolume.h"

#include <Kito/Persistence/RecHeader_V260>
#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderFileInputOutput/Loader/Operator>
#include <Lumo_MiscDispatcher_DLL/IVolumeFromRawFileInput.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using Tarn::Kito::DynamicCast;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;
namespace Files = Tarn::Kito::Persistence::VolumeFileInputOutput;
using Meta = Files::RecHeaderFileInputOutput::MetaInformation<Tarn::RecHeader_V260>;

constexpr SizeType largeBytes = LumoBench::largeCount * sizeof(Tarn::uint16);

/// The large volume as a REK file, written once and read once so that it is in the page cache,
/// and removed at exit.
struct LargeFile {
    LargeFile()
    {
        path = (std::filesystem::temp_directory_path() / ("lumo-bench-" + std::to_string(::getpid()) + ".rek")).string();
        Tarn::RecHeader_V260 header;
        header.voxelTypeCode = 16;
        header.rekoPrim = static_cast<Tarn::int32>(LumoBench::largePrim);
        header.rekoSec = static_cast<Tarn::int32>(LumoBench::largeSec);
        header.rekoTert = static_cast<Tarn::int32>(LumoBench::largeTert);
        std::FILE* file = std::fopen(path.c_str(), "wb");
        if (file == nullptr) std::abort();
        std::fwrite(&header, sizeof header, 1, file);
        std::fwrite(LumoBench::largeVolume<Tarn::uint16>()->getIterator(), 1, largeBytes, file);
        std::fclose(file);
        std::vector<char> warm(largeBytes);
        readInto(warm.data());
    }
    ~LargeFile() { std::filesystem::remove(path); }

    /// The voxels with plain read() calls (one, unless the kernel gives less).
    void readInto(char* buffer) const
    {
        const int fd = ::open(path.c_str(), O_RDONLY);
        SizeType done = 0;
        while (done < largeBytes) {
            const ssize_t got = ::pread(fd, buffer + done, largeBytes - done, static_cast<off_t>(2048 + done));
            if (got <= 0) std::abort();
            done += static_cast<SizeType>(got);
        }
        ::close(fd);
    }

    std::string path;
};

const LargeFile& largeFile()
{
    static const LargeFile file;
    return file;
}

/// Into memory that exists, every page touched, made as volumes are (2 MiB-aligned, huge pages
/// advised): a buffer of 4 KiB pages would cost the read its TLB misses.
void LargeFilePlainRead(benchmark::State& state)
{
    const LargeFile& file = largeFile();
    LumoBench::LargeVolume<Tarn::uint16> existing(
        Tarn::Kito::Dimension<SizeType>(LumoBench::largePrim, LumoBench::largeSec, LumoBench::largeTert));
    char* const buffer = reinterpret_cast<char*>(existing.getIterator());
    std::memset(buffer, 1, largeBytes);
    for (auto _ : state) {
        file.readInto(buffer);
        benchmark::DoNotOptimize(buffer);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * largeBytes));
}
BENCHMARK(LargeFilePlainRead)->Unit(benchmark::kMillisecond);

/// The same read into a new volume made as the operators make theirs: the page faults of new
/// memory, which the loader pays too, without anything of the loader.
void LargeFilePlainReadIntoNewVolume(benchmark::State& state)
{
    const LargeFile& file = largeFile();
    for (auto _ : state) {
        LumoBench::LargeVolume<Tarn::uint16> volume(
            Tarn::Kito::Dimension<SizeType>(LumoBench::largePrim, LumoBench::largeSec, LumoBench::largeTert));
        file.readInto(reinterpret_cast<char*>(volume.getIterator()));
        benchmark::DoNotOptimize(volume.getIterator());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * largeBytes));
}
BENCHMARK(LargeFilePlainReadIntoNewVolume)->Unit(benchmark::kMillisecond);

/// The loader filling a volume that has the file's extent already: no allocation, no page fault.
void LargeFileRekLoaderInPlace(benchmark::State& state)
{
    const LargeFile& file = largeFile();
    const SmartPointer<Tarn::Kito::IVolume> volume = DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(
        LumoBench::LargeVolumePtr<Tarn::uint16>(new LumoBench::LargeVolume<Tarn::uint16>(
            Tarn::Kito::Dimension<SizeType>(LumoBench::largePrim, LumoBench::largeSec, LumoBench::largeTert))));
    for (auto _ : state) {
        SmartPointer<Files::Loader::Parameter> p(new Files::Loader::Parameter);
        p->inputFileName.setValue(file.path);
        p->modifyVolume.setValue(volume);
        Files::RecHeaderFileInputOutput::Loader::Operator<LumoBench::LargeVolumePtr<Tarn::uint16>, Meta> loader;
        loader.apply(DynamicCast<SmartPointer<IComposite>>(p));
        benchmark::DoNotOptimize(volume.get());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * largeBytes));
}
BENCHMARK(LargeFileRekLoaderInPlace)->Unit(benchmark::kMillisecond);

void LargeFileRekLoader(benchmark::State& state)
{
    const LargeFile& file = largeFile();
    for (auto _ : state) {
        SmartPointer<Files::Loader::Parameter> p(new Files::Loader::Parameter);
        p->inputFileName.setValue(file.path);
        Files::RecHeaderFileInputOutput::Loader::Operator<LumoBench::LargeVolumePtr<Tarn::uint16>, Meta> loader;
        loader.apply(DynamicCast<SmartPointer<IComposite>>(p));
        benchmark::DoNotOptimize(p->modifyVolume.getValue().get());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * largeBytes));
}
BENCHMARK(LargeFileRekLoader)->Unit(benchmark::kMillisecond);

void LargeFileRawInputFacade(benchmark::State& state)
{
    const LargeFile& file = largeFile();
    using Facade = Tarn::Lumo_DLL::IVolumeFromRawFileInput;
    for (auto _ : state) {
        SmartPointer<Facade::Parameter> p(new Facade::Parameter);
        p->inputFilePath.setValue(file.path);
        p->inputHeaderSkip.setValue(2048);
        p->inputEndPrim.setValue(LumoBench::largePrim - 1);
        p->inputEndSec.setValue(LumoBench::largeSec - 1);
        p->inputEndTert.setValue(LumoBench::largeTert - 1);
        p->inputDataType.setValue(16);
        Facade::IOperator facade;
        facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
        benchmark::DoNotOptimize(p->outputVolume.getValue().get());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * largeBytes));
}
BENCHMARK(LargeFileRawInputFacade)->Unit(benchmark::kMillisecond);

} // namespace
