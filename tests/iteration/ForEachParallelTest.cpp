#include <Kito/Abort>
#include <Kito/Exceptions>
#include <Kito/ForEach>
#include <Kito/ForEachParallel>
#include <Kito/Functor>
#include <Kito/Orientation>
#include <Kito/Progress>
#include <Kito/Volume>

#include <support/FailureOf.h>
#include <support/RandomVolume.h>
#include <support/StopWhileRunning.h>

#include <gtest/gtest.h>

#include <omp.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <type_traits>
#include <vector>

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::Orientation;
using Tarn::Kito::Position;
using Tarn::Kito::Progress;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::SizeType;
using Tarn::Kito::Iterating::ForEach;
using Tarn::Kito::Iterating::ForEachParallel;
using Tarn::Kito::Iterating::Functor;
using TestSupport::makeIndexVolume;
using TestSupport::makeRandomVolume;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;

using Region = RegionOfInterest<SizeType>;
using ExceptionHandler = Tarn::Kito::ForEachParallel::ExceptionHandler;
template <class F> using Decorated = ForEachParallel::DecoratedFunctor<F>;

static_assert(std::is_base_of_v<Functor, Decorated<Functor>>, "a slab's copy is a functor of the caller's class");
static_assert(Tarn::Kito::Iterating::detail::IsDecorated<Decorated<Functor>>::value,
              "the serial walk must recognise a slab's copy");

const std::uint8_t goOn = 0;

/// Every test chooses the process's thread setting it needs; the setting is put back afterwards,
/// so that a failing test cannot change the thread count of the next one.
class ThreadSettingKept : public ::testing::Test {
protected:
    void SetUp() override { saved = omp_get_max_threads(); }
    void TearDown() override { omp_set_num_threads(saved); }

private:
    int saved = 1;
};

using ForEachParallelSlabs = ThreadSettingKept;
using ForEachParallelThreads = ThreadSettingKept;
using ForEachParallelPositions = ThreadSettingKept;
using ForEachParallelTwoVolumes = ThreadSettingKept;
using ForEachParallelFailure = ThreadSettingKept;
using ForEachParallelAbort = ThreadSettingKept;
using ForEachParallelProgress = ThreadSettingKept;
using ForEachParallelArguments = ThreadSettingKept;

/// One call of a slab's functor: the voxel's value and the position the walk reported.
using Call = std::tuple<double, SizeType, SizeType, SizeType>;

/// Keeps every call in its own field, and the OpenMP team it was called from: each slab's copy
/// ends up holding exactly what its slab walked.
template <class T> struct CallLog : Functor {
    void operator()(T& voxel)
    {
        calls.emplace_back(static_cast<double>(voxel), prim, sec, tert);
        teamSizes.insert(omp_get_num_threads());
        levels.insert(omp_get_level());
    }
    std::vector<Call> calls;
    std::set<int> teamSizes;
    std::set<int> levels;
};

/// The copies of a result, ordered by the slice their slab starts at.
template <class F> std::vector<const Decorated<F>*> bySlab(const ForEachParallel::FunctorList<F>& result)
{
    std::vector<const Decorated<F>*> slabs;
    for (const auto& copy : result) slabs.push_back(copy.get());
    std::sort(slabs.begin(), slabs.end(),
              [](const Decorated<F>* a, const Decorated<F>* b) { return a->start.tert < b->start.tert; });
    return slabs;
}

/// The calls of all copies of a result, in slab order: the order of the serial walk.
template <class F> std::vector<Call> callsInSlabOrder(const ForEachParallel::FunctorList<F>& result)
{
    std::vector<Call> calls;
    for (const Decorated<F>* slab : bySlab(result)) calls.insert(calls.end(), slab->calls.begin(), slab->calls.end());
    return calls;
}

/// An accumulator of all copies of a result, merged.
template <class F, class Value> Value merged(const ForEachParallel::FunctorList<F>& result, Value F::*field)
{
    Value total = 0;
    for (const auto& copy : result) total += (*copy).*field;
    return total;
}

/// The calls a walk of slices [first, first + count) of an index volume (default orientation, no
/// region) hands over, in walk order: the value of a voxel is its storage index.
std::vector<Call> indexCalls(const Dimension<SizeType>& whole, SizeType first, SizeType count)
{
    std::vector<Call> calls;
    for (SizeType t = first; t < first + count; ++t)
        for (SizeType s = 0; s < whole.sec; ++s)
            for (SizeType p = 0; p < whole.prim; ++p)
                calls.emplace_back(static_cast<double>(p + whole.prim * s + whole.prim * whole.sec * t), p, s, t);
    return calls;
}

/// Walks an index volume of the given slice count on the given number of threads and checks that
/// the slabs have the given thicknesses, each walked completely by one copy that knows the whole.
void expectSlabs(int threads, SizeType slices, const std::vector<SizeType>& thicknesses)
{
    const Dimension<SizeType> whole(3, 2, slices);
    MemoryVolumePtr<Tarn::uint16> volume = makeIndexVolume<Tarn::uint16>(whole);
    omp_set_num_threads(threads);
    const CallLog<Tarn::uint16> caller;
    Progress progress;
    const auto result = ForEachParallel::apply(&caller, volume, progress, &goOn);
    const auto slabs = bySlab(result);
    ASSERT_EQ(slabs.size(), thicknesses.size());
    SizeType first = 0;
    for (std::size_t k = 0; k < slabs.size(); ++k) {
        SCOPED_TRACE("slab " + std::to_string(k));
        EXPECT_EQ(slabs[k]->start, Position<SizeType>(0, 0, first));
        EXPECT_EQ(slabs[k]->wholeExtent, whole);
        EXPECT_EQ(slabs[k]->calls, indexCalls(whole, first, thicknesses[k]));
        first += thicknesses[k];
    }
    EXPECT_EQ(first, slices);
    EXPECT_EQ(progress.getProgress(), 1.0);
    EXPECT_TRUE(caller.calls.empty());
}

