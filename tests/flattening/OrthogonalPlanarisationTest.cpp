#include "FlatteningTestSupport.h"

#include <Kito/ClassFactory>
#include <Kito/Data>
#include <Kito/ExternalBufferAllocator>
#include <Kito/Orientation>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/IHeightMap.h>
#include <Lumo_MiscDispatcher_DLL/IOrthogonalPlanarisationOperator.h>
#include <LumoStudio/Operators/HeightMap/Parameter.h>
#include <LumoStudio/Operators/OrthogonalPlanarisationOperator/Operator.h>
#include <LumoStudio/Operators/OrthogonalPlanarisationOperator/Parameter.h>

#include <support/FailureOf.h>
#include <support/RandomVolume.h>

#include <gtest/gtest.h>
#include <omp.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using namespace FlatteningTesting;
using Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator;
using TestSupport::invalidArgumentOf;

using Parameter = Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Parameter;
template <class In, class H>
using PlanarisationOperator =
    Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Operator<MemoryVolumePtr<In>, MemoryVolumePtr<H>>;

template <class In, class H>
SmartPointer<Parameter> parameterFor(const MemoryVolumePtr<In>& volume, const MemoryVolumePtr<H>& heights, int threads = 0)
{
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(asVolume(volume));
    p->inputHeightMapVolume.setValue(asVolume(heights));
    p->inputNumberOfThreads.setValue(threads);
    return p;
}

template <class In> MemoryVolumePtr<In> resultOf(const SmartPointer<Parameter>& p)
{
    return DynamicCast<MemoryVolumePtr<In>>(p->outputVolume.getValue());
}

/// Runs the facade and gives the output's view in walk order.
template <class In, class H>
std::vector<In> flattenByFacade(const MemoryVolumePtr<In>& volume, const MemoryVolumePtr<H>& heights, int threads = 0)
{
    IOrthogonalPlanarisationOperator::IOperator facade;
    const SmartPointer<Parameter> p = parameterFor(volume, heights, threads);
    facade.apply(asComposite(p));
    return viewValues(resultOf<In>(p));
}

/// The plain loop: slice k of the output takes, for each column, the input's voxel h slices
/// further down, with h the column's height truncated to an integer, or background where that
/// lies past the input's last slice. All three volumes are read through their own views.
template <class In, class H>
std::vector<In> referencePlanarisation(const MemoryVolumePtr<In>& input, const MemoryVolumePtr<H>& heights)
{
    const SizeType nPrim = input->getDimPrim(), nSec = input->getDimSec(), nTert = input->getDimTert();
    std::vector<In> out;
    for (SizeType k = 0; k < nTert; ++k)
        for (SizeType s = 0; s < nSec; ++s)
            for (SizeType p = 0; p < nPrim; ++p) {
                const Tarn::int64 h = static_cast<Tarn::int64>(heights->getValueAt(pos(p, s, 0)));
                out.push_back(h + static_cast<Tarn::int64>(k) < static_cast<Tarn::int64>(nTert)
                                  ? input->getValueAt(pos(p, s, k + static_cast<SizeType>(h)))
                                  : background<In>());
            }
    return out;
}

/// Heights from 0 to two past the input's tert extent, so that some columns are shifted out
/// altogether; floating-point heights get a fraction, which truncation drops.
template <class H> MemoryVolumePtr<H> makeHeights(const Dimension<SizeType>& size, SizeType tert, std::uint64_t seed)
{
    MemoryVolumePtr<H> heights(new MemoryVolume<H>(size));
    std::mt19937_64 engine(seed);
    std::uniform_int_distribution<int> draw(0, static_cast<int>(tert) + 2);
    std::uniform_real_distribution<double> fraction(0.0, 0.99);
    H* voxel = heights->getPosOffset(pos(0, 0, 0));
    for (SizeType i = 0; i < size.size(); ++i) {
        if constexpr (std::is_floating_point_v<H>)
            voxel[i] = static_cast<H>(draw(engine) + fraction(engine));
        else
            voxel[i] = static_cast<H>(draw(engine));
    }
    return heights;
}

