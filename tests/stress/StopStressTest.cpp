// Stopped from the host's user interface: every facade that honours the stop flag is stopped, many
// times, from a second thread at a seeded random moment of a run of a tenth of a second or more,
// and each time apply returns normally, the progress the host reads never falls nor leaves
// 0.0..1.0, and the result is what the walked slices give. The facades that never stop give the
// same result with or without a stop.
#include "StressSupport.h"

#include <Kito/Data>
#include <Kito/Orientation>
#include <Kito/Table>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/Lumo_MiscDispatcher_DLL.h>

#include <support/RandomVolume.h>
#include <support/Views.h>

#include <gtest/gtest.h>

#include <omp.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace Tarn::Lumo_DLL;
using StressSupport::Slab;
using StressSupport::Tally;
using StressSupport::WatchedRun;
using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::Orientation;
using Tarn::Kito::Position;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Container::Table;
using Tarn::Kito::Container::TablePtr;
using Tarn::Kito::Persistence::DataPtr;
using Tarn::Kito::Persistence::IComposite;
using Tarn::Kito::Persistence::IData;
using TestSupport::asComposite;
using TestSupport::bitsOf;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;

// A view with prim along the stored tert, mirrored, and tert along the stored prim: every step of
// the walk is a long jump, so a volume of a few tens of MiB keeps an operator busy long enough to
// be stopped at any moment, and the walks' increments are put to work as hosts use them.
const Orientation turned(5, 2, 0);
const Orientation storageOrder(0, 2, 4);

template <class V> SmartPointer<IVolume> asVolume(const V& volume) { return DynamicCast<SmartPointer<IVolume>>(volume); }

template <class T> T* voxelsOf(MemoryVolume<T>& volume) { return volume.getPosOffset(Position<SizeType>(0, 0, 0)); }

/// A volume of stored extent size, its voxels drawn uniformly from low..high, seen turned.
template <class T> MemoryVolumePtr<T> turnedVolume(const Dimension<SizeType>& size, std::uint64_t seed, T low, T high)
{
    MemoryVolumePtr<T> volume(new MemoryVolume<T>(size));
    std::mt19937_64 engine(seed);
    std::uniform_int_distribution<Tarn::int64> value(low, high);
    T* voxels = voxelsOf(*volume);
    for (SizeType i = 0; i < size.size(); ++i) voxels[i] = static_cast<T>(value(engine));
    volume->setOrientation(turned);
    return volume;
}

/// A volume in storage order of the view's extent, every voxel 0: the host's output, so that what
/// a stopped run did not write stands out.
template <class T> MemoryVolumePtr<T> zeroVolume(const Dimension<SizeType>& size)
{
    MemoryVolumePtr<T> volume(new MemoryVolume<T>(size));
    std::fill(voxelsOf(*volume), voxelsOf(*volume) + size.size(), T(0));
    return volume;
}

template <class T> SmartPointer<IData> dataOf(T value) { return DynamicCast<SmartPointer<IData>>(DataPtr<T>(value)); }

template <class T> T dataValue(const SmartPointer<IData>& data)
{
    const DataPtr<T> typed = DynamicCast<DataPtr<T>>(data);
    if (typed == 0) {
        ADD_FAILURE() << "the output is no Data of " << TestSupport::voxelName<T>();
        return T();
    }
    return typed->getValue();
}

template <class T> MemoryVolumePtr<T> outputOf(const SmartPointer<IVolume>& volume)
{
    return DynamicCast<MemoryVolumePtr<T>>(volume);
}

// ---- the drivers ------------------------------------------------------------------------------------

/// The tries of one facade after a first run without a stop, which took tally.milliseconds: each
/// on a new facade, stopped after a random delay of up to reach times that (beyond 1.0 some stops
/// come too late, as a host's do), with the progress watched. judge(op, watched) then looks at the
/// result, and tells whether the run ended early.
template <class Case, class Judge>
void stressTries(Case& c, Tally& tally, int tries, std::uint64_t seed, double reach, Judge&& judge)
{
    std::mt19937_64 engine(seed);
    std::uniform_int_distribution<long> delay(0, static_cast<long>(1000.0 * reach * tally.milliseconds));
    for (int k = 0; k < StressSupport::triesFor(tries); ++k) {
        typename Case::Facade op;
        const auto wait = std::chrono::microseconds(delay(engine));
        WatchedRun watched;
        try {
            watched = StressSupport::stopAfter(op, wait, [&] { c.run(op); });
        } catch (const std::exception& e) {
            ADD_FAILURE() << tally.facade << ": a stopped run failed: " << e.what();
            continue;
        }
        ++tally.runs;
        tally.stopsAsked += watched.stopAsked;
        tally.reads += watched.reads;
        EXPECT_FALSE(watched.fell) << tally.facade << ": the progress fell to " << watched.firstBadValue;
        EXPECT_FALSE(watched.outOfRange) << tally.facade << ": the progress read " << watched.firstBadValue;
        if (judge(op, watched)) {
            ++tally.stopped;
            EXPECT_TRUE(watched.stopAsked) << tally.facade << ": stopped without a stop";
        }
        if (::testing::Test::HasFailure()) break;
    }
    tally.print();
}

