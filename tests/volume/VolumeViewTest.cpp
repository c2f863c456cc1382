#include "VolumeTestSupport.h"

#include <Kito/ForEach>
#include <Kito/Functor>
#include <Kito/Orientation>
#include <Kito/Progress>
#include <Kito/Triple>
#include <Kito/Volume>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace VolumeTesting;

// ---- an independent reading of a view ------------------------------------------------------------
//
// A view position (v0, v1, v2) shows, along the storage axis of code i, the coordinate
// origin + v_i of the region in force, or origin + size - 1 - v_i if code i is odd. The storage
// offset of (x, y, z) is x + y*P + z*P*S.

struct StorageBox {
    SizeType origin[3];
    SizeType size[3];
};

StorageBox boxOf(const Region& r)
{
    return {{r.origin.prim, r.origin.sec, r.origin.tert}, {r.dim.prim, r.dim.sec, r.dim.tert}};
}

int axisOfCode(int code) { return code / 2; }
bool mirroredCode(int code) { return code % 2 == 1; }
int codeAt(const Orientation& o, int i) { return i == 0 ? o.prim : (i == 1 ? o.sec : o.tert); }

OffsetType expectedOffset(const StorageBox& box, const Orientation& o, const Dimension<SizeType>& whole,
                          const SizeType view[3])
{
    SizeType storage[3] = {0, 0, 0};
    for (int i = 0; i < 3; ++i) {
        const int code = codeAt(o, i);
        const int axis = axisOfCode(code);
        storage[axis] = mirroredCode(code) ? box.origin[axis] + box.size[axis] - 1 - view[i] : box.origin[axis] + view[i];
    }
    return static_cast<OffsetType>(storage[0] + storage[1] * whole.prim + storage[2] * whole.prim * whole.sec);
}

SizeType viewSize(const StorageBox& box, const Orientation& o, int i) { return box.size[axisOfCode(codeAt(o, i))]; }

/// Every view position in view order (prim fastest), each with the offset the independent
/// reading gives.
std::vector<OffsetType> expectedWalk(const StorageBox& box, const Orientation& o, const Dimension<SizeType>& whole)
{
    std::vector<OffsetType> result;
    SizeType v[3];
    for (v[2] = 0; v[2] < viewSize(box, o, 2); ++v[2])
        for (v[1] = 0; v[1] < viewSize(box, o, 1); ++v[1])
            for (v[0] = 0; v[0] < viewSize(box, o, 0); ++v[0]) result.push_back(expectedOffset(box, o, whole, v));
    return result;
}

/// The region that a push of roi (view terms) into the view (box, o) selects, read axis by axis:
/// along a mirrored axis the view counts from the far end of the region in force.
StorageBox expectedPush(const StorageBox& box, const Orientation& o, const Region& roi)
{
    const SizeType size[3] = {roi.dim.prim, roi.dim.sec, roi.dim.tert};
    const SizeType start[3] = {roi.origin.prim, roi.origin.sec, roi.origin.tert};
    StorageBox result = box;
    for (int i = 0; i < 3; ++i) {
        const int code = codeAt(o, i);
        const int axis = axisOfCode(code);
        result.size[axis] = size[i];
        result.origin[axis] = mirroredCode(code) ? box.origin[axis] + box.size[axis] - start[i] - size[i]
                                                 : box.origin[axis] + start[i];
    }
    return result;
}

/// The walk that every voxel loop makes: the first voxel, then stepPrim after each voxel,
/// stepSec after each row and stepTert after each slice; the offsets from the storage's begin.
template <class V> std::vector<OffsetType> walkBySteps(const V& volume, const typename V::VoxelType* begin)
{
    std::vector<OffsetType> result;
    const typename V::VoxelType* p = volume.getIterator();
    for (SizeType t = 0; t < volume.getDimTert(); ++t) {
        for (SizeType s = 0; s < volume.getDimSec(); ++s) {
            for (SizeType i = 0; i < volume.getDimPrim(); ++i) {
                result.push_back(p - begin);
                if (i + 1 < volume.getDimPrim()) p += volume.getStepPrim();
            }
            if (s + 1 < volume.getDimSec()) p += volume.getStepPrim() + volume.getStepSec();
        }
        if (t + 1 < volume.getDimTert())
            p += volume.getStepPrim() + volume.getStepSec() + volume.getStepTert();
    }
    return result;
}