template <class T, class U> struct Pair {
    using In = T;
    using H = U;
};
// Every voxel type once as input and once as height type.
using Pairs = ::testing::Types<Pair<Tarn::int8, Tarn::uint16>, Pair<Tarn::uint8, Tarn::uint8>, Pair<Tarn::int16, Tarn::float32>,
                               Pair<Tarn::uint16, Tarn::uint16>, Pair<Tarn::int32, Tarn::int64>, Pair<Tarn::uint32, Tarn::float64>,
                               Pair<Tarn::int64, Tarn::int8>, Pair<Tarn::uint64, Tarn::uint32>, Pair<Tarn::float32, Tarn::int16>,
                               Pair<Tarn::float64, Tarn::uint64>, Pair<Tarn::uint16, Tarn::int32>, Pair<Tarn::float32, Tarn::float32>>;
struct PairNames {
    template <class P> static std::string GetName(int)
    {
        return std::string(TestSupport::voxelName<typename P::In>()).substr(6) + "_" +
               std::string(TestSupport::voxelName<typename P::H>()).substr(6);
    }
};

template <class P> class OrthogonalPlanarisationTyped : public ::testing::Test {};
TYPED_TEST_SUITE(OrthogonalPlanarisationTyped, Pairs, PairNames);

TYPED_TEST(OrthogonalPlanarisationTyped, EveryVolumeIsReadInItsOwnViewAsThePlainLoopReadsIt)
{
    using In = typename TypeParam::In;
    using H = typename TypeParam::H;
    // The input: a region, then prim backwards as view prim, tert as view sec, sec backwards as
    // view tert: view extents (6, 7, 5).
    const MemoryVolumePtr<In> volume = makeSparseVolume<In>(dim(9, 7, 8), 0.9, 21);
    volume->setRoi(Region(dim(6, 5, 7), pos(2, 1, 1)));
    volume->setOrientation(Orientation(1, 4, 3));
    ASSERT_EQ(volume->getDimension(), dim(6, 7, 5));
    // The height map: a region and a turned view of its own, larger than the input's columns.
    const MemoryVolumePtr<H> heights = makeHeights<H>(dim(8, 9, 2), 5, 22);
    heights->setRoi(Region(dim(7, 8, 2), pos(1, 0, 0)));
    heights->setOrientation(Orientation(2, 1, 4));
    ASSERT_EQ(heights->getDimension(), dim(8, 7, 2));

    const std::vector<In> expected = referencePlanarisation(volume, heights);
    for (int threads : {1, 2, 4, 0, -1, 9}) {
        IOrthogonalPlanarisationOperator::IOperator facade;
        const SmartPointer<Parameter> p = parameterFor(volume, heights, threads);
        facade.apply(asComposite(p));
        const MemoryVolumePtr<In> out = resultOf<In>(p);
        ASSERT_FALSE(out == 0) << threads << " threads";
        EXPECT_EQ(out->getDimension(), dim(6, 7, 5)) << threads << " threads";
        EXPECT_EQ(viewValues(out), expected) << threads << " threads";
    }
}

TYPED_TEST(OrthogonalPlanarisationTyped, IdentifierIsRegisteredWithItsSeparator)
{
    using In = typename TypeParam::In;
    using H = typename TypeParam::H;
    const std::string expected = "Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Operator< " +
                                 volumeText<In>() + " , " + volumeText<H>() + " >";
    EXPECT_EQ(static_cast<const IComposite&>(PlanarisationOperator<In, H>()).getType(), expected);
    EXPECT_TRUE(registered(expected));
}

template <class In> class PlanarisationInstances : public ::testing::Test {};
TYPED_TEST_SUITE(PlanarisationInstances, AllVoxelTypes, TestSupport::VoxelTypeNames);

template <class In, class H> void expectRegistered()
{
    EXPECT_TRUE(registered("Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Operator< " +
                           volumeText<In>() + " , " + volumeText<H>() + " >"))
        << TestSupport::voxelName<In>() << " with " << TestSupport::voxelName<H>();
}

