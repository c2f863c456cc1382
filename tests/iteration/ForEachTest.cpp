#include <Kito/Exceptions>
#include <Kito/ForEach>
#include <Kito/ForEachParallel>
#include <Kito/Functor>
#include <Kito/IVolume>
#include <Kito/Orientation>
#include <Kito/Progress>
#include <Kito/Volume>

#include <support/FailureOf.h>
#include <support/RandomVolume.h>
#include <support/StopWhileRunning.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <list>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::IVolume;
using Tarn::Kito::OffsetType;
using Tarn::Kito::Orientation;
using Tarn::Kito::Position;
using Tarn::Kito::Progress;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::SizeType;
using Tarn::Kito::Iterating::ForEach;
using Tarn::Kito::Iterating::Functor;
using TestSupport::makeIndexVolume;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;

using Region = RegionOfInterest<SizeType>;

static_assert(std::is_same_v<decltype(Functor::prim), SizeType>, "positions are unsigned 64-bit");
static_assert(std::is_same_v<decltype(Functor::sec), SizeType>, "positions are unsigned 64-bit");
static_assert(std::is_same_v<decltype(Functor::tert), SizeType>, "positions are unsigned 64-bit");
static_assert(std::has_virtual_destructor_v<Functor>, "functors are deleted through their base");

/// One functor call: the voxel's value and the position the walk reported.
struct Visit {
    double value;
    SizeType prim, sec, tert;
    bool operator==(const Visit& other) const
    {
        return value == other.value && prim == other.prim && sec == other.sec && tert == other.tert;
    }
};

std::ostream& operator<<(std::ostream& out, const Visit& v)
{
    return out << "{" << v.value << " @ " << v.prim << "," << v.sec << "," << v.tert << "}";
}

/// Keeps every call in its own field: what the caller's functor holds after the walk is what the
/// walk's calls did to it.
template <class T> struct Recorder : Functor {
    void operator()(T& voxel) { visits.push_back({static_cast<double>(voxel), prim, sec, tert}); }
    std::vector<Visit> visits;
};

/// Two volumes: the first voxel's value, the second's, and the position.
struct PairVisit {
    double first, second;
    SizeType prim, sec, tert;
    bool operator==(const PairVisit& other) const
    {
        return first == other.first && second == other.second && prim == other.prim && sec == other.sec &&
               tert == other.tert;
    }
};

std::ostream& operator<<(std::ostream& out, const PairVisit& v)
{
    return out << "{" << v.first << "," << v.second << " @ " << v.prim << "," << v.sec << "," << v.tert << "}";
}

template <class A, class B> struct PairRecorder : Functor {
    void operator()(A& a, B& b) { visits.push_back({static_cast<double>(a), static_cast<double>(b), prim, sec, tert}); }
    std::vector<PairVisit> visits;
};

std::vector<double> valuesOf(const std::vector<Visit>& visits)
{
    std::vector<double> values;
    for (const Visit& v : visits) values.push_back(v.value);
    return values;
}

/// The progress values a walk of n slices stores after each slice: the step added up slice by slice.
std::vector<double> progressSteps(SizeType slices)
{
    std::vector<double> values;
    const double step = 0.99 / static_cast<double>(slices);
    double value = 0.0;
    for (SizeType k = 0; k < slices; ++k) {
        value += step;
        values.push_back(value);
    }
    return values;
}

const std::uint8_t goOn = 0;

// ---- order and positions --------------------------------------------------------------------------

TEST(ForEachWalk, VisitsTertOutermostAndPrimInnermostWithTheirPositions)
{
    MemoryVolumePtr<Tarn::int16> volume = makeIndexVolume<Tarn::int16>(Dimension<SizeType>(3, 2, 2));
    Recorder<Tarn::int16> recorder;
    Progress progress;
    ForEach::apply(recorder, volume, progress, &goOn);
    const std::vector<Visit> expected = {{0, 0, 0, 0},  {1, 1, 0, 0},  {2, 2, 0, 0},  {3, 0, 1, 0},
                                         {4, 1, 1, 0},  {5, 2, 1, 0},  {6, 0, 0, 1},  {7, 1, 0, 1},
                                         {8, 2, 0, 1},  {9, 0, 1, 1},  {10, 1, 1, 1}, {11, 2, 1, 1}};
    EXPECT_EQ(recorder.visits, expected);
    EXPECT_EQ(progress.getProgress(), 1.0);
}

