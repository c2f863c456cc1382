// The block walk: a walk over a volume whose iterator is no pointer goes block by block, each block
// inside one chunk of every volume, with positions over the whole view and a progress that starts
// again at every block.
#include <Kito/BufferedInputFileAllocator>
#include <Kito/ForEach>
#include <Kito/ForEachParallel>
#include <Kito/InputFileAllocator>
#include <Kito/Volume>

#include <support/RandomVolume.h>
#include <support/VolumeFiles.h>

#include <gtest/gtest.h>

#include <omp.h>

#include <cstdint>
#include <list>
#include <string>
#include <vector>

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::OffsetType;
using Tarn::Kito::Orientation;
using Tarn::Kito::Position;
using Tarn::Kito::Progress;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::SizeType;
using Tarn::Kito::Volume;
using Tarn::Kito::VolumePtr;
using Tarn::Kito::Iterating::ForEach;
using Tarn::Kito::Iterating::Functor;

const std::uint8_t goOn = 0;

/// A cursor over memory that is no pointer, as a file's cursor is not.
template <class T> struct Stepping {
    T& operator*() const { return *at; }
    Stepping& operator+=(OffsetType step)
    {
        at += step;
        return *this;
    }
    T* at = nullptr;
};

/// Voxels in memory, described as two chunks that split the volume along tert: the walk must cut
/// its blocks at the border between them.
class SplitAllocator : public Tarn::Kito::Persistence::CompositeLeaf<SplitAllocator> {
public:
    template <class T> using Iterator = Stepping<T>;
    template <class T> struct Storage {
        Iterator<T> begin;
        std::list<RegionOfInterest<SizeType>> blocks;
    };

    std::string getType() const override { return "SplitAllocator"; }

    template <class T> static Storage<T> allocate(const Dimension<SizeType>& d)
    {
        Storage<T> storage;
        storage.begin.at = new T[d.size()];
        const SizeType lower = d.tert / 2;
        storage.blocks.push_back(RegionOfInterest<SizeType>(Dimension<SizeType>(d.prim, d.sec, lower),
                                                            Position<SizeType>(0, 0, 0)));
        storage.blocks.push_back(RegionOfInterest<SizeType>(Dimension<SizeType>(d.prim, d.sec, d.tert - lower),
                                                            Position<SizeType>(0, 0, lower)));
        return storage;
    }
    template <class T> static void reallocate(const Dimension<SizeType>&, const Dimension<SizeType>&, Storage<T>&) {}
    template <class T> static void release(Storage<T>& storage)
    {
        delete[] storage.begin.at;
        storage = Storage<T>();
    }
};

using SplitVolume = Volume<Tarn::uint16, SplitAllocator>;

/// What a walk handed over: each voxel's value and position, and the progress at each slice start.
struct Recorder : Functor {
    void operator()(const Tarn::uint16& value)
    {
        values.push_back(value);
        positions.push_back(Position<SizeType>(prim, sec, tert));
        if (prim == 0 && sec == 0) progressSeen.push_back(progress->getProgress());
    }
    const Progress* progress = nullptr;
    std::vector<Tarn::uint16> values;
    std::vector<Position<SizeType>> positions;
    std::vector<double> progressSeen;
};

/// A split volume of extent d with voxels p + P*s + P*S*t.
std::unique_ptr<SplitVolume> makeSplitVolume(const Dimension<SizeType>& d)
{
    auto volume = std::make_unique<SplitVolume>(d);
    for (SizeType t = 0; t < d.tert; ++t)
        for (SizeType s = 0; s < d.sec; ++s)
            for (SizeType p = 0; p < d.prim; ++p)
                *volume->getPosOffset(Position<SizeType>(p, s, t)) = static_cast<Tarn::uint16>(p + d.prim * (s + d.sec * t));
    return volume;
}

