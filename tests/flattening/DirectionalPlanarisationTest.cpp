#include "DirectionalReference.h"
#include "FlatteningTestSupport.h"

#include <Kito/ClassFactory>
#include <Kito/Data>
#include <Kito/Orientation>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/IDirectionalPlanarisationOperator.h>
#include <Lumo_MiscDispatcher_DLL/IOrthogonalPlanarisationOperator.h>
#include <LumoStudio/Operators/DirectionalPlanarisationOperator/Operator.h>
#include <LumoStudio/Operators/DirectionalPlanarisationOperator/Parameter.h>
#include <LumoStudio/Operators/DirectionalPlanarisationOperator/TrilinearSampler.h>
#include <LumoStudio/Operators/OrthogonalPlanarisationOperator/Parameter.h>

#include <support/FailureOf.h>
#include <support/RandomVolume.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using namespace FlatteningTesting;
using Tarn::Lumo_DLL::IDirectionalPlanarisationOperator;
using TestSupport::invalidArgumentOf;

using Parameter = Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Parameter;
template <class T1, class T2, class T3>
using DirectionalOperator = Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Operator<
    MemoryVolumePtr<T1>, MemoryVolumePtr<T2>, MemoryVolumePtr<T3>>;

/// A one-slice map of extent (prim, sec, 1) holding value everywhere.
template <class T> MemoryVolumePtr<T> constantMap(SizeType prim, SizeType sec, T value)
{
    MemoryVolumePtr<T> map(new MemoryVolume<T>(dim(prim, sec, 1)));
    map->fill(value);
    return map;
}

/// A volume of extent (prim, sec, tert) holding the given values in storage order.
template <class T> MemoryVolumePtr<T> volumeOf(SizeType prim, SizeType sec, SizeType tert, const std::vector<T>& values)
{
    MemoryVolumePtr<T> volume(new MemoryVolume<T>(dim(prim, sec, tert)));
    T* voxel = volume->getPosOffset(pos(0, 0, 0));
    for (std::size_t i = 0; i < values.size(); ++i) voxel[i] = values[i];
    return volume;
}

/// The maps of one surface: height, normals and (NULL for the identity) grids, all of one extent.
template <class H, class C> struct Surface {
    MemoryVolumePtr<H> height;
    MemoryVolumePtr<C> normalX, normalY, normalZ;
    MemoryVolumePtr<C> primGrid, secGrid;
};

/// A flat surface at height h with one normal for all pixels.
template <class H, class C> Surface<H, C> flatSurface(SizeType prim, SizeType sec, H h, C nx, C ny, C nz)
{
    return Surface<H, C>{constantMap<H>(prim, sec, h), constantMap<C>(prim, sec, nx), constantMap<C>(prim, sec, ny),
                         constantMap<C>(prim, sec, nz), MemoryVolumePtr<C>(), MemoryVolumePtr<C>()};
}

template <class T1, class H, class C>
SmartPointer<Parameter> parameterFor(const MemoryVolumePtr<T1>& input, const Surface<H, C>& surface, int threads = 0)
{
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(asVolume(input));
    p->inputHeightMapVolume.setValue(asVolume(surface.height));
    if (!(surface.primGrid == 0)) p->inputResampledGridVolumePrim.setValue(asVolume(surface.primGrid));
    if (!(surface.secGrid == 0)) p->inputResampledGridVolumeSec.setValue(asVolume(surface.secGrid));
    p->inputNormalMapVolumeX.setValue(asVolume(surface.normalX));
    p->inputNormalMapVolumeY.setValue(asVolume(surface.normalY));
    p->inputNormalMapVolumeZ.setValue(asVolume(surface.normalZ));
    p->inputNumberOfThreads.setValue(threads);
    return p;
}

template <class T> MemoryVolumePtr<T> resultOf(const SmartPointer<Parameter>& p)
{
    return DynamicCast<MemoryVolumePtr<T>>(p->outputVolume.getValue());
}

/// Runs the facade and gives the result; fails the test if there is none.
template <class T1> MemoryVolumePtr<T1> unroll(const SmartPointer<Parameter>& p)
{
    IDirectionalPlanarisationOperator::IOperator facade;
    facade.apply(asComposite(p));
    return resultOf<T1>(p);
}

template <class T1, class H, class C>
ReferenceResult<T1> referenceOf(const MemoryVolumePtr<T1>& input, const Surface<H, C>& surface, float sizeXY = 1.0f,
                                float sizeZ = 1.0f)
{
    return referenceDirectional(input, surface.height, surface.primGrid, surface.secGrid, surface.normalX,
                                surface.normalY, surface.normalZ, sizeXY, sizeZ);
}