/// One facade whose walk is serial: a Case makes a new parameter object and applies it in run(),
/// knows its number of tert slices, and checks in expectWalked(k) that the result is that of the
/// first k slices, k following from the progress the run ended with.
template <class Case> void stressSerial(Case& c, const char* facade, int tries, std::uint64_t seed)
{
    Tally tally{facade};
    {
        typename Case::Facade op;
        tally.milliseconds = StressSupport::millisecondsOf([&] { c.run(op); });
        EXPECT_EQ(op.getProgress().getProgress(), 1.0);
        c.expectWalked(c.countTert());
    }
    stressTries(c, tally, tries, seed, 1.2, [&](typename Case::Facade& op, const WatchedRun&) {
        const double progress = op.getProgress().getProgress();
        const SizeType walked = StressSupport::walkedSlices(progress, c.countTert());
        if (walked == 0) {
            ADD_FAILURE() << facade << ": " << progress << " is no progress of a walk over " << c.countTert() << " slices";
            return false;
        }
        c.expectWalked(walked);
        return walked < c.countTert();
    });
    EXPECT_GT(tally.stopped, 0) << facade << ": no try stopped the walk before its end";
}

/// One facade whose walk is parallel: slabs along tert, each stopped on its own after one slice or
/// more. expectSlabs(slabs) checks the result and returns whether any slab ended early. The
/// parallel walk ends at 1.0 in every case.
template <class Case> void stressParallel(Case& c, const char* facade, int tries, std::uint64_t seed)
{
    Tally tally{facade};
    const std::vector<Slab> slabs = StressSupport::slabsOf(c.countTert(), omp_get_max_threads());
    {
        typename Case::Facade op;
        tally.milliseconds = StressSupport::millisecondsOf([&] { c.run(op); });
        EXPECT_FALSE(c.expectSlabs(slabs)) << facade << ": a run without a stop ended early";
    }
    stressTries(c, tally, tries, seed, 1.2, [&](typename Case::Facade& op, const WatchedRun&) {
        EXPECT_EQ(op.getProgress().getProgress(), 1.0) << facade;
        return c.expectSlabs(slabs);
    });
    EXPECT_GT(tally.stopped, 0) << facade << ": no try stopped the walk before its end";
}

/// For each slice of the view, whether it holds what a complete run writes (1), what the host put
/// there (0), or something else (-1).
enum class SliceState { untouched, written, mixed };

/// Checks that each slab holds written slices from its start, at least one, then untouched ones,
/// and no mixed slice. Returns whether any slab ended early.
inline bool expectSlabPrefixes(const std::vector<SliceState>& states, const std::vector<Slab>& slabs, const char* facade)
{
    bool early = false;
    for (const Slab& slab : slabs) {
        SizeType written = 0;
        while (written < slab.count && states[slab.first + written] == SliceState::written) ++written;
        EXPECT_GE(written, 1u) << facade << ": the slab at slice " << slab.first << " was not walked at all";
        for (SizeType t = written; t < slab.count; ++t)
            EXPECT_EQ(states[slab.first + t], SliceState::untouched)
                << facade << ": slice " << slab.first + t << " after " << written << " walked slices of its slab";
        early = early || written < slab.count;
    }
    return early;
}