/// The positions of the view in walk order, tert outermost.
std::vector<Position<SizeType>> walkOrder(const Dimension<SizeType>& d)
{
    std::vector<Position<SizeType>> order;
    for (SizeType t = 0; t < d.tert; ++t)
        for (SizeType s = 0; s < d.sec; ++s)
            for (SizeType p = 0; p < d.prim; ++p) order.push_back(Position<SizeType>(p, s, t));
    return order;
}

TEST(BlockWalk, TwoChunksAreWalkedAsTwoBlocksAndTheProgressFallsBackBetweenThem)
{
    const std::unique_ptr<SplitVolume> volume = makeSplitVolume(Dimension<SizeType>(3, 2, 6));
    Progress progress;
    Recorder recorder;
    recorder.progress = &progress;
    ForEach::apply(recorder, *volume, progress, &goOn);

    // Block 1 is slices 0 to 2, block 2 slices 3 to 5: the order is the view's, as for one block.
    EXPECT_EQ(recorder.positions, walkOrder(Dimension<SizeType>(3, 2, 6)));
    std::vector<Tarn::uint16> expected(36);
    for (std::size_t i = 0; i < expected.size(); ++i) expected[i] = static_cast<Tarn::uint16>(i);
    EXPECT_EQ(recorder.values, expected);

    // Each block counts from 0 again, by 0.99 / (2 blocks * 3 slices) per slice.
    const double step = 0.99 / (2.0 * 3.0);
    const std::vector<double> seen = recorder.progressSeen;
    ASSERT_EQ(seen.size(), 6u);
    EXPECT_EQ(seen[0], 0.0);
    EXPECT_EQ(TestSupport::bitsOf(seen[1]), TestSupport::bitsOf(step));
    EXPECT_EQ(TestSupport::bitsOf(seen[2]), TestSupport::bitsOf(step + step));
    EXPECT_EQ(TestSupport::bitsOf(seen[3]), TestSupport::bitsOf(step + step + step)) << "the end of block 1";
    EXPECT_EQ(TestSupport::bitsOf(seen[4]), TestSupport::bitsOf(step)) << "fallen back at the block border";
    EXPECT_EQ(TestSupport::bitsOf(seen[5]), TestSupport::bitsOf(step + step));
    EXPECT_EQ(progress.getProgress(), 1.0);
}

TEST(BlockWalk, ARegionAcrossTheChunkBorderInATurnedViewIsWalkedInTheViewsOrder)
{
    const std::unique_ptr<SplitVolume> volume = makeSplitVolume(Dimension<SizeType>(4, 3, 8));
    const std::unique_ptr<TestSupport::MemoryVolume<Tarn::uint16>> reference =
        std::make_unique<TestSupport::MemoryVolume<Tarn::uint16>>(Dimension<SizeType>(4, 3, 8));
    for (SizeType i = 0; i < 96; ++i) *(reference->getIterator() + i) = static_cast<Tarn::uint16>(i);
    for (auto* v : {static_cast<Tarn::Kito::IVolume*>(volume.get()), static_cast<Tarn::Kito::IVolume*>(reference.get())}) {
        v->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(3, 2, 5), Position<SizeType>(1, 1, 2)));
        v->setOrientation(Orientation(5, 0, 3)); // tert mirrored first, then prim, then sec mirrored
    }
    Progress progress;
    Recorder recorder;
    recorder.progress = &progress;
    ForEach::apply(recorder, *volume, progress, &goOn);
    // The view is (5, 3, 2): view prim is storage tert, mirrored, which the chunk border at storage
    // slice 4 cuts into view prim [3, 5) (storage slices 2 and 3) and [0, 3): two blocks, each walked
    // whole, in that order.
    ASSERT_EQ(reference->getDimension(), Dimension<SizeType>(5, 3, 2));
    std::vector<Tarn::uint16> values;
    std::vector<Position<SizeType>> positions;
    for (const auto& primRange : {std::make_pair(3, 5), std::make_pair(0, 3)})
        for (SizeType t = 0; t < 2; ++t)
            for (SizeType s = 0; s < 3; ++s)
                for (SizeType p = SizeType(primRange.first); p < SizeType(primRange.second); ++p) {
                    positions.push_back(Position<SizeType>(p, s, t));
                    values.push_back(reference->getValueAt(Position<SizeType>(p, s, t)));
                }
    EXPECT_EQ(recorder.values, values);
    EXPECT_EQ(recorder.positions, positions);
    EXPECT_EQ(progress.getProgress(), 1.0);
    EXPECT_EQ(volume->getRoiStack().size(), 2u) << "the blocks' regions are popped again";
}

