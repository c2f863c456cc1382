// The voxel transforms on 512 x 512 x 256 volumes, through their facades or, for the stages that
// have none, their operators, against the fastest plain loops that give the same bits. Each pair
// is checked bit for bit once before anything is timed; outputs are reused, as a host that runs a
// transform again would, so that no run pays the page faults of a new volume.
#include "LargeVolume.h"

#include <AncillaryKitoOperators/VoxelTypeConversion>
#include <Kito/ArithmeticOperators/Division/CheckedInplaceValueDivision/Operator>
#include <Kito/Data>
#include <Kito/Table>
#include <Lumo_MiscDispatcher_DLL/ILookupTableConversion.h>
#include <Lumo_MiscDispatcher_DLL/IRangePassTransformation.h>

#include <benchmark/benchmark.h>
#include <omp.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace {

using LumoBench::LargeVolume;
using LumoBench::LargeVolumePtr;
using LumoBench::largeCount;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;
using Tarn::Kito::Persistence::IData;

template <class T> SmartPointer<Tarn::Kito::IVolume> asVolume(const LargeVolumePtr<T>& volume)
{
    return DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(volume);
}

template <class T> LargeVolumePtr<T> newLarge()
{
    LargeVolumePtr<T> volume(new LargeVolume<T>(Tarn::Kito::Dimension<SizeType>(LumoBench::largePrim, LumoBench::largeSec,
                                                                                 LumoBench::largeTert)));
    volume->fill(T(0));
    return volume;
}

template <class T> bool sameVoxels(const LargeVolumePtr<T>& a, const LargeVolumePtr<T>& b)
{
    return std::memcmp(a->getIterator(), b->getIterator(), largeCount * sizeof(T)) == 0;
}

void countVoxels(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(largeCount));
}

// ---- range pass, Tarn::uint16, serial ------------------------------------------------------------------

constexpr Tarn::uint16 rangeMin = 10000, rangeMax = 50000, rangeBackground = 7;

void plainRangePass(const Tarn::uint16* in, Tarn::uint16* out, SizeType n)
{
    for (SizeType i = 0; i < n; ++i) {
        const Tarn::uint16 x = in[i];
        out[i] = (x < rangeMin || x > rangeMax) ? rangeBackground : x;
    }
}

void LargeRangePassFacade(benchmark::State& state)
{
    using Facade = Tarn::Lumo_DLL::IRangePassTransformation;
    const LargeVolumePtr<Tarn::uint16> output = newLarge<Tarn::uint16>(), expected = newLarge<Tarn::uint16>();
    SmartPointer<Facade::Parameter> p(new Facade::Parameter);
    p->inputVolume.setValue(asVolume(LumoBench::largeVolume<Tarn::uint16>()));
    p->inputMinThreshold.setValue(DynamicCast<SmartPointer<IData>>(Tarn::Kito::Persistence::DataPtr<Tarn::uint16>(rangeMin)));
    p->inputMaxThreshold.setValue(DynamicCast<SmartPointer<IData>>(Tarn::Kito::Persistence::DataPtr<Tarn::uint16>(rangeMax)));
    p->inputBackgroundValue.setValue(
        DynamicCast<SmartPointer<IData>>(Tarn::Kito::Persistence::DataPtr<Tarn::uint16>(rangeBackground)));
    p->outputVolume.setValue(asVolume(output));
    Facade::IOperator facade;
    facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
    plainRangePass(LumoBench::largeVolume<Tarn::uint16>()->getIterator(), expected->getIterator(), largeCount);
    if (!sameVoxels(output, expected)) state.SkipWithError("the operator's voxels differ from the loop's");
    for (auto _ : state) facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
    countVoxels(state);
}
BENCHMARK(LargeRangePassFacade)->Unit(benchmark::kMillisecond);

void LargeRangePassPlain(benchmark::State& state)
{
    const LargeVolumePtr<Tarn::uint16> output = newLarge<Tarn::uint16>();
    const SizeType n = LumoBench::largeVolume<Tarn::uint16>()->size();
    for (auto _ : state) {
        plainRangePass(LumoBench::largeVolume<Tarn::uint16>()->getIterator(), output->getIterator(), n);
        benchmark::ClobberMemory();
    }
    countVoxels(state);
}
BENCHMARK(LargeRangePassPlain)->Unit(benchmark::kMillisecond);

// ---- lookup table, Tarn::uint16 into Tarn::float32, 1 and 2 threads ------------------------------------

using Table16 = Tarn::Kito::Container::Table<Tarn::uint16, Tarn::float32>;

