// Peak resident memory of each facade on the large 512 x 512 x 256 Tarn::uint16 volume, against
// what it must hold: its input, its output and the scratch memory it needs by design. Each facade
// runs in a fresh process of this program (started again with LUMO_MEMORY_FACADE set), so that
// neither the memory nor the OpenMP threads of other benchmarks count. The child resets its
// high-water mark once the input is made (/proc/self/clear_refs "5"), runs the facade and reports
// its peak less what it held before the input was made. A peak above the bound by more than 10%
// ends the benchmark with an error.
#include "LargeVolume.h"

#include <Kito/Data>
#include <Kito/Table>
#include <Lumo_MiscDispatcher_DLL/Lumo_MiscDispatcher_DLL.h>

#include <benchmark/benchmark.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

extern char** environ;

namespace {

using namespace Tarn::Lumo_DLL;
using LumoBench::LargeVolume;
using LumoBench::LargeVolumePtr;
using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::DataPtr;
using Tarn::Kito::Persistence::IComposite;
using Tarn::Kito::Persistence::IData;

constexpr double MiB = 1024.0 * 1024.0;

/// A field of /proc/self/status, in bytes.
double statusBytes(const char* field)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    const std::size_t length = std::strlen(field);
    while (std::getline(status, line))
        if (line.compare(0, length, field) == 0) return 1024.0 * std::strtod(line.c_str() + length + 1, nullptr);
    return -1.0;
}

template <class V> SmartPointer<IVolume> asVolume(const V& volume) { return DynamicCast<SmartPointer<IVolume>>(volume); }
template <class P> SmartPointer<IComposite> asComposite(const P& p) { return DynamicCast<SmartPointer<IComposite>>(p); }

template <class T> LargeVolumePtr<T> oneVoxel() { return LargeVolumePtr<T>(new LargeVolume<T>(Dimension<SizeType>(1, 1, 1))); }

double bytesOf(const SmartPointer<IVolume>& volume, double voxelSize)
{
    const Dimension<SizeType> d = volume->getVolumeDimension();
    return static_cast<double>(d.size()) * voxelSize;
}

/// One measured run: make(), whose memory is the input; then the facade's apply; then the bound
/// in bytes: input, output and the scratch of the operator.
struct Measured {
    std::function<void()> make;
    std::function<void()> apply;
    std::function<double()> bound;
};

/// The large input as Tarn::uint16, 128 MiB, and a facade's parameter object over it.
template <class Face> struct Run {
    LargeVolumePtr<Tarn::uint16> input;
    SmartPointer<typename Face::Parameter> p;
    void make()
    {
        input = LumoBench::makeLargeVolume<Tarn::uint16>();
        p = SmartPointer<typename Face::Parameter>(new typename Face::Parameter);
        p->inputVolume.setValue(asVolume(input));
    }
    void apply()
    {
        typename Face::IOperator op;
        op.apply(asComposite(p));
    }
    double inputBytes() const { return static_cast<double>(LumoBench::largeCount) * 2.0; }
};

template <class Face> Measured scalarResult()
{
    auto run = std::make_shared<Run<Face>>();
    return {[run] { run->make(); }, [run] { run->apply(); }, [run] { return run->inputBytes(); }};
}

/// A projection along tert into a new slice of Out; the mean adds its accumulator slice of float64.
template <class Face, class Out> Measured projection(double scratchPerPixel)
{
    auto run = std::make_shared<Run<Face>>();
    return {[run] {
                run->make();
                run->p->inputDirection.setValue(0);
                run->p->outputVolume.setValue(asVolume(oneVoxel<Out>()));
            },
            [run] { run->apply(); },
            [run, scratchPerPixel] {
                const double pixels = static_cast<double>(LumoBench::largePrim * LumoBench::largeSec);
                return run->inputBytes() + bytesOf(run->p->outputVolume.getValue(), sizeof(Out)) + pixels * scratchPerPixel;
            }};
}

/// An operator that writes a volume of the input's extent into the host's parameter object.
template <class Face> Measured volumeResult(std::function<void(Run<Face>&)> fill = {})
{
    auto run = std::make_shared<Run<Face>>();
    return {[run, fill] {
                run->make();
                if (fill) fill(*run);
            },
            [run] { run->apply(); },
            [run] { return run->inputBytes() + bytesOf(run->p->outputVolume.getValue(), 2.0); }};
}