/// What the dimension check says of a crop to no slice.
template <class F> std::string outOfRangeOf(F&& action)
{
    try {
        action();
    } catch (const std::out_of_range& failure) {
        return failure.what();
    }
    return "no failure";
}

// ---- against the plain loop -------------------------------------------------------------------

/// A curved surface: heights between 0 and 3 (with fractions for float maps), normals tilted up
/// to about 30 degrees, and, if gridded, grids that stray half a pixel and up to one pixel outside.
template <class H, class C> Surface<H, C> curvedSurface(SizeType prim, SizeType sec, bool gridded, std::uint64_t seed)
{
    std::mt19937_64 engine(seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    Surface<H, C> surface{MemoryVolumePtr<H>(new MemoryVolume<H>(dim(prim, sec, 1))),
                          MemoryVolumePtr<C>(new MemoryVolume<C>(dim(prim, sec, 1))),
                          MemoryVolumePtr<C>(new MemoryVolume<C>(dim(prim, sec, 1))),
                          MemoryVolumePtr<C>(new MemoryVolume<C>(dim(prim, sec, 1))), MemoryVolumePtr<C>(),
                          MemoryVolumePtr<C>()};
    if (gridded) {
        surface.primGrid = MemoryVolumePtr<C>(new MemoryVolume<C>(dim(prim + 1, sec, 1)));
        surface.secGrid = MemoryVolumePtr<C>(new MemoryVolume<C>(dim(prim + 1, sec, 1)));
        for (SizeType s = 0; s < sec; ++s)
            for (SizeType p = 0; p <= prim; ++p) {
                *surface.primGrid->getPosOffset(pos(p, s, 0)) = static_cast<C>(p * 0.9 + unit(engine) - 0.5);
                *surface.secGrid->getPosOffset(pos(p, s, 0)) = static_cast<C>(s + unit(engine) * 1.5 - 1.0);
            }
    }
    for (SizeType s = 0; s < sec; ++s)
        for (SizeType p = 0; p < prim; ++p) {
            const double h = unit(engine) * 3.0;
            *surface.height->getPosOffset(pos(p, s, 0)) = static_cast<H>(std::is_floating_point_v<H> ? h : std::floor(h));
            const double nx = unit(engine) - 0.5, ny = unit(engine) - 0.5;
            const double norm = std::sqrt(nx * nx + ny * ny + 1.0);
            *surface.normalX->getPosOffset(pos(p, s, 0)) = static_cast<C>(nx / norm);
            *surface.normalY->getPosOffset(pos(p, s, 0)) = static_cast<C>(ny / norm);
            *surface.normalZ->getPosOffset(pos(p, s, 0)) = static_cast<C>(1.0 / norm);
        }
    return surface;
}

template <class A, class B, class C> struct Triple {
    using Input = A;
    using Height = B;
    using Grid = C;
};
// Every voxel type once as input and once as height map, each grid type five times.
using Triples = ::testing::Types<
    Triple<Tarn::int8, Tarn::uint16, Tarn::float32>, Triple<Tarn::uint8, Tarn::float64, Tarn::float64>,
    Triple<Tarn::int16, Tarn::int8, Tarn::float32>, Triple<Tarn::uint16, Tarn::uint32, Tarn::float64>,
    Triple<Tarn::int32, Tarn::float32, Tarn::float32>, Triple<Tarn::uint32, Tarn::int64, Tarn::float64>,
    Triple<Tarn::int64, Tarn::uint8, Tarn::float32>, Triple<Tarn::uint64, Tarn::int16, Tarn::float64>,
    Triple<Tarn::float32, Tarn::int32, Tarn::float32>, Triple<Tarn::float64, Tarn::uint64, Tarn::float64>,
    Triple<Tarn::uint16, Tarn::float32, Tarn::float32>, Triple<Tarn::float32, Tarn::float32, Tarn::float64>>;
struct TripleNames {
    template <class P> static std::string GetName(int)
    {
        return std::string(TestSupport::voxelName<typename P::Input>()).substr(6) + "_" +
               std::string(TestSupport::voxelName<typename P::Height>()).substr(6) + "_" +
               std::string(TestSupport::voxelName<typename P::Grid>()).substr(6);
    }
};

template <class P> class DirectionalPlanarisationTyped : public ::testing::Test {};
TYPED_TEST_SUITE(DirectionalPlanarisationTyped, Triples, TripleNames);

TYPED_TEST(DirectionalPlanarisationTyped, EveryBitAsThePlainLoopWithOneTwoAndThreeThreads)
{
    using T1 = typename TypeParam::Input;
    using H = typename TypeParam::Height;
    using C = typename TypeParam::Grid;
    // The input in a region and a turned view: (7, 6, 9).
    const MemoryVolumePtr<T1> input = TestSupport::makeRandomVolume<T1>(dim(9, 8, 10), 41);
    input->setRoi(Region(dim(6, 7, 9), pos(1, 0, 1)));
    input->setOrientation(Orientation(2, 0, 4));
    ASSERT_EQ(input->getDimension(), dim(7, 6, 9));
    for (bool gridded : {false, true}) {
        const Surface<H, C> surface = curvedSurface<H, C>(7, 6, gridded, gridded ? 43 : 42);
        for (const float sizeZ : {1.0f, 0.7f}) {
            const ReferenceResult<T1> expected = referenceOf(input, surface, 1.3f, sizeZ);
            ASSERT_GT(expected.maxSlice, 0u);
            for (int threads : {1, 2, 3}) {
                const SmartPointer<Parameter> p = parameterFor(input, surface, threads);
                p->inputVoxelSizeXY_um.setValue(1.3f);
                p->inputVoxelSizeZ_um.setValue(sizeZ);
                const MemoryVolumePtr<T1> out = unroll<T1>(p);
                ASSERT_FALSE(out == 0);
                EXPECT_EQ(out->getDimension(), dim(expected.nPrim, expected.nSec, expected.maxSlice));
                EXPECT_EQ(bitPatterns(viewValues(out)), bitPatterns(expected.firstSlices(expected.maxSlice)))
                    << (gridded ? "grids, " : "identity, ") << sizeZ << ", " << threads << " threads";
            }
        }
    }
}

TYPED_TEST(DirectionalPlanarisationTyped, IdentifierIsRegisteredWithItsSeparator)
{
    using T1 = typename TypeParam::Input;
    using H = typename TypeParam::Height;
    using C = typename TypeParam::Grid;
    const std::string expected = "Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Operator< " +
                                 volumeText<T1>() + ", " + volumeText<H>() + ", " + volumeText<C>() + " >";
    EXPECT_EQ(static_cast<const IComposite&>(DirectionalOperator<T1, H, C>()).getType(), expected);
    EXPECT_TRUE(registered(expected));
}

template <class T> class DirectionalPlanarisationInstances : public ::testing::Test {};
TYPED_TEST_SUITE(DirectionalPlanarisationInstances, AllVoxelTypes, TestSupport::VoxelTypeNames);

template <class T1, class H> void expectBothGridTypes()
{
    for (const std::string& grid : {volumeText<Tarn::float32>(), volumeText<Tarn::float64>()})
        EXPECT_TRUE(registered("Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Operator< " +
                               volumeText<T1>() + ", " + volumeText<H>() + ", " + grid + " >"))
            << TestSupport::voxelName<T1>() << " with " << TestSupport::voxelName<H>() << " and " << grid;
}

TYPED_TEST(DirectionalPlanarisationInstances, EveryHeightTypeIsRegisteredWithBothGridTypes)
{
    using T1 = TypeParam;
    expectBothGridTypes<T1, Tarn::int8>();
    expectBothGridTypes<T1, Tarn::uint8>();
    expectBothGridTypes<T1, Tarn::int16>();
    expectBothGridTypes<T1, Tarn::uint16>();
    expectBothGridTypes<T1, Tarn::int32>();
    expectBothGridTypes<T1, Tarn::uint32>();
    expectBothGridTypes<T1, Tarn::int64>();
    expectBothGridTypes<T1, Tarn::uint64>();
    expectBothGridTypes<T1, Tarn::float32>();
    expectBothGridTypes<T1, Tarn::float64>();
}

TEST(DirectionalPlanarisation, WideRowsAndManySlicesGiveTheSameResultWithEveryThreadCount)
{
    const MemoryVolumePtr<Tarn::uint16> input = TestSupport::makeRandomVolume<Tarn::uint16>(dim(300, 4, 23), 51);
    const Surface<Tarn::float32, Tarn::float32> surface = curvedSurface<Tarn::float32, Tarn::float32>(300, 4, false, 52);
    const ReferenceResult<Tarn::uint16> expected = referenceOf(input, surface);
    for (int threads : {1, 2, 3, 4, 0, -2}) {
        const MemoryVolumePtr<Tarn::uint16> out = unroll<Tarn::uint16>(parameterFor(input, surface, threads));
        EXPECT_EQ(viewValues(out), expected.firstSlices(expected.maxSlice)) << threads << " threads";
    }
}

// ---- hand-checked results -----------------------------------------------------------------------

TEST(DirectionalPlanarisation, NullGridsTakeTheHeightMapsPixels)
{
    // Input (3, 2, 3): voxel p + 3 s + 6 t + 1. Straight down from height 0: slice k is input slice k.
    std::vector<Tarn::uint8> values;
    for (int i = 0; i < 18; ++i) values.push_back(static_cast<Tarn::uint8>(i + 1));
    const MemoryVolumePtr<Tarn::uint8> input = volumeOf<Tarn::uint8>(3, 2, 3, values);
    const Surface<Tarn::uint8, Tarn::float32> surface = flatSurface<Tarn::uint8, Tarn::float32>(3, 2, 0, 0.0f, 0.0f, 1.0f);
    const MemoryVolumePtr<Tarn::uint8> out = unroll<Tarn::uint8>(parameterFor(input, surface));
    // Slice 2 is the last with samples and is cut away.
    ASSERT_EQ(out->getDimension(), dim(3, 2, 2));
    EXPECT_EQ(viewValues(out), std::vector<Tarn::uint8>(values.begin(), values.begin() + 12));
}

TEST(DirectionalPlanarisation, StraightNormalsShiftAsTheOrthogonalOneWithZeroForBackground)
{
    // int16, whose background in the orthogonal planarisation is -32768; here the void is 0.
    const SizeType P = 4, S = 3, T = 6;
    std::vector<Tarn::int16> values;
    for (SizeType i = 0; i < P * S * T; ++i) values.push_back(static_cast<Tarn::int16>(100 + i));
    const MemoryVolumePtr<Tarn::int16> input = volumeOf<Tarn::int16>(P, S, T, values);
    Surface<Tarn::float32, Tarn::float32> surface = flatSurface<Tarn::float32, Tarn::float32>(P, S, 0.0f, 0.0f, 0.0f, 1.0f);
    for (SizeType s = 0; s < S; ++s)
        for (SizeType p = 0; p < P; ++p) *surface.height->getPosOffset(pos(p, s, 0)) = static_cast<float>((p + s) % 3);
    const MemoryVolumePtr<Tarn::int16> out = unroll<Tarn::int16>(parameterFor(input, surface));

    Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::IOperator orthogonal;
    const SmartPointer<Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Parameter> o(
        new Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Parameter);
    o->inputVolume.setValue(asVolume(input));
    o->inputHeightMapVolume.setValue(asVolume(surface.height));
    orthogonal.apply(asComposite(o));
    const MemoryVolumePtr<Tarn::int16> shifted = DynamicCast<MemoryVolumePtr<Tarn::int16>>(o->outputVolume.getValue());

    // The columns of height 0 reach slice 5, the last, which the crop cuts away.
    ASSERT_EQ(out->getDimension(), dim(P, S, T - 1));
    for (SizeType k = 0; k + 1 < T; ++k)
        for (SizeType s = 0; s < S; ++s)
            for (SizeType p = 0; p < P; ++p) {
                const Tarn::int16 moved = shifted->getValueAt(pos(p, s, k));
                EXPECT_EQ(out->getValueAt(pos(p, s, k)), moved == -32768 ? 0 : moved) << p << " " << s << " " << k;
            }
}

TEST(DirectionalPlanarisation, TwiceTheVoxelEdgeInTertWalksTwoPrimVoxelsPerSlice)
{
    // Slice 0 holds p + 1; the normal (1, 0, 0) with edges 1 and 2 reads prim p + 2k of slice 0.
    std::vector<Tarn::uint16> values(10 * 4, 0);
    for (int p = 0; p < 10; ++p) values[static_cast<std::size_t>(p)] = static_cast<Tarn::uint16>(p + 1);
    const MemoryVolumePtr<Tarn::uint16> input = volumeOf<Tarn::uint16>(10, 1, 4, values);
    const Surface<Tarn::uint8, Tarn::float32> surface = flatSurface<Tarn::uint8, Tarn::float32>(10, 1, 0, 1.0f, 0.0f, 0.0f);
    const SmartPointer<Parameter> p = parameterFor(input, surface);
    p->inputVoxelSizeXY_um.setValue(1.0f);
    p->inputVoxelSizeZ_um.setValue(2.0f);
    const MemoryVolumePtr<Tarn::uint16> out = unroll<Tarn::uint16>(p);
    // Slice 3 still reads p = 0 to 3 (values 7 to 10); it is the last and is cut away.
    ASSERT_EQ(out->getDimension(), dim(10, 1, 3));
    EXPECT_EQ(viewValues(out), (std::vector<Tarn::uint16>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10,   //
                                                          3, 4, 5, 6, 7, 8, 9, 10, 0, 0,   //
                                                          5, 6, 7, 8, 9, 10, 0, 0, 0, 0}));
}