/// The state of each view slice of an output (in storage order, the view's extent) against the
/// complete result, slice by slice; complete[i] is never 0.
template <class T> std::vector<SliceState> sliceStates(MemoryVolume<T>& output, const std::vector<T>& complete)
{
    const Dimension<SizeType> d = output.getVolumeDimension();
    const SizeType slice = d.prim * d.sec;
    const T* voxels = voxelsOf(output);
    std::vector<SliceState> states;
    for (SizeType t = 0; t < d.tert; ++t) {
        const T* s = voxels + t * slice;
        const T* c = complete.data() + t * slice;
        if (std::memcmp(s, c, slice * sizeof(T)) == 0)
            states.push_back(SliceState::written);
        else if (std::all_of(s, s + slice, [](T v) { return v == T(0); }))
            states.push_back(SliceState::untouched);
        else
            states.push_back(SliceState::mixed);
    }
    return states;
}

// ---- serial walks -------------------------------------------------------------------------------------

const Dimension<SizeType> stored(160, 256, 256);

/// A Tarn::float32 volume whose floats of many magnitudes make the sum depend on its order.
struct SumOfVoxelsCase {
    using Facade = ISumOfVoxels::IOperator;
    MemoryVolumePtr<Tarn::float32> volume;
    std::vector<double> sumAfter; // after k slices
    SmartPointer<ISumOfVoxels::Parameter> p;

    SumOfVoxelsCase()
    {
        volume = MemoryVolumePtr<Tarn::float32>(new MemoryVolume<Tarn::float32>(stored));
        TestSupport::fillRandom(*volume, 11);
        volume->setOrientation(turned);
        const std::vector<Tarn::float32> values = TestSupport::valuesInView(*volume);
        const SizeType slice = volume->getDimPrim() * volume->getDimSec();
        double sum = 0.0;
        sumAfter.push_back(sum);
        for (SizeType i = 0; i < values.size(); ++i) {
            sum += static_cast<double>(values[i]);
            if ((i + 1) % slice == 0) sumAfter.push_back(sum);
        }
    }
    SizeType countTert() const { return volume->getDimTert(); }
    void run(Facade& op)
    {
        p = TestSupport::parameterWithInput<ISumOfVoxels::Parameter>(volume);
        op.apply(asComposite(p));
    }
    void expectWalked(SizeType k) { EXPECT_EQ(bitsOf(p->outputSum.getValue()), bitsOf(sumAfter[k])) << k << " slices"; }
};

TEST(StopStress, SumOfVoxels)
{
    SumOfVoxelsCase c;
    stressSerial(c, "ISumOfVoxels", 40, 101);
}

/// Welford's recurrence in walk order, the statistics' own order, and its state after each slice.
struct Welford {
    Tarn::uint64 count = 0;
    Tarn::uint16 minimum = 0, maximum = 0;
    double mean = 0.0, sumOfSquaredDeviations = 0.0, variance = 0.0;
    void add(Tarn::uint16 value)
    {
        const double x = static_cast<double>(value);
        if (++count == 1) {
            mean = x;
            minimum = maximum = value;
            return;
        }
        const double previousMean = mean;
        mean = (x - previousMean) / static_cast<double>(count) + mean;
        sumOfSquaredDeviations = sumOfSquaredDeviations + (x - previousMean) * (x - mean);
        if (maximum < value) maximum = value;
        if (minimum > value) minimum = value;
        variance = sumOfSquaredDeviations / static_cast<double>(count - 1);
    }
};

struct StatisticsCase {
    using Facade = IStatisticsFromVolume::IOperator;
    MemoryVolumePtr<Tarn::uint16> volume = turnedVolume<Tarn::uint16>(stored, 12, 0, 65535);
    std::vector<Welford> after;
    SmartPointer<IStatisticsFromVolume::Parameter> p;

    StatisticsCase()
    {
        const std::vector<Tarn::uint16> values = TestSupport::valuesInView(*volume);
        const SizeType slice = volume->getDimPrim() * volume->getDimSec();
        Welford w;
        after.push_back(w);
        for (SizeType i = 0; i < values.size(); ++i) {
            w.add(values[i]);
            if ((i + 1) % slice == 0) after.push_back(w);
        }
    }
    SizeType countTert() const { return volume->getDimTert(); }
    void run(Facade& op)
    {
        p = TestSupport::parameterWithInput<IStatisticsFromVolume::Parameter>(volume);
        op.apply(asComposite(p));
    }
    void expectWalked(SizeType k)
    {
        const Welford& w = after[k];
        EXPECT_EQ(dataValue<Tarn::uint16>(p->outputMinimum.getValue()), w.minimum) << k << " slices";
        EXPECT_EQ(dataValue<Tarn::uint16>(p->outputMaximum.getValue()), w.maximum) << k << " slices";
        EXPECT_EQ(bitsOf(p->outputMean.getValue()), bitsOf(w.mean)) << k << " slices";
        EXPECT_EQ(bitsOf(p->outputVariance.getValue()), bitsOf(w.variance)) << k << " slices";
        EXPECT_EQ(bitsOf(p->outputStandardDeviation.getValue()), bitsOf(std::sqrt(w.variance))) << k << " slices";
    }
};