const Tarn::Kito::Container::TablePtr<Tarn::uint16, Tarn::float32>& largeTable()
{
    static const Tarn::Kito::Container::TablePtr<Tarn::uint16, Tarn::float32> table = [] {
        Tarn::Kito::Container::TablePtr<Tarn::uint16, Tarn::float32> made(new Table16);
        made->volume = LargeVolumePtr<Tarn::float32>(new LargeVolume<Tarn::float32>(Tarn::Kito::Dimension<SizeType>(65536, 1, 1)));
        for (SizeType i = 0; i < 65536; ++i) made->volume->getIterator()[i] = std::sqrt(static_cast<float>(i)) * 0.5f;
        made->size = 65536;
        return made;
    }();
    return table;
}

void plainLookUp(const Tarn::uint16* in, Tarn::float32* out, SizeType n, const Tarn::float32* table, int threads)
{
    const auto count = static_cast<std::int64_t>(n);
#pragma omp parallel for schedule(static) num_threads(threads)
    for (std::int64_t i = 0; i < count; ++i) out[i] = table[in[i]];
}

void LargeLookUpFacade(benchmark::State& state)
{
    using Facade = Tarn::Lumo_DLL::ILookupTableConversion;
    const int threads = static_cast<int>(state.range(0));
    const LargeVolumePtr<Tarn::float32> output = newLarge<Tarn::float32>(), expected = newLarge<Tarn::float32>();
    SmartPointer<Facade::Parameter> p(new Facade::Parameter);
    p->inputVolume.setValue(asVolume(LumoBench::largeVolume<Tarn::uint16>()));
    p->inputLookupTable.setValue(DynamicCast<SmartPointer<IComposite>>(largeTable()));
    p->outputVolume.setValue(asVolume(output));
    Facade::IOperator facade;
    const int saved = omp_get_max_threads();
    omp_set_num_threads(threads);
    facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
    plainLookUp(LumoBench::largeVolume<Tarn::uint16>()->getIterator(), expected->getIterator(), largeCount,
                largeTable()->volume->getIterator(), 1);
    if (!sameVoxels(output, expected)) state.SkipWithError("the operator's voxels differ from the loop's");
    for (auto _ : state) facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
    omp_set_num_threads(saved);
    countVoxels(state);
}
BENCHMARK(LargeLookUpFacade)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

void LargeLookUpPlain(benchmark::State& state)
{
    const int threads = static_cast<int>(state.range(0));
    const LargeVolumePtr<Tarn::float32> output = newLarge<Tarn::float32>();
    for (auto _ : state) {
        plainLookUp(LumoBench::largeVolume<Tarn::uint16>()->getIterator(), output->getIterator(), largeCount,
                    largeTable()->volume->getIterator(), threads);
        benchmark::ClobberMemory();
    }
    countVoxels(state);
}
BENCHMARK(LargeLookUpPlain)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

// ---- conversion, Tarn::float64 into Tarn::uint16, rounded and checked, 1 and 2 threads -----------------

/// The large volume's values with a quarter, a half or three quarters added, all within uint16
/// after rounding half up.
const LargeVolumePtr<double>& largeFractions()
{
    static const LargeVolumePtr<double> volume = [] {
        LargeVolumePtr<double> made = newLarge<double>();
        const Tarn::uint16* source = LumoBench::largeVolume<Tarn::uint16>()->getIterator();
        double* p = made->getIterator();
        for (SizeType i = 0; i < largeCount; ++i)
            p[i] = source[i] == 65535 ? 65535.0 : static_cast<double>(source[i]) + 0.25 * static_cast<double>(i % 3 + 1);
        return made;
    }();
    return volume;
}

/// The same tests as the checked cast, slice by slice, the first failure carried out of the region.
void plainConversion(const double* in, Tarn::uint16* out, int threads)
{
    const auto slices = static_cast<std::int64_t>(LumoBench::largeTert);
    const SizeType slice = LumoBench::largePrim * LumoBench::largeSec;
    bool failed = false;
#pragma omp parallel for schedule(static) num_threads(threads) reduction(|| : failed)
    for (std::int64_t t = 0; t < slices; ++t) {
        const double* a = in + static_cast<SizeType>(t) * slice;
        Tarn::uint16* b = out + static_cast<SizeType>(t) * slice;
        for (SizeType i = 0; i < slice; ++i) {
            const double x = std::floor(a[i] + 0.5);
            if (!(x >= 0.0 && x <= 65535.0) || static_cast<double>(static_cast<Tarn::uint16>(x)) != x) {
                failed = true;
                break;
            }
            b[i] = static_cast<Tarn::uint16>(x);
        }
    }
    if (failed) throw std::overflow_error("lost data");
}