/// Waits until counter reaches target, for at most ten seconds. False if it never did: then the
/// runtime ran the slab waited for on this same thread, after this one.
bool waitFor(const std::atomic<int>& counter, int target)
{
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (counter.load() < target) {
        if (std::chrono::steady_clock::now() > until) return false;
        std::this_thread::yield();
    }
    return true;
}

// ---- slabs ----------------------------------------------------------------------------------------

TEST_F(ForEachParallelSlabs, TenSlicesOnFourThreadsGiveTheRestToTheLastSlab)
{
    expectSlabs(4, 10, {2, 2, 2, 4});
}

TEST_F(ForEachParallelSlabs, SevenSlicesOnFourThreadsAreOneOneOneAndFour)
{
    expectSlabs(4, 7, {1, 1, 1, 4});
}

TEST_F(ForEachParallelSlabs, FewerSlicesThanThreadsGiveOneSlicePerSlab)
{
    expectSlabs(4, 3, {1, 1, 1});
}

TEST_F(ForEachParallelSlabs, EvenDivisionOnTwoAndThreeThreads)
{
    expectSlabs(2, 8, {4, 4});
    expectSlabs(3, 9, {3, 3, 3});
}

TEST_F(ForEachParallelSlabs, OneThreadWalksEverythingAsOneSlab)
{
    expectSlabs(1, 5, {5});
}

TEST_F(ForEachParallelSlabs, OneSliceIsOneSlabWalkedInATeamOfOne)
{
    expectSlabs(4, 1, {1});
    MemoryVolumePtr<Tarn::uint16> volume = makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(3, 2, 1));
    const CallLog<Tarn::uint16> caller;
    Progress progress;
    const auto result = ForEachParallel::apply(&caller, volume, progress, &goOn);
    ASSERT_EQ(result.size(), 1u);
    // Still inside a parallel region, of one thread.
    EXPECT_EQ(result.front()->teamSizes, std::set<int>{1});
    EXPECT_EQ(result.front()->levels, std::set<int>{1});
}

TEST_F(ForEachParallelSlabs, NoSliceIsOneSlabWithoutAnyCall)
{
    omp_set_num_threads(4);
    MemoryVolumePtr<Tarn::uint16> volume(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(0, 0, 0)));
    const CallLog<Tarn::uint16> caller;
    Progress progress;
    const auto result = ForEachParallel::apply(&caller, volume, progress, &goOn);
    ASSERT_EQ(result.size(), 1u);
    EXPECT_TRUE(result.front()->calls.empty());
    EXPECT_EQ(result.front()->start, Position<SizeType>(0, 0, 0));
    EXPECT_EQ(result.front()->wholeExtent, Dimension<SizeType>(0, 0, 0));
    EXPECT_EQ(progress.getProgress(), 1.0);
}

/// Counts the voxels it is handed, on top of what the caller's functor had counted.
struct Counter : Functor {
    void operator()(const Tarn::uint8&) { ++count; }
    SizeType count = 0;
};

TEST_F(ForEachParallelSlabs, EachCopyStartsFromTheCallersFieldsWhichStayAsTheyWere)
{
    omp_set_num_threads(2);
    MemoryVolumePtr<Tarn::uint8> volume = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 3, 4));
    Counter caller;
    caller.count = 100;
    caller.prim = 7;
    caller.sec = 8;
    caller.tert = 9;
    Progress progress;
    const auto result = ForEachParallel::apply(&caller, volume, progress, &goOn);
    ASSERT_EQ(result.size(), 2u);
    for (const auto& copy : result) EXPECT_EQ(copy->count, 100u + 2u * 3u * 2u);
    EXPECT_EQ(caller.count, 100u);
    EXPECT_EQ(caller.prim, 7u);
    EXPECT_EQ(caller.sec, 8u);
    EXPECT_EQ(caller.tert, 9u);
}

// ---- the thread setting ---------------------------------------------------------------------------

TEST_F(ForEachParallelThreads, TwoSlicesRunInATeamOfTwoAndTheSettingIsPutBack)
{
    omp_set_num_threads(3);
    MemoryVolumePtr<Tarn::uint16> volume = makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(4, 2, 2));
    const CallLog<Tarn::uint16> caller;
    Progress progress;
    const auto result = ForEachParallel::apply(&caller, volume, progress, &goOn);
    EXPECT_EQ(omp_get_max_threads(), 3);
    ASSERT_EQ(result.size(), 2u);
    for (const auto& copy : result) EXPECT_EQ(copy->teamSizes, std::set<int>{2});
}

TEST_F(ForEachParallelThreads, SettingIsPutBackForEveryCount)
{
    for (const SizeType slices : {SizeType{0}, SizeType{1}, SizeType{2}, SizeType{3}, SizeType{10}}) {
        omp_set_num_threads(3);
        MemoryVolumePtr<Tarn::uint16> volume =
            slices == 0 ? MemoryVolumePtr<Tarn::uint16>(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(0, 0, 0)))
                        : makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(2, 2, slices));
        const CallLog<Tarn::uint16> caller;
        Progress progress;
        ForEachParallel::apply(&caller, volume, progress, &goOn);
        EXPECT_EQ(omp_get_max_threads(), 3) << slices << " slices";
    }
}

/// Marks every voxel it is handed, and refuses one slice after marking its first voxel.
struct MarkAndRefuse : Functor {
    void operator()(Tarn::uint8& voxel)
    {
        if (tert == refused && (prim != 0 || sec != 0)) throw std::domain_error("slice refused");
        voxel = 200;
    }
    SizeType refused = 0;
};