/// A flat surface of extent (mapPrim, 1) at height 0, straight down, and one output row whose prim
/// grid is given and whose sec grid is 0.
Surface<Tarn::uint8, Tarn::float32> gridRow(SizeType mapPrim, const std::vector<float>& primPositions)
{
    Surface<Tarn::uint8, Tarn::float32> surface = flatSurface<Tarn::uint8, Tarn::float32>(mapPrim, 1, 0, 0.0f, 0.0f, 1.0f);
    surface.primGrid = volumeOf<float>(primPositions.size(), 1, 1, primPositions);
    surface.secGrid = constantMap<float>(primPositions.size(), 1, 0.0f);
    return surface;
}

TEST(DirectionalPlanarisation, ASampleAtTheLastPrimPositionIsTheVoxelItself)
{
    const MemoryVolumePtr<Tarn::int16> input = volumeOf<Tarn::int16>(3, 1, 3, {5, 6, 7, 8, 9, 10, 11, 12, 13});
    const MemoryVolumePtr<Tarn::int16> out = unroll<Tarn::int16>(parameterFor(input, gridRow(3, {2.0f})));
    EXPECT_EQ(out->getDimension(), dim(1, 1, 2));
    EXPECT_EQ(viewValues(out), (std::vector<Tarn::int16>{7, 10}));
}