TEST(ForEachWalk, TakesAVolumeAsWellAsItsHandle)
{
    MemoryVolumePtr<Tarn::uint8> volume = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 1));
    Recorder<Tarn::uint8> recorder;
    Progress progress;
    ForEach::apply(recorder, *volume, progress, &goOn);
    EXPECT_EQ(valuesOf(recorder.visits), (std::vector<double>{0, 1, 2, 3}));
}

TEST(ForEachWalk, FollowsAMirroredAndPermutedView)
{
    // Storage (3, 2, 2); the view's prim is storage sec run backwards, its sec is storage prim.
    MemoryVolumePtr<Tarn::int32> volume = makeIndexVolume<Tarn::int32>(Dimension<SizeType>(3, 2, 2));
    volume->setOrientation(Orientation(3, 0, 4));
    Recorder<Tarn::int32> recorder;
    Progress progress;
    ForEach::apply(recorder, volume, progress, &goOn);
    const std::vector<Visit> expected = {{3, 0, 0, 0},  {0, 1, 0, 0}, {4, 0, 1, 0}, {1, 1, 1, 0},
                                         {5, 0, 2, 0},  {2, 1, 2, 0}, {9, 0, 0, 1}, {6, 1, 0, 1},
                                         {10, 0, 1, 1}, {7, 1, 1, 1}, {11, 0, 2, 1}, {8, 1, 2, 1}};
    EXPECT_EQ(recorder.visits, expected);
}

TEST(ForEachWalk, VisitsOnlyTheRegionInForceInTheViewsOrder)
{
    // Storage (4, 3, 2), voxel = p + 4s + 12t. View prim = storage tert backwards, view sec =
    // storage prim backwards, view tert = storage sec. The region takes view sec 1..2, which
    // counted from the far end of storage prim are p = 2, 1, and view tert 1..2, that is s = 1, 2.
    MemoryVolumePtr<Tarn::uint16> volume = makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(4, 3, 2));
    volume->setOrientation(Orientation(5, 1, 2));
    volume->setRoi(Region(Dimension<SizeType>(2, 2, 2), Position<SizeType>(0, 1, 1)));
    Recorder<Tarn::uint16> recorder;
    Progress progress;
    ForEach::apply(recorder, volume, progress, &goOn);
    const std::vector<Visit> expected = {{18, 0, 0, 0}, {6, 1, 0, 0}, {17, 0, 1, 0}, {5, 1, 1, 0},
                                         {22, 0, 0, 1}, {10, 1, 0, 1}, {21, 0, 1, 1}, {9, 1, 1, 1}};
    EXPECT_EQ(recorder.visits, expected);
    EXPECT_EQ(progress.getProgress(), 1.0);
}

TEST(ForEachWalk, MatchesAPositionByPositionReadOfARandomView)
{
    MemoryVolumePtr<Tarn::float32> volume = TestSupport::makeRandomVolume<Tarn::float32>(Dimension<SizeType>(9, 7, 5), 11);
    volume->setRoi(Region(Dimension<SizeType>(6, 5, 4), Position<SizeType>(2, 1, 1)));
    volume->setOrientation(Orientation(3, 5, 0));
    std::vector<Visit> expected;
    TestSupport::forEachInView(*volume, [&](float value, SizeType p, SizeType s, SizeType t) {
        expected.push_back({static_cast<double>(value), p, s, t});
    });
    ASSERT_EQ(expected.size(), 6u * 5u * 4u);
    Recorder<Tarn::float32> recorder;
    Progress progress;
    ForEach::apply(recorder, volume, progress, &goOn);
    EXPECT_EQ(recorder.visits, expected);
}

/// Writes a value made of the position into every voxel it is handed.
struct PositionWriter : Functor {
    void operator()(Tarn::int32& voxel) { voxel = static_cast<Tarn::int32>(100 * tert + 10 * sec + prim); }
};

TEST(ForEachWalk, WritesThroughTheVoxelReferenceIntoTheView)
{
    MemoryVolumePtr<Tarn::int32> volume = makeIndexVolume<Tarn::int32>(Dimension<SizeType>(3, 3, 2));
    volume->setRoi(Region(Dimension<SizeType>(2, 2, 1), Position<SizeType>(1, 0, 1)));
    volume->setOrientation(Orientation(1, 2, 4));
    PositionWriter writer;
    Progress progress;
    ForEach::apply(writer, volume, progress, &goOn);
    volume->popRoi();
    volume->setOrientation(Orientation(0, 2, 4));
    // Storage slice 1 holds 9..17; the region is p = 1, 2 and s = 0, 1 of it, one slice thick (view
    // tert 0), with view prim running backwards: storage p = 2 is view prim 0.
    const std::vector<Tarn::int32> expected = {0, 1, 2, 3, 4, 5, 6, 7, 8, //
                                               9, 1, 0, 12, 11, 10, 15, 16, 17};
    EXPECT_EQ(TestSupport::valuesInView(*volume), expected);
}