TEST_F(ForEachParallelThreads, SettingIsPutBackWhenASlabFails)
{
    omp_set_num_threads(3);
    MemoryVolumePtr<Tarn::uint8> volume = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 2));
    MarkAndRefuse caller;
    caller.refused = 1;
    Progress progress;
    EXPECT_THROW(ForEachParallel::apply(&caller, volume, progress, &goOn), std::exception);
    EXPECT_EQ(omp_get_max_threads(), 3);
}

/// What one thread of an enclosing region saw around its own parallel walk.
struct NestedRun {
    int settingBefore = 0;
    int settingAfter = 0;
    std::size_t slabCount = 0;
    Position<SizeType> start;
    std::vector<Call> calls;
    std::set<int> teamSizes;
    double progress = 0.0;
};

TEST_F(ForEachParallelThreads, InsideAParallelRegionOneSlabAndNoSettingTouched)
{
    omp_set_num_threads(2);
    const Dimension<SizeType> whole(3, 2, 6);
    MemoryVolumePtr<Tarn::uint16> volumes[2] = {makeIndexVolume<Tarn::uint16>(whole),
                                               makeIndexVolume<Tarn::uint16>(whole)};
    NestedRun runs[2];
    int teamSize = 0;
#pragma omp parallel num_threads(2)
    {
        const int me = omp_get_thread_num();
        if (me == 0) teamSize = omp_get_num_threads();
        NestedRun& run = runs[me];
        // Each thread has a setting of its own for the regions it would open; the walk leaves it be.
        omp_set_num_threads(5 + me);
        run.settingBefore = omp_get_max_threads();
        const CallLog<Tarn::uint16> caller;
        Progress progress;
        const auto result = ForEachParallel::apply(&caller, volumes[me], progress, &goOn);
        run.settingAfter = omp_get_max_threads();
        run.slabCount = result.size();
        if (!result.empty()) {
            run.start = result.front()->start;
            run.calls = result.front()->calls;
            run.teamSizes = result.front()->teamSizes;
        }
        run.progress = progress.getProgress();
    }
    ASSERT_EQ(teamSize, 2) << "the enclosing region needs two threads for this test";
    EXPECT_EQ(omp_get_max_threads(), 2);
    for (int me = 0; me < 2; ++me) {
        SCOPED_TRACE("thread " + std::to_string(me));
        EXPECT_EQ(runs[me].settingBefore, 5 + me);
        EXPECT_EQ(runs[me].settingAfter, 5 + me);
        EXPECT_EQ(runs[me].slabCount, 1u);
        EXPECT_EQ(runs[me].start, Position<SizeType>(0, 0, 0));
        EXPECT_EQ(runs[me].calls, indexCalls(whole, 0, 6));
        EXPECT_EQ(runs[me].teamSizes, std::set<int>{1});
        EXPECT_EQ(runs[me].progress, 1.0);
    }
}

// ---- positions in the whole region ----------------------------------------------------------------

TEST_F(ForEachParallelPositions, CopiesSeeCoordinatesOfTheWholeTurnedRegion)
{
    omp_set_num_threads(4);
    // Storage (6, 5, 9). The view's prim is storage sec backwards, its sec storage prim, its tert
    // storage tert backwards; the region is pushed in view terms.
    MemoryVolumePtr<Tarn::int32> volume = makeIndexVolume<Tarn::int32>(Dimension<SizeType>(6, 5, 9));
    volume->setOrientation(Orientation(3, 0, 5));
    volume->setRoi(Region(Dimension<SizeType>(4, 5, 7), Position<SizeType>(1, 1, 2)));
    std::vector<Call> expected;
    TestSupport::forEachInView(*volume, [&](Tarn::int32 value, SizeType p, SizeType s, SizeType t) {
        expected.emplace_back(static_cast<double>(value), p, s, t);
    });
    ASSERT_EQ(expected.size(), 4u * 5u * 7u);

    const CallLog<Tarn::int32> caller;
    Progress progress;
    const auto result = ForEachParallel::apply(&caller, volume, progress, &goOn);
    const auto slabs = bySlab(result);
    ASSERT_EQ(slabs.size(), 4u);
    for (std::size_t k = 0; k < slabs.size(); ++k) {
        EXPECT_EQ(slabs[k]->start, Position<SizeType>(0, 0, k));
        EXPECT_EQ(slabs[k]->wholeExtent, Dimension<SizeType>(4, 5, 7));
    }
    // Slabs in slice order, each in walk order: together the serial walk's order.
    EXPECT_EQ(callsInSlabOrder(result), expected);
    // The caller's view is as it was.
    EXPECT_EQ(volume->getDimension(), Dimension<SizeType>(4, 5, 7));
    EXPECT_EQ(volume->getOrientation(), Orientation(3, 0, 5));
    EXPECT_EQ(volume->getRoiStack().size(), 2u);
}

// ---- results equal the serial walk's --------------------------------------------------------------

/// Adds every voxel as an integer and writes back a value made of the voxel and its position.
template <class T> struct SumAndRewrite : Functor {
    void operator()(T& voxel)
    {
        sum += static_cast<Tarn::int64>(voxel);
        voxel = static_cast<T>(voxel / 2 + static_cast<T>(tert) - static_cast<T>(prim) + static_cast<T>(sec));
    }
    Tarn::int64 sum = 0;
};

template <class T> class ForEachParallelTyped : public ThreadSettingKept {};
TYPED_TEST_SUITE(ForEachParallelTyped, TestSupport::OperatorVoxelTypes, TestSupport::VoxelTypeNames);