const std::map<std::string, std::function<Measured()>>& measurements()
{
    static const std::map<std::string, std::function<Measured()>> all = {
        {"ISumOfVoxels", [] { return scalarResult<ISumOfVoxels>(); }},
        {"IStatisticsFromVolume", [] { return scalarResult<IStatisticsFromVolume>(); }},
        {"IFrequencyOfValuesInsideRange",
         [] {
             auto run = std::make_shared<Run<IFrequencyOfValuesInsideRange>>();
             return Measured{[run] {
                                 run->make();
                                 run->p->inputRangeLowerValue.setValue(DynamicCast<SmartPointer<IData>>(DataPtr<double>(100.0)));
                                 run->p->inputRangeUpperValue.setValue(DynamicCast<SmartPointer<IData>>(DataPtr<double>(30000.0)));
                             },
                             [run] { run->apply(); }, [run] { return run->inputBytes(); }};
         }},
        // The median copies the region's voxels into an array of its own.
        {"IQuickSelectMedianValueOfRoi",
         [] {
             auto run = std::make_shared<Run<IQuickSelectMedianValueOfRoi>>();
             return Measured{[run] { run->make(); }, [run] { run->apply(); }, [run] { return 2.0 * run->inputBytes(); }};
         }},
        {"IProjectionMax", [] { return projection<IProjectionMax, Tarn::uint16>(0.0); }},
        {"IProjectionSum", [] { return projection<IProjectionSum, Tarn::float64>(0.0); }},
        {"IProjectionMean", [] { return projection<IProjectionMean, Tarn::float64>(8.0); }},
        // One scratch ray per thread: nothing per pixel.
        {"IProjectionMedian", [] { return projection<IProjectionMedian, Tarn::uint16>(0.0); }},
        {"IHeightMap",
         [] {
             auto run = std::make_shared<Run<IHeightMap>>();
             return Measured{[run] {
                                 run->input = LargeVolumePtr<Tarn::uint16>(LumoBench::largeSurfaceVolume());
                                 run->p = SmartPointer<IHeightMap::Parameter>(new IHeightMap::Parameter);
                                 run->p->inputVolume.setValue(asVolume(run->input));
                                 run->p->inputDirection.setValue(2);
                                 run->p->outputVolume.setValue(asVolume(oneVoxel<Tarn::uint16>()));
                             },
                             [run] { run->apply(); },
                             [run] { return run->inputBytes() + bytesOf(run->p->outputVolume.getValue(), 2.0); }};
         }},
        // Input, height map (one slice) and the flattened volume; the column table holds one
        // entry of 8 bytes per column.
        {"IOrthogonalPlanarisationOperator",
         [] {
             auto run = std::make_shared<Run<IOrthogonalPlanarisationOperator>>();
             auto heights = std::make_shared<SmartPointer<IVolume>>();
             return Measured{[run, heights] {
                                 run->input = LargeVolumePtr<Tarn::uint16>(LumoBench::largeSurfaceVolume());
                                 IHeightMap::IOperator h;
                                 SmartPointer<IHeightMap::Parameter> q(new IHeightMap::Parameter);
                                 q->inputVolume.setValue(asVolume(run->input));
                                 q->inputDirection.setValue(2);
                                 q->outputVolume.setValue(asVolume(oneVoxel<Tarn::uint16>()));
                                 h.apply(asComposite(q));
                                 *heights = q->outputVolume.getValue();
                                 run->p = SmartPointer<IOrthogonalPlanarisationOperator::Parameter>(
                                     new IOrthogonalPlanarisationOperator::Parameter);
                                 run->p->inputVolume.setValue(asVolume(run->input));
                                 run->p->inputHeightMapVolume.setValue(*heights);
                                 run->p->inputNumberOfThreads.setValue(0);
                             },
                             [run] { run->apply(); },
                             [run, heights] {
                                 const double columns = static_cast<double>(LumoBench::largePrim * LumoBench::largeSec);
                                 return run->inputBytes() + bytesOf(*heights, 2.0) + columns * 8.0 +
                                        bytesOf(run->p->outputVolume.getValue(), 2.0);
                             }};
         }},
        {"ICopy", [] { return volumeResult<ICopy>(); }},
        {"IRangePassTransformation",
         [] {
             return volumeResult<IRangePassTransformation>([](Run<IRangePassTransformation>& run) {
                 run.p->inputMinThreshold.setValue(DynamicCast<SmartPointer<IData>>(DataPtr<Tarn::uint16>(1000)));
                 run.p->inputMaxThreshold.setValue(DynamicCast<SmartPointer<IData>>(DataPtr<Tarn::uint16>(30000)));
                 run.p->inputBackgroundValue.setValue(DynamicCast<SmartPointer<IData>>(DataPtr<Tarn::uint16>(0)));
             });
         }},
        // The table of all 65536 keys is part of the input.
        {"ILookupTableConversion",
         [] {
             auto run = std::make_shared<Run<ILookupTableConversion>>();
             return Measured{[run] {
                                 run->make();
                                 using Table = Tarn::Kito::Container::Table<Tarn::uint16, Tarn::uint16>;
                                 Tarn::Kito::Container::TablePtr<Tarn::uint16, Tarn::uint16> table(new Table);
                                 table->volume = LargeVolumePtr<Tarn::uint16>(
                                     new LargeVolume<Tarn::uint16>(Dimension<SizeType>(65536, 1, 1)));
                                 for (SizeType k = 0; k < 65536; ++k)
                                     table->volume->getIterator()[k] = static_cast<Tarn::uint16>(65535 - k);
                                 table->tertOffsetToOrigin = 0;
                                 table->size = 65536;
                                 run->p->inputLookupTable.setValue(DynamicCast<SmartPointer<IComposite>>(table));
                                 run->p->outputVolume.setValue(asVolume(oneVoxel<Tarn::uint16>()));
                             },
                             [run] { run->apply(); },
                             [run] {
                                 return run->inputBytes() + 65536.0 * 2.0 + bytesOf(run->p->outputVolume.getValue(), 2.0);
                             }};
         }},
    };
    return all;
}

