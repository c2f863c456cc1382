#include "VolumeTestSupport.h"

#include <Kito/Orientation>
#include <Kito/Triple>
#include <Kito/Volume>

#include <gtest/gtest.h>

#include <limits>
#include <list>
#include <string>

namespace {

using namespace VolumeTesting;

void expectRefusedAsOutsideTheRegion(MemoryVolume<Tarn::uint8>& volume, const Region& roi)
{
    const auto stackBefore = volume.getRoiStack();
    const Region viewBefore = volume.getRoi();
    const OffsetType firstBefore = volume.getOffset(pos(0, 0, 0));
    const Failure failure = tarnFailureOf([&] { volume.setRoi(roi); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::OutOfRange");
    EXPECT_EQ(failure.gui, "A value is out of the valid range!");
    EXPECT_EQ(failure.error, "Tarn::Kito::Volume::setRoi");
    EXPECT_EQ(failure.origin, "Tarn::Kito::Volume::setRoi");
    EXPECT_EQ(failure.file, "Kito/include/Kito/Volume");
    EXPECT_EQ(volume.getRoiStack(), stackBefore);
    EXPECT_EQ(volume.getRoi(), viewBefore);
    EXPECT_EQ(volume.getOffset(pos(0, 0, 0)), firstBefore);
}

TEST(VolumeRoiStack, RegionEqualToTheRegionInForceIsAccepted)
{
    MemoryVolume<Tarn::uint8> volume(dim(5, 4, 3));
    volume.setRoi(region(dim(5, 4, 3), pos(0, 0, 0)));
    volume.setRoi(region(dim(3, 2, 2), pos(1, 1, 1)));
    volume.setRoi(region(dim(3, 2, 2), pos(0, 0, 0)));
    EXPECT_EQ(volume.getRoiStack().size(), 4u);
    EXPECT_EQ(volume.getRoiStack().back(), region(dim(3, 2, 2), pos(1, 1, 1)));
}

TEST(VolumeRoiStack, OneVoxelMoreAlongAnyAxisIsRefused)
{
    MemoryVolume<Tarn::uint8> volume(dim(5, 4, 3));
    volume.setRoi(region(dim(3, 2, 2), pos(1, 1, 1)));
    expectRefusedAsOutsideTheRegion(volume, region(dim(4, 2, 2), pos(0, 0, 0)));
    expectRefusedAsOutsideTheRegion(volume, region(dim(3, 3, 2), pos(0, 0, 0)));
    expectRefusedAsOutsideTheRegion(volume, region(dim(3, 2, 3), pos(0, 0, 0)));
    expectRefusedAsOutsideTheRegion(volume, region(dim(3, 2, 2), pos(1, 0, 0)));
    expectRefusedAsOutsideTheRegion(volume, region(dim(1, 1, 1), pos(0, 0, 2)));
}

TEST(VolumeRoiStack, OneVoxelMoreIsRefusedAlsoAlongMirroredAndPermutedAxes)
{
    MemoryVolume<Tarn::uint8> volume(dim(5, 4, 3));
    volume.setRoi(region(dim(3, 2, 2), pos(1, 1, 1)));
    volume.setOrientation(Orientation(3, 5, 1));
    ASSERT_EQ(volume.getDimension(), dim(2, 2, 3));
    volume.setRoi(region(dim(2, 2, 3), pos(0, 0, 0)));
    volume.popRoi();
    expectRefusedAsOutsideTheRegion(volume, region(dim(3, 2, 3), pos(0, 0, 0)));
    expectRefusedAsOutsideTheRegion(volume, region(dim(2, 3, 3), pos(0, 0, 0)));
    expectRefusedAsOutsideTheRegion(volume, region(dim(2, 2, 4), pos(0, 0, 0)));
    expectRefusedAsOutsideTheRegion(volume, region(dim(1, 1, 1), pos(0, 0, 3)));
    expectRefusedAsOutsideTheRegion(volume, region(dim(2, 1, 1), pos(1, 0, 0)));
    expectRefusedAsOutsideTheRegion(volume, region(dim(1, 1, 1), pos(9, 0, 0)));
}

TEST(VolumeRoiStack, RegionsNestRelativeToTheRegionInForce)
{
    MemoryVolume<Tarn::uint8> volume(dim(8, 8, 8));
    volume.setRoi(region(dim(5, 5, 5), pos(2, 3, 1)));
    volume.setRoi(region(dim(2, 2, 2), pos(1, 1, 3)));
    EXPECT_EQ(volume.getRoiStack().back(), region(dim(2, 2, 2), pos(3, 4, 4)));
    EXPECT_EQ(volume.getRoi(), region(dim(2, 2, 2), pos(3, 4, 4)));
    EXPECT_EQ(volume.getOffset(pos(0, 0, 0)), 3 + 4 * 8 + 4 * 64);
}

TEST(VolumeRoiStack, RegionInAMirroredViewIsMeasuredFromTheFarEnd)
{
    MemoryVolume<Tarn::uint8> volume(dim(10, 4, 3));
    volume.setOrientation(Orientation(1, 2, 4));
    volume.setRoi(region(dim(3, 4, 3), pos(2, 0, 0)));
    // The view's prim 2..4 from the far end of 10 voxels are storage prim 7..5.
    EXPECT_EQ(volume.getRoiStack().back(), region(dim(3, 4, 3), pos(5, 0, 0)));
    EXPECT_EQ(volume.getPosition(), pos(2, 0, 0));
    EXPECT_EQ(volume.getOffset(pos(0, 0, 0)), 7);
}

TEST(VolumeRoiStack, RegionInAPermutedViewIsTakenAxisByAxis)
{
    MemoryVolume<Tarn::uint8> volume(dim(10, 6, 4));
    volume.setOrientation(Orientation(4, 0, 2));
    volume.setRoi(region(dim(2, 3, 1), pos(1, 4, 5)));
    EXPECT_EQ(volume.getRoiStack().back(), region(dim(3, 1, 2), pos(4, 5, 1)));
    EXPECT_EQ(volume.getDimension(), dim(2, 3, 1));
}

TEST(VolumeRoiStack, MixedBoundingSizeFailsTheSizeCheck)
{
    MemoryVolume<Tarn::uint8> volume(dim(4, 4, 4));
    EXPECT_EQ(plainOutOfRangeOf([&] { volume.setRoi(region(dim(0, 1, 1), pos(0, 0, 0))); }),
              "Tarn::Kito::Dimension< Tarn::uint64 >::check invalid values detected ( 0 , 1 , 1 ) ");
    EXPECT_EQ(volume.getRoiStack().size(), 1u);
}

TEST(VolumeRoiStack, BoundingOverflowFailsInTheGeometry)
{
    MemoryVolume<Tarn::uint8> volume(dim(4, 4, 4));
    const SizeType largest = std::numeric_limits<SizeType>::max();
    EXPECT_EQ(plainOutOfRangeOf([&] { volume.setRoi(region(dim(1, 1, largest), pos(0, 0, 1))); }),
              "Tarn::Kito::< Tarn::uint64 >getBoundingDim prim component is out of range");
    EXPECT_EQ(volume.getRoiStack().size(), 1u);
}

TEST(VolumeRoiStack, SliceOfTheLastIndexIsOneVoxelThick)
{
    MemoryVolume<Tarn::uint8> volume(dim(4, 3, 5));
    volume.setRoiToSlice(4);
    EXPECT_EQ(volume.getDimension(), dim(4, 3, 1));
    EXPECT_EQ(volume.getRoiStack().back(), region(dim(4, 3, 1), pos(0, 0, 4)));
}

TEST(VolumeRoiStack, SliceIndexEqualToTheTertSizeIsRefused)
{
    MemoryVolume<Tarn::uint8> volume(dim(4, 3, 5));
    const Failure failure = tarnFailureOf([&] { volume.setRoiToSlice(5); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::OutOfRange");
    EXPECT_EQ(failure.error, "Tarn::Kito::Volume::setRoiToSlice(Tarn::Kito::SizeType)");
    EXPECT_EQ(failure.origin, "Tarn::Kito::Volume::setRoiToSlice(Tarn::Kito::SizeType)");
    EXPECT_EQ(failure.file, "Kito/include/Kito/Volume");
    EXPECT_EQ(volume.getRoiStack().size(), 1u);
}

TEST(VolumeRoiStack, SliceFollowsTheOrientationAndTheRegion)
{
    MemoryVolume<Tarn::uint8> volume(dim(6, 5, 4));
    volume.setRoi(region(dim(4, 3, 2), pos(1, 1, 1)));
    volume.setOrientation(Orientation(4, 2, 1));
    ASSERT_EQ(volume.getDimTert(), 4u);
    EXPECT_EQ(tarnFailureOf([&] { volume.setRoiToSlice(4); }).error,
              "Tarn::Kito::Volume::setRoiToSlice(Tarn::Kito::SizeType)");
    volume.setRoiToSlice(0);
    // View axis 2 is storage prim mirrored: slice 0 is the last prim column of the region, x = 4.
    EXPECT_EQ(volume.getRoiStack().back(), region(dim(1, 3, 2), pos(4, 1, 1)));
    EXPECT_EQ(volume.getDimension(), dim(2, 3, 1));
}

TEST(VolumeRoiStack, PopsBeyondTheBottomLeaveItInForce)
{
    MemoryVolume<Tarn::uint8> volume(dim(4, 4, 4));
    volume.setRoi(region(dim(3, 3, 3), pos(1, 1, 1)));
    volume.setRoi(region(dim(1, 2, 1), pos(1, 1, 1)));
    volume.popRoi();
    EXPECT_EQ(volume.getDimension(), dim(3, 3, 3));
    volume.popRoi();
    volume.popRoi();
    volume.popRoi();
    ASSERT_EQ(volume.getRoiStack().size(), 1u);
    EXPECT_EQ(volume.getRoiStack().front(), region(dim(4, 4, 4), pos(0, 0, 0)));
    EXPECT_EQ(volume.getDimension(), dim(4, 4, 4));
    EXPECT_EQ(volume.getOffset(pos(0, 0, 0)), 0);
}

TEST(VolumeRoiStack, ClearLeavesOnlyTheWholeVolume)
{
    MemoryVolume<Tarn::uint8> volume(dim(4, 3, 2));
    volume.setRoi(region(dim(2, 2, 2), pos(1, 1, 0)));
    volume.setRoiToSlice(1);
    volume.clearRoiStack();
    ASSERT_EQ(volume.getRoiStack().size(), 1u);
    EXPECT_EQ(volume.getRoiStack().front(), region(dim(4, 3, 2), pos(0, 0, 0)));
    EXPECT_EQ(volume.size(), 24u);
}

TEST(VolumeRoiStack, ReallocateDropsTheRegionsAndKeepsTheOrientation)
{
    MemoryVolume<Tarn::int16> volume(dim(4, 3, 2));
    volume.setRoi(region(dim(2, 2, 2), pos(1, 1, 0)));
    volume.setOrientation(Orientation(2, 0, 5));
    volume.reallocate(dim(6, 5, 3));
    ASSERT_EQ(volume.getRoiStack().size(), 1u);
    EXPECT_EQ(volume.getRoiStack().front(), region(dim(6, 5, 3), pos(0, 0, 0)));
    EXPECT_EQ(volume.getVolumeDimension(), dim(6, 5, 3));
    EXPECT_EQ(volume.getOrientation(), Orientation(2, 0, 5));
    EXPECT_EQ(volume.getDimension(), dim(5, 6, 3));
    ASSERT_EQ(volume.getBlockList().size(), 1u);
    EXPECT_EQ(volume.getBlockList().front(), region(dim(6, 5, 3), pos(0, 0, 0)));
}

TEST(VolumeRoiStack, ReallocateToTheSameSizeKeepsTheVoxels)
{
    MemoryVolume<Tarn::int16> volume(dim(4, 3, 2));
    volume.fill(-3);
    const Tarn::int16* before = volume.getIterator();
    volume.setRoi(region(dim(1, 1, 1), pos(3, 2, 1)));
    volume.reallocate(dim(4, 3, 2));
    EXPECT_EQ(volume.getIterator(), before);
    EXPECT_EQ(volume.getValueAt(pos(3, 2, 1)), -3);
    EXPECT_EQ(volume.getRoiStack().size(), 1u);
}

TEST(VolumeRoiStack, ReallocateToEmptyLeavesAnEmptyWholeRegion)
{
    MemoryVolume<Tarn::int16> volume(dim(4, 3, 2));
    volume.reallocate(dim(0, 0, 0));
    EXPECT_EQ(volume.getIterator(), nullptr);
    EXPECT_EQ(volume.size(), 0u);
    ASSERT_EQ(volume.getRoiStack().size(), 1u);
    EXPECT_EQ(volume.getRoiStack().front(), region(dim(0, 0, 0), pos(0, 0, 0)));
}

TEST(VolumeRoiStack, SizeIsTheVoxelCountOfTheRegionInForce)
{
    MemoryVolume<Tarn::uint8> volume(dim(7, 5, 3));
    EXPECT_EQ(volume.size(), 105u);
    volume.setRoi(region(dim(2, 3, 2), pos(0, 0, 0)));
    volume.setOrientation(Orientation(5, 1, 2));
    EXPECT_EQ(volume.size(), 12u);
    const Tarn::Kito::IVolume& face = volume;
    EXPECT_EQ(face.size(), 12u);
}

TEST(VolumeRoiStack, EmptyVolumeTakesOnlyAnEmptyRegion)
{
    MemoryVolume<Tarn::uint8> volume(dim(0, 0, 0));
    EXPECT_EQ(tarnFailureOf([&] { volume.setRoi(region(dim(1, 1, 1), pos(0, 0, 0))); }).error,
              "Tarn::Kito::Volume::setRoi");
    EXPECT_TRUE(volume.getRoiStack().empty());
    volume.setRoi(region(dim(0, 0, 0), pos(0, 0, 0)));
    EXPECT_EQ(volume.getRoiStack().size(), 1u);
    EXPECT_EQ(volume.size(), 0u);
}

} // namespace