/// The whole storage of a volume as bytes, for comparisons to the bit; the view is reset to the
/// whole volume in the default orientation.
template <class T> std::vector<unsigned char> storageBytes(MemoryVolume<T>& volume)
{
    volume.clearRoiStack();
    volume.setOrientation(Orientation(0, 2, 4));
    const std::vector<T> values = TestSupport::valuesInView(volume);
    std::vector<unsigned char> bytes(values.size() * sizeof(T));
    if (!values.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

TYPED_TEST(ForEachParallelTyped, SumAndEveryVoxelEqualTheSerialWalksOnOneToFourThreads)
{
    using T = TypeParam;
    // Storage (7, 11, 5); the view runs prim backwards, storage tert backwards as sec and storage
    // sec as tert, so its extent is (7, 5, 11) before the region.
    const Dimension<SizeType> whole(7, 11, 5);
    const Region region(Dimension<SizeType>(5, 4, 9), Position<SizeType>(1, 0, 1));
    for (int threads = 1; threads <= 4; ++threads) {
        SCOPED_TRACE(std::to_string(threads) + " threads");
        MemoryVolumePtr<T> serialVolume = makeRandomVolume<T>(whole, 29);
        MemoryVolumePtr<T> parallelVolume = makeRandomVolume<T>(whole, 29);
        for (MemoryVolume<T>* v : {serialVolume.get(), parallelVolume.get()}) {
            v->setOrientation(Orientation(1, 5, 2));
            v->setRoi(region);
        }
        SumAndRewrite<T> serial;
        Progress serialProgress;
        ForEach::apply(serial, serialVolume, serialProgress, &goOn);

        omp_set_num_threads(threads);
        const SumAndRewrite<T> caller;
        Progress progress;
        const auto result = ForEachParallel::apply(&caller, parallelVolume, progress, &goOn);
        EXPECT_EQ(result.size(), static_cast<std::size_t>(threads));
        EXPECT_EQ(merged(result, &SumAndRewrite<T>::sum), serial.sum);
        EXPECT_TRUE(storageBytes(*parallelVolume) == storageBytes(*serialVolume));
        EXPECT_EQ(progress.getProgress(), 1.0);
    }
}

// ---- two volumes ----------------------------------------------------------------------------------

/// Writes a value made of the first voxel and the position into the second, and sums the first.
struct CopyScaled : Functor {
    void operator()(const Tarn::uint8& from, Tarn::float32& to)
    {
        to = static_cast<Tarn::float32>(from) * 0.5f + static_cast<Tarn::float32>(tert);
        sum += from;
    }
    Tarn::uint64 sum = 0;
};

TEST_F(ForEachParallelTwoVolumes, DifferentTypesAndOrientationsGiveTheSerialResult)
{
    // The source, storage (4, 6, 9), has a region; the target, storage (9, 4, 6), is turned so that
    // its view has the extent (4, 6, 7) of the source's region after a region of its own.
    auto makeSource = [] {
        MemoryVolumePtr<Tarn::uint8> source = makeRandomVolume<Tarn::uint8>(Dimension<SizeType>(4, 6, 9), 5);
        source->setRoi(Region(Dimension<SizeType>(4, 6, 7), Position<SizeType>(0, 0, 1)));
        return source;
    };
    auto makeTarget = [] {
        MemoryVolumePtr<Tarn::float32> target(new MemoryVolume<Tarn::float32>(Dimension<SizeType>(9, 4, 6)));
        target->fill(-1.0f);
        target->setOrientation(Orientation(3, 4, 1));
        target->setRoi(Region(Dimension<SizeType>(4, 6, 7), Position<SizeType>(0, 0, 2)));
        return target;
    };
    MemoryVolumePtr<Tarn::uint8> serialSource = makeSource();
    MemoryVolumePtr<Tarn::float32> serialTarget = makeTarget();
    CopyScaled serial;
    Progress serialProgress;
    ForEach::apply(serial, serialSource, serialTarget, serialProgress, &goOn);

    for (int threads = 2; threads <= 4; ++threads) {
        SCOPED_TRACE(std::to_string(threads) + " threads");
        omp_set_num_threads(threads);
        MemoryVolumePtr<Tarn::uint8> source = makeSource();
        MemoryVolumePtr<Tarn::float32> target = makeTarget();
        const CopyScaled caller;
        Progress progress;
        const auto result = ForEachParallel::apply(&caller, source, target, progress, &goOn);
        EXPECT_EQ(result.size(), static_cast<std::size_t>(threads));
        EXPECT_EQ(merged(result, &CopyScaled::sum), serial.sum);
        EXPECT_TRUE(storageBytes(*target) == storageBytes(*serialTarget));
        EXPECT_EQ(progress.getProgress(), 1.0);
    }
}

/// Two voxels and the position, kept per call.
struct PairLog : Functor {
    void operator()(const Tarn::int16& a, const Tarn::uint32& b)
    {
        calls.emplace_back(static_cast<double>(a) * 1000.0 + static_cast<double>(b), prim, sec, tert);
    }
    std::vector<Call> calls;
};

TEST_F(ForEachParallelTwoVolumes, PositionsRunOverTheFirstVolumesView)
{
    omp_set_num_threads(3);
    // First: storage (3, 4, 6), turned so that its view is (4, 3, 6) with tert backwards. Second:
    // storage (4, 3, 6) in the default orientation.
    MemoryVolumePtr<Tarn::int16> first = makeIndexVolume<Tarn::int16>(Dimension<SizeType>(3, 4, 6));
    first->setOrientation(Orientation(2, 0, 5));
    MemoryVolumePtr<Tarn::uint32> second = makeIndexVolume<Tarn::uint32>(Dimension<SizeType>(4, 3, 6));
    std::vector<Call> expected;
    TestSupport::forEachInView(*first, [&](Tarn::int16 a, SizeType p, SizeType s, SizeType t) {
        const Tarn::uint32 b = second->getValueAt(Position<SizeType>(p, s, t));
        expected.emplace_back(static_cast<double>(a) * 1000.0 + static_cast<double>(b), p, s, t);
    });
    const PairLog caller;
    Progress progress;
    const auto result = ForEachParallel::apply(&caller, first, second, progress, &goOn);
    ASSERT_EQ(result.size(), 3u);
    for (const auto& copy : result) EXPECT_EQ(copy->wholeExtent, Dimension<SizeType>(4, 3, 6));
    EXPECT_EQ(callsInSlabOrder(result), expected);
}

// ---- failures in slabs ----------------------------------------------------------------------------

/// Every slab refuses its first voxel with a failure of the Tarn family that names its slice.
struct RefuseEverySlab : Functor {
    void operator()(Tarn::uint8&)
    {
        thrown->fetch_add(1);
        throw Tarn::Exceptions::InvalidState("slice %d refused", "ForEachParallelTest::RefuseEverySlab",
                                             "tests/iteration/ForEachParallelTest.cpp", 1, static_cast<int>(tert));
    }
    std::atomic<int>* thrown = nullptr;
};

TEST_F(ForEachParallelFailure, SeveralSlabsFailingDeliverExactlyOneOfTheirFailures)
{
    omp_set_num_threads(4);
    MemoryVolumePtr<Tarn::uint8> volume = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 4));
    std::atomic<int> thrown{0};
    RefuseEverySlab caller;
    caller.thrown = &thrown;
    Progress progress;
    const SizeType livingBefore = Tarn::Exceptions::Exception::getLivingCount();
    const TestSupport::TarnFailure failure =
        TestSupport::tarnFailureOf([&] { ForEachParallel::apply(&caller, volume, progress, &goOn); });
    EXPECT_EQ(thrown.load(), 4);
    EXPECT_EQ(failure.className, "Tarn::Exceptions::InvalidState");
    EXPECT_EQ(failure.gui, "An invalid state occured!");
    EXPECT_EQ(failure.origin, "ForEachParallelTest::RefuseEverySlab");
    const std::set<std::string> texts = {"slice 0 refused", "slice 1 refused", "slice 2 refused", "slice 3 refused"};
    EXPECT_EQ(texts.count(failure.error), 1u) << failure.error;
    // The failures that came later were dropped, and the kept copy died with the handler.
    EXPECT_EQ(Tarn::Exceptions::Exception::getLivingCount(), livingBefore);
    // The failure was thrown before the final progress call.
    EXPECT_EQ(progress.getProgress(), 0.0);
}