TEST(ForEachWalk, DecoratedFunctorCountsPositionsFromItsStart)
{
    // A slab's copy from the parallel walk: it sees the coordinates of the whole region, so the
    // serial walk counts each position from the slab's start; the voxels are still the view's.
    MemoryVolumePtr<Tarn::int16> volume = makeIndexVolume<Tarn::int16>(Dimension<SizeType>(2, 2, 2));
    using Decorated = Tarn::Kito::Iterating::ForEachParallel::DecoratedFunctor<Recorder<Tarn::int16>>;
    Decorated recorder(Recorder<Tarn::int16>(), Position<SizeType>(4, 1, 3), Dimension<SizeType>(6, 3, 5));
    Progress progress;
    ForEach::apply(recorder, volume, progress, &goOn);
    const std::vector<Visit> expected = {{0, 4, 1, 3}, {1, 5, 1, 3}, {2, 4, 2, 3}, {3, 5, 2, 3},
                                         {4, 4, 1, 4}, {5, 5, 1, 4}, {6, 4, 2, 4}, {7, 5, 2, 4}};
    EXPECT_EQ(recorder.visits, expected);
    EXPECT_EQ(recorder.start, Position<SizeType>(4, 1, 3));
    EXPECT_EQ(recorder.wholeExtent, Dimension<SizeType>(6, 3, 5));
    EXPECT_EQ(progress.getProgress(), 1.0);
}

// ---- progress and abort ---------------------------------------------------------------------------

/// Notes the progress at the first voxel of every slice; it holds what the walk stored after the
/// slices before.
template <class T> struct ProgressAtSliceStart : Functor {
    void operator()(T&)
    {
        if (prim == 0 && sec == 0) seen.push_back(progress->getProgress());
    }
    const Progress* progress = nullptr;
    std::vector<double> seen;
};

TEST(ForEachProgress, AddsThePartOfASliceAfterEachSliceAndEndsAtOne)
{
    MemoryVolumePtr<Tarn::uint8> volume = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 7));
    Progress progress;
    ProgressAtSliceStart<Tarn::uint8> functor;
    functor.progress = &progress;
    ForEach::apply(functor, volume, progress, &goOn);
    std::vector<double> expected = {0.0};
    const std::vector<double> steps = progressSteps(7);
    expected.insert(expected.end(), steps.begin(), steps.end() - 1);
    ASSERT_EQ(functor.seen.size(), expected.size());
    for (std::size_t k = 0; k < expected.size(); ++k)
        EXPECT_EQ(TestSupport::bitsOf(functor.seen[k]), TestSupport::bitsOf(expected[k])) << "slice " << k;
    // The last slice stores 0.99 (rounded), below 1.0: only the end of the walk reaches 1.0.
    EXPECT_LT(steps.back(), 1.0);
    EXPECT_EQ(progress.getProgress(), 1.0);
}

TEST(ForEachProgress, DecoratedFunctorDividesBySlicesUpToItsEnd)
{
    // A slab starting at slice 3 of the whole advances by 0.99 / (3 + 2) per slice: slabs further
    // up move more slowly, which nobody sees, since only the slab at slice 0 reports for real.
    MemoryVolumePtr<Tarn::uint8> volume = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 2));
    Progress progress;
    ProgressAtSliceStart<Tarn::uint8> watcher;
    watcher.progress = &progress;
    Tarn::Kito::Iterating::ForEachParallel::DecoratedFunctor<ProgressAtSliceStart<Tarn::uint8>> functor(
        watcher, Position<SizeType>(0, 0, 3), Dimension<SizeType>(2, 2, 5));
    ForEach::apply(functor, volume, progress, &goOn);
    ASSERT_EQ(functor.seen.size(), 2u);
    EXPECT_EQ(functor.seen[0], 0.0);
    EXPECT_EQ(TestSupport::bitsOf(functor.seen[1]), TestSupport::bitsOf(0.99 / 5.0));
    EXPECT_EQ(progress.getProgress(), 1.0);
}