TEST(DirectionalPlanarisation, APositionJustBeforeTheViewStaysZeroThoughTheSamplerWouldBlendIt)
{
    const MemoryVolumePtr<Tarn::float32> input = volumeOf<Tarn::float32>(2, 1, 3, {4, 8, 5, 9, 6, 10});
    const Tarn::Lumo::PlanarisationOperators::TrilinearSampler<Tarn::float32> sampler(input, 0.0f);
    ASSERT_EQ(sampler.value(-0.25f, 0.0f, 0.0f), 3.0f);
    const MemoryVolumePtr<Tarn::float32> out = unroll<Tarn::float32>(parameterFor(input, gridRow(2, {-0.25f, 0.0f})));
    EXPECT_EQ(viewValues(out), (std::vector<Tarn::float32>{0.0f, 4.0f, 0.0f, 5.0f}));
}

TEST(DirectionalPlanarisation, IntegerInputRoundsHalfUp)
{
    // Between 2 and 3: 2.5 gives 3; between -2 and -3: -2.5 gives -2.
    const MemoryVolumePtr<Tarn::int8> input = volumeOf<Tarn::int8>(2, 1, 3, {2, 3, -2, -3, 1, 1});
    const MemoryVolumePtr<Tarn::int8> out = unroll<Tarn::int8>(parameterFor(input, gridRow(2, {0.5f})));
    EXPECT_EQ(viewValues(out), (std::vector<Tarn::int8>{3, -2}));
}