void LargeConversionOperator(benchmark::State& state)
{
    using Parameter = Tarn::AncillaryKitoOperators::VoxelTypeConversion::Parameter;
    Tarn::AncillaryKitoOperators::VoxelTypeConversion::Operator<LargeVolumePtr<double>, LargeVolumePtr<Tarn::uint16>> op;
    const LargeVolumePtr<Tarn::uint16> output = newLarge<Tarn::uint16>(), expected = newLarge<Tarn::uint16>();
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(asVolume(largeFractions()));
    p->inputNumberOfThreads.setValue(static_cast<Tarn::uint64>(state.range(0)));
    p->outputVolume.setValue(asVolume(output));
    op.apply(DynamicCast<SmartPointer<IComposite>>(p));
    plainConversion(largeFractions()->getIterator(), expected->getIterator(), 1);
    if (!sameVoxels(output, expected)) state.SkipWithError("the operator's voxels differ from the loop's");
    for (auto _ : state) op.apply(DynamicCast<SmartPointer<IComposite>>(p));
    countVoxels(state);
}
BENCHMARK(LargeConversionOperator)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

void LargeConversionPlain(benchmark::State& state)
{
    const LargeVolumePtr<Tarn::uint16> output = newLarge<Tarn::uint16>();
    for (auto _ : state) {
        plainConversion(largeFractions()->getIterator(), output->getIterator(), static_cast<int>(state.range(0)));
        benchmark::ClobberMemory();
    }
    countVoxels(state);
}
BENCHMARK(LargeConversionPlain)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

// ---- division in place, Tarn::float64, 1 and 2 threads ---------------------------------------------------

void plainDivision(double* p, double divisor, int threads)
{
    const auto count = static_cast<std::int64_t>(largeCount);
#pragma omp parallel for schedule(static) num_threads(threads)
    for (std::int64_t i = 0; i < count; ++i) p[i] = p[i] / divisor;
}

/// The divisor of the timed runs: 1.0 keeps the values, and so the work, the same from run to run;
/// it comes from a Data, so the plain loop cannot know it either.
void LargeDivisionOperator(benchmark::State& state)
{
    using Division = Tarn::Kito::ArithmeticOperators::Division::CheckedInplaceValueDivision::Operator<LargeVolumePtr<double>>;
    using Parameter = Tarn::Kito::ArithmeticOperators::Division::CheckedInplaceValueDivision::Parameter;
    const int threads = static_cast<int>(state.range(0));
    const LargeVolumePtr<double> volume = newLarge<double>(), expected = newLarge<double>();
    std::memcpy(volume->getIterator(), largeFractions()->getIterator(), largeCount * sizeof(double));
    std::memcpy(expected->getIterator(), largeFractions()->getIterator(), largeCount * sizeof(double));
    SmartPointer<Parameter> p(new Parameter);
    p->modifyVolume.setValue(asVolume(volume));
    p->inputValue.setValue(DynamicCast<SmartPointer<IData>>(Tarn::Kito::Persistence::DataPtr<double>(3.7)));
    Division op;
    const int saved = omp_get_max_threads();
    omp_set_num_threads(threads);
    op.apply(DynamicCast<SmartPointer<IComposite>>(p));
    plainDivision(expected->getIterator(), 3.7, 1);
    if (!sameVoxels(volume, expected)) state.SkipWithError("the operator's voxels differ from the loop's");
    p->inputValue.setValue(DynamicCast<SmartPointer<IData>>(Tarn::Kito::Persistence::DataPtr<double>(1.0)));
    for (auto _ : state) op.apply(DynamicCast<SmartPointer<IComposite>>(p));
    omp_set_num_threads(saved);
    countVoxels(state);
}
BENCHMARK(LargeDivisionOperator)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

void LargeDivisionPlain(benchmark::State& state)
{
    const LargeVolumePtr<double> volume = newLarge<double>();
    std::memcpy(volume->getIterator(), largeFractions()->getIterator(), largeCount * sizeof(double));
    // Read through a volatile, so that the compiler cannot know the divisor, as it cannot know the
    // operator's. Not benchmark::DoNotOptimize: with benchmark 1.7 and g++ its "+m,r" operand let
    // the compiler drop the initialisation, and the loop divided by whatever the stack held, into
    // infinities and subnormal numbers, at half the operator's speed and varying from run to run.
    volatile double source = 1.0;
    const double divisor = source;
    // One run before the timing, as the operator's check is: the same state of memory for both.
    plainDivision(volume->getIterator(), divisor, static_cast<int>(state.range(0)));
    for (auto _ : state) {
        plainDivision(volume->getIterator(), divisor, static_cast<int>(state.range(0)));
        benchmark::ClobberMemory();
    }
    // A division by 1.0 leaves every voxel as it was: anything else means the loop timed other work.
    if (!sameVoxels(volume, largeFractions())) state.SkipWithError("the plain loop changed the voxels");
    countVoxels(state);
}
BENCHMARK(LargeDivisionPlain)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

} // namespace