/// A standard failure that counts its end: the object a slab throws dies when the walk's catch
/// clause has stored it, which lets other slabs wait for that.
struct CountedLogicError : std::logic_error {
    CountedLogicError(const char* text, std::atomic<int>* ended) : std::logic_error(text), ended(ended) {}
    CountedLogicError(const CountedLogicError& other) : std::logic_error(other), ended(nullptr) {}
    ~CountedLogicError() override
    {
        if (ended) ended->fetch_add(1);
    }
    std::atomic<int>* ended;
};

/// An InvalidState that counts its end, as CountedLogicError. The walk keeps a clone, which is a
/// plain InvalidState.
class CountedInvalidState : public Tarn::Exceptions::InvalidState {
public:
    explicit CountedInvalidState(std::atomic<int>* ended)
        : Tarn::Exceptions::Exception("An invalid state occured!", "", "ForEachParallelTest::CountedInvalidState",
                                      "tests/iteration/ForEachParallelTest.cpp", 1),
          std::runtime_error("An invalid state occured!"),
          Tarn::Exceptions::InvalidState("slab 0 refused first", "ForEachParallelTest::CountedInvalidState",
                                         "tests/iteration/ForEachParallelTest.cpp", 1),
          ended(ended)
    {
    }
    CountedInvalidState(const CountedInvalidState& other) noexcept
        : Tarn::Exceptions::Exception(other), std::runtime_error(other), Tarn::Exceptions::InvalidState(other),
          ended(nullptr)
    {
    }
    ~CountedInvalidState() override
    {
        if (ended) ended->fetch_add(1);
    }

private:
    std::atomic<int>* ended;
};

/// Four slabs of one slice each. The slabs in `early` fail at once; the others wait until every
/// failure of an early slab has been stored, then fail too.
struct FailInOrder : Functor {
    void operator()(Tarn::uint8&)
    {
        const bool isEarly = early.count(tert) != 0;
        if (!isEarly && !waitFor(*ended, static_cast<int>(early.size()))) timedOut->store(true);
        thrown->fetch_add(1);
        if (tert == 0) {
            if (isEarly) throw CountedInvalidState(ended);
            throw Tarn::Exceptions::InvalidArg("slab 0 refused late", "ForEachParallelTest::FailInOrder",
                                               "tests/iteration/ForEachParallelTest.cpp", 1);
        }
        if (isEarly) throw CountedLogicError("another slab refused first", ended);
        throw std::logic_error("another slab refused late");
    }
    std::set<SizeType> early;
    std::atomic<int>* ended = nullptr;
    std::atomic<int>* thrown = nullptr;
    std::atomic<bool>* timedOut = nullptr;
};

/// What reached the caller: "tarn <class>: <error message>", "plain: <what>" for a failure that is
/// a std::exception of no more special kind checked here, or "logic_error: <what>".
std::string deliveredFailure(const std::function<void()>& action)
{
    try {
        action();
    } catch (const Tarn::Exceptions::Exception& failure) {
        return "tarn " + failure.getClassName() + ": " + failure.getErrorMessage();
    } catch (const std::logic_error& failure) {
        return std::string("logic_error: ") + failure.what();
    } catch (const std::exception& failure) {
        return std::string("plain: ") + failure.what();
    }
    return "no failure";
}