TEST(DirectionalPlanarisation, TheResultEndsBeforeTheLastSliceWithASampleOtherThanZero)
{
    // Material down to slice 4 of 8 in one column: the result has slices 0 to 3.
    std::vector<Tarn::uint8> values(2 * 8, 0);
    for (int t = 0; t <= 4; ++t) values[static_cast<std::size_t>(2 * t + 1)] = static_cast<Tarn::uint8>(10 + t);
    const MemoryVolumePtr<Tarn::uint8> input = volumeOf<Tarn::uint8>(2, 1, 8, values);
    const Surface<Tarn::uint8, Tarn::float64> surface = flatSurface<Tarn::uint8, Tarn::float64>(2, 1, 0, 0.0, 0.0, 1.0);
    const MemoryVolumePtr<Tarn::uint8> out = unroll<Tarn::uint8>(parameterFor(input, surface));
    EXPECT_EQ(out->getDimension(), dim(2, 1, 4));
    EXPECT_EQ(viewValues(out), (std::vector<Tarn::uint8>{0, 10, 0, 11, 0, 12, 0, 13}));
}

TEST(DirectionalPlanarisation, AGridOfAnotherTypeCountsAsNoGrid)
{
    std::vector<Tarn::uint8> values;
    for (int i = 0; i < 12; ++i) values.push_back(static_cast<Tarn::uint8>(i + 1));
    const MemoryVolumePtr<Tarn::uint8> input = volumeOf<Tarn::uint8>(2, 2, 3, values);
    const Surface<Tarn::uint8, Tarn::float32> surface = flatSurface<Tarn::uint8, Tarn::float32>(2, 2, 0, 0.0f, 0.0f, 1.0f);
    const SmartPointer<Parameter> p = parameterFor(input, surface);
    // Float64 grids that would point at pixel (1, 1) everywhere.
    p->inputResampledGridVolumePrim.setValue(asVolume(constantMap<Tarn::float64>(3, 3, 1.0)));
    p->inputResampledGridVolumeSec.setValue(asVolume(constantMap<Tarn::float64>(3, 3, 1.0)));
    const MemoryVolumePtr<Tarn::uint8> out = unroll<Tarn::uint8>(p);
    EXPECT_EQ(out->getDimension(), dim(2, 2, 2));
    EXPECT_EQ(viewValues(out), std::vector<Tarn::uint8>(values.begin(), values.begin() + 8));
}

