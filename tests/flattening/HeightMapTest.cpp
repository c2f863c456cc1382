#include "FlatteningTestSupport.h"

#include <Kito/ClassFactory>
#include <Kito/Data>
#include <Kito/Orientation>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/IHeightMap.h>
#include <LumoStudio/Operators/ComputeHeightMapBorder/Parameter.h>
#include <LumoStudio/Operators/HeightMap/Operator.h>
#include <LumoStudio/Operators/HeightMap/Parameter.h>
#include <LumoStudio/Operators/OrthogonalPlanarisationOperator/Parameter.h>

#include <support/FailureOf.h>
#include <support/RandomVolume.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace FlatteningTesting;
using Tarn::Lumo_DLL::IHeightMap;
using TestSupport::invalidArgumentOf;

using Parameter = Tarn::Lumo::HeightMap::Parameter;
template <class In, class Out>
using HeightMapOperator = Tarn::Lumo::HeightMap::Operator<MemoryVolumePtr<In>, MemoryVolumePtr<Out>>;

/// The value of a pixel whose ray holds no material, written out per height type.
template <class Out> Out notFound();
template <> Tarn::uint8 notFound<Tarn::uint8>() { return 255; }
template <> Tarn::uint16 notFound<Tarn::uint16>() { return 65535; }
template <> Tarn::uint32 notFound<Tarn::uint32>() { return 4294967295u; }

/// The view extents of a search along direction over a region given in storage terms: the
/// searched axis is view tert; direction 0 shows storage sec backwards, then tert; direction 1
/// storage prim, then tert backwards.
Dimension<SizeType> searchExtent(unsigned direction, const Region& r)
{
    switch (direction) {
    case 0: return dim(r.dim.sec, r.dim.tert, r.dim.prim);
    case 1: return dim(r.dim.prim, r.dim.tert, r.dim.sec);
    default: return r.dim;
    }
}

/// The storage position of view position (p, s, t) of that search.
Position<SizeType> storagePosition(unsigned direction, const Region& r, SizeType p, SizeType s, SizeType t)
{
    const Position<SizeType>& o = r.origin;
    switch (direction) {
    case 0: return pos(o.prim + t, o.sec + r.dim.sec - 1 - p, o.tert + s);
    case 1: return pos(o.prim + p, o.sec + t, o.tert + r.dim.tert - 1 - s);
    default: return pos(o.prim + p, o.sec + s, o.tert + t);
    }
}

/// The height map by the plain loop: slice by slice along the searched axis, each pixel taking the
/// first t (narrowed to Out) at which its voxel is not background while it still holds notFound.
template <class Out, class T>
std::vector<Out> referenceHeights(const std::vector<T>& storage, const Dimension<SizeType>& volumeSize, const Region& r,
                                  unsigned direction)
{
    const Dimension<SizeType> extent = searchExtent(direction, r);
    std::vector<Out> image(extent.prim * extent.sec, notFound<Out>());
    for (SizeType t = 0; t < extent.tert; ++t)
        for (SizeType s = 0; s < extent.sec; ++s)
            for (SizeType p = 0; p < extent.prim; ++p) {
                const Position<SizeType> q = storagePosition(direction, r, p, s, t);
                const T v = storage[q.prim + volumeSize.prim * (q.sec + volumeSize.sec * q.tert)];
                Out& o = image[p + extent.prim * s];
                if (v != background<T>() && o == notFound<Out>()) o = static_cast<Out>(t);
            }
    return image;
}

template <class In, class Out>
SmartPointer<Parameter> parameterFor(const MemoryVolumePtr<In>& volume, Tarn::uint64 direction)
{
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(asVolume(volume));
    p->outputVolume.setValue(asVolume(MemoryVolumePtr<Out>(new MemoryVolume<Out>(dim(1, 1, 1)))));
    p->inputDirection.setValue(direction);
    return p;
}

template <class Out> MemoryVolumePtr<Out> heightsOf(const SmartPointer<Parameter>& p)
{
    return DynamicCast<MemoryVolumePtr<Out>>(p->outputVolume.getValue());
}