TEST(StopStress, StatisticsFromVolume)
{
    StatisticsCase c;
    stressSerial(c, "IStatisticsFromVolume", 30, 102);
}

/// The three projections along the view's tert (direction 0): each output voxel folds its ray's
/// voxels of the walked slices, in walk order.
template <class Face, class Out, class Fold> struct ProjectionCase {
    using Facade = typename Face::IOperator;
    MemoryVolumePtr<Tarn::uint16> volume;
    std::vector<Tarn::uint16> values;
    SmartPointer<typename Face::Parameter> p;
    Fold fold; // fold(rayValuesOfWalkedSlices, count) -> Out

    ProjectionCase(std::uint64_t seed, Fold f) : volume(turnedVolume<Tarn::uint16>(stored, seed, 0, 65535)), fold(f)
    {
        values = TestSupport::valuesInView(*volume);
    }
    SizeType countTert() const { return volume->getDimTert(); }
    void run(Facade& op)
    {
        p = TestSupport::parameterWithInput<typename Face::Parameter>(volume);
        p->inputDirection.setValue(0);
        // One voxel of the output type chooses the instance; the run puts a new volume there.
        p->outputVolume.setValue(asVolume(MemoryVolumePtr<Out>(new MemoryVolume<Out>(Dimension<SizeType>(1, 1, 1)))));
        op.apply(asComposite(p));
    }
    void expectWalked(SizeType k)
    {
        const MemoryVolumePtr<Out> output = outputOf<Out>(p->outputVolume.getValue());
        ASSERT_TRUE(output != 0);
        const SizeType row = volume->getDimPrim() * volume->getDimSec();
        ASSERT_EQ(output->getDimension(), Dimension<SizeType>(volume->getDimPrim(), volume->getDimSec(), 1));
        const std::vector<Out> got = TestSupport::valuesInView(*output);
        SizeType wrong = 0;
        std::vector<Tarn::uint16> ray(k);
        for (SizeType i = 0; i < row; ++i) {
            for (SizeType t = 0; t < k; ++t) ray[t] = values[t * row + i];
            const Out expected = fold(ray, countTert());
            if (std::memcmp(&expected, &got[i], sizeof(Out)) != 0) ++wrong;
        }
        EXPECT_EQ(wrong, 0u) << "output voxels differ from the projection of " << k << " slices";
    }
};

template <class Face, class Out, class Fold> void stressProjection(const char* facade, std::uint64_t seed, Fold fold)
{
    ProjectionCase<Face, Out, Fold> c(seed, fold);
    stressSerial(c, facade, 30, seed + 100);
}

TEST(StopStress, ProjectionMax)
{
    stressProjection<IProjectionMax, Tarn::uint16>("IProjectionMax", 13, [](const std::vector<Tarn::uint16>& ray, SizeType) {
        Tarn::uint16 m = 0;
        for (Tarn::uint16 v : ray) m = m > v ? m : v;
        return m;
    });
}

TEST(StopStress, ProjectionSum)
{
    stressProjection<IProjectionSum, Tarn::float64>("IProjectionSum", 14, [](const std::vector<Tarn::uint16>& ray, SizeType) {
        double s = 0.0;
        for (Tarn::uint16 v : ray) s += static_cast<double>(v);
        return s;
    });
}

TEST(StopStress, ProjectionMean)
{
    // A stopped run still divides by the whole ray's length.
    stressProjection<IProjectionMean, Tarn::float64>("IProjectionMean", 15,
                                                     [](const std::vector<Tarn::uint16>& ray, SizeType length) {
                                                         double s = 0.0;
                                                         for (Tarn::uint16 v : ray) s += static_cast<double>(v);
                                                         return s / static_cast<double>(length);
                                                     });
}

/// The output, given by the host in storage order and filled with 0, holds the walked slices
/// transformed and nothing else.
struct RangePassCase {
    using Facade = IRangePassTransformation::IOperator;
    MemoryVolumePtr<Tarn::uint16> volume = turnedVolume<Tarn::uint16>(stored, 16, 1, 65535);
    std::vector<Tarn::uint16> complete;
    MemoryVolumePtr<Tarn::uint16> output;
    SmartPointer<IRangePassTransformation::Parameter> p;