TEST(BlockWalk, AStopEndsTheWalkAfterTheSliceAndBeforeTheFinalProgress)
{
    const std::unique_ptr<SplitVolume> volume = makeSplitVolume(Dimension<SizeType>(2, 2, 6));
    Progress progress;
    Recorder recorder;
    recorder.progress = &progress;
    const std::uint8_t stop = 1;
    ForEach::apply(recorder, *volume, progress, &stop);
    EXPECT_EQ(recorder.values.size(), 4u) << "one slice";
    EXPECT_LT(progress.getProgress(), 1.0);
}

TEST(BlockWalk, TwoVolumesWithChunksAtDifferentPlacesAreCutAtEveryBorder)
{
    // The first volume's chunks are view slices [0,3) and [3,6). The second is 7 slices split at 3,
    // seen through the region of slices 1 to 6, mirrored along tert: its chunks are view slices
    // [4,6) and [0,4). The common blocks, the second volume's list outermost: [4,6), [0,3), [3,4).
    const std::unique_ptr<SplitVolume> first = makeSplitVolume(Dimension<SizeType>(2, 2, 6));
    const std::unique_ptr<SplitVolume> second = makeSplitVolume(Dimension<SizeType>(2, 2, 7));
    second->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(2, 2, 6), Position<SizeType>(0, 0, 1)));
    second->setOrientation(Orientation(0, 2, 5));
    struct Pairs : Functor {
        void operator()(const Tarn::uint16& a, const Tarn::uint16& b)
        {
            seen.push_back({prim, sec, tert, a, b});
            if (prim == 0 && sec == 0) progressSeen.push_back(progress->getProgress());
        }
        const Progress* progress = nullptr;
        std::vector<std::vector<SizeType>> seen;
        std::vector<double> progressSeen;
    } pairs;
    Progress progress;
    pairs.progress = &progress;
    ForEach::apply(pairs, *first, *second, progress, &goOn);

    std::vector<std::vector<SizeType>> expected;
    for (SizeType t : {4, 5, 0, 1, 2, 3})
        for (SizeType s = 0; s < 2; ++s)
            for (SizeType p = 0; p < 2; ++p)
                expected.push_back({p, s, t, p + 2 * (s + 2 * t), p + 2 * (s + 2 * (6 - t))});
    EXPECT_EQ(pairs.seen, expected);
    const double two = 0.99 / (3.0 * 2.0), three = 0.99 / (3.0 * 3.0);
    // What a slice start sees is what the slice before stored: the first slice of a block sees the
    // end of the block before, and the block's own first store falls back below it.
    const std::vector<double> progressExpected = {0.0, two, two + two, three, three + three, three + three + three};
    ASSERT_EQ(pairs.progressSeen.size(), progressExpected.size());
    for (std::size_t i = 0; i < progressExpected.size(); ++i)
        EXPECT_EQ(TestSupport::bitsOf(pairs.progressSeen[i]), TestSupport::bitsOf(progressExpected[i])) << i;
    EXPECT_EQ(progress.getProgress(), 1.0);
}

// ---- file volumes -------------------------------------------------------------------------------