TEST(DirectionalPlanarisation, GridsSetTheOutputsExtentsAndPickTheSurfacePixels)
{
    // Three output pixels in a row reading surface pixels (1, 0), (0, 1) and (1, 1).
    std::vector<Tarn::uint8> values;
    for (int i = 0; i < 12; ++i) values.push_back(static_cast<Tarn::uint8>(i + 1));
    const MemoryVolumePtr<Tarn::uint8> input = volumeOf<Tarn::uint8>(2, 2, 3, values);
    Surface<Tarn::uint8, Tarn::float32> surface = flatSurface<Tarn::uint8, Tarn::float32>(2, 2, 0, 0.0f, 0.0f, 1.0f);
    surface.primGrid = volumeOf<float>(3, 1, 1, {1.0f, 0.0f, 1.0f});
    surface.secGrid = volumeOf<float>(3, 1, 1, {0.0f, 1.0f, 1.0f});
    const MemoryVolumePtr<Tarn::uint8> out = unroll<Tarn::uint8>(parameterFor(input, surface));
    EXPECT_EQ(out->getDimension(), dim(3, 1, 2));
    EXPECT_EQ(viewValues(out), (std::vector<Tarn::uint8>{2, 3, 4, 6, 7, 8}));
}

TEST(DirectionalPlanarisation, AGivenOutputIsTheWorkSpaceAndKeepsTheCropsRegion)
{
    std::vector<Tarn::uint8> values;
    for (int i = 0; i < 12; ++i) values.push_back(static_cast<Tarn::uint8>(i + 1));
    const MemoryVolumePtr<Tarn::uint8> input = volumeOf<Tarn::uint8>(2, 2, 3, values);
    const MemoryVolumePtr<Tarn::uint8> given(new MemoryVolume<Tarn::uint8>(dim(5, 1, 1)));
    given->fill(99);
    const SmartPointer<Parameter> p =
        parameterFor(input, flatSurface<Tarn::uint8, Tarn::float32>(2, 2, 0, 0.0f, 0.0f, 1.0f));
    p->outputVolume.setValue(asVolume(given));
    const MemoryVolumePtr<Tarn::uint8> out = unroll<Tarn::uint8>(p);
    EXPECT_NE(out.get(), given.get());
    EXPECT_EQ(viewValues(out), std::vector<Tarn::uint8>(values.begin(), values.begin() + 8));
    EXPECT_EQ(given->getVolumeDimension(), dim(2, 2, 3));
    EXPECT_EQ(given->getDimension(), dim(2, 2, 2));
    given->popRoi();
    EXPECT_EQ(viewValues(given), values);
}

TEST(DirectionalPlanarisation, TheInputAsItsOwnOutputIsSetToZeroBeforeItIsRead)
{
    // Filled with 0 before the first sample, the input has nothing left to show: no slice is kept.
    const MemoryVolumePtr<Tarn::uint8> input = volumeOf<Tarn::uint8>(1, 1, 3, {1, 2, 3});
    const SmartPointer<Parameter> p =
        parameterFor(input, flatSurface<Tarn::uint8, Tarn::float32>(1, 1, 0, 0.0f, 0.0f, 1.0f));
    p->outputVolume.setValue(asVolume(input));
    IDirectionalPlanarisationOperator::IOperator facade;
    EXPECT_EQ(outOfRangeOf([&] { facade.apply(asComposite(p)); }),
              "Tarn::Kito::Dimension< Tarn::uint64 >::check invalid values detected ( 1 , 1 , 0 ) ");
    EXPECT_EQ(viewValues(input), (std::vector<Tarn::uint8>{0, 0, 0}));
}

// ---- failures -----------------------------------------------------------------------------------

