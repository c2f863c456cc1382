// The image average of three 256 x 256 x 256 Tarn::uint16 REK files in the page cache, by the
// operator (its facade reaches no operator), against the fastest plain loop that gives the same
// bits: each file read with pread into memory that already exists, then one pass that sums the three
// values of a voxel in a double, divides by three and rounds half up. The two are checked bit for bit
// once before anything is timed; the operator writes into the same output volume in every run.
#include "BenchVolume.h"

#include <Kito/List>
#include <Kito/Persistence/RecHeader_V260>
#include <LumoStudio/Operators/AverageImage/Operator.h>

#include <benchmark/benchmark.h>
#include <omp.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <list>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using LumoBench::edge;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;

constexpr SizeType averageCount = edge * edge * edge;
constexpr SizeType averageBytes = averageCount * sizeof(Tarn::uint16);

/// Three REK files of the bench volume's extent, each with voxels of its own generator seed,
/// written once, read once so that they are in the page cache, and removed at exit.
struct AverageFiles {
    AverageFiles()
    {
        const std::string stem = (std::filesystem::temp_directory_path() / ("lumo-average-" + std::to_string(::getpid()))).string();
        std::vector<Tarn::uint16> voxels(averageCount);
        for (std::uint32_t k = 0; k < 3; ++k) {
            paths.push_back(stem + "-" + std::to_string(k) + ".rek");
            std::uint32_t state = 777u + 1000u * k;
            for (Tarn::uint16& x : voxels) {
                state = state * 1664525u + 1013904223u;
                x = static_cast<Tarn::uint16>(state >> 16);
            }
            Tarn::RecHeader_V260 header;
            header.voxelTypeCode = 16;
            header.rekoPrim = header.rekoSec = header.rekoTert = static_cast<Tarn::int32>(edge);
            std::FILE* file = std::fopen(paths.back().c_str(), "wb");
            if (file == nullptr) std::abort();
            std::fwrite(&header, sizeof header, 1, file);
            std::fwrite(voxels.data(), 1, averageBytes, file);
            std::fclose(file);
            readInto(k, voxels.data());
        }
    }
    ~AverageFiles()
    {
        for (const std::string& path : paths) std::filesystem::remove(path);
    }

    /// The voxels of file k with plain pread() calls (one, unless the kernel gives less).
    void readInto(std::size_t k, Tarn::uint16* voxels) const
    {
        char* const buffer = reinterpret_cast<char*>(voxels);
        const int fd = ::open(paths[k].c_str(), O_RDONLY);
        SizeType done = 0;
        while (done < averageBytes) {
            const ssize_t got = ::pread(fd, buffer + done, averageBytes - done, static_cast<off_t>(2048 + done));
            if (got <= 0) std::abort();
            done += static_cast<SizeType>(got);
        }
        ::close(fd);
    }

    std::vector<std::string> paths;
};

const AverageFiles& averageFiles()
{
    static const AverageFiles files;
    return files;
}

/// The plain loop: read the three files, then per voxel ((a + b) + c) in a double, / 3, half up.
void plainAverage(std::vector<Tarn::uint16> (&in)[3], Tarn::uint16* out, int threads)
{
    for (std::size_t k = 0; k < 3; ++k) averageFiles().readInto(k, in[k].data());
    const Tarn::uint16* const a = in[0].data();
    const Tarn::uint16* const b = in[1].data();
    const Tarn::uint16* const c = in[2].data();
    const auto count = static_cast<std::int64_t>(averageCount);
#pragma omp parallel for schedule(static) num_threads(threads)
    for (std::int64_t i = 0; i < count; ++i) {
        const double sum = static_cast<double>(a[i]) + static_cast<double>(b[i]) + static_cast<double>(c[i]);
        out[i] = static_cast<Tarn::uint16>(std::floor(sum / 3.0 + 0.5));
    }
}

void AverageImageOperator(benchmark::State& state)
{
    using Parameter = Tarn::Lumo::ArithmeticOperators::AverageImage::Parameter;
    const int threads = static_cast<int>(state.range(0));
    const LumoBench::Volume16Ptr output(new LumoBench::Volume16(Tarn::Kito::Dimension<SizeType>(edge, edge, edge)));
    output->fill(0);
    SmartPointer<Parameter> p(new Parameter);
    const std::vector<std::string>& paths = averageFiles().paths;
    p->inputFileList.setValue(
        Tarn::Kito::Container::ListPtr<std::string>(std::list<std::string>(paths.begin(), paths.end())));
    p->outputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(output));
    Tarn::Lumo::ArithmeticOperators::AverageImage::Operator<LumoBench::Volume16Ptr> op;
    const int saved = omp_get_max_threads();
    omp_set_num_threads(threads);
    op.apply(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IComposite>>(p));
    std::vector<Tarn::uint16> in[3] = {std::vector<Tarn::uint16>(averageCount), std::vector<Tarn::uint16>(averageCount),
                                       std::vector<Tarn::uint16>(averageCount)};
    std::vector<Tarn::uint16> expected(averageCount);
    plainAverage(in, expected.data(), 1);
    if (std::memcmp(output->getIterator(), expected.data(), averageBytes) != 0)
        state.SkipWithError("the operator's voxels differ from the loop's");
    for (auto _ : state) op.apply(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IComposite>>(p));
    omp_set_num_threads(saved);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(averageCount));
}
BENCHMARK(AverageImageOperator)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

void AverageImagePlain(benchmark::State& state)
{
    std::vector<Tarn::uint16> in[3] = {std::vector<Tarn::uint16>(averageCount, 1), std::vector<Tarn::uint16>(averageCount, 1),
                                       std::vector<Tarn::uint16>(averageCount, 1)};
    std::vector<Tarn::uint16> output(averageCount, 1);
    for (auto _ : state) {
        plainAverage(in, output.data(), static_cast<int>(state.range(0)));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(averageCount));
}
BENCHMARK(AverageImagePlain)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

} // namespace