/// Walks four slabs of one slice each on four threads with FailInOrder, the slabs in early failing
/// first, and gives what reached the caller.
std::string deliveredWhenFirst(const std::set<SizeType>& early)
{
    omp_set_num_threads(4);
    MemoryVolumePtr<Tarn::uint8> volume = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 4));
    std::atomic<int> ended{0}, thrown{0};
    std::atomic<bool> timedOut{false};
    FailInOrder caller;
    caller.early = early;
    caller.ended = &ended;
    caller.thrown = &thrown;
    caller.timedOut = &timedOut;
    Progress progress;
    const std::string delivered =
        deliveredFailure([&] { ForEachParallel::apply(&caller, volume, progress, &goOn); });
    EXPECT_FALSE(timedOut.load()) << "the runtime gave fewer threads than slabs";
    EXPECT_EQ(thrown.load(), 4) << "every slab fails";
    return delivered;
}

TEST_F(ForEachParallelFailure, StandardFailuresStoredFirstWinOverSlabZerosLaterOne)
{
    EXPECT_EQ(deliveredWhenFirst({1, 2, 3}), "plain: another slab refused first");
}

TEST_F(ForEachParallelFailure, SlabZerosFailureStoredFirstWinsOverTheOthersLaterOnes)
{
    EXPECT_EQ(deliveredWhenFirst({0}), "tarn Tarn::Exceptions::InvalidState: slab 0 refused first");
}

/// Throws something that is no exception class at all.
struct ThrowInt : Functor {
    void operator()(Tarn::uint8&) { throw 42; }
};

TEST_F(ForEachParallelFailure, AThrownIntArrivesAsTheUnknownFailure)
{
    omp_set_num_threads(2);
    MemoryVolumePtr<Tarn::uint8> volume = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 4));
    const ThrowInt caller;
    Progress progress;
    std::string text = "no failure";
    try {
        ForEachParallel::apply(&caller, volume, progress, &goOn);
    } catch (const std::runtime_error& failure) {
        text = failure.what();
    }
    EXPECT_EQ(text, "Tarn::Kito::ForEachParallel::ExceptionHandler::rethrow an unknown exception was cought");
    EXPECT_EQ(omp_get_max_threads(), 2);
}

/// Fails as an exhausted heap would.
struct OutOfMemory : Functor {
    void operator()(Tarn::uint8&) { throw std::bad_alloc(); }
};

TEST_F(ForEachParallelFailure, ABadAllocArrivesAsAPlainStdExceptionWithItsText)
{
    omp_set_num_threads(2);
    MemoryVolumePtr<Tarn::uint8> volume = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 4));
    const OutOfMemory caller;
    Progress progress;
    bool caughtAsBadAlloc = false;
    std::string text = "no failure";
    try {
        ForEachParallel::apply(&caller, volume, progress, &goOn);
    } catch (const std::bad_alloc&) {
        caughtAsBadAlloc = true;
    } catch (const std::exception& failure) {
        text = failure.what();
    }
    EXPECT_FALSE(caughtAsBadAlloc);
    EXPECT_EQ(text, "std::bad_alloc");
}

TEST_F(ForEachParallelFailure, OtherSlabsRunToTheirEndAndTheirWorkStays)
{
    omp_set_num_threads(3);
    MemoryVolumePtr<Tarn::uint8> volume = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 6));
    MarkAndRefuse caller;
    caller.refused = 2;
    Progress progress;
    EXPECT_EQ(deliveredFailure([&] { ForEachParallel::apply(&caller, volume, progress, &goOn); }),
              "plain: slice refused");
    // Slabs of two slices: slab 1 (slices 2, 3) stopped after one voxel; slabs 0 and 2 ran through.
    std::vector<Tarn::uint8> expected(24, 200);
    for (int i = 9; i < 16; ++i) expected[i] = static_cast<Tarn::uint8>(i);
    EXPECT_EQ(TestSupport::valuesInView(*volume), expected);
}

// ---- the exception handler ------------------------------------------------------------------------

TEST(ForEachParallelExceptionHandler, NothingStoredThrowsNothing)
{
    const ExceptionHandler handler;
    EXPECT_FALSE(handler.exceptionCaught || handler.stdExceptionCaught || handler.unknownExceptionCaught);
    EXPECT_NO_THROW(handler.rethrow());
}

TEST(ForEachParallelExceptionHandler, FirstStoredWinsAndLaterOnesLeaveNoTrace)
{
    ExceptionHandler handler;
    handler.storeStdException(std::out_of_range("first"));
    handler.storeException(
        Tarn::Exceptions::NotSupported("Test::second", "tests/iteration/ForEachParallelTest.cpp", 1));
    handler.storeUnknownException();
    EXPECT_TRUE(handler.stdExceptionCaught);
    EXPECT_FALSE(handler.exceptionCaught);
    EXPECT_FALSE(handler.unknownExceptionCaught);
    EXPECT_EQ(handler.stdExceptionMessage, "first");
    EXPECT_TRUE(handler.exception == 0);
    EXPECT_EQ(deliveredFailure([&] { handler.rethrow(); }), "plain: first");
}