    RangePassCase()
    {
        for (Tarn::uint16 v : TestSupport::valuesInView(*volume))
            complete.push_back(v >= 20000 && v <= 40000 ? v : Tarn::uint16(7));
        output = zeroVolume<Tarn::uint16>(volume->getDimension());
    }
    SizeType countTert() const { return volume->getDimTert(); }
    void run(Facade& op)
    {
        std::fill(voxelsOf(*output), voxelsOf(*output) + complete.size(), Tarn::uint16(0));
        p = TestSupport::parameterWithInput<IRangePassTransformation::Parameter>(volume);
        p->inputMinThreshold.setValue(dataOf(Tarn::uint16(20000)));
        p->inputMaxThreshold.setValue(dataOf(Tarn::uint16(40000)));
        p->inputBackgroundValue.setValue(dataOf(Tarn::uint16(7)));
        p->outputVolume.setValue(asVolume(output));
        op.apply(asComposite(p));
    }
    void expectWalked(SizeType k)
    {
        ASSERT_TRUE(outputOf<Tarn::uint16>(p->outputVolume.getValue()).get() == output.get()) << "the host's output was replaced";
        const std::vector<SliceState> states = sliceStates(*output, complete);
        for (SizeType t = 0; t < states.size(); ++t)
            ASSERT_EQ(states[t], t < k ? SliceState::written : SliceState::untouched) << "slice " << t << " of " << k << " walked";
    }
};

TEST(StopStress, RangePassTransformation)
{
    RangePassCase c;
    stressSerial(c, "IRangePassTransformation", 30, 103);
}

// ---- parallel walks ------------------------------------------------------------------------------------

/// A copy into the host's output, filled with 0: each slab copied up to a slice boundary.
struct CopyCase {
    using Facade = ICopy::IOperator;
    MemoryVolumePtr<Tarn::uint16> volume = turnedVolume<Tarn::uint16>(Dimension<SizeType>(256, 256, 192), 17, 1, 65535);
    std::vector<Tarn::uint16> complete = TestSupport::valuesInView(*volume);
    MemoryVolumePtr<Tarn::uint16> output = zeroVolume<Tarn::uint16>(volume->getDimension());
    SmartPointer<ICopy::Parameter> p;

    SizeType countTert() const { return volume->getDimTert(); }
    void run(Facade& op)
    {
        std::fill(voxelsOf(*output), voxelsOf(*output) + complete.size(), Tarn::uint16(0));
        p = TestSupport::parameterWithInput<ICopy::Parameter>(volume);
        p->outputVolume.setValue(asVolume(output));
        op.apply(asComposite(p));
    }
    bool expectSlabs(const std::vector<Slab>& slabs)
    {
        EXPECT_TRUE(outputOf<Tarn::uint16>(p->outputVolume.getValue()).get() == output.get()) << "the host's output was replaced";
        return expectSlabPrefixes(sliceStates(*output, complete), slabs, "ICopy");
    }
};

TEST(StopStress, Copy)
{
    CopyCase c;
    stressParallel(c, "ICopy", 30, 104);
}

/// A lookup table into the host's output: each slab converted up to a slice boundary.
struct LookupTableCase {
    using Facade = ILookupTableConversion::IOperator;
    MemoryVolumePtr<Tarn::uint16> volume = turnedVolume<Tarn::uint16>(stored, 18, 0, 65535);
    TablePtr<Tarn::uint16, Tarn::uint16> table;
    std::vector<Tarn::uint16> complete;
    MemoryVolumePtr<Tarn::uint16> output = zeroVolume<Tarn::uint16>(volume->getDimension());
    SmartPointer<ILookupTableConversion::Parameter> p;