TEST(ForEachProgress, EmptyViewCallsNothingAndGoesStraightToOne)
{
    MemoryVolumePtr<Tarn::float64> volume(new MemoryVolume<Tarn::float64>(Dimension<SizeType>(0, 0, 0)));
    Recorder<Tarn::float64> recorder;
    Progress progress;
    ForEach::apply(recorder, volume, progress, &goOn);
    EXPECT_TRUE(recorder.visits.empty());
    EXPECT_EQ(progress.getProgress(), 1.0);
}

TEST(ForEachAbort, ByteSetBeforeTheWalkStopsAfterTheFirstCompleteSlice)
{
    MemoryVolumePtr<Tarn::int8> volume = makeIndexVolume<Tarn::int8>(Dimension<SizeType>(3, 2, 4));
    Recorder<Tarn::int8> recorder;
    Progress progress;
    const std::uint8_t stop = 1;
    ForEach::apply(recorder, volume, progress, &stop);
    ASSERT_EQ(recorder.visits.size(), 6u);
    for (const Visit& v : recorder.visits) EXPECT_EQ(v.tert, 0u);
    // Stopped before the slice's progress was stored: still where it started.
    EXPECT_EQ(progress.getProgress(), 0.0);
}

TEST(ForEachAbort, ByteValueTwoMeansGoOn)
{
    MemoryVolumePtr<Tarn::int8> volume = makeIndexVolume<Tarn::int8>(Dimension<SizeType>(3, 2, 4));
    Recorder<Tarn::int8> recorder;
    Progress progress;
    const std::uint8_t two = 2;
    ForEach::apply(recorder, volume, progress, &two);
    EXPECT_EQ(recorder.visits.size(), 24u);
    EXPECT_EQ(progress.getProgress(), 1.0);
}

/// Asks for a stop in the middle of a slice, through the byte the walk looks at.
struct StopInSlice : Functor {
    void operator()(Tarn::uint8&)
    {
        ++calls;
        if (tert == stopSlice && prim == 1 && sec == 1) __atomic_store_n(abort, std::uint8_t{1}, __ATOMIC_RELAXED);
    }
    std::uint8_t* abort = nullptr;
    SizeType stopSlice = 0;
    SizeType calls = 0;
};

TEST(ForEachAbort, AStopAskedForInASliceLetsThatSliceEnd)
{
    MemoryVolumePtr<Tarn::uint8> volume = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(3, 3, 5));
    std::uint8_t abort = 0;
    StopInSlice functor;
    functor.abort = &abort;
    functor.stopSlice = 2;
    Progress progress;
    ForEach::apply(functor, volume, progress, &abort);
    EXPECT_EQ(functor.calls, 27u);
    // Slices 0 and 1 were reported, slice 2 was walked but not reported.
    EXPECT_EQ(TestSupport::bitsOf(progress.getProgress()), TestSupport::bitsOf(progressSteps(5)[1]));
}

/// Sleeps at the start of every slice so that a walk takes long enough for another thread to
/// watch it; counts the voxels it is handed.
struct SlowSlices : Functor {
    void operator()(Tarn::uint16&)
    {
        if (prim == 0 && sec == 0) std::this_thread::sleep_for(std::chrono::microseconds(500));
        ++calls;
    }
    SizeType calls = 0;
};

/// Reads the progress over and over from its own thread until told to end.
class ProgressWatcher {
public:
    ProgressWatcher(const Progress& progress, std::uint8_t* abort, double stopAt)
        : thread([this, &progress, abort, stopAt] {
              while (!finished.load()) {
                  const double value = progress.getProgress();
                  seen.push_back(value);
                  if (abort != nullptr && value >= stopAt) __atomic_store_n(abort, std::uint8_t{1}, __ATOMIC_RELAXED);
                  std::this_thread::yield();
              }
              seen.push_back(progress.getProgress());
          })
    {
    }
    std::vector<double> stop()
    {
        finished = true;
        thread.join();
        return seen;
    }

private:
    std::atomic<bool> finished{false};
    std::vector<double> seen;
    std::thread thread;
};