TEST(DirectionalPlanarisationFailure, NoSampleBelowSliceZeroFailsAfterTheWorkIsDone)
{
    // Material in slice 0 only, then in none: the crop to 0 slices is an invalid size.
    for (const std::vector<Tarn::uint8>& values : {std::vector<Tarn::uint8>{7, 8, 0, 0, 0, 0}, std::vector<Tarn::uint8>(6, 0)}) {
        const MemoryVolumePtr<Tarn::uint8> input = volumeOf<Tarn::uint8>(2, 1, 3, values);
        const MemoryVolumePtr<Tarn::uint8> given(new MemoryVolume<Tarn::uint8>(dim(1, 1, 1)));
        given->fill(99);
        for (int threads : {1, 2, 3}) {
            const SmartPointer<Parameter> p =
                parameterFor(input, flatSurface<Tarn::uint8, Tarn::float32>(2, 1, 0, 0.0f, 0.0f, 1.0f), threads);
            p->outputVolume.setValue(asVolume(given));
            IDirectionalPlanarisationOperator::IOperator facade;
            EXPECT_EQ(outOfRangeOf([&] { facade.apply(asComposite(p)); }),
                      "Tarn::Kito::Dimension< Tarn::uint64 >::check invalid values detected ( 2 , 1 , 0 ) ");
            // The property still holds the given volume, which the slices have been written into.
            EXPECT_EQ(p->outputVolume.getValue().get(), asVolume(given).get());
            EXPECT_EQ(given->getDimension(), dim(2, 1, 3));
            EXPECT_EQ(viewValues(given), values) << threads << " threads";
        }
    }
}

TEST(DirectionalPlanarisationFailure, FacadeRefusesAParameterOfAnotherClass)
{
    IDirectionalPlanarisationOperator::IOperator facade;
    const SmartPointer<IComposite> other = asComposite(
        SmartPointer<Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Parameter>(
            new Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Parameter));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(other); }),
              "parameter: Tarn::Lumo_DLL::IDirectionalPlanarisationOperator::IOperator::"
              "getOperatorTypeFromParameterObject: invalid parameter object!");
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(SmartPointer<IComposite>()); }),
              "parameter: Tarn::Lumo_DLL::IDirectionalPlanarisationOperator::IOperator::"
              "getOperatorTypeFromParameterObject: invalid parameter object!");
}

TEST(DirectionalPlanarisationFailure, FacadeReportsAMissingNormalMapAsAMissingHeightMap)
{
    IDirectionalPlanarisationOperator::IOperator facade;
    const MemoryVolumePtr<Tarn::uint8> input = volumeOf<Tarn::uint8>(1, 1, 2, {1, 2});
    const Surface<Tarn::uint8, Tarn::float32> surface = flatSurface<Tarn::uint8, Tarn::float32>(1, 1, 0, 0.0f, 0.0f, 1.0f);
    const std::string head = "parameter: Tarn::Lumo_DLL::IDirectionalPlanarisationOperator::IOperator::"
                             "getOperatorTypeFromParameterObject: ";

    SmartPointer<Parameter> p = parameterFor(input, surface);
    p->inputVolume.setValue(SmartPointer<IVolume>());
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }), head + "inputVolume is NULL!");

    p = parameterFor(input, surface);
    p->inputNormalMapVolumeX.setValue(SmartPointer<IVolume>());
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }), head + "inputHeightMapVolume is NULL!");

    p = parameterFor(input, surface);
    p->inputHeightMapVolume.setValue(SmartPointer<IVolume>());
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }), head + "inputHeightMapVolume is NULL!");

    // Nothing set: the input is asked for first.
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(SmartPointer<Parameter>(new Parameter))); }),
              head + "inputVolume is NULL!");
    EXPECT_TRUE(p->outputVolume.getValue() == 0);
}

TEST(DirectionalPlanarisationFailure, AnIntegerNormalMapFailsInTheFactoryWithTheWholeIdentifier)
{
    IDirectionalPlanarisationOperator::IOperator facade;
    const MemoryVolumePtr<Tarn::uint8> input = volumeOf<Tarn::uint8>(1, 1, 2, {1, 2});
    const SmartPointer<Parameter> p = parameterFor(input, flatSurface<Tarn::uint8, Tarn::float32>(1, 1, 0, 0.0f, 0.0f, 1.0f));
    p->inputNormalMapVolumeX.setValue(asVolume(constantMap<Tarn::int16>(1, 1, 0)));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Operator< Tarn::Kito::Volume< "
              "Tarn::uint8 , Tarn::Kito::Allocator::SingleBlockAllocator >, Tarn::Kito::Volume< Tarn::uint8 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator >, Tarn::Kito::Volume< Tarn::int16 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > is registered");
}

/// Runs op with one property of a good parameter replaced, and expects the failure text and the
/// given output volume untouched.
template <class Op, class Change> void expectApplyFailure(Op& op, Change&& change, const std::string& text)
{
    const MemoryVolumePtr<Tarn::uint8> input = volumeOf<Tarn::uint8>(2, 1, 3, {1, 2, 3, 4, 5, 6});
    const SmartPointer<Parameter> p = parameterFor(input, flatSurface<Tarn::uint8, Tarn::float32>(2, 1, 0, 0.0f, 0.0f, 1.0f));
    const MemoryVolumePtr<Tarn::uint8> given(new MemoryVolume<Tarn::uint8>(dim(2, 1, 2)));
    given->fill(99);
    p->outputVolume.setValue(asVolume(given));
    change(*p);
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }), text);
    EXPECT_EQ(p->outputVolume.getValue().get(), asVolume(given).get());
    EXPECT_EQ(viewValues(given), std::vector<Tarn::uint8>(4, 99));
}