    LookupTableCase()
    {
        table = TablePtr<Tarn::uint16, Tarn::uint16>(new Table<Tarn::uint16, Tarn::uint16>);
        table->volume = MemoryVolumePtr<Tarn::uint16>(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(65536, 1, 1)));
        std::mt19937_64 engine(19);
        std::uniform_int_distribution<int> value(1, 65535);
        std::vector<Tarn::uint16> entries(65536);
        for (Tarn::uint16& e : entries) e = static_cast<Tarn::uint16>(value(engine));
        std::copy(entries.begin(), entries.end(), voxelsOf(*table->volume));
        table->tertOffsetToOrigin = 0;
        table->size = entries.size();
        for (Tarn::uint16 v : TestSupport::valuesInView(*volume)) complete.push_back(entries[v]);
    }
    SizeType countTert() const { return volume->getDimTert(); }
    void run(Facade& op)
    {
        std::fill(voxelsOf(*output), voxelsOf(*output) + complete.size(), Tarn::uint16(0));
        p = TestSupport::parameterWithInput<ILookupTableConversion::Parameter>(volume);
        p->inputLookupTable.setValue(DynamicCast<SmartPointer<IComposite>>(table));
        p->outputVolume.setValue(asVolume(output));
        op.apply(asComposite(p));
    }
    bool expectSlabs(const std::vector<Slab>& slabs)
    {
        EXPECT_TRUE(outputOf<Tarn::uint16>(p->outputVolume.getValue()).get() == output.get()) << "the host's output was replaced";
        return expectSlabPrefixes(sliceStates(*output, complete), slabs, "ILookupTableConversion");
    }
};

TEST(StopStress, LookupTableConversion)
{
    LookupTableCase c;
    stressParallel(c, "ILookupTableConversion", 30, 105);
}

/// A count: the sum over the slabs of the counts of a run of slices from each slab's start.
struct FrequencyCase {
    using Facade = IFrequencyOfValuesInsideRange::IOperator;
    MemoryVolumePtr<Tarn::uint16> volume = turnedVolume<Tarn::uint16>(stored, 20, 0, 65535);
    std::vector<Tarn::uint64> perSlice;
    SmartPointer<IFrequencyOfValuesInsideRange::Parameter> p;

    FrequencyCase()
    {
        const std::vector<Tarn::uint16> values = TestSupport::valuesInView(*volume);
        const SizeType slice = volume->getDimPrim() * volume->getDimSec();
        perSlice.assign(volume->getDimTert(), 0);
        for (SizeType i = 0; i < values.size(); ++i) perSlice[i / slice] += values[i] >= 1000 && values[i] <= 50000;
    }
    SizeType countTert() const { return volume->getDimTert(); }
    void run(Facade& op)
    {
        p = TestSupport::parameterWithInput<IFrequencyOfValuesInsideRange::Parameter>(volume);
        p->inputRangeLowerValue.setValue(dataOf(1000.0f));
        p->inputRangeUpperValue.setValue(dataOf(50000.0f));
        op.apply(asComposite(p));
    }
    bool expectSlabs(const std::vector<Slab>& slabs)
    {
        // Every count the slabs can give when each has walked one slice or more.
        std::set<Tarn::uint64> reachable{0};
        Tarn::uint64 complete = 0;
        for (const Slab& slab : slabs) {
            std::set<Tarn::uint64> next;
            Tarn::uint64 prefix = 0;
            for (SizeType t = 0; t < slab.count; ++t) {
                prefix += perSlice[slab.first + t];
                for (Tarn::uint64 r : reachable) next.insert(r + prefix);
            }
            complete += prefix;
            reachable.swap(next);
        }
        const Tarn::uint64 count = p->outputFrequency.getValue();
        EXPECT_TRUE(reachable.count(count) == 1) << "IFrequencyOfValuesInsideRange: " << count
                                                 << " is no count of whole first slices of the slabs";
        return count != complete;
    }
};

TEST(StopStress, FrequencyOfValuesInsideRange)
{
    FrequencyCase c;
    stressParallel(c, "IFrequencyOfValuesInsideRange", 30, 106);
}

/// The median along the view's sec (direction 1) writes one plane of an output of the view's
/// extent, one row per tert slice, in a parallel walk over that plane: the host's output of zeros
/// holds, slab by slab, the rows of the walked slices and zeros beyond.
struct ProjectionMedianCase {
    using Facade = IProjectionMedian::IOperator;
    MemoryVolumePtr<Tarn::uint16> volume = turnedVolume<Tarn::uint16>(stored, 24, 1, 65535);
    MemoryVolumePtr<Tarn::uint16> output = zeroVolume<Tarn::uint16>(volume->getDimension());
    std::vector<Tarn::uint16> complete;
    SmartPointer<IProjectionMedian::Parameter> p;