template <class V> std::vector<OffsetType> walkByGetOffset(const V& volume)
{
    std::vector<OffsetType> result;
    for (SizeType t = 0; t < volume.getDimTert(); ++t)
        for (SizeType s = 0; s < volume.getDimSec(); ++s)
            for (SizeType i = 0; i < volume.getDimPrim(); ++i) result.push_back(volume.getOffset(pos(i, s, t)));
    return result;
}

/// The accessors against a recomputation from strides written out here.
template <class V>
void expectViewNumbers(const V& volume, const StorageBox& box, const Orientation& o, const Dimension<SizeType>& whole,
                       const std::string& where)
{
    const OffsetType storageStride[3] = {1, static_cast<OffsetType>(whole.prim),
                                         static_cast<OffsetType>(whole.prim * whole.sec)};
    OffsetType a[3];
    SizeType d[3];
    for (int i = 0; i < 3; ++i) {
        const int code = codeAt(o, i);
        d[i] = box.size[axisOfCode(code)];
        a[i] = mirroredCode(code) ? -storageStride[axisOfCode(code)] : storageStride[axisOfCode(code)];
    }
    EXPECT_EQ(volume.getDimPrim(), d[0]) << where;
    EXPECT_EQ(volume.getDimSec(), d[1]) << where;
    EXPECT_EQ(volume.getDimTert(), d[2]) << where;
    EXPECT_EQ(volume.getStepPrim(), a[0]) << where;
    EXPECT_EQ(volume.getStepSec(), a[1] - static_cast<OffsetType>(d[0]) * a[0]) << where;
    EXPECT_EQ(volume.getStepTert(), a[2] - static_cast<OffsetType>(d[1]) * a[1]) << where;
    const SizeType origin[3] = {0, 0, 0};
    EXPECT_EQ(volume.getOffset(pos(origin[0], origin[1], origin[2])), expectedOffset(box, o, whole, origin)) << where;

    SizeType position[3];
    const SizeType wholeSize[3] = {whole.prim, whole.sec, whole.tert};
    for (int i = 0; i < 3; ++i) {
        const int axis = axisOfCode(codeAt(o, i));
        position[i] = mirroredCode(codeAt(o, i)) ? wholeSize[axis] - box.origin[axis] - box.size[axis] : box.origin[axis];
    }
    EXPECT_EQ(volume.getPosition(), pos(position[0], position[1], position[2])) << where;

    const Tarn::Kito::Iterating::IterateValues values = volume.getIterateValues();
    EXPECT_EQ(values.countPrim, d[0]) << where;
    EXPECT_EQ(values.countSec, d[1]) << where;
    EXPECT_EQ(values.countTert, d[2]) << where;
    EXPECT_EQ(values.primIncrement, volume.getStepPrim()) << where;
    EXPECT_EQ(values.secIncrement, volume.getStepSec()) << where;
    EXPECT_EQ(values.tertIncrement, volume.getStepTert()) << where;
    EXPECT_EQ(values.firstOffset, volume.getOffset(pos(0, 0, 0))) << where;
    EXPECT_EQ(values.start, pos(box.origin[0], box.origin[1], box.origin[2])) << where;
    EXPECT_EQ(values.primStride, a[0]) << where;
    EXPECT_EQ(values.secStride, a[1]) << where;
    EXPECT_EQ(values.tertStride, a[2]) << where;
}

// ---- construction --------------------------------------------------------------------------------

TEST(VolumeView, DefaultVolumeIsEmptyWithOneEmptyRegion)
{
    const MemoryVolume<Tarn::uint8> volume;
    EXPECT_EQ(volume.getVolumeDimension(), dim(0, 0, 0));
    EXPECT_EQ(volume.getDimension(), dim(0, 0, 0));
    EXPECT_EQ(volume.size(), 0u);
    EXPECT_EQ(volume.getIterator(), nullptr);
    ASSERT_EQ(volume.getRoiStack().size(), 1u);
    EXPECT_EQ(volume.getRoiStack().front(), region(dim(0, 0, 0), pos(0, 0, 0)));
    ASSERT_EQ(volume.getBlockList().size(), 1u);
    EXPECT_EQ(volume.getBlockList().front(), region(dim(0, 0, 0), pos(0, 0, 0)));
    EXPECT_EQ(volume.getOrientation(), Orientation(0, 2, 4));
}