/// Runs the facade with an output of type Out and gives the new height map.
template <class Out, class In> MemoryVolumePtr<Out> searchByFacade(const MemoryVolumePtr<In>& volume, Tarn::uint64 direction)
{
    IHeightMap::IOperator facade;
    const SmartPointer<Parameter> p = parameterFor<In, Out>(volume, direction);
    facade.apply(asComposite(p));
    return heightsOf<Out>(p);
}

const Orientation orientationOfDirection[3] = {Orientation(3, 4, 0), Orientation(0, 5, 2), Orientation(0, 2, 4)};

/// One height type on a sparse volume with a region pushed, in every direction.
template <class In, class Out> void expectReferenceHeights(std::uint64_t seed)
{
    const Dimension<SizeType> size = dim(7, 6, 9);
    const Region r(dim(5, 4, 6), pos(1, 2, 2));
    for (unsigned direction = 0; direction < 3; ++direction) {
        const MemoryVolumePtr<In> volume = makeSparseVolume<In>(size, 0.15, seed + direction);
        volume->setRoi(r);
        const std::vector<In> before = storageValues(volume);
        const std::vector<Out> expected = referenceHeights<Out>(before, size, r, direction);
        const MemoryVolumePtr<Out> heights = searchByFacade<Out>(volume, direction);
        ASSERT_FALSE(heights == 0);
        const Dimension<SizeType> extent = searchExtent(direction, r);
        EXPECT_EQ(heights->getDimension(), dim(extent.prim, extent.sec, 1)) << "direction " << direction;
        EXPECT_EQ(viewValues(heights), expected) << "direction " << direction;
        EXPECT_TRUE(volume->getOrientation() == orientationOfDirection[direction]) << "direction " << direction;
        EXPECT_EQ(storageValues(volume), before) << "the voxels are not touched";
        EXPECT_EQ(volume->getRoiStack().size(), 2u) << "the region stays pushed";
    }
}