TYPED_TEST(PlanarisationInstances, EveryHeightTypeIsRegistered)
{
    using In = TypeParam;
    expectRegistered<In, Tarn::int8>();
    expectRegistered<In, Tarn::uint8>();
    expectRegistered<In, Tarn::int16>();
    expectRegistered<In, Tarn::uint16>();
    expectRegistered<In, Tarn::int32>();
    expectRegistered<In, Tarn::uint32>();
    expectRegistered<In, Tarn::int64>();
    expectRegistered<In, Tarn::uint64>();
    expectRegistered<In, Tarn::float32>();
    expectRegistered<In, Tarn::float64>();
}

TEST(OrthogonalPlanarisation, WideRowsGiveTheSameResultWithEveryThreadCount)
{
    // Rows of 1000 and of 2100 columns: the shift takes the rows in blocks of a few, or of one.
    for (SizeType prim : {1000u, 2100u}) {
        const MemoryVolumePtr<Tarn::uint16> volume = makeSparseVolume<Tarn::uint16>(dim(prim, 5, 6), 0.9, prim);
        volume->setOrientation(Orientation(0, 3, 4));
        const MemoryVolumePtr<Tarn::uint16> heights = makeHeights<Tarn::uint16>(dim(prim, 5, 1), 6, prim + 1);
        const std::vector<Tarn::uint16> expected = referencePlanarisation(volume, heights);
        for (int threads : {1, 2, 3, 4})
            EXPECT_EQ(flattenByFacade(volume, heights, threads), expected) << prim << " columns, " << threads << " threads";
    }
}

// ---- hand-checked results -------------------------------------------------------------------------

/// A volume of extent (prim, 1, tert) whose voxels hold first, first + 1, ... in storage order.
template <class T> MemoryVolumePtr<T> makeCountingVolume(SizeType prim, SizeType tert, T first)
{
    MemoryVolumePtr<T> volume(new MemoryVolume<T>(dim(prim, 1, tert)));
    T* voxel = volume->getPosOffset(pos(0, 0, 0));
    for (SizeType i = 0; i < prim * tert; ++i) voxel[i] = static_cast<T>(first + static_cast<T>(i));
    return volume;
}

/// A one-slice height map of extent (heights, 1, 1).
template <class H> MemoryVolumePtr<H> makeHeightRow(const std::vector<H>& values)
{
    MemoryVolumePtr<H> heights(new MemoryVolume<H>(dim(values.size(), 1, 1)));
    for (SizeType p = 0; p < values.size(); ++p) *heights->getPosOffset(pos(p, 0, 0)) = values[p];
    return heights;
}

TEST(OrthogonalPlanarisation, ZeroHeightsGiveACopyOfTheView)
{
    const MemoryVolumePtr<Tarn::uint16> volume = TestSupport::makeIndexVolume<Tarn::uint16>(dim(5, 4, 6));
    volume->setRoi(Region(dim(4, 3, 5), pos(1, 1, 0)));
    volume->setOrientation(Orientation(5, 2, 1));
    const MemoryVolumePtr<Tarn::uint8> heights(new MemoryVolume<Tarn::uint8>(dim(volume->getDimPrim(), volume->getDimSec(), 1)));
    heights->fill(0);
    EXPECT_EQ(flattenByFacade(volume, heights), viewValues(volume));
}

TEST(OrthogonalPlanarisation, ConstantHeightMovesTheVolumeUpAndLeavesBackgroundBelow)
{
    // Voxel (p, 0, t) holds p + 2 t.
    const MemoryVolumePtr<Tarn::int32> volume = makeCountingVolume<Tarn::int32>(2, 4, 0);
    const MemoryVolumePtr<Tarn::uint32> heights = makeHeightRow<Tarn::uint32>({2, 2});
    const Tarn::int32 empty = -2147483647 - 1;
    EXPECT_EQ(flattenByFacade(volume, heights), (std::vector<Tarn::int32>{4, 5, 6, 7, empty, empty, empty, empty}));
}