TEST(VolumeView, EmptySizeLeavesTheStackEmpty)
{
    MemoryVolume<float> volume(dim(0, 0, 0));
    EXPECT_TRUE(volume.getRoiStack().empty());
    EXPECT_EQ(volume.getIterator(), nullptr);
    EXPECT_EQ(volume.getDimension(), dim(0, 0, 0));
    ASSERT_EQ(volume.getBlockList().size(), 1u);
    EXPECT_EQ(volume.getBlockList().front(), region(dim(0, 0, 0), pos(0, 0, 0)));
    volume.fill(1.0f);
    volume.popRoi();
    EXPECT_TRUE(volume.getRoiStack().empty());
}

TEST(VolumeView, NewVolumeShowsItsWholeSizeInStorageOrder)
{
    const MemoryVolume<Tarn::int16> volume(dim(4, 3, 2));
    EXPECT_EQ(volume.getDimension(), dim(4, 3, 2));
    EXPECT_EQ(volume.getVolumeDimension(), dim(4, 3, 2));
    EXPECT_EQ(volume.getVolumeDimPrim(), 4u);
    EXPECT_EQ(volume.getVolumeDimSec(), 3u);
    EXPECT_EQ(volume.getVolumeDimTert(), 2u);
    EXPECT_EQ(volume.size(), 24u);
    EXPECT_EQ(volume.getStepPrim(), 1);
    EXPECT_EQ(volume.getStepSec(), 0);
    EXPECT_EQ(volume.getStepTert(), 0);
    EXPECT_EQ(volume.getPosition(), pos(0, 0, 0));
    EXPECT_EQ(volume.getRoi(), region(dim(4, 3, 2), pos(0, 0, 0)));
    ASSERT_EQ(volume.getBlockList().size(), 1u);
    EXPECT_EQ(volume.getBlockList().front(), region(dim(4, 3, 2), pos(0, 0, 0)));
    EXPECT_EQ(volume.getVoxelTypeName(), "Tarn::int16");
    EXPECT_EQ(volume.getAllocatorName(), "Tarn::Kito::Allocator::SingleBlockAllocator");
}

TEST(VolumeView, StepsOfARegionInTheDefaultOrientationSkipTheRestOfRowAndSlice)
{
    MemoryVolume<Tarn::int16> volume(dim(5, 4, 3));
    volume.setRoi(region(dim(2, 3, 2), pos(1, 1, 1)));
    EXPECT_EQ(volume.getStepPrim(), 1);
    EXPECT_EQ(volume.getStepSec(), 5 - 2);
    EXPECT_EQ(volume.getStepTert(), 5 * (4 - 3));
    EXPECT_EQ(volume.getOffset(pos(0, 0, 0)), 1 + 5 + 20);
}

// ---- orientation -------------------------------------------------------------------------------

TEST(VolumeView, TertSecPrimWithMirroredFirstAxisStartsAtTheFarEndOfTert)
{
    MemoryVolume<Tarn::uint8> volume(dim(4, 5, 6));
    volume.setRoi(region(dim(2, 2, 3), pos(1, 1, 1)));
    volume.setOrientation(Orientation(5, 2, 0));
    // The far end of tert in the region is z = 1 + 3 - 1 = 3: offset 1 + 1*4 + 3*20.
    EXPECT_EQ(volume.getOffset(pos(0, 0, 0)), 65);
    EXPECT_EQ(volume.getDimension(), dim(3, 2, 2));
    EXPECT_EQ(volume.getStepPrim(), -20);
    EXPECT_EQ(volume.getOffset(pos(2, 1, 1)), 1 + 1 + (1 + 1) * 4 + 1 * 20);
    // Mirrored tert: 6 - 1 - 3 from the far end; then sec and prim as they are.
    EXPECT_EQ(volume.getPosition(), pos(2, 1, 1));
}