/// In the child: measure one facade, print "peak bound" in bytes and end the process.
[[noreturn]] void measureChild(const std::string& facade)
{
    const auto found = measurements().find(facade);
    if (found == measurements().end()) {
        std::printf("unknown facade %s\n", facade.c_str());
        std::fflush(stdout);
        std::_Exit(2);
    }
    Measured m = found->second();
    const double before = statusBytes("VmRSS:");
    m.make();
    {
        std::ofstream clear("/proc/self/clear_refs");
        clear << "5";
    }
    m.apply();
    const double peak = statusBytes("VmHWM:") - before;
    std::printf("%.0f %.0f\n", peak, m.bound());
    std::fflush(stdout);
    std::_Exit(0);
}

// Before main, and so before any benchmark has started OpenMP threads or taken memory.
const int childMeasurement = [] {
    const char* facade = std::getenv("LUMO_MEMORY_FACADE");
    if (facade != nullptr) measureChild(facade);
    return 0;
}();

void PeakMemory(benchmark::State& state, const std::string& facade)
{
    for (auto _ : state) {
        int out[2];
        if (::pipe(out) != 0) {
            state.SkipWithError("no pipe");
            return;
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, out[1], 1);
        posix_spawn_file_actions_addclose(&actions, out[0]);
        std::vector<std::string> environment;
        for (char** e = environ; *e != nullptr; ++e) environment.push_back(*e);
        environment.push_back("LUMO_MEMORY_FACADE=" + facade);
        std::vector<char*> envp;
        for (std::string& e : environment) envp.push_back(e.data());
        envp.push_back(nullptr);
        char self[] = "/proc/self/exe";
        char* argv[] = {self, nullptr};
        pid_t child = 0;
        const int spawned = posix_spawn(&child, "/proc/self/exe", &actions, nullptr, argv, envp.data());
        posix_spawn_file_actions_destroy(&actions);
        ::close(out[1]);
        std::string answer;
        char buffer[256];
        for (ssize_t n; (n = ::read(out[0], buffer, sizeof buffer)) > 0;) answer.append(buffer, static_cast<std::size_t>(n));
        ::close(out[0]);
        int status = 0;
        if (spawned != 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            state.SkipWithError(("the measuring process failed: " + answer).c_str());
            return;
        }
        double peak = 0.0, bound = 0.0;
        if (std::sscanf(answer.c_str(), "%lf %lf", &peak, &bound) != 2 || bound <= 0.0) {
            state.SkipWithError(("no measurement: " + answer).c_str());
            return;
        }
        state.counters["peakMiB"] = peak / MiB;
        state.counters["boundMiB"] = bound / MiB;
        state.counters["ratio"] = peak / bound;
        if (peak > 1.10 * bound) {
            state.SkipWithError((facade + " holds more than 10% beyond its input, output and scratch").c_str());
            return;
        }
    }
}

const int registered = [] {
    for (const auto& entry : measurements())
        benchmark::RegisterBenchmark(("PeakMemory/" + entry.first).c_str(), PeakMemory, entry.first)
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond);
    return 0;
}();

} // namespace