TEST(OrthogonalPlanarisation, NotFoundHeightGivesABackgroundColumn)
{
    const MemoryVolumePtr<Tarn::float32> volume = makeCountingVolume<Tarn::float32>(2, 3, 1.0f);
    const MemoryVolumePtr<Tarn::uint16> heights = makeHeightRow<Tarn::uint16>({65535, 0});
    const Tarn::float32 empty = 1.17549435e-38f;
    EXPECT_EQ(flattenByFacade(volume, heights), (std::vector<Tarn::float32>{empty, 2.0f, empty, 4.0f, empty, 6.0f}));
}

TEST(OrthogonalPlanarisation, FloatHeightsAreTruncatedTowardZero)
{
    // 2.9 acts as 2; -0.9 as 0, not as -1.
    const MemoryVolumePtr<Tarn::uint8> volume = makeCountingVolume<Tarn::uint8>(2, 5, 10);
    const MemoryVolumePtr<Tarn::float32> heights = makeHeightRow<Tarn::float32>({2.9f, -0.9f});
    EXPECT_EQ(flattenByFacade(volume, heights), (std::vector<Tarn::uint8>{14, 11, 16, 13, 18, 15, 0, 17, 0, 19}));
}

TEST(OrthogonalPlanarisation, FloatHeightsBeyondTheIntegersShiftTheColumnOut)
{
    const MemoryVolumePtr<Tarn::uint16> volume = makeCountingVolume<Tarn::uint16>(3, 2, 1);
    const MemoryVolumePtr<Tarn::float64> heights =
        makeHeightRow<Tarn::float64>({1e300, std::numeric_limits<double>::quiet_NaN(), -0.0});
    EXPECT_EQ(flattenByFacade(volume, heights), (std::vector<Tarn::uint16>{0, 0, 3, 0, 0, 6}));
}

TEST(OrthogonalPlanarisation, NegativeHeightsReadBeforeTheColumnUnchecked)
{
    // Storage holds 0 to 5 along tert; the region shows 2, 3, 4. A height of -1 reads one slice
    // earlier, which for slice 0 lies before the region.
    const MemoryVolumePtr<Tarn::int16> volume = makeCountingVolume<Tarn::int16>(1, 6, 0);
    volume->setRoi(Region(dim(1, 1, 3), pos(0, 0, 2)));
    const MemoryVolumePtr<Tarn::int8> heights = makeHeightRow<Tarn::int8>({-1});
    EXPECT_EQ(flattenByFacade(volume, heights), (std::vector<Tarn::int16>{1, 2, 3}));
}

TEST(OrthogonalPlanarisation, OutputOfTheRightTypeAndOtherExtentsIsResizedAndReused)
{
    const MemoryVolumePtr<Tarn::uint8> volume = makeCountingVolume<Tarn::uint8>(1, 5, 10);
    const MemoryVolumePtr<Tarn::uint8> given(new MemoryVolume<Tarn::uint8>(dim(2, 2, 2)));
    given->fill(99);
    const SmartPointer<Parameter> p = parameterFor(volume, makeHeightRow<Tarn::uint8>({1}));
    p->outputVolume.setValue(asVolume(given));
    IOrthogonalPlanarisationOperator::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_EQ(resultOf<Tarn::uint8>(p).get(), given.get());
    EXPECT_EQ(given->getDimension(), dim(1, 1, 5));
    EXPECT_EQ(viewValues(given), (std::vector<Tarn::uint8>{11, 12, 13, 14, 0}));
}

TEST(OrthogonalPlanarisation, AFittingOutputIsOverwrittenEverywhereWithBackgroundWhereShiftedOut)
{
    // Two columns of 5 voxels: 10 + 2p + ... counting along prim first. Heights 1 and 3.
    const MemoryVolumePtr<Tarn::uint8> volume = makeCountingVolume<Tarn::uint8>(2, 5, 10);
    const MemoryVolumePtr<Tarn::uint8> given(new MemoryVolume<Tarn::uint8>(dim(2, 1, 5)));
    given->fill(99);
    const SmartPointer<Parameter> p = parameterFor(volume, makeHeightRow<Tarn::uint8>({1, 3}));
    p->outputVolume.setValue(asVolume(given));
    for (int threads : {1, 2, 3}) {
        p->inputNumberOfThreads.setValue(threads);
        IOrthogonalPlanarisationOperator::IOperator facade;
        facade.apply(asComposite(p));
        EXPECT_EQ(resultOf<Tarn::uint8>(p).get(), given.get());
        EXPECT_EQ(viewValues(given), (std::vector<Tarn::uint8>{12, 17, 14, 19, 16, 0, 18, 0, 0, 0})) << threads;
        given->fill(99);
    }
}