TEST(VolumeView, SetOrientationKeepsTheSameVoxelsSelected)
{
    MemoryVolume<Tarn::uint16> volume(dim(6, 5, 4));
    volume.setRoi(region(dim(3, 2, 1), pos(2, 1, 3)));
    const auto stackBefore = volume.getRoiStack();
    volume.setOrientation(Orientation(3, 4, 1));
    EXPECT_EQ(volume.getRoiStack(), stackBefore);
    EXPECT_EQ(volume.getDimension(), dim(2, 1, 3));
    EXPECT_EQ(volume.size(), 6u);
    std::vector<OffsetType> seen = walkByGetOffset(volume);
    std::sort(seen.begin(), seen.end());
    std::vector<OffsetType> wanted;
    for (SizeType y = 1; y < 3; ++y)
        for (SizeType x = 2; x < 5; ++x) wanted.push_back(static_cast<OffsetType>(x + y * 6 + 3 * 30));
    std::sort(wanted.begin(), wanted.end());
    EXPECT_EQ(seen, wanted);
}

TEST(VolumeView, DefaultOrientationDoesNotFollowSetOrientation)
{
    MemoryVolume<Tarn::uint8> volume(dim(2, 2, 2));
    volume.setOrientation(Orientation(1, 5, 2));
    EXPECT_EQ(volume.getOrientation(), Orientation(1, 5, 2));
    EXPECT_EQ(volume.getDefaultOrientation(), Orientation(0, 2, 4));
}

TEST(VolumeView, OrientationThatIsNoPermutationIsRefused)
{
    MemoryVolume<Tarn::uint8> volume(dim(2, 3, 4));
    for (const Orientation& wrong : {Orientation(0, 0, 4), Orientation(0, 3, 2), Orientation(0, 2, 6),
                                     Orientation(-1, 2, 4)}) {
        const Failure failure = tarnFailureOf([&] { volume.setOrientation(wrong); });
        EXPECT_EQ(failure.className, "Tarn::Exceptions::InvalidArg") << text(wrong);
        EXPECT_EQ(failure.error, "The orientation does not name each axis once!") << text(wrong);
        EXPECT_EQ(failure.origin, "Tarn::Kito::Volume::setOrientation") << text(wrong);
    }
    EXPECT_EQ(volume.getOrientation(), Orientation(0, 2, 4));
    EXPECT_EQ(volume.getDimension(), dim(2, 3, 4));
}

// ---- positions ---------------------------------------------------------------------------------

TEST(VolumeView, PositionOutsideTheViewIsRefusedByEachAccessor)
{
    MemoryVolume<Tarn::int32> volume(dim(3, 3, 3));
    volume.setRoi(region(dim(2, 1, 3), pos(0, 0, 0)));
    const Failure offset = tarnFailureOf([&] { volume.getOffset(pos(2, 0, 0)); });
    EXPECT_EQ(offset.className, "Tarn::Exceptions::InvalidArg");
    EXPECT_EQ(offset.gui, "Invalid argument!");
    EXPECT_EQ(offset.error, "Given position is ouside volume!");
    EXPECT_EQ(offset.origin, "Tarn::Kito::Volume::getOffset");
    EXPECT_EQ(offset.file, "Kito/include/Kito/Volume");
    const Failure value = tarnFailureOf([&] { volume.getValueAt(pos(0, 1, 0)); });
    EXPECT_EQ(value.error, "Given position is ouside volume!");
    EXPECT_EQ(value.origin, "Tarn::Kito::Volume::getValueAt");
    const Failure iterator = tarnFailureOf([&] { volume.getPosOffset(pos(0, 0, 3)); });
    EXPECT_EQ(iterator.error, "Given position is ouside volume!");
    EXPECT_EQ(iterator.origin, "Tarn::Kito::Volume::getPosOffset");
    EXPECT_EQ(tarnFailureOf([&] { volume.getOffset(pos(1, 0, 2)); }).className, "no failure");
}

TEST(VolumeView, EmptyViewHasNoPosition)
{
    const MemoryVolume<Tarn::int32> volume;
    EXPECT_EQ(tarnFailureOf([&] { volume.getOffset(pos(0, 0, 0)); }).error, "Given position is ouside volume!");
}