TEST(ForEachParallelExceptionHandler, KeepsACloneThatIsThrownByItsOwnClass)
{
    ExceptionHandler handler;
    {
        const Tarn::Exceptions::NotSupported original("%s is missing", "Test::clone",
                                                      "tests/iteration/ForEachParallelTest.cpp", 7, "a part");
        handler.storeException(original);
    }
    handler.storeStdException(std::out_of_range("later"));
    ASSERT_TRUE(handler.exceptionCaught);
    EXPECT_FALSE(handler.stdExceptionCaught);
    const TestSupport::TarnFailure failure = TestSupport::tarnFailureOf([&] { handler.rethrow(); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::NotSupported");
    EXPECT_EQ(failure.error, "a part is missing");
    EXPECT_EQ(failure.origin, "Test::clone");
    EXPECT_EQ(failure.file, "tests/iteration/ForEachParallelTest.cpp");
}

TEST(ForEachParallelExceptionHandler, UnknownFirstGivesTheRuntimeErrorText)
{
    ExceptionHandler handler;
    handler.storeUnknownException();
    handler.storeStdException(std::out_of_range("later"));
    EXPECT_FALSE(handler.stdExceptionCaught);
    std::string text = "no failure";
    try {
        handler.rethrow();
    } catch (const std::runtime_error& failure) {
        text = failure.what();
    }
    EXPECT_EQ(text, "Tarn::Kito::ForEachParallel::ExceptionHandler::rethrow an unknown exception was cought");
}

// ---- abort ----------------------------------------------------------------------------------------

TEST_F(ForEachParallelAbort, StopAskedBeforeTheWalkEndsEverySlabAfterItsFirstSlice)
{
    omp_set_num_threads(4);
    const Dimension<SizeType> whole(3, 2, 8);
    MemoryVolumePtr<Tarn::uint16> volume = makeIndexVolume<Tarn::uint16>(whole);
    const CallLog<Tarn::uint16> caller;
    Progress progress;
    const std::uint8_t stop = 1;
    const auto result = ForEachParallel::apply(&caller, volume, progress, &stop);
    const auto slabs = bySlab(result);
    ASSERT_EQ(slabs.size(), 4u);
    for (std::size_t k = 0; k < slabs.size(); ++k)
        EXPECT_EQ(slabs[k]->calls, indexCalls(whole, 2 * k, 1)) << "slab " << k;
    // Unlike a stopped serial walk, the parallel one always ends at 1.0.
    EXPECT_EQ(progress.getProgress(), 1.0);
}

/// Asks for a stop at the first voxel of one slice, through the byte the walk looks at.
struct StopAtSlice : Functor {
    void operator()(Tarn::uint16&)
    {
        ++calls;
        if (tert == stopSlice && prim == 0 && sec == 0) Tarn::Kito::requestStop(abort);
    }
    std::uint8_t* abort = nullptr;
    SizeType stopSlice = 0;
    SizeType calls = 0;
};

TEST_F(ForEachParallelAbort, StopAskedDuringTheWalkGivesAnEntryPerSlabAndProgressOne)
{
    omp_set_num_threads(2);
    MemoryVolumePtr<Tarn::uint16> volume = makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(3, 2, 8));
    std::uint8_t abort = 0;
    StopAtSlice caller;
    caller.abort = &abort;
    caller.stopSlice = 1;
    Progress progress;
    const auto result = ForEachParallel::apply(&caller, volume, progress, &abort);
    const auto slabs = bySlab(result);
    ASSERT_EQ(slabs.size(), 2u);
    // Slab 0 stops after the slice in which it asked; slab 1 walks whole slices until it sees it.
    EXPECT_EQ(slabs[0]->calls, 2u * 6u);
    EXPECT_EQ(slabs[1]->calls % 6u, 0u);
    EXPECT_GE(slabs[1]->calls, 6u);
    EXPECT_EQ(progress.getProgress(), 1.0);
}

/// The walk as an operator that a host's second thread can watch and stop.
struct WatchedWalk {
    Progress progress;
    std::uint8_t stop = 0;
    const Progress& getProgress() const { return progress; }
    void abort() { Tarn::Kito::requestStop(&stop); }
};

/// Sleeps at the start of every slice so that another thread can watch the walk.
struct SlowSlices : Functor {
    void operator()(Tarn::uint16&)
    {
        if (prim == 0 && sec == 0) std::this_thread::sleep_for(std::chrono::microseconds(500));
        ++calls;
    }
    SizeType calls = 0;
};

TEST_F(ForEachParallelAbort, StopFromAHostThreadEndsEverySlabAtASliceBorder)
{
    omp_set_num_threads(4);
    MemoryVolumePtr<Tarn::uint16> volume = makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(4, 3, 1000));
    WatchedWalk walk;
    const SlowSlices caller;
    ForEachParallel::FunctorList<SlowSlices> result;
    const TestSupport::StoppedRun run = TestSupport::stopWhileRunning(
        walk, [&] { result = ForEachParallel::apply(&caller, volume, walk.progress, &walk.stop); });
    ASSERT_TRUE(run.stopAsked);
    ASSERT_EQ(result.size(), 4u);
    SizeType walked = 0;
    for (const auto& copy : result) {
        EXPECT_EQ(copy->calls % 12u, 0u) << "a slice once begun runs to its end";
        walked += copy->calls;
    }
    EXPECT_LT(walked, 4u * 3u * 1000u);
    // One writer, thread 0: the value never falls, and the walk sets 1.0 at its end.
    EXPECT_TRUE(TestSupport::neverFalls(run.seen));
    EXPECT_EQ(run.seen.back(), 1.0);
}

// ---- progress -------------------------------------------------------------------------------------

/// Slab 0 (slices 0 and 1 of 10 on four threads) waits at its first voxel until the other slabs
/// have walked their last one, then notes the caller's progress at the start of each of its slices.
struct ProgressBySlab : Functor {
    void operator()(Tarn::uint16&)
    {
        const bool lastVoxelOfSlice = prim == 2 && sec == 1;
        if (tert == 0 && prim == 0 && sec == 0 && !waitFor(*othersDone, 3)) timedOut->store(true);
        if (tert < 2 && prim == 0 && sec == 0) seenBySlabZero.push_back(progress->getProgress());
        if (lastVoxelOfSlice && (tert == 3 || tert == 5 || tert == 9)) othersDone->fetch_add(1);
    }
    const Progress* progress = nullptr;
    std::atomic<int>* othersDone = nullptr;
    std::atomic<bool>* timedOut = nullptr;
    std::vector<double> seenBySlabZero;
};