TEST(OrthogonalPlanarisation, TheInputAsItsOwnOutputIsFilledBeforeItIsRead)
{
    // The output is filled with background first, and the shift then reads the filled voxels.
    const MemoryVolumePtr<Tarn::int16> volume = makeCountingVolume<Tarn::int16>(3, 4, 5);
    const SmartPointer<Parameter> p = parameterFor(volume, makeHeightRow<Tarn::int16>({0, 1, 2}));
    p->outputVolume.setValue(asVolume(volume));
    IOrthogonalPlanarisationOperator::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_EQ(resultOf<Tarn::int16>(p).get(), volume.get());
    EXPECT_EQ(viewValues(volume), std::vector<Tarn::int16>(12, Tarn::int16(-32768)));
}

TEST(OrthogonalPlanarisation, ARegionOnAFittingOutputLimitsWhatIsWritten)
{
    const MemoryVolumePtr<Tarn::uint8> volume = makeCountingVolume<Tarn::uint8>(1, 3, 10);
    const MemoryVolumePtr<Tarn::uint8> given(new MemoryVolume<Tarn::uint8>(dim(3, 1, 3)));
    given->fill(99);
    given->setRoi(Region(dim(1, 1, 3), pos(1, 0, 0)));
    const SmartPointer<Parameter> p = parameterFor(volume, makeHeightRow<Tarn::uint8>({1}));
    p->outputVolume.setValue(asVolume(given));
    IOrthogonalPlanarisationOperator::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_EQ(resultOf<Tarn::uint8>(p).get(), given.get());
    given->popRoi();
    EXPECT_EQ(viewValues(given), (std::vector<Tarn::uint8>{99, 11, 99, 99, 12, 99, 99, 0, 99}));
}

TEST(OrthogonalPlanarisation, TheProcessWideThreadCountIsLeftAsItWas)
{
    const int before = omp_get_max_threads();
    const MemoryVolumePtr<Tarn::uint16> volume = makeCountingVolume<Tarn::uint16>(4, 8, 0);
    const MemoryVolumePtr<Tarn::uint16> heights = makeHeightRow<Tarn::uint16>({0, 1, 2, 3});
    const std::vector<Tarn::uint16> expected = referencePlanarisation(volume, heights);
    EXPECT_EQ(flattenByFacade(volume, heights, before + 2), expected);
    EXPECT_EQ(omp_get_max_threads(), before);
    EXPECT_EQ(flattenByFacade(volume, heights, 1), expected);
    EXPECT_EQ(omp_get_max_threads(), before);
}

TEST(OrthogonalPlanarisation, TheHeightMapsViewFlattensTheSurfaceIntoSliceZero)
{
    // A surface along stored prim: material from depth d(s, t) = (s + t) % 3 on. The height map
    // turns the volume so that prim is view tert; the planarisation takes it in that view.
    MemoryVolumePtr<Tarn::uint8> volume(new MemoryVolume<Tarn::uint8>(dim(6, 3, 2)));
    for (SizeType t = 0; t < 2; ++t)
        for (SizeType s = 0; s < 3; ++s)
            for (SizeType p = 0; p < 6; ++p)
                *volume->getPosOffset(pos(p, s, t)) = p < (s + t) % 3 ? 0 : static_cast<Tarn::uint8>(100 + p - (s + t) % 3);
    Tarn::Lumo_DLL::IHeightMap::IOperator heightMap;
    const SmartPointer<Tarn::Lumo::HeightMap::Parameter> h(new Tarn::Lumo::HeightMap::Parameter);
    h->inputVolume.setValue(asVolume(volume));
    h->outputVolume.setValue(asVolume(MemoryVolumePtr<Tarn::uint16>(new MemoryVolume<Tarn::uint16>(dim(1, 1, 1)))));
    h->inputDirection.setValue(0);
    heightMap.apply(asComposite(h));

    IOrthogonalPlanarisationOperator::IOperator flatten;
    const SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(asVolume(volume));
    p->inputHeightMapVolume.setValue(h->outputVolume.getValue());
    flatten.apply(asComposite(p));
    const MemoryVolumePtr<Tarn::uint8> out = resultOf<Tarn::uint8>(p);
    ASSERT_EQ(out->getDimension(), dim(3, 2, 6));
    for (SizeType k = 0; k < 6; ++k)
        for (SizeType s = 0; s < 2; ++s)
            for (SizeType q = 0; q < 3; ++q) {
                const SizeType depth = (2 - q + s) % 3; // view prim q is stored sec 2 - q, view sec s stored tert s
                EXPECT_EQ(out->getValueAt(pos(q, s, k)), k + depth < 6 ? 100 + k : 0) << q << " " << s << " " << k;
            }
}