    SizeType countTert() const { return volume->getDimTert(); }
    void run(Facade& op)
    {
        std::fill(voxelsOf(*output), voxelsOf(*output) + volume->getDimension().size(), Tarn::uint16(0));
        p = TestSupport::parameterWithInput<IProjectionMedian::Parameter>(volume);
        p->inputDirection.setValue(1);
        p->outputVolume.setValue(asVolume(output));
        op.apply(asComposite(p));
    }
    bool expectSlabs(const std::vector<Slab>& slabs)
    {
        EXPECT_TRUE(outputOf<Tarn::uint16>(p->outputVolume.getValue()).get() == output.get()) << "the host's output was replaced";
        if (complete.empty()) {
            // The first run is not stopped: its output is the complete one, checked here against
            // medians of the rays taken in the test, one row per slice, each a value of its ray.
            complete.assign(voxelsOf(*output), voxelsOf(*output) + volume->getDimension().size());
            expectMedians();
        }
        return expectSlabPrefixes(sliceStates(*output, complete), slabs, "IProjectionMedian");
    }
    void expectMedians()
    {
        const std::vector<Tarn::uint16> values = TestSupport::valuesInView(*volume);
        const SizeType P = volume->getDimPrim(), S = volume->getDimSec(), T = volume->getDimTert();
        SizeType rows = 0, wrong = 0;
        for (SizeType s = 0; s < S; ++s) {
            bool written = false;
            for (SizeType p = 0; p < P && !written; ++p) written = complete[(0 * S + s) * P + p] != 0;
            if (!written) continue;
            ++rows;
            for (SizeType t = 0; t < T; ++t)
                for (SizeType p = 0; p < P; ++p) {
                    std::vector<Tarn::uint16> ray;
                    for (SizeType q = 0; q < S; ++q) ray.push_back(values[(t * S + q) * P + p]);
                    std::nth_element(ray.begin(), ray.begin() + (S - 1) / 2, ray.end());
                    wrong += complete[(t * S + s) * P + p] != ray[(S - 1) / 2];
                }
        }
        EXPECT_EQ(rows, 1u) << "the median writes one plane";
        EXPECT_EQ(wrong, 0u) << "medians differ from those of the rays";
    }
};

TEST(StopStress, ProjectionMedian)
{
    ProjectionMedianCase c;
    stressParallel(c, "IProjectionMedian", 30, 110);
}

// ---- the operators that never stop ----------------------------------------------------------------------

/// Runs a case once without a stop, then tries times with a stop at a random moment, and expects
/// the same result, bit for bit, every time.
template <class Case> void stressNeverStopping(Case& c, const char* facade, int tries, std::uint64_t seed)
{
    Tally tally{facade};
    std::vector<unsigned char> reference;
    {
        typename Case::Facade op;
        tally.milliseconds = StressSupport::millisecondsOf([&] { c.run(op); });
        reference = c.result();
    }
    ASSERT_FALSE(reference.empty());
    stressTries(c, tally, tries, seed, 0.9, [&](typename Case::Facade&, const WatchedRun&) {
        EXPECT_TRUE(c.result() == reference) << facade << ": a stop changed the result";
        return false;
    });
    EXPECT_GT(tally.stopsAsked, 0) << facade << ": no stop was asked for while a run went on";
}

template <class T> std::vector<unsigned char> bytesOf(const MemoryVolumePtr<T>& volume)
{
    std::vector<unsigned char> bytes;
    if (volume == 0) return bytes;
    for (const T& v : TestSupport::valuesInView(*volume)) {
        const unsigned char* b = reinterpret_cast<const unsigned char*>(&v);
        bytes.insert(bytes.end(), b, b + sizeof(T));
    }
    return bytes;
}

/// A surface: above a random height per column nothing (0, the background), below it material.
MemoryVolumePtr<Tarn::uint16> surfaceVolume(const Dimension<SizeType>& size, std::uint64_t seed, SizeType shallowest = 0)
{
    MemoryVolumePtr<Tarn::uint16> volume(new MemoryVolume<Tarn::uint16>(size));
    std::mt19937_64 engine(seed);
    std::uniform_int_distribution<SizeType> height(shallowest, size.tert - 1);
    std::uniform_int_distribution<int> material(1, 65535);
    std::vector<SizeType> heights(size.prim * size.sec);
    for (SizeType& h : heights) h = height(engine);
    Tarn::uint16* voxels = voxelsOf(*volume);
    for (SizeType t = 0; t < size.tert; ++t)
        for (SizeType i = 0; i < heights.size(); ++i)
            voxels[t * heights.size() + i] = t < heights[i] ? 0 : static_cast<Tarn::uint16>(material(engine));
    return volume;
}