TEST_F(ForEachParallelProgress, OnlyThreadZeroMovesTheCallersProgress)
{
    omp_set_num_threads(4);
    MemoryVolumePtr<Tarn::uint16> volume = makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(3, 2, 10));
    Progress progress;
    std::atomic<int> othersDone{0};
    std::atomic<bool> timedOut{false};
    ProgressBySlab caller;
    caller.progress = &progress;
    caller.othersDone = &othersDone;
    caller.timedOut = &timedOut;
    const auto result = ForEachParallel::apply(&caller, volume, progress, &goOn);
    ASSERT_FALSE(timedOut.load()) << "the runtime gave fewer threads than slabs";
    const auto slabs = bySlab(result);
    ASSERT_EQ(slabs.size(), 4u);
    // The other slabs had all ended and moved nothing; then slab 0 reported its first slice.
    const double afterFirstSlice = 0.99 / 2.0;
    ASSERT_EQ(slabs[0]->seenBySlabZero.size(), 2u);
    EXPECT_EQ(slabs[0]->seenBySlabZero[0], 0.0);
    EXPECT_EQ(TestSupport::bitsOf(slabs[0]->seenBySlabZero[1]), TestSupport::bitsOf(afterFirstSlice));
    EXPECT_EQ(progress.getProgress(), 1.0);
}

// ---- arguments ------------------------------------------------------------------------------------

TEST_F(ForEachParallelArguments, NullFunctorFailsWithItsName)
{
    omp_set_num_threads(3);
    MemoryVolumePtr<Tarn::uint8> volume = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 4));
    const Counter* none = nullptr;
    Progress progress;
    const TestSupport::TarnFailure failure =
        TestSupport::tarnFailureOf([&] { ForEachParallel::apply(none, volume, progress, &goOn); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::NULLPointer");
    EXPECT_EQ(failure.gui, "NULL pointer!");
    EXPECT_EQ(failure.error, "The pointer variable 'functor' is a NULL pointer");
    EXPECT_EQ(failure.origin, "Tarn::Kito::Iterating::ForEachParallel::apply");
    EXPECT_EQ(failure.file, "Kito/include/Kito/ForEachParallel");
    EXPECT_EQ(omp_get_max_threads(), 3);
    EXPECT_EQ(progress.getProgress(), 0.0);
}

/// Counts pairs of voxels.
struct PairCounter : Functor {
    void operator()(const Tarn::uint8&, const Tarn::uint8&) { ++count; }
    SizeType count = 0;
};

TEST_F(ForEachParallelArguments, NullFunctorIsLookedForBeforeTheVolumes)
{
    omp_set_num_threads(3);
    const MemoryVolumePtr<Tarn::uint8> none;
    const PairCounter* noFunctor = nullptr;
    Progress progress;
    EXPECT_EQ(TestSupport::tarnFailureOf([&] { ForEachParallel::apply(noFunctor, none, none, progress, &goOn); }).error,
              "The pointer variable 'functor' is a NULL pointer");
    EXPECT_EQ(omp_get_max_threads(), 3);
}

TEST_F(ForEachParallelArguments, NullVolumesFailWithTheirNames)
{
    omp_set_num_threads(3);
    MemoryVolumePtr<Tarn::uint8> volume = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 4));
    const MemoryVolumePtr<Tarn::uint8> none;
    const Counter counter;
    const PairCounter pairs;
    Progress progress;

    const TestSupport::TarnFailure one =
        TestSupport::tarnFailureOf([&] { ForEachParallel::apply(&counter, none, progress, &goOn); });
    EXPECT_EQ(one.className, "Tarn::Exceptions::NULLPointer");
    EXPECT_EQ(one.error, "The pointer variable 'volume1' is a NULL pointer");
    EXPECT_EQ(one.origin, "Tarn::Kito::Iterating::ForEachParallel::apply");
    EXPECT_EQ(one.file, "Kito/include/Kito/ForEachParallel");

    // volume1 is looked at before volume2.
    EXPECT_EQ(TestSupport::tarnFailureOf([&] { ForEachParallel::apply(&pairs, none, none, progress, &goOn); }).error,
              "The pointer variable 'volume1' is a NULL pointer");

    const TestSupport::TarnFailure two =
        TestSupport::tarnFailureOf([&] { ForEachParallel::apply(&pairs, volume, none, progress, &goOn); });
    EXPECT_EQ(two.className, "Tarn::Exceptions::NULLPointer");
    EXPECT_EQ(two.gui, "NULL pointer!");
    EXPECT_EQ(two.error, "The pointer variable 'volume2' is a NULL pointer");
    EXPECT_EQ(two.origin, "Tarn::Kito::Iterating::ForEachParallel::apply");
    EXPECT_EQ(two.file, "Kito/include/Kito/ForEachParallel");
    EXPECT_EQ(omp_get_max_threads(), 3);
    EXPECT_EQ(progress.getProgress(), 0.0);
}

TEST_F(ForEachParallelArguments, DifferingExtentsFailBeforeAnythingIsWalked)
{
    omp_set_num_threads(3);
    MemoryVolumePtr<Tarn::uint8> first = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 3, 4));
    MemoryVolumePtr<Tarn::uint8> second = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(3, 2, 4));
    const PairCounter caller;
    Progress progress;
    const TestSupport::TarnFailure failure =
        TestSupport::tarnFailureOf([&] { ForEachParallel::apply(&caller, first, second, progress, &goOn); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::InvalidArg");
    EXPECT_EQ(failure.gui, "Invalid argument!");
    EXPECT_EQ(failure.error, "Dimension of volume1 and volume2 differ");
    EXPECT_EQ(failure.origin, "Tarn::Kito::Iterating::ForEachParallel::apply");
    EXPECT_EQ(failure.file, "Kito/include/Kito/ForEachParallel");
    EXPECT_EQ(omp_get_max_threads(), 3);
    EXPECT_EQ(progress.getProgress(), 0.0);

    // Turned, the second view has the first one's extent; only the views are compared.
    second->setOrientation(Orientation(2, 0, 4));
    const auto result = ForEachParallel::apply(&caller, first, second, progress, &goOn);
    EXPECT_EQ(merged(result, &PairCounter::count), 24u);
}

} // namespace