TEST(ForEachAbort, AStopFromAnotherThreadEndsTheWalkAtASliceBorder)
{
    const SizeType slices = 400;
    MemoryVolumePtr<Tarn::uint16> volume = makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(4, 3, slices));
    std::uint8_t abort = 0;
    Progress progress;
    SlowSlices functor;
    ProgressWatcher watcher(progress, &abort, 0.1);
    ForEach::apply(functor, volume, progress, &abort);
    const std::vector<double> seen = watcher.stop();

    ASSERT_EQ(functor.calls % 12u, 0u) << "a slice once begun runs to its end";
    const SizeType walked = functor.calls / 12u;
    ASSERT_GE(walked, 1u);
    ASSERT_LT(walked, slices);
    EXPECT_LT(progress.getProgress(), 1.0);
    // Every slice but the one after which the stop was seen has been reported.
    const double expected = walked == 1 ? 0.0 : progressSteps(slices)[walked - 2];
    EXPECT_EQ(TestSupport::bitsOf(progress.getProgress()), TestSupport::bitsOf(expected));
    EXPECT_TRUE(TestSupport::neverFalls(seen));
    EXPECT_EQ(seen.back(), progress.getProgress());
}

TEST(ForEachProgress, SeenFromAnotherThreadNeverFallsAndEndsAtOne)
{
    MemoryVolumePtr<Tarn::uint16> volume = makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(4, 3, 60));
    std::uint8_t abort = 0;
    Progress progress;
    SlowSlices functor;
    ProgressWatcher watcher(progress, nullptr, 2.0);
    ForEach::apply(functor, volume, progress, &abort);
    const std::vector<double> seen = watcher.stop();
    EXPECT_EQ(functor.calls, 4u * 3u * 60u);
    EXPECT_TRUE(TestSupport::neverFalls(seen));
    EXPECT_EQ(seen.back(), 1.0);
    EXPECT_EQ(progress.getProgress(), 1.0);
}

// ---- a volume that reports any extents ------------------------------------------------------------

/// A cursor over one cell that notes, at every move by the slice step, the progress stored so far:
/// it lets a test see the walk between slices even where no voxel is handed to the functor.
struct SliceWatchingCursor {
    int* cell = nullptr;
    OffsetType sliceStep = 0;
    const Progress* progress = nullptr;
    std::vector<double>* progressAtSliceEnd = nullptr;

    int& operator*() const { return *cell; }
    SliceWatchingCursor& operator+=(OffsetType offset)
    {
        if (offset == sliceStep) progressAtSliceEnd->push_back(progress->getProgress());
        return *this;
    }
};

/// A view of any extents, also those a real volume refuses (zero on some axes only), with steps
/// 1, 1000, 1000000 that tell the three moves apart.
class ExtentsOnly : public IVolume {
public:
    ExtentsOnly(SizeType prim, SizeType sec, SizeType tert, const Progress& progress)
        : prim(prim), sec(sec), tert(tert), progress(progress)
    {
    }

    SliceWatchingCursor getIterator() const
    {
        return SliceWatchingCursor{&cell, 1000000, &progress, &progressAtSliceEnd};
    }

    std::string getVoxelTypeName() const override { return "Tarn::int32"; }
    std::string getAllocatorName() const override { return "none"; }
    Dimension<SizeType> getDimension() const override { return Dimension<SizeType>(prim, sec, tert); }
    SizeType getDimPrim() const override { return prim; }
    SizeType getDimSec() const override { return sec; }
    SizeType getDimTert() const override { return tert; }
    OffsetType getStepPrim() const override { return 1; }
    OffsetType getStepSec() const override { return 1000; }
    OffsetType getStepTert() const override { return 1000000; }
    SizeType size() const override { return prim * sec * tert; }
    Orientation getDefaultOrientation() const override { return Orientation(); }
    Dimension<SizeType> getVolumeDimension() const override { return getDimension(); }
    SizeType getVolumeDimPrim() const override { return prim; }
    SizeType getVolumeDimSec() const override { return sec; }
    SizeType getVolumeDimTert() const override { return tert; }
    std::list<Region> getBlockList() const override { return {}; }
    std::list<Region> getRoiStack() const override { return {}; }
    void setRoi(const Region&) override {}
    Region getRoi() const override { return Region(getDimension(), Position<SizeType>()); }
    void clearRoiStack() override {}
    void popRoi() override {}
    void setRoiToSlice(SizeType) override {}
    void reallocate(const Dimension<SizeType>&) override {}
    void setOrientation(const Orientation&) override {}
    Orientation getOrientation() const override { return Orientation(); }
    Position<SizeType> getPosition() const override { return Position<SizeType>(); }
    OffsetType getOffset(const Position<SizeType>&) const override { return 0; }