template <class T> class HeightMapTyped : public ::testing::Test {};
TYPED_TEST_SUITE(HeightMapTyped, AllVoxelTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(HeightMapTyped, EveryHeightTypeInEveryDirectionMatchesThePlainLoop)
{
    using In = TypeParam;
    expectReferenceHeights<In, Tarn::uint8>(100);
    expectReferenceHeights<In, Tarn::uint16>(200);
    expectReferenceHeights<In, Tarn::uint32>(300);
}

/// Long, nearly empty rays in every direction, on volumes stretched along each axis in turn: most
/// rays find their first material after a long run of background or none at all, some at heights
/// that a Tarn::uint8 image wraps, and the search ends rays and layers early wherever it can.
template <class In, class Out> void expectReferenceHeightsOfLongRays(std::uint64_t seed)
{
    const Dimension<SizeType> sizes[] = {dim(283, 11, 13), dim(12, 281, 10), dim(9, 13, 285)};
    for (const Dimension<SizeType>& size : sizes) {
        const Region r(dim(size.prim - 2, size.sec - 1, size.tert - 2), pos(1, 1, 2));
        for (unsigned direction = 0; direction < 3; ++direction) {
            SCOPED_TRACE("size " + std::to_string(size.prim) + "x" + std::to_string(size.sec) + "x" +
                         std::to_string(size.tert) + ", direction " + std::to_string(direction));
            const MemoryVolumePtr<In> volume = makeSparseVolume<In>(size, 0.004, seed + direction);
            volume->setRoi(r);
            const std::vector<In> before = storageValues(volume);
            const std::vector<Out> expected = referenceHeights<Out>(before, size, r, direction);
            const MemoryVolumePtr<Out> heights = searchByFacade<Out>(volume, direction);
            ASSERT_FALSE(heights == 0);
            EXPECT_EQ(viewValues(heights), expected);
        }
    }
}

TYPED_TEST(HeightMapTyped, LongSparseRaysInEveryDirectionMatchThePlainLoop)
{
    using In = TypeParam;
    expectReferenceHeightsOfLongRays<In, Tarn::uint8>(400);
    expectReferenceHeightsOfLongRays<In, Tarn::uint16>(500);
    expectReferenceHeightsOfLongRays<In, Tarn::uint32>(600);
}

TYPED_TEST(HeightMapTyped, MaterialEverywhereGivesHeightZeroInEveryDirection)
{
    using In = TypeParam;
    const MemoryVolumePtr<In> volume = makeSparseVolume<In>(dim(70, 66, 68), 1.0, 8);
    for (unsigned direction = 0; direction < 3; ++direction) {
        const std::vector<Tarn::uint16> heights = viewValues(searchByFacade<Tarn::uint16>(volume, direction));
        EXPECT_EQ(heights, std::vector<Tarn::uint16>(heights.size(), 0)) << "direction " << direction;
    }
}

TYPED_TEST(HeightMapTyped, SecondRunWithAnotherDirectionStartsFromTheStoredAxes)
{
    using In = TypeParam;
    const Dimension<SizeType> size = dim(6, 5, 4);
    const Region r(dim(4, 3, 3), pos(1, 1, 1));
    const MemoryVolumePtr<In> volume = makeSparseVolume<In>(size, 0.3, 7);
    volume->setRoi(r);
    const std::vector<In> storage = storageValues(volume);
    HeightMapOperator<In, Tarn::uint16> op;
    for (unsigned direction : {0u, 1u, 2u, 0u}) {
        const SmartPointer<Parameter> p = parameterFor<In, Tarn::uint16>(volume, direction);
        op.apply(asComposite(p));
        EXPECT_EQ(viewValues(heightsOf<Tarn::uint16>(p)), referenceHeights<Tarn::uint16>(storage, size, r, direction))
            << "direction " << direction;
        EXPECT_TRUE(volume->getOrientation() == orientationOfDirection[direction]) << "direction " << direction;
    }
}

/// The number of pixels of the height map of a whole volume of size.
SizeType pixelsOf(unsigned direction, const Dimension<SizeType>& size)
{
    const Dimension<SizeType> extent = searchExtent(direction, Region(size, pos(0, 0, 0)));
    return extent.prim * extent.sec;
}

TYPED_TEST(HeightMapTyped, BackgroundAloneGivesNotFoundEverywhere)
{
    using In = TypeParam;
    const MemoryVolumePtr<In> volume(new MemoryVolume<In>(dim(4, 3, 5)));
    volume->fill(background<In>());
    for (unsigned direction = 0; direction < 3; ++direction) {
        const SizeType pixels = pixelsOf(direction, dim(4, 3, 5));
        EXPECT_EQ(viewValues(searchByFacade<Tarn::uint8>(volume, direction)), std::vector<Tarn::uint8>(pixels, 255));
        EXPECT_EQ(viewValues(searchByFacade<Tarn::uint16>(volume, direction)), std::vector<Tarn::uint16>(pixels, 65535));
        EXPECT_EQ(viewValues(searchByFacade<Tarn::uint32>(volume, direction)),
                  std::vector<Tarn::uint32>(pixels, 4294967295u));
    }
}

TYPED_TEST(HeightMapTyped, IdentifiersOfTheThreeHeightTypesAreRegistered)
{
    using In = TypeParam;
    const std::string prefix = "Tarn::Lumo::HeightMap::Operator< " + volumeText<In>() + ", ";
    EXPECT_TRUE(registered(prefix + volumeText<Tarn::uint8>() + " >"));
    EXPECT_TRUE(registered(prefix + volumeText<Tarn::uint16>() + " >"));
    EXPECT_TRUE(registered(prefix + volumeText<Tarn::uint32>() + " >"));
    EXPECT_FALSE(registered(prefix + volumeText<Tarn::int8>() + " >"));
    EXPECT_EQ(static_cast<const IComposite&>(HeightMapOperator<In, Tarn::uint16>()).getType(),
              prefix + volumeText<Tarn::uint16>() + " >");
}

// ---- hand-checked heights -------------------------------------------------------------------------

TEST(HeightMap, MaterialInTheFirstSliceGivesHeightZero)
{
    MemoryVolumePtr<Tarn::int16> volume(new MemoryVolume<Tarn::int16>(dim(2, 2, 3)));
    volume->fill(-32768);
    *volume->getPosOffset(pos(1, 0, 0)) = -32767;
    *volume->getPosOffset(pos(0, 1, 2)) = 5;
    EXPECT_EQ(viewValues(searchByFacade<Tarn::uint8>(volume, 2)), (std::vector<Tarn::uint8>{255, 0, 2, 255}));
}

TEST(HeightMap, Float32ZeroIsMaterial)
{
    MemoryVolumePtr<Tarn::float32> volume(new MemoryVolume<Tarn::float32>(dim(3, 2, 4)));
    volume->fill(0.0f);
    for (unsigned direction = 0; direction < 3; ++direction)
        EXPECT_EQ(viewValues(searchByFacade<Tarn::uint16>(volume, direction)),
                  std::vector<Tarn::uint16>(pixelsOf(direction, dim(3, 2, 4)), 0));
}

TEST(HeightMap, Float64BackgroundIsTheSmallestNormalisedNumberExactly)
{
    // Negative values and the next number above the background are material; only the smallest
    // normalised number itself is not.
    MemoryVolumePtr<Tarn::float64> volume(new MemoryVolume<Tarn::float64>(dim(3, 1, 3)));
    volume->fill(2.2250738585072014e-308);
    *volume->getPosOffset(pos(0, 0, 1)) = -1.0;
    *volume->getPosOffset(pos(1, 0, 2)) = 2.2250738585072019e-308;
    EXPECT_EQ(viewValues(searchByFacade<Tarn::uint32>(volume, 2)), (std::vector<Tarn::uint32>{1, 2, 4294967295u}));
}

TEST(HeightMap, Uint8HeightsWrapAroundAbove255)
{
    // Pixel 0: material at 255 (stored as 255, which leaves the pixel open) and at 257 (stored as
    // 1). Pixel 1: material at 256, stored as 0. Pixel 2: 255 alone. Pixel 3: 299 alone.
    MemoryVolumePtr<Tarn::uint16> volume(new MemoryVolume<Tarn::uint16>(dim(4, 1, 300)));
    volume->fill(0);
    *volume->getPosOffset(pos(0, 0, 255)) = 9;
    *volume->getPosOffset(pos(0, 0, 257)) = 9;
    *volume->getPosOffset(pos(1, 0, 256)) = 9;
    *volume->getPosOffset(pos(1, 0, 258)) = 9;
    *volume->getPosOffset(pos(2, 0, 255)) = 9;
    *volume->getPosOffset(pos(3, 0, 299)) = 9;
    EXPECT_EQ(viewValues(searchByFacade<Tarn::uint8>(volume, 2)), (std::vector<Tarn::uint8>{1, 0, 255, 43}));
    EXPECT_EQ(viewValues(searchByFacade<Tarn::uint16>(volume, 2)), (std::vector<Tarn::uint16>{255, 256, 255, 299}));
}

TEST(HeightMap, Uint8HeightsWrapAroundAbove255AlongPrimAndSec)
{
    // The pixels of Uint8HeightsWrapAroundAbove255, with the rays along prim and then along sec.
    // Along prim the view prim is sec backwards: pixel k lies at storage sec 3 - k.
    MemoryVolumePtr<Tarn::uint16> alongPrim(new MemoryVolume<Tarn::uint16>(dim(300, 4, 1)));
    alongPrim->fill(0);
    for (const Position<SizeType>& at : {pos(255, 3, 0), pos(257, 3, 0), pos(256, 2, 0), pos(258, 2, 0), pos(255, 1, 0),
                                         pos(299, 0, 0)})
        *alongPrim->getPosOffset(at) = 9;
    EXPECT_EQ(viewValues(searchByFacade<Tarn::uint8>(alongPrim, 0)), (std::vector<Tarn::uint8>{1, 0, 255, 43}));
    MemoryVolumePtr<Tarn::uint16> alongSec(new MemoryVolume<Tarn::uint16>(dim(4, 300, 1)));
    alongSec->fill(0);
    for (const Position<SizeType>& at : {pos(0, 255, 0), pos(0, 257, 0), pos(1, 256, 0), pos(1, 258, 0), pos(2, 255, 0),
                                         pos(3, 299, 0)})
        *alongSec->getPosOffset(at) = 9;
    EXPECT_EQ(viewValues(searchByFacade<Tarn::uint8>(alongSec, 1)), (std::vector<Tarn::uint8>{1, 0, 255, 43}));
}

TEST(HeightMap, DirectionZeroLeavesTheVolumeInItsNewView)
{
    // Stored extents (prim 5, sec 3, tert 4): the view shows sec backwards, tert, then prim.
    MemoryVolumePtr<Tarn::uint8> volume(new MemoryVolume<Tarn::uint8>(dim(5, 3, 4)));
    volume->fill(0);
    *volume->getPosOffset(pos(2, 0, 1)) = 1; // sec 0 is view prim 2; tert 1 is view sec 1
    const MemoryVolumePtr<Tarn::uint16> heights = searchByFacade<Tarn::uint16>(volume, 0);
    EXPECT_EQ(volume->getDimension(), dim(3, 4, 5));
    EXPECT_TRUE(volume->getOrientation() == Orientation(3, 4, 0));
    EXPECT_EQ(volume->getValueAt(pos(2, 1, 2)), 1);
    EXPECT_EQ(heights->getDimension(), dim(3, 4, 1));
    EXPECT_EQ(heights->getValueAt(pos(2, 1, 0)), 2);
    EXPECT_EQ(heights->getValueAt(pos(0, 1, 0)), 65535);

    // Direction 1 from there: prim, tert backwards, sec, counted from the stored axes.
    const MemoryVolumePtr<Tarn::uint16> again = searchByFacade<Tarn::uint16>(volume, 1);
    EXPECT_EQ(volume->getDimension(), dim(5, 4, 3));
    EXPECT_TRUE(volume->getOrientation() == Orientation(0, 5, 2));
    EXPECT_EQ(again->getValueAt(pos(2, 2, 0)), 0); // tert 1 is view sec 4 - 1 - 1 = 2; sec 0 is height 0
}

TEST(HeightMap, TheNumberOfThreadsChangesNothing)
{
    const MemoryVolumePtr<Tarn::float32> volume = makeSparseVolume<Tarn::float32>(dim(9, 8, 7), 0.1, 3);
    const std::vector<Tarn::uint16> expected = viewValues(searchByFacade<Tarn::uint16>(volume, 1));
    for (Tarn::uint64 threads : {0ull, 1ull, 2ull, 7ull, 18446744073709551615ull}) {
        IHeightMap::IOperator facade;
        const SmartPointer<Parameter> p = parameterFor<Tarn::float32, Tarn::uint16>(volume, 1);
        p->inputNumberOfThreads.setValue(threads);
        facade.apply(asComposite(p));
        EXPECT_EQ(viewValues(heightsOf<Tarn::uint16>(p)), expected) << threads << " threads";
    }
}

TEST(HeightMap, OutputVolumeIsReplacedAndTheGivenOneLeftAlone)
{
    const MemoryVolumePtr<Tarn::uint8> volume = makeSparseVolume<Tarn::uint8>(dim(4, 4, 4), 0.5, 9);
    const MemoryVolumePtr<Tarn::uint32> given(new MemoryVolume<Tarn::uint32>(dim(2, 1, 1)));
    given->fill(77);
    const SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(asVolume(volume));
    p->outputVolume.setValue(asVolume(given));
    IHeightMap::IOperator facade;
    facade.apply(asComposite(p));
    const MemoryVolumePtr<Tarn::uint32> heights = heightsOf<Tarn::uint32>(p);
    ASSERT_FALSE(heights == 0);
    EXPECT_NE(heights.get(), given.get());
    EXPECT_EQ(heights->getDimension(), dim(4, 4, 1));
    EXPECT_EQ(viewValues(given), (std::vector<Tarn::uint32>{77, 77}));
}

TEST(HeightMap, NoProgressIsReportedAndAnEarlierStopChangesNothing)
{
    const MemoryVolumePtr<Tarn::int32> volume = makeSparseVolume<Tarn::int32>(dim(5, 5, 5), 0.2, 11);
    const std::vector<Tarn::uint8> expected =
        referenceHeights<Tarn::uint8>(storageValues(volume), dim(5, 5, 5), Region(dim(5, 5, 5), pos(0, 0, 0)), 2);
    HeightMapOperator<Tarn::int32, Tarn::uint8> op;
    op.abort();
    const SmartPointer<Parameter> p = parameterFor<Tarn::int32, Tarn::uint8>(volume, 2);
    op.apply(asComposite(p));
    EXPECT_EQ(viewValues(heightsOf<Tarn::uint8>(p)), expected);
    EXPECT_EQ(op.getProgress().getProgress(), 0.0);
}

// ---- failures -------------------------------------------------------------------------------------

TEST(HeightMapFailure, FacadeRefusesAParameterOfAnotherClass)
{
    IHeightMap::IOperator facade;
    const SmartPointer<IComposite> other =
        asComposite(SmartPointer<Tarn::Lumo::ComputeHeightMapBorder::Parameter>(new Tarn::Lumo::ComputeHeightMapBorder::Parameter));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(other); }),
              "parameter: Tarn::Lumo_DLL::IHeightMap::IOperator::getOperatorTypeFromParameterObject: invalid parameter "
              "object!");
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(SmartPointer<IComposite>()); }),
              "parameter: Tarn::Lumo_DLL::IHeightMap::IOperator::getOperatorTypeFromParameterObject: invalid parameter "
              "object!");
}