// ---- failures -------------------------------------------------------------------------------------

TEST(OrthogonalPlanarisationFailure, FacadeRefusesAParameterOfAnotherClass)
{
    IOrthogonalPlanarisationOperator::IOperator facade;
    const SmartPointer<IComposite> other =
        asComposite(SmartPointer<Tarn::Lumo::HeightMap::Parameter>(new Tarn::Lumo::HeightMap::Parameter));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(other); }),
              "parameter: Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::IOperator::"
              "getOperatorTypeFromParameterObject: invalid parameter object!");
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(SmartPointer<IComposite>()); }),
              "parameter: Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::IOperator::"
              "getOperatorTypeFromParameterObject: invalid parameter object!");
}

TEST(OrthogonalPlanarisationFailure, FacadeReportsTheMissingVolumeInOrder)
{
    IOrthogonalPlanarisationOperator::IOperator facade;
    const MemoryVolumePtr<Tarn::uint8> volume = makeCountingVolume<Tarn::uint8>(2, 2, 0);
    SmartPointer<Parameter> p(new Parameter);
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::IOperator::"
              "getOperatorTypeFromParameterObject: inputVolume is NULL!");
    p->inputHeightMapVolume.setValue(asVolume(volume));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::IOperator::"
              "getOperatorTypeFromParameterObject: inputVolume is NULL!");
    p = SmartPointer<Parameter>(new Parameter);
    p->inputVolume.setValue(asVolume(volume));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::IOperator::"
              "getOperatorTypeFromParameterObject: inputHeightMapVolume is NULL!");
    EXPECT_TRUE(p->outputVolume.getValue() == 0);
}

TEST(OrthogonalPlanarisationFailure, AChunkFailsInTheFactoryWithTheWholeIdentifier)
{
    using Chunk = Tarn::Kito::Volume<Tarn::uint16, Tarn::Kito::Allocator::ExternalBufferAllocator<
                                                       Tarn::Kito::Allocator::SingleBlockAllocator>>;
    const MemoryVolumePtr<Tarn::uint16> source = makeCountingVolume<Tarn::uint16>(2, 2, 0);
    const SmartPointer<Chunk> chunk(new Chunk(source, Region(dim(1, 1, 1), pos(0, 0, 0))));
    IOrthogonalPlanarisationOperator::IOperator facade;
    const SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(asVolume(source));
    p->inputHeightMapVolume.setValue(asVolume(chunk));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Operator< Tarn::Kito::Volume< "
              "Tarn::uint16 , Tarn::Kito::Allocator::SingleBlockAllocator > , Tarn::Kito::Volume< Tarn::uint16 , "
              "Tarn::Kito::Allocator::ExternalBufferAllocator< Tarn::Kito::Allocator::SingleBlockAllocator > > > is "
              "registered");
}

