// What the caller's functor holds during and after a walk: the walk may work on a copy of it, but
// the caller must see the same state as if every call had been made on its own object.
#include <Kito/ForEach>
#include <Kito/Functor>
#include <Kito/Progress>
#include <Kito/Volume>

#include <support/RandomVolume.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <vector>

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::Progress;
using Tarn::Kito::SizeType;
using Tarn::Kito::Iterating::ForEach;
using Tarn::Kito::Iterating::Functor;
using TestSupport::makeIndexVolume;
using TestSupport::MemoryVolumePtr;

const std::uint8_t goOn = 0;
const std::uint8_t stop = 1;

/// Sums the voxels and counts its calls; copyable, so the walk may keep it in its own frame.
struct Summing : Functor {
    void operator()(const Tarn::uint16& voxel)
    {
        sum += voxel;
        ++calls;
    }
    std::uint64_t sum = 0;
    std::uint64_t calls = 0;
};

/// The same, but without copies: the walk has to work on the caller's object.
struct SummingInPlace : Functor {
    SummingInPlace() = default;
    SummingInPlace(const SummingInPlace&) = delete;
    SummingInPlace& operator=(const SummingInPlace&) = delete;
    void operator()(const Tarn::uint16& voxel)
    {
        sum += voxel;
        ++calls;
    }
    std::uint64_t sum = 0;
    std::uint64_t calls = 0;
};


TEST(ForEachFunctorState, CallerSeesTheSumOfEveryVoxel)
{
    const MemoryVolumePtr<Tarn::uint16> volume = makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(4, 3, 5));
    Summing functor;
    functor.sum = 1000; // a walk continues from whatever the functor holds
    Progress progress;
    ForEach::apply(functor, volume, progress, &goOn);
    EXPECT_EQ(functor.calls, 60u);
    EXPECT_EQ(functor.sum, 1000u + 59u * 60u / 2u);
    EXPECT_EQ(functor.prim, 3u);
    EXPECT_EQ(functor.sec, 2u);
    EXPECT_EQ(functor.tert, 4u);
}

TEST(ForEachFunctorState, FunctorThatCannotBeCopiedIsWalkedInPlace)
{
    const MemoryVolumePtr<Tarn::uint16> volume = makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(4, 3, 5));
    SummingInPlace functor;
    Progress progress;
    ForEach::apply(functor, volume, progress, &goOn);
    EXPECT_EQ(functor.calls, 60u);
    EXPECT_EQ(functor.sum, 59u * 60u / 2u);
}

TEST(ForEachFunctorState, StoppedWalkHandsBackTheSliceItFinished)
{
    // The abort byte is read after the first slice: the caller's functor holds that slice's sum.
    const MemoryVolumePtr<Tarn::uint16> volume = makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(4, 3, 5));
    Summing functor;
    Progress progress;
    ForEach::apply(functor, volume, progress, &stop);
    EXPECT_EQ(functor.calls, 12u);
    EXPECT_EQ(functor.sum, 11u * 12u / 2u);
    EXPECT_EQ(functor.tert, 0u);
    EXPECT_LT(progress.getProgress(), 1.0);
}

TEST(ForEachFunctorState, TwoVolumeWalkHandsBackItsState)
{
    const MemoryVolumePtr<Tarn::uint16> first = makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(3, 3, 3));
    const MemoryVolumePtr<Tarn::uint16> second = makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(3, 3, 3));
    struct Pairs : Functor {
        void operator()(const Tarn::uint16& a, Tarn::uint16& b)
        {
            sum += a;
            b = static_cast<Tarn::uint16>(2 * b);
        }
        std::uint64_t sum = 0;
    } functor;
    Progress progress;
    ForEach::apply(functor, first, second, progress, &goOn);
    EXPECT_EQ(functor.sum, 26u * 27u / 2u);
    EXPECT_EQ(second->getValueAt(Tarn::Kito::Position<SizeType>(2, 2, 2)), 52);
}

} // namespace