TEST(HeightMapFailure, FacadeNamesTheInputWhicheverVolumeIsMissing)
{
    const std::string text =
        "parameter: Tarn::Lumo_DLL::IHeightMap::IOperator::getOperatorTypeFromParameterObject: inputVolume is NULL!";
    IHeightMap::IOperator facade;
    const MemoryVolumePtr<Tarn::uint8> volume(new MemoryVolume<Tarn::uint8>(dim(2, 2, 2)));
    volume->fill(1);

    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(asVolume(volume));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }), text);
    EXPECT_TRUE(p->outputVolume.getValue() == 0);
    EXPECT_TRUE(volume->getOrientation() == Orientation(0, 2, 4));

    p = SmartPointer<Parameter>(new Parameter);
    p->outputVolume.setValue(asVolume(volume));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }), text);

    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(SmartPointer<Parameter>(new Parameter))); }), text);
}

TEST(HeightMapFailure, OutputOfAnotherTypeFailsInTheFactoryWithTheWholeIdentifier)
{
    IHeightMap::IOperator facade;
    const MemoryVolumePtr<Tarn::uint16> volume(new MemoryVolume<Tarn::uint16>(dim(2, 2, 2)));
    const SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(asVolume(volume));
    p->outputVolume.setValue(asVolume(MemoryVolumePtr<Tarn::float32>(new MemoryVolume<Tarn::float32>(dim(1, 1, 1)))));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Lumo::HeightMap::Operator< Tarn::Kito::Volume< Tarn::uint16 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator >, Tarn::Kito::Volume< Tarn::float32 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > is registered");
}