/// Runs op on the two volumes with an output of Tarn::uint8 filled with 99, and expects the failure
/// text, the output volume still in the property, and none of its voxels written.
template <class Op>
void expectFailureWritingNothing(Op& op, const SmartPointer<IVolume>& input, const SmartPointer<IVolume>& heights,
                                 const std::string& text)
{
    const MemoryVolumePtr<Tarn::uint8> given(new MemoryVolume<Tarn::uint8>(dim(2, 1, 2)));
    given->fill(99);
    const SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(input);
    p->inputHeightMapVolume.setValue(heights);
    p->outputVolume.setValue(asVolume(given));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }), text);
    EXPECT_EQ(p->outputVolume.getValue().get(), asVolume(given).get());
    EXPECT_EQ(viewValues(given), std::vector<Tarn::uint8>(4, 99));
}

TEST(OrthogonalPlanarisationFailure, ApplyRefusesAParameterOfAnotherClass)
{
    PlanarisationOperator<Tarn::uint8, Tarn::uint8> op;
    const SmartPointer<IComposite> other =
        asComposite(SmartPointer<Tarn::Lumo::HeightMap::Parameter>(new Tarn::Lumo::HeightMap::Parameter));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(other); }),
              "parameter: Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Operator::apply: "
              "paramaeter Object is NULL");
}

TEST(OrthogonalPlanarisationFailure, ApplyTakesAnInputOfAnotherTypeForAMissingOne)
{
    PlanarisationOperator<Tarn::uint8, Tarn::uint8> op;
    const std::string text = "parameter: Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::"
                             "Operator::apply: input volume is NULL";
    const SmartPointer<IVolume> heights = asVolume(makeHeightRow<Tarn::uint8>({0, 0}));
    expectFailureWritingNothing(op, asVolume(makeCountingVolume<Tarn::int8>(2, 2, 0)), heights, text);
    expectFailureWritingNothing(op, SmartPointer<IVolume>(), heights, text);
}

TEST(OrthogonalPlanarisationFailure, ApplyTakesAHeightMapOfAnotherTypeForAMissingOne)
{
    PlanarisationOperator<Tarn::uint8, Tarn::uint8> op;
    const std::string text = "parameter: Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::"
                             "Operator::apply: height-map volume is NULL";
    const SmartPointer<IVolume> input = asVolume(makeCountingVolume<Tarn::uint8>(2, 2, 0));
    expectFailureWritingNothing(op, input, asVolume(makeHeightRow<Tarn::uint16>({0, 0})), text);
    expectFailureWritingNothing(op, input, SmartPointer<IVolume>(), text);
}

TEST(OrthogonalPlanarisationFailure, AnOutputOfAnotherTypeFailsInTheWordsOfCheckOutputVolume)
{
    IOrthogonalPlanarisationOperator::IOperator facade;
    expectFailureWritingNothing(facade, asVolume(makeCountingVolume<Tarn::int8>(2, 3, 0)),
                                asVolume(makeHeightRow<Tarn::uint8>({0, 0})),
                                "parameter: Tarn::Kito::Operator::checkOutputVolume volume is of the wrong type");
}

// ---- parameter object -----------------------------------------------------------------------------

TEST(OrthogonalPlanarisationParameter, ClassNamePropertiesAndDefaults)
{
    Parameter p;
    EXPECT_EQ(p.getType(), "Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Parameter");
    EXPECT_EQ(keysOf(p), (std::vector<std::string>{"inputVolume", "inputHeightMapVolume", "inputNumberOfThreads",
                                                   "outputVolume"}));
    EXPECT_EQ(p.inputNumberOfThreads.getValue(), 0);
    const Tarn::Kito::Persistence::DataPtr<Tarn::int32> threads =
        DynamicCast<Tarn::Kito::Persistence::DataPtr<Tarn::int32>>(p.getValue("inputNumberOfThreads"));
    ASSERT_FALSE(threads == 0);
    EXPECT_EQ(threads->getType(), "Tarn::Kito::Persistence::Data< Tarn::int32 >");
}

TEST(OrthogonalPlanarisationParameter, TheClassFactoryMakesIt)
{
    const SmartPointer<IComposite> made = Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(
        "Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Parameter");
    EXPECT_FALSE(DynamicCast<SmartPointer<Parameter>>(made) == 0);
}

} // namespace