TEST(VolumeView, ValueAndIteratorAtAViewPosition)
{
    MemoryVolume<Tarn::int32> volume(dim(3, 2, 2));
    Tarn::int32* begin = volume.getIterator();
    for (int i = 0; i < 12; ++i) begin[i] = 100 + i;
    volume.setOrientation(Orientation(2, 1, 4));
    // View (1, 2, 1) is sec 1, prim from the far end 3 - 1 - 2 = 0, tert 1.
    EXPECT_EQ(volume.getValueAt(pos(1, 2, 1)), 100 + 0 + 1 * 3 + 1 * 6);
    EXPECT_EQ(volume.getPosOffset(pos(1, 2, 1)), begin + 9);
    EXPECT_EQ(volume.getIterator(), begin + 2);
}

// ---- fill --------------------------------------------------------------------------------------

TEST(VolumeFill, WholeVolumeInTheDefaultOrientationIsWrittenCompletely)
{
    MemoryVolume<Tarn::uint16> volume(dim(7, 5, 3));
    volume.fill(513);
    const Tarn::uint16* begin = volume.getIterator();
    for (int i = 0; i < 105; ++i) ASSERT_EQ(begin[i], 513) << i;
}

TEST(VolumeFill, RegionInAMirroredPermutedViewWritesOnlyItsVoxels)
{
    MemoryVolume<Tarn::int8> volume(dim(5, 4, 3));
    Tarn::int8* begin = volume.getIterator();
    volume.fill(0);
    volume.setRoi(region(dim(2, 2, 2), pos(1, 2, 1)));
    volume.setOrientation(Orientation(3, 1, 4));
    volume.fill(-7);
    for (SizeType z = 0; z < 3; ++z)
        for (SizeType y = 0; y < 4; ++y)
            for (SizeType x = 0; x < 5; ++x) {
                const bool inside = x >= 1 && x < 3 && y >= 2 && y < 4 && z >= 1 && z < 3;
                EXPECT_EQ(begin[x + y * 5 + z * 20], inside ? -7 : 0) << x << "," << y << "," << z;
            }
}

TEST(VolumeFill, WholeVolumeInAMirroredOrientationIsWrittenByTheWalk)
{
    MemoryVolume<float> volume(dim(3, 3, 2));
    volume.fill(1.5f);
    volume.setOrientation(Orientation(1, 2, 4));
    volume.fill(2.5f);
    const float* begin = volume.getPosOffset(pos(2, 0, 0));
    for (int i = 0; i < 18; ++i) EXPECT_EQ(begin[i], 2.5f) << i;
}

TEST(VolumeFill, ChunkWritesThroughToItsSource)
{
    MemoryVolumePtr<double> source(new MemoryVolume<double>(dim(4, 4, 1)));
    source->fill(0.0);
    Tarn::Kito::Volume<double, External1> chunk(source, region(dim(2, 2, 1), pos(2, 2, 0)));
    chunk.fill(3.0);
    double sum = 0.0;
    for (SizeType y = 0; y < 4; ++y)
        for (SizeType x = 0; x < 4; ++x) sum += source->getValueAt(pos(x, y, 0));
    EXPECT_EQ(sum, 12.0);
    EXPECT_EQ(source->getValueAt(pos(3, 3, 0)), 3.0);
}

// ---- the view under every orientation, over random sizes and regions -------------------------

TEST(VolumeViewProperty, WalkByStepsVisitsTheVoxelsOfGetOffsetInViewOrder)
{
    std::mt19937 random(20240611u);
    auto between = [&](SizeType low, SizeType high) {
        return std::uniform_int_distribution<SizeType>(low, high)(random);
    };
    const std::vector<Orientation> orientations = allOrientations();
    ASSERT_EQ(orientations.size(), 48u);
    for (int trial = 0; trial < 12; ++trial) {
        const Dimension<SizeType> whole = dim(between(1, 7), between(1, 6), between(1, 5));
        MemoryVolume<Tarn::uint16> volume(whole);
        const Tarn::uint16* begin = volume.getIterator();
        StorageBox box = boxOf(region(whole, pos(0, 0, 0)));

        // Up to three nested regions, each pushed in a random orientation.
        const int depth = static_cast<int>(between(0, 3));
        for (int level = 0; level < depth; ++level) {
            const Orientation pushOrientation = orientations[between(0, 47)];
            volume.setOrientation(pushOrientation);
            SizeType size[3], start[3];
            for (int i = 0; i < 3; ++i) {
                const SizeType extent = viewSize(box, pushOrientation, i);
                size[i] = between(1, extent);
                start[i] = between(0, extent - size[i]);
            }
            const Region roi = region(dim(size[0], size[1], size[2]), pos(start[0], start[1], start[2]));
            volume.setRoi(roi);
            box = expectedPush(box, pushOrientation, roi);
            const Region top = volume.getRoiStack().back();
            EXPECT_EQ(top, region(dim(box.size[0], box.size[1], box.size[2]), pos(box.origin[0], box.origin[1], box.origin[2])))
                << "trial " << trial << " level " << level << " pushed in " << text(pushOrientation);
        }

        for (const Orientation& o : orientations) {
            volume.setOrientation(o);
            const std::string where = "trial " + std::to_string(trial) + " orientation " + text(o);
            expectViewNumbers(volume, box, o, whole, where);
            const std::vector<OffsetType> wanted = expectedWalk(box, o, whole);
            EXPECT_EQ(walkByGetOffset(volume), wanted) << where;
            EXPECT_EQ(walkBySteps(volume, begin), wanted) << where;
            EXPECT_EQ(volume.size(), wanted.size()) << where;
        }
    }
}