TEST(HeightMapFailure, ApplyRefusesAParameterOfAnotherClass)
{
    HeightMapOperator<Tarn::uint8, Tarn::uint8> op;
    const SmartPointer<IComposite> other = asComposite(SmartPointer<Tarn::Lumo::ComputeHeightMapBorder::Parameter>(
        new Tarn::Lumo::ComputeHeightMapBorder::Parameter));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(other); }), "parameter: Tarn::Lumo::HeightMap::Operator::apply");
}

TEST(HeightMapFailure, DirectionAboveTwoChangesNeitherTheViewNorTheOutput)
{
    const MemoryVolumePtr<Tarn::int8> volume = makeSparseVolume<Tarn::int8>(dim(3, 4, 5), 0.5, 4);
    volume->setOrientation(Orientation(5, 0, 2));
    const MemoryVolumePtr<Tarn::uint16> given(new MemoryVolume<Tarn::uint16>(dim(1, 1, 1)));
    given->fill(3);
    for (Tarn::uint64 direction : {3ull, 18446744073709551615ull}) {
        const SmartPointer<Parameter> p(new Parameter);
        p->inputVolume.setValue(asVolume(volume));
        p->outputVolume.setValue(asVolume(given));
        p->inputDirection.setValue(direction);
        IHeightMap::IOperator facade;
        EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
                  "parameter: Tarn::Lumo::HeightMap::Operator::apply: Invalid direction value");
        EXPECT_TRUE(volume->getOrientation() == Orientation(5, 0, 2));
        EXPECT_EQ(heightsOf<Tarn::uint16>(p).get(), given.get());
        EXPECT_EQ(given->getValueAt(pos(0, 0, 0)), 3);
    }
}