    mutable int cell = 0;
    mutable std::vector<double> progressAtSliceEnd;

private:
    SizeType prim, sec, tert;
    const Progress& progress;
};

TEST(ForEachProgress, NoPrimExtentStillReportsEverySlice)
{
    Progress progress;
    ExtentsOnly volume(0, 3, 4, progress);
    Recorder<int> recorder;
    ForEach::apply(recorder, volume, progress, &goOn);
    EXPECT_TRUE(recorder.visits.empty());
    const std::vector<double> steps = progressSteps(4);
    const std::vector<double> expected = {0.0, steps[0], steps[1], steps[2]};
    EXPECT_EQ(volume.progressAtSliceEnd, expected);
    EXPECT_EQ(progress.getProgress(), 1.0);
}

TEST(ForEachProgress, NoSecExtentStillReportsEverySlice)
{
    Progress progress;
    ExtentsOnly volume(5, 0, 3, progress);
    Recorder<int> recorder;
    ForEach::apply(recorder, volume, progress, &goOn);
    EXPECT_TRUE(recorder.visits.empty());
    const std::vector<double> steps = progressSteps(3);
    const std::vector<double> expected = {0.0, steps[0], steps[1]};
    EXPECT_EQ(volume.progressAtSliceEnd, expected);
    EXPECT_EQ(progress.getProgress(), 1.0);
}

TEST(ForEachProgress, NoTertExtentCallsNothingAndEndsAtOne)
{
    Progress progress;
    ExtentsOnly volume(5, 3, 0, progress);
    Recorder<int> recorder;
    ForEach::apply(recorder, volume, progress, &goOn);
    EXPECT_TRUE(recorder.visits.empty());
    EXPECT_TRUE(volume.progressAtSliceEnd.empty());
    EXPECT_EQ(progress.getProgress(), 1.0);
}

// ---- a functor that fails -------------------------------------------------------------------------

struct VoxelRefused : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Marks every voxel it is handed with -1 and fails at one position.
struct FailAt : Functor {
    void operator()(Tarn::int32& voxel)
    {
        if (prim == failPrim && sec == failSec && tert == failTert) throw VoxelRefused("refused");
        voxel = -1;
        ++calls;
    }
    SizeType failPrim = 0, failSec = 0, failTert = 0;
    SizeType calls = 0;
};

TEST(ForEachFailure, FunctorExceptionPassesThroughAndLeavesThePositionAtTheFailingVoxel)
{
    MemoryVolumePtr<Tarn::int32> volume = makeIndexVolume<Tarn::int32>(Dimension<SizeType>(3, 2, 3));
    FailAt functor;
    functor.failPrim = 1;
    functor.failSec = 0;
    functor.failTert = 1;
    Progress progress;
    EXPECT_THROW(ForEach::apply(functor, volume, progress, &goOn), VoxelRefused);
    EXPECT_EQ(functor.prim, 1u);
    EXPECT_EQ(functor.sec, 0u);
    EXPECT_EQ(functor.tert, 1u);
    EXPECT_EQ(functor.calls, 7u);
    // Voxels 0..6 were visited and stay changed; from the failing voxel 7 on nothing was touched.
    const std::vector<Tarn::int32> expected = {-1, -1, -1, -1, -1, -1, -1, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17};
    EXPECT_EQ(TestSupport::valuesInView(*volume), expected);
    // The one finished slice was reported; the walk did not get to its end.
    EXPECT_EQ(TestSupport::bitsOf(progress.getProgress()), TestSupport::bitsOf(progressSteps(3)[0]));
}

// ---- two volumes ----------------------------------------------------------------------------------

TEST(ForEachTwoVolumes, EachVolumeFollowsItsOwnOrientation)
{
    // The second volume, storage (2, 3, 2), shows storage sec backwards as view prim and storage
    // prim backwards as view sec: its view has the extent (3, 2, 2) of the first.
    MemoryVolumePtr<Tarn::uint8> first = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(3, 2, 2));
    MemoryVolumePtr<Tarn::float32> second = makeIndexVolume<Tarn::float32>(Dimension<SizeType>(2, 3, 2));
    second->setOrientation(Orientation(3, 1, 4));
    PairRecorder<Tarn::uint8, Tarn::float32> recorder;
    Progress progress;
    ForEach::apply(recorder, first, second, progress, &goOn);
    const std::vector<PairVisit> expected = {
        {0, 5, 0, 0, 0},  {1, 3, 1, 0, 0},  {2, 1, 2, 0, 0},  {3, 4, 0, 1, 0},  {4, 2, 1, 1, 0},  {5, 0, 2, 1, 0},
        {6, 11, 0, 0, 1}, {7, 9, 1, 0, 1},  {8, 7, 2, 0, 1},  {9, 10, 0, 1, 1}, {10, 8, 1, 1, 1}, {11, 6, 2, 1, 1}};
    EXPECT_EQ(recorder.visits, expected);
    EXPECT_EQ(progress.getProgress(), 1.0);
}