TEST(VolumeViewProperty, WalkOfTheSerialForEachMatchesGetOffset)
{
    // The walk that operators use reads the steps the same way; a functor that records the
    // address of every voxel it gets must see the addresses of getOffset, in view order.
    struct Recorder : Tarn::Kito::Iterating::Functor {
        std::vector<const Tarn::int32*>* seen = nullptr;
        void operator()(Tarn::int32& voxel) { seen->push_back(&voxel); }
    };
    MemoryVolume<Tarn::int32> volume(dim(4, 3, 5));
    const Tarn::int32* begin = volume.getIterator();
    volume.setRoi(region(dim(3, 2, 3), pos(1, 1, 2)));
    for (const Orientation& o : allOrientations()) {
        volume.setOrientation(o);
        std::vector<const Tarn::int32*> seen;
        Recorder recorder;
        recorder.seen = &seen;
        Tarn::Kito::Progress progress;
        const std::uint8_t go = 0;
        Tarn::Kito::Iterating::ForEach::apply(recorder, volume, progress, &go);
        std::vector<OffsetType> offsets;
        for (const Tarn::int32* p : seen) offsets.push_back(p - begin);
        EXPECT_EQ(offsets, walkByGetOffset(volume)) << text(o);
    }
}

TEST(VolumeViewProperty, FillOfAnyViewWritesExactlyItsVoxels)
{
    std::mt19937 random(77u);
    auto between = [&](SizeType low, SizeType high) {
        return std::uniform_int_distribution<SizeType>(low, high)(random);
    };
    const std::vector<Orientation> orientations = allOrientations();
    for (int trial = 0; trial < 48; ++trial) {
        const Dimension<SizeType> whole = dim(between(1, 6), between(1, 6), between(1, 6));
        MemoryVolume<Tarn::uint8> volume(whole);
        Tarn::uint8* begin = volume.getIterator();
        volume.fill(0);
        const Orientation o = orientations[static_cast<std::size_t>(trial)];
        volume.setOrientation(o);
        const StorageBox all = boxOf(region(whole, pos(0, 0, 0)));
        SizeType size[3], start[3];
        for (int i = 0; i < 3; ++i) {
            const SizeType extent = viewSize(all, o, i);
            size[i] = between(1, extent);
            start[i] = between(0, extent - size[i]);
        }
        const Region roi = region(dim(size[0], size[1], size[2]), pos(start[0], start[1], start[2]));
        volume.setRoi(roi);
        volume.fill(1);
        const StorageBox box = expectedPush(all, o, roi);
        for (SizeType z = 0; z < whole.tert; ++z)
            for (SizeType y = 0; y < whole.sec; ++y)
                for (SizeType x = 0; x < whole.prim; ++x) {
                    const bool inside = x >= box.origin[0] && x < box.origin[0] + box.size[0] && y >= box.origin[1] &&
                                        y < box.origin[1] + box.size[1] && z >= box.origin[2] &&
                                        z < box.origin[2] + box.size[2];
                    ASSERT_EQ(begin[x + y * whole.prim + z * whole.prim * whole.sec], inside ? 1 : 0)
                        << "orientation " << text(o) << " at " << x << "," << y << "," << z;
                }
    }
}

} // namespace