TEST(DirectionalPlanarisationFailure, ApplyNamesEachMissingOrMistypedVolume)
{
    DirectionalOperator<Tarn::uint8, Tarn::uint8, Tarn::float32> op;
    const std::string head = "parameter: Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Operator::";
    const SmartPointer<IVolume> none;
    const SmartPointer<IVolume> wrong = asVolume(constantMap<Tarn::int8>(2, 1, 0));
    for (const SmartPointer<IVolume>& bad : {none, wrong}) {
        expectApplyFailure(op, [&](Parameter& p) { p.inputVolume.setValue(bad); }, head + "apply: input volume is NULL");
        expectApplyFailure(op, [&](Parameter& p) { p.inputHeightMapVolume.setValue(bad); },
                           head + "apply: height-map volume is NULL");
        expectApplyFailure(op, [&](Parameter& p) { p.inputNormalMapVolumeX.setValue(bad); },
                           head + "applX: normal volume (X) is NULL");
        expectApplyFailure(op, [&](Parameter& p) { p.inputNormalMapVolumeY.setValue(bad); },
                           head + "apply: normal volume (Y) is NULL");
        expectApplyFailure(op, [&](Parameter& p) { p.inputNormalMapVolumeZ.setValue(bad); },
                           head + "apply: normal volume (Z) is NULL");
    }
    // The normals are tested in the order X, Y, Z.
    expectApplyFailure(op,
                       [&](Parameter& p) {
                           p.inputNormalMapVolumeZ.setValue(none);
                           p.inputNormalMapVolumeY.setValue(none);
                       },
                       head + "apply: normal volume (Y) is NULL");
    const SmartPointer<IComposite> other = asComposite(
        SmartPointer<Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Parameter>(
            new Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Parameter));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(other); }), head + "apply: paramaeter Object is NULL");
}

TEST(DirectionalPlanarisationFailure, AnOutputOfAnotherTypeFailsInTheWordsOfCheckOutputVolume)
{
    IDirectionalPlanarisationOperator::IOperator facade;
    const MemoryVolumePtr<Tarn::int8> input = volumeOf<Tarn::int8>(2, 1, 3, {1, 2, 3, 4, 5, 6});
    expectApplyFailure(facade, [&](Parameter& p) { p.inputVolume.setValue(asVolume(input)); },
                       "parameter: Tarn::Kito::Operator::checkOutputVolume volume is of the wrong type");
}

// ---- parameter object ---------------------------------------------------------------------------

TEST(DirectionalPlanarisationParameter, ClassNamePropertiesAndDefaults)
{
    Parameter p;
    EXPECT_EQ(p.getType(), "Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Parameter");
    EXPECT_EQ(keysOf(p), (std::vector<std::string>{"inputVolume", "inputHeightMapVolume", "inputResampledGridVolumePrim",
                                                   "inputResampledGridVolumeSec", "inputNormalMapVolumeX",
                                                   "inputNormalMapVolumeY", "inputNormalMapVolumeZ",
                                                   "inputVoxelSizeXY_um", "inputVoxelSizeZ_um", "inputNumberOfThreads",
                                                   "outputVolume"}));
    EXPECT_EQ(p.inputVoxelSizeXY_um.getValue(), 1.0f);
    EXPECT_EQ(p.inputVoxelSizeZ_um.getValue(), 1.0f);
    EXPECT_EQ(p.inputNumberOfThreads.getValue(), 0);
    EXPECT_TRUE(p.inputResampledGridVolumePrim.getValue() == 0);
    const Tarn::Kito::Persistence::DataPtr<Tarn::float32> size =
        DynamicCast<Tarn::Kito::Persistence::DataPtr<Tarn::float32>>(p.getValue("inputVoxelSizeZ_um"));
    ASSERT_FALSE(size == 0);
    EXPECT_EQ(size->getType(), "Tarn::Kito::Persistence::Data< Tarn::float32 >");
}

TEST(DirectionalPlanarisationParameter, TheClassFactoryMakesIt)
{
    const SmartPointer<IComposite> made = Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(
        "Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Parameter");
    EXPECT_FALSE(DynamicCast<SmartPointer<Parameter>>(made) == 0);
}

} // namespace