TEST(HeightMapFailure, DirectApplyWithAnInputOfAnotherTypeTouchesNothing)
{
    const MemoryVolumePtr<Tarn::int8> volume = makeSparseVolume<Tarn::int8>(dim(3, 3, 3), 0.5, 5);
    const SmartPointer<Parameter> p = parameterFor<Tarn::int8, Tarn::uint8>(volume, 0);
    const SmartPointer<IVolume> given = p->outputVolume.getValue();
    HeightMapOperator<Tarn::uint8, Tarn::uint8> op;
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo::HeightMap::Operator::apply: input volume is NULL");
    EXPECT_TRUE(volume->getOrientation() == Orientation(0, 2, 4));
    EXPECT_EQ(p->outputVolume.getValue().get(), given.get());
}

// ---- parameter objects ----------------------------------------------------------------------------

TEST(HeightMapParameter, ClassNamePropertiesAndDefaults)
{
    Parameter p;
    EXPECT_EQ(p.getType(), "Tarn::Lumo::HeightMap::Parameter");
    EXPECT_EQ(keysOf(p), (std::vector<std::string>{"inputVolume", "inputDirection", "inputNumberOfThreads", "outputVolume"}));
    EXPECT_EQ(p.inputDirection.getValue(), 2u);
    EXPECT_EQ(p.inputNumberOfThreads.getValue(), 0u);
    EXPECT_TRUE(p.inputVolume.getValue() == 0);
    EXPECT_TRUE(p.outputVolume.getValue() == 0);
    const Tarn::Kito::Persistence::DataPtr<Tarn::uint64> direction =
        DynamicCast<Tarn::Kito::Persistence::DataPtr<Tarn::uint64>>(p.getValue("inputDirection"));
    ASSERT_FALSE(direction == 0);
    EXPECT_EQ(direction->getValue(), 2u);
}