template <class A> void expectFileWalkLikeMemoryWalk()
{
    TestSupport::ScratchDirectory dir;
    const std::string path = dir.file("v.rek");
    const Dimension<SizeType> d(300, 70, 5); // 210,000 bytes: seven pages
    const auto memory = TestSupport::makeRandomVolume<Tarn::uint16>(d, 17);
    TestSupport::writeVolumeFile(path, TestSupport::storageVoxels(*memory));
    VolumePtr<Tarn::uint16, A> file(new Volume<Tarn::uint16, A>(path, d));

    Progress fileProgress, memoryProgress;
    Recorder fromFile, fromMemory;
    fromFile.progress = &fileProgress;
    fromMemory.progress = &memoryProgress;
    ForEach::apply(fromFile, file, fileProgress, &goOn);
    ForEach::apply(fromMemory, memory, memoryProgress, &goOn);
    EXPECT_EQ(fromFile.values, fromMemory.values);
    EXPECT_EQ(fromFile.positions, fromMemory.positions);
    // One block: the progress rises as in a walk over memory.
    EXPECT_EQ(fromFile.progressSeen, fromMemory.progressSeen);
    EXPECT_EQ(fileProgress.getProgress(), 1.0);
}

TEST(BlockWalk, AFileVolumeIsOneBlockAndWalksAsAVolumeInMemory)
{
    expectFileWalkLikeMemoryWalk<Tarn::Kito::Allocator::BufferedInputFileAllocator>();
    expectFileWalkLikeMemoryWalk<Tarn::Kito::Allocator::InputFileAllocator>();
}

TEST(BlockWalk, AStopOnAFileVolumeEndsAfterTheFirstSlice)
{
    TestSupport::ScratchDirectory dir;
    const std::string path = dir.file("v.rek");
    const Dimension<SizeType> d(20, 10, 6);
    TestSupport::writeVolumeFile(path, std::vector<Tarn::uint16>(d.size(), 3));
    VolumePtr<Tarn::uint16, Tarn::Kito::Allocator::BufferedInputFileAllocator> file(
        new Volume<Tarn::uint16, Tarn::Kito::Allocator::BufferedInputFileAllocator>(path, d));
    Progress progress;
    Recorder recorder;
    recorder.progress = &progress;
    const std::uint8_t stop = 1;
    ForEach::apply(recorder, file, progress, &stop);
    EXPECT_EQ(recorder.values.size(), 200u);
    EXPECT_EQ(TestSupport::bitsOf(progress.getProgress()), TestSupport::bitsOf(0.0)) << "stopped before storing";
}

TEST(BlockWalk, TwoWalkersOfOneFileOnDifferentThreadsReadTheSameVoxels)
{
    TestSupport::ScratchDirectory dir;
    const std::string path = dir.file("v.rek");
    const Dimension<SizeType> d(256, 128, 9);
    const auto memory = TestSupport::makeRandomVolume<Tarn::uint16>(d, 5);
    TestSupport::writeVolumeFile(path, TestSupport::storageVoxels(*memory));
    using A = Tarn::Kito::Allocator::BufferedInputFileAllocator;
    VolumePtr<Tarn::uint16, A> file(new Volume<Tarn::uint16, A>(path, d));
    for (int threads : {1, 2, 3}) {
        TestSupport::MemoryVolumePtr<Tarn::uint16> copy(new TestSupport::MemoryVolume<Tarn::uint16>(d));
        struct Assign : Functor {
            void operator()(Tarn::uint16& to, const Tarn::uint16& from) const { to = from; }
        } assign;
        Progress progress;
        const int saved = omp_get_max_threads();
        omp_set_num_threads(threads);
        Tarn::Kito::Iterating::ForEachParallel::apply(&assign, copy, file, progress, &goOn);
        omp_set_num_threads(saved);
        EXPECT_EQ(TestSupport::storageVoxels(*copy), TestSupport::storageVoxels(*memory)) << threads << " threads";
    }
}

} // namespace