TEST(ForEachTwoVolumes, PositionsRunOverTheFirstVolumesAxes)
{
    // The first volume is the turned one now: positions are those of its view.
    MemoryVolumePtr<Tarn::float32> first = makeIndexVolume<Tarn::float32>(Dimension<SizeType>(2, 3, 2));
    first->setOrientation(Orientation(3, 1, 4));
    MemoryVolumePtr<Tarn::uint8> second = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(3, 2, 2));
    PairRecorder<Tarn::float32, Tarn::uint8> recorder;
    Progress progress;
    ForEach::apply(recorder, first, second, progress, &goOn);
    const std::vector<PairVisit> expected = {
        {5, 0, 0, 0, 0},  {3, 1, 1, 0, 0},  {1, 2, 2, 0, 0},  {4, 3, 0, 1, 0},  {2, 4, 1, 1, 0},  {0, 5, 2, 1, 0},
        {11, 6, 0, 0, 1}, {9, 7, 1, 0, 1},  {7, 8, 2, 0, 1},  {10, 9, 0, 1, 1}, {8, 10, 1, 1, 1}, {6, 11, 2, 1, 1}};
    EXPECT_EQ(recorder.visits, expected);
}

TEST(ForEachTwoVolumes, RegionsOfEqualExtentInVolumesOfDifferentSize)
{
    MemoryVolumePtr<Tarn::int16> first = makeIndexVolume<Tarn::int16>(Dimension<SizeType>(5, 4, 3));
    first->setRoi(Region(Dimension<SizeType>(2, 2, 2), Position<SizeType>(1, 1, 1)));
    MemoryVolumePtr<Tarn::uint32> second = makeIndexVolume<Tarn::uint32>(Dimension<SizeType>(3, 3, 3));
    second->setRoi(Region(Dimension<SizeType>(2, 2, 2), Position<SizeType>(0, 1, 0)));
    PairRecorder<Tarn::int16, Tarn::uint32> recorder;
    Progress progress;
    ForEach::apply(recorder, first, second, progress, &goOn);
    const std::vector<PairVisit> expected = {{26, 3, 0, 0, 0},  {27, 4, 1, 0, 0},  {31, 6, 0, 1, 0},
                                             {32, 7, 1, 1, 0},  {46, 12, 0, 0, 1}, {47, 13, 1, 0, 1},
                                             {51, 15, 0, 1, 1}, {52, 16, 1, 1, 1}};
    EXPECT_EQ(recorder.visits, expected);
}

/// Copies the first voxel into the second.
struct CopyInto : Functor {
    void operator()(const Tarn::float64& from, Tarn::int32& to) { to = static_cast<Tarn::int32>(from); }
};

TEST(ForEachTwoVolumes, SecondVoxelIsWritableThroughItsOwnView)
{
    MemoryVolumePtr<Tarn::float64> source = makeIndexVolume<Tarn::float64>(Dimension<SizeType>(2, 2, 2));
    MemoryVolumePtr<Tarn::int32> target(new MemoryVolume<Tarn::int32>(Dimension<SizeType>(2, 2, 2)));
    target->fill(-5);
    target->setOrientation(Orientation(5, 2, 0));
    CopyInto copy;
    Progress progress;
    ForEach::apply(copy, source, target, progress, &goOn);
    target->setOrientation(Orientation(0, 2, 4));
    // Source view (p, s, t), holding p + 2s + 4t, lands on target storage (t, s, 1 - p).
    const std::vector<Tarn::int32> expected = {1, 5, 3, 7, 0, 4, 2, 6};
    EXPECT_EQ(TestSupport::valuesInView(*target), expected);
}