struct HeightMapCase {
    using Facade = IHeightMap::IOperator;
    // Surfaces deep down, searched along tert: the search reads most of the volume.
    MemoryVolumePtr<Tarn::uint16> volume = surfaceVolume(Dimension<SizeType>(512, 512, 256), 21, 128);
    SmartPointer<IHeightMap::Parameter> p;

    void run(Facade& op)
    {
        // The height map leaves its input turned: each run starts from storage order.
        volume->setOrientation(storageOrder);
        p = TestSupport::parameterWithInput<IHeightMap::Parameter>(volume);
        p->inputDirection.setValue(2);
        p->outputVolume.setValue(asVolume(MemoryVolumePtr<Tarn::uint16>(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(1, 1, 1)))));
        op.apply(asComposite(p));
    }
    std::vector<unsigned char> result() { return bytesOf(outputOf<Tarn::uint16>(p->outputVolume.getValue())); }
};

TEST(StopStress, HeightMapNeverStops)
{
    HeightMapCase c;
    stressNeverStopping(c, "IHeightMap", 20, 107);
}

struct PlanarisationCase {
    using Facade = IOrthogonalPlanarisationOperator::IOperator;
    MemoryVolumePtr<Tarn::uint16> volume = surfaceVolume(Dimension<SizeType>(256, 256, 192), 22);
    MemoryVolumePtr<Tarn::uint16> heights;
    SmartPointer<IOrthogonalPlanarisationOperator::Parameter> p;

    PlanarisationCase()
    {
        IHeightMap::IOperator h;
        SmartPointer<IHeightMap::Parameter> q = TestSupport::parameterWithInput<IHeightMap::Parameter>(volume);
        q->inputDirection.setValue(2);
        q->outputVolume.setValue(asVolume(MemoryVolumePtr<Tarn::uint16>(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(1, 1, 1)))));
        h.apply(asComposite(q));
        heights = outputOf<Tarn::uint16>(q->outputVolume.getValue());
    }
    void run(Facade& op)
    {
        p = TestSupport::parameterWithInput<IOrthogonalPlanarisationOperator::Parameter>(volume);
        p->inputHeightMapVolume.setValue(asVolume(heights));
        p->inputNumberOfThreads.setValue(0);
        op.apply(asComposite(p));
    }
    std::vector<unsigned char> result() { return bytesOf(outputOf<Tarn::uint16>(p->outputVolume.getValue())); }
};

TEST(StopStress, OrthogonalPlanarisationNeverStops)
{
    PlanarisationCase c;
    stressNeverStopping(c, "IOrthogonalPlanarisationOperator", 12, 108);
}

struct TriangleAreasCase {
    using Facade = ISumOfTriangleAreas::IOperator;
    MemoryVolumePtr<Tarn::float64> table;
    SmartPointer<ISumOfTriangleAreas::Parameter> p;

    TriangleAreasCase()
    {
        const SizeType triangles = 1 << 20;
        table = MemoryVolumePtr<Tarn::float64>(new MemoryVolume<Tarn::float64>(Dimension<SizeType>(3 * triangles, 3, 1)));
        std::mt19937_64 engine(23);
        std::uniform_real_distribution<double> coordinate(-1000.0, 1000.0);
        Tarn::float64* v = voxelsOf(*table);
        for (SizeType i = 0; i < 9 * triangles; ++i) v[i] = coordinate(engine);
    }
    void run(Facade& op)
    {
        p = SmartPointer<ISumOfTriangleAreas::Parameter>(new ISumOfTriangleAreas::Parameter);
        p->inputTriangleVolume.setValue(asVolume(table));
        p->inputVoxelSizePrimInMicrometers.setValue(1.5);
        p->inputVoxelSizeSecInMicrometers.setValue(2.0);
        p->inputVoxelSizeTertInMicrometers.setValue(0.5);
        op.apply(asComposite(p));
    }
    std::vector<unsigned char> result()
    {
        const double area = p->outputSumOfTriangleAreas.getValue();
        std::vector<unsigned char> bytes(sizeof area);
        std::memcpy(bytes.data(), &area, sizeof area);
        return bytes;
    }
};

TEST(StopStress, SumOfTriangleAreasNeverStops)
{
    TriangleAreasCase c;
    stressNeverStopping(c, "ISumOfTriangleAreas", 12, 109);
}

} // namespace