TEST(HeightMapParameter, TheClassFactoryMakesIt)
{
    const SmartPointer<IComposite> made =
        Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance("Tarn::Lumo::HeightMap::Parameter");
    const SmartPointer<Parameter> p = DynamicCast<SmartPointer<Parameter>>(made);
    ASSERT_FALSE(p == 0);
    EXPECT_EQ(p->inputDirection.getValue(), 2u);
}

TEST(HeightMapParameter, ACopyHasItsOwnProperties)
{
    Parameter p;
    p.inputDirection.setValue(0);
    Parameter copy(p);
    copy.inputDirection.setValue(1);
    EXPECT_EQ(p.inputDirection.getValue(), 0u);
    EXPECT_EQ(copy.inputDirection.getValue(), 1u);
    EXPECT_EQ(keysOf(copy), keysOf(p));
}

TEST(ComputeHeightMapBorderParameter, ClassNamePropertiesAndFactory)
{
    Tarn::Lumo::ComputeHeightMapBorder::Parameter p;
    EXPECT_EQ(p.getType(), "Tarn::Lumo::ComputeHeightMapBorder::Parameter");
    EXPECT_EQ(keysOf(p), (std::vector<std::string>{"inputVolume", "outputLeftBorder", "outputRightBorder",
                                                   "outputTopBorder", "outputBottomBorder"}));
    p.outputTopBorder.setValue(12);
    const Tarn::Kito::Persistence::DataPtr<Tarn::uint64> top =
        DynamicCast<Tarn::Kito::Persistence::DataPtr<Tarn::uint64>>(p.getValue("outputTopBorder"));
    ASSERT_FALSE(top == 0);
    EXPECT_EQ(top->getValue(), 12u);
    const SmartPointer<IComposite> made = Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(
        "Tarn::Lumo::ComputeHeightMapBorder::Parameter");
    EXPECT_FALSE(DynamicCast<SmartPointer<Tarn::Lumo::ComputeHeightMapBorder::Parameter>>(made) == 0);
}

} // namespace