TEST(ForEachTwoVolumes, AbortByteIsLookedAtPerSliceToo)
{
    MemoryVolumePtr<Tarn::uint8> first = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 3));
    MemoryVolumePtr<Tarn::uint8> second = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 3));
    PairRecorder<Tarn::uint8, Tarn::uint8> recorder;
    Progress progress;
    const std::uint8_t stop = 1;
    ForEach::apply(recorder, first, second, progress, &stop);
    EXPECT_EQ(recorder.visits.size(), 4u);
    EXPECT_EQ(progress.getProgress(), 0.0);
    const std::uint8_t two = 2;
    PairRecorder<Tarn::uint8, Tarn::uint8> again;
    ForEach::apply(again, first, second, progress, &two);
    EXPECT_EQ(again.visits.size(), 12u);
    EXPECT_EQ(progress.getProgress(), 1.0);
}

// ---- checkDimensions ------------------------------------------------------------------------------

TEST(ForEachCheckDimensions, FewerThanTwoVolumesAreNeverCompared)
{
    MemoryVolumePtr<Tarn::uint8> volume = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 3, 4));
    EXPECT_NO_THROW(ForEach::checkDimensions({}));
    EXPECT_NO_THROW(ForEach::checkDimensions({volume.get()}));
}

TEST(ForEachCheckDimensions, DifferingExtentFailsWithItsText)
{
    MemoryVolumePtr<Tarn::uint8> a = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 3, 4));
    MemoryVolumePtr<Tarn::uint8> b = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 3, 5));
    const TestSupport::TarnFailure failure =
        TestSupport::tarnFailureOf([&] { ForEach::checkDimensions({a.get(), b.get()}); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::InvalidArg");
    EXPECT_EQ(failure.error, "At least two volumes have divering Dimensions");
    EXPECT_EQ(failure.origin, "Tarn::Kito::Iterating::ForEach::checkDimensions");
    EXPECT_EQ(failure.gui, "Invalid argument!");
}

TEST(ForEachCheckDimensions, EveryEntryIsComparedWithTheFirst)
{
    MemoryVolumePtr<Tarn::uint8> a = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 3, 4));
    MemoryVolumePtr<Tarn::int16> b = makeIndexVolume<Tarn::int16>(Dimension<SizeType>(2, 3, 4));
    MemoryVolumePtr<Tarn::float32> c = makeIndexVolume<Tarn::float32>(Dimension<SizeType>(3, 3, 4));
    EXPECT_NO_THROW(ForEach::checkDimensions({a.get(), b.get()}));
    EXPECT_EQ(TestSupport::tarnFailureOf([&] { ForEach::checkDimensions({a.get(), b.get(), c.get()}); }).error,
              "At least two volumes have divering Dimensions");
}

TEST(ForEachCheckDimensions, ComparesTheViewsNotTheWholeVolumes)
{
    MemoryVolumePtr<Tarn::uint8> a = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 3, 4));
    MemoryVolumePtr<Tarn::uint8> b = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(3, 2, 4));
    EXPECT_EQ(TestSupport::tarnFailureOf([&] { ForEach::checkDimensions({a.get(), b.get()}); }).error,
              "At least two volumes have divering Dimensions");
    // Turned, b shows the extent (2, 3, 4) of a.
    b->setOrientation(Orientation(2, 0, 4));
    EXPECT_NO_THROW(ForEach::checkDimensions({a.get(), b.get()}));
    MemoryVolumePtr<Tarn::uint8> c = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(7, 7, 7));
    c->setRoi(Region(Dimension<SizeType>(2, 3, 4), Position<SizeType>(5, 1, 2)));
    EXPECT_NO_THROW(ForEach::checkDimensions({a.get(), c.get()}));
}

TEST(ForEachCheckDimensions, TwoVolumeWalkOfDifferingExtentsWalksNothing)
{
    MemoryVolumePtr<Tarn::uint8> first = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 2));
    MemoryVolumePtr<Tarn::uint8> second = makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 3));
    PairRecorder<Tarn::uint8, Tarn::uint8> recorder;
    Progress progress;
    const TestSupport::TarnFailure failure =
        TestSupport::tarnFailureOf([&] { ForEach::apply(recorder, first, second, progress, &goOn); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::InvalidArg");
    EXPECT_EQ(failure.error, "At least two volumes have divering Dimensions");
    EXPECT_EQ(failure.origin, "Tarn::Kito::Iterating::ForEach::checkDimensions");
    EXPECT_TRUE(recorder.visits.empty());
    EXPECT_EQ(progress.getProgress(), 0.0);
}

} // namespace
