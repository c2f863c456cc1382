#include <Kito/ClassFactory>
#include <Kito/Data>
#include <Kito/ExternalBufferAllocator>
#include <Kito/Orientation>
#include <Kito/Statistics/StatisticsFromVolume/Operator>
#include <Kito/Statistics/StatisticsFromVolume/Parameter>
#include <Kito/Statistics/SumOfVoxels/Parameter>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/IStatisticsFromVolume.h>

#include <support/FailureOf.h>
#include <support/RandomVolume.h>
#include <support/StopWhileRunning.h>
#include <support/Views.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::Orientation;
using Tarn::Kito::Position;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::DataPtr;
using Tarn::Kito::Persistence::IComposite;
using Tarn::Lumo_DLL::IStatisticsFromVolume;
using TestSupport::bitsOf;
using TestSupport::invalidArgumentOf;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;
using TestSupport::View;
using TestSupport::asComposite;
using TestSupport::setView;

using Region = RegionOfInterest<SizeType>;
using Parameter = Tarn::Kito::Statistics::StatisticsFromVolume::Parameter;
using ChunkAllocator = Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Kito::Allocator::SingleBlockAllocator>;
template <class T> using ChunkVolume = Tarn::Kito::Volume<T, ChunkAllocator>;
template <class T> using ChunkVolumePtr = Tarn::Kito::VolumePtr<T, ChunkAllocator>;
template <class P> using StatisticsOperator = Tarn::Kito::Statistics::StatisticsFromVolume::Operator<P>;

template <class V> SmartPointer<Parameter> parameterFor(const V& volume)
{
    return TestSupport::parameterWithInput<Parameter>(volume);
}

/// Welford's recurrence step by step, all in double, minimum and maximum in the voxel type.
template <class T> struct ReferenceStatistic {
    Tarn::uint64 count = 0;
    T minimum = T();
    T maximum = T();
    double mean = 0.0;
    double previousMean = 0.0;
    double variance = 0.0;
    double sumOfSquaredDeviations = 0.0;

    void add(const T& value)
    {
        const double x = static_cast<double>(value);
        count = count + 1;
        if (count == 1) {
            mean = x;
            sumOfSquaredDeviations = 0.0;
            variance = 0.0;
            minimum = value;
            maximum = value;
            return;
        }
        previousMean = mean;
        mean = (x - previousMean) / static_cast<double>(count) + mean;
        sumOfSquaredDeviations = sumOfSquaredDeviations + (x - previousMean) * (x - mean);
        if (maximum < value) maximum = value;
        if (minimum > value) minimum = value;
        variance = sumOfSquaredDeviations / static_cast<double>(count - 1);
    }
};

/// The reference over a view in walk order.
template <class V> ReferenceStatistic<typename V::VoxelType> referenceOf(const V& volume)
{
    ReferenceStatistic<typename V::VoxelType> reference;
    TestSupport::forEachInView(volume, [&](const typename V::VoxelType& value, SizeType, SizeType, SizeType) {
        reference.add(value);
    });
    return reference;
}

template <class T> bool sameBits(const T& a, const T& b) { return std::memcmp(&a, &b, sizeof(T)) == 0; }

/// The value of a minimum or maximum output, which must be a Data of exactly T.
template <class T> T dataValue(const SmartPointer<Tarn::Kito::Persistence::IData>& data)
{
    const DataPtr<T> typed = DynamicCast<DataPtr<T>>(data);
    if (typed == 0) {
        ADD_FAILURE() << "the output is no Data of " << TestSupport::voxelName<T>();
        return T();
    }
    return typed->getValue();
}

/// All five outputs against the reference, to the last bit.
template <class T> void expectOutputs(const SmartPointer<Parameter>& p, const ReferenceStatistic<T>& r)
{
    EXPECT_TRUE(sameBits(dataValue<T>(p->outputMinimum.getValue()), r.minimum));
    EXPECT_TRUE(sameBits(dataValue<T>(p->outputMaximum.getValue()), r.maximum));
    EXPECT_EQ(bitsOf(p->outputMean.getValue()), bitsOf(r.mean));
    EXPECT_EQ(bitsOf(p->outputVariance.getValue()), bitsOf(r.variance));
    EXPECT_EQ(bitsOf(p->outputStandardDeviation.getValue()), bitsOf(std::sqrt(r.variance)));
}

/// The views each typed case is run on; the second region is seen with view prim = storage sec
/// backwards, view sec = storage tert, view tert = storage prim backwards.
const View allViews[] = {
    TestSupport::wholeView(0), TestSupport::regionView(1, Dimension<SizeType>(12, 10, 5), Position<SizeType>(3, 4, 2)),
    TestSupport::turnedRegionView(2, Dimension<SizeType>(15, 9, 8), Position<SizeType>(2, 5, 1), Orientation(3, 4, 1)),
    TestSupport::turnedView(3, Orientation(4, 0, 2))};

template <class T> class StatisticsFromVolumeTyped : public ::testing::Test {};
TYPED_TEST_SUITE(StatisticsFromVolumeTyped, TestSupport::OperatorVoxelTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(StatisticsFromVolumeTyped, FacadeMatchesWelfordInWalkOrderBitForBit)
{
    using T = TypeParam;
    for (const View& view : allViews) {
        SCOPED_TRACE(view.index);
        MemoryVolumePtr<T> volume = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(21, 16, 12), 300 + view.index);
        setView(*volume, view);
        const ReferenceStatistic<T> reference = referenceOf(*volume);
        IStatisticsFromVolume::IOperator facade;
        SmartPointer<Parameter> p = parameterFor(volume);
        facade.apply(asComposite(p));
        expectOutputs(p, reference);
        EXPECT_EQ(facade.getProgress().getProgress(), 1.0);
    }
}

TYPED_TEST(StatisticsFromVolumeTyped, DirectMatchesWelfordInWalkOrderBitForBit)
{
    using T = TypeParam;
    for (const View& view : allViews) {
        SCOPED_TRACE(view.index);
        MemoryVolumePtr<T> volume = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(21, 16, 12), 400 + view.index);
        setView(*volume, view);
        const ReferenceStatistic<T> reference = referenceOf(*volume);
        StatisticsOperator<MemoryVolumePtr<T>> op;
        SmartPointer<Parameter> p = parameterFor(volume);
        op.apply(asComposite(p));
        expectOutputs(p, reference);
        EXPECT_EQ(op.getProgress().getProgress(), 1.0);
    }
}

TYPED_TEST(StatisticsFromVolumeTyped, ChunkOverMemoryMatchesWelfordThroughFacadeAndDirectly)
{
    using T = TypeParam;
    MemoryVolumePtr<T> source = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(17, 13, 9), 500);
    source->setOrientation(Orientation(1, 4, 2));
    ChunkVolumePtr<T> chunk(
        new ChunkVolume<T>(source, Region(Dimension<SizeType>(10, 6, 8), Position<SizeType>(4, 2, 3))));
    const ReferenceStatistic<T> reference = referenceOf(*chunk);
    ASSERT_EQ(reference.count, 10u * 6u * 8u);

    IStatisticsFromVolume::IOperator facade;
    SmartPointer<Parameter> p = parameterFor(chunk);
    facade.apply(asComposite(p));
    expectOutputs(p, reference);

    StatisticsOperator<ChunkVolumePtr<T>> op;
    SmartPointer<Parameter> q = parameterFor(chunk);
    op.apply(asComposite(q));
    expectOutputs(q, reference);
}

TYPED_TEST(StatisticsFromVolumeTyped, IdentifiersOfBothAllocatorsAreRegistered)
{
    using T = TypeParam;
    const std::string inMemory = std::string("Tarn::Kito::Statistics::StatisticsFromVolume::Operator< Tarn::Kito::Volume< ") +
                                 TestSupport::voxelName<T>() + " , Tarn::Kito::Allocator::SingleBlockAllocator > >";
    const std::string overMemory =
        std::string("Tarn::Kito::Statistics::StatisticsFromVolume::Operator< Tarn::Kito::Volume< ") +
        TestSupport::voxelName<T>() +
        " , Tarn::Kito::Allocator::ExternalBufferAllocator< Tarn::Kito::Allocator::SingleBlockAllocator > > >";
    EXPECT_EQ(static_cast<const IComposite&>(StatisticsOperator<MemoryVolumePtr<T>>()).getType(), inMemory);
    EXPECT_EQ(static_cast<const IComposite&>(StatisticsOperator<ChunkVolumePtr<T>>()).getType(), overMemory);
    const auto ids = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    EXPECT_NE(std::find(ids.begin(), ids.end(), inMemory), ids.end());
    EXPECT_NE(std::find(ids.begin(), ids.end(), overMemory), ids.end());
}

TYPED_TEST(StatisticsFromVolumeTyped, MinimumAndMaximumAreDataOfTheVoxelType)
{
    using T = TypeParam;
    MemoryVolumePtr<T> volume = TestSupport::makeIndexVolume<T>(Dimension<SizeType>(3, 3, 3));
    SmartPointer<Parameter> p = parameterFor(volume);
    IStatisticsFromVolume::IOperator facade;
    facade.apply(asComposite(p));
    const std::string dataType = std::string("Tarn::Kito::Persistence::Data< ") + TestSupport::voxelName<T>() + " >";
    EXPECT_EQ(DynamicCast<SmartPointer<IComposite>>(p->outputMinimum.getValue())->getType(), dataType);
    EXPECT_EQ(DynamicCast<SmartPointer<IComposite>>(p->outputMaximum.getValue())->getType(), dataType);
    EXPECT_EQ(dataValue<T>(p->outputMinimum.getValue()), T(0));
    EXPECT_EQ(dataValue<T>(p->outputMaximum.getValue()), T(26));
    EXPECT_DOUBLE_EQ(p->outputMean.getValue(), 13.0);
}

TYPED_TEST(StatisticsFromVolumeTyped, SingleVoxelHasItsValueAndNoVariance)
{
    using T = TypeParam;
    MemoryVolumePtr<T> volume = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(5, 4, 3), 9);
    volume->setRoi(Region(Dimension<SizeType>(1, 1, 1), Position<SizeType>(3, 2, 1)));
    const T value = volume->getValueAt(Position<SizeType>(0, 0, 0));
    SmartPointer<Parameter> p = parameterFor(volume);
    IStatisticsFromVolume::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_TRUE(sameBits(dataValue<T>(p->outputMinimum.getValue()), value));
    EXPECT_TRUE(sameBits(dataValue<T>(p->outputMaximum.getValue()), value));
    EXPECT_EQ(bitsOf(p->outputMean.getValue()), bitsOf(static_cast<double>(value)));
    EXPECT_EQ(bitsOf(p->outputVariance.getValue()), bitsOf(0.0));
    EXPECT_EQ(bitsOf(p->outputStandardDeviation.getValue()), bitsOf(0.0));
}

TYPED_TEST(StatisticsFromVolumeTyped, EmptyViewGivesZerosWithoutFailure)
{
    using T = TypeParam;
    MemoryVolumePtr<T> volume(new MemoryVolume<T>(Dimension<SizeType>(0, 0, 0)));
    SmartPointer<Parameter> p = parameterFor(volume);
    p->outputMean.setValue(4.0);
    p->outputVariance.setValue(4.0);
    p->outputStandardDeviation.setValue(4.0);
    IStatisticsFromVolume::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_EQ(dataValue<T>(p->outputMinimum.getValue()), T(0));
    EXPECT_EQ(dataValue<T>(p->outputMaximum.getValue()), T(0));
    EXPECT_EQ(bitsOf(p->outputMean.getValue()), bitsOf(0.0));
    EXPECT_EQ(bitsOf(p->outputVariance.getValue()), bitsOf(0.0));
    EXPECT_EQ(bitsOf(p->outputStandardDeviation.getValue()), bitsOf(0.0));
    EXPECT_EQ(facade.getProgress().getProgress(), 1.0);
}

// ---- hand-checked statistics ----------------------------------------------------------------------

TEST(StatisticsFromVolume, OneAndThreeGiveTheSampleVarianceTwo)
{
    MemoryVolumePtr<Tarn::int16> volume(new MemoryVolume<Tarn::int16>(Dimension<SizeType>(2, 1, 1)));
    *volume->getPosOffset(Position<SizeType>(0, 0, 0)) = 1;
    *volume->getPosOffset(Position<SizeType>(1, 0, 0)) = 3;
    SmartPointer<Parameter> p = parameterFor(volume);
    IStatisticsFromVolume::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_EQ(p->outputMean.getValue(), 2.0);
    EXPECT_EQ(p->outputVariance.getValue(), 2.0);
    EXPECT_EQ(p->outputStandardDeviation.getValue(), std::sqrt(2.0));
    EXPECT_EQ(dataValue<Tarn::int16>(p->outputMinimum.getValue()), 1);
    EXPECT_EQ(dataValue<Tarn::int16>(p->outputMaximum.getValue()), 3);
}

TEST(StatisticsFromVolume, RegionRestrictsAllFiveOutputs)
{
    // Voxel = storage index 0..11; the region holds 7, 8, 10, 11: mean 9, squared deviations
    // 4 + 1 + 1 + 4 = 10 over 3.
    MemoryVolumePtr<Tarn::uint32> volume = TestSupport::makeIndexVolume<Tarn::uint32>(Dimension<SizeType>(3, 2, 2));
    volume->setRoi(Region(Dimension<SizeType>(2, 2, 1), Position<SizeType>(1, 0, 1)));
    SmartPointer<Parameter> p = parameterFor(volume);
    IStatisticsFromVolume::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_EQ(dataValue<Tarn::uint32>(p->outputMinimum.getValue()), 7u);
    EXPECT_EQ(dataValue<Tarn::uint32>(p->outputMaximum.getValue()), 11u);
    EXPECT_DOUBLE_EQ(p->outputMean.getValue(), 9.0);
    EXPECT_DOUBLE_EQ(p->outputVariance.getValue(), 10.0 / 3.0);
    EXPECT_DOUBLE_EQ(p->outputStandardDeviation.getValue(), std::sqrt(10.0 / 3.0));
}

TEST(StatisticsFromVolume, NaNAfterTheFirstVoxelSpoilsTheMomentsButNotTheBounds)
{
    MemoryVolumePtr<Tarn::float32> volume(new MemoryVolume<Tarn::float32>(Dimension<SizeType>(4, 1, 1)));
    const float values[] = {1.0f, std::numeric_limits<float>::quiet_NaN(), 5.0f, -2.0f};
    for (SizeType k = 0; k < 4; ++k) *volume->getPosOffset(Position<SizeType>(k, 0, 0)) = values[k];
    SmartPointer<Parameter> p = parameterFor(volume);
    IStatisticsFromVolume::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_TRUE(std::isnan(p->outputMean.getValue()));
    EXPECT_TRUE(std::isnan(p->outputVariance.getValue()));
    EXPECT_TRUE(std::isnan(p->outputStandardDeviation.getValue()));
    EXPECT_EQ(dataValue<Tarn::float32>(p->outputMinimum.getValue()), -2.0f);
    EXPECT_EQ(dataValue<Tarn::float32>(p->outputMaximum.getValue()), 5.0f);
}

TEST(StatisticsFromVolume, NaNAsTheFirstVoxelStaysInBothBounds)
{
    MemoryVolumePtr<Tarn::float64> volume(new MemoryVolume<Tarn::float64>(Dimension<SizeType>(3, 1, 1)));
    const double values[] = {std::numeric_limits<double>::quiet_NaN(), 1.0, 5.0};
    for (SizeType k = 0; k < 3; ++k) *volume->getPosOffset(Position<SizeType>(k, 0, 0)) = values[k];
    SmartPointer<Parameter> p = parameterFor(volume);
    IStatisticsFromVolume::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_TRUE(std::isnan(dataValue<Tarn::float64>(p->outputMinimum.getValue())));
    EXPECT_TRUE(std::isnan(dataValue<Tarn::float64>(p->outputMaximum.getValue())));
    EXPECT_TRUE(std::isnan(p->outputMean.getValue()));
    EXPECT_TRUE(std::isnan(p->outputVariance.getValue()));
}

TEST(StatisticsFromVolume, Uint8MinimumIsNoFloat)
{
    MemoryVolumePtr<Tarn::uint8> volume = TestSupport::makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 2));
    SmartPointer<Parameter> p = parameterFor(volume);
    IStatisticsFromVolume::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_FALSE(DynamicCast<DataPtr<Tarn::uint8>>(p->outputMinimum.getValue()) == 0);
    EXPECT_TRUE(DynamicCast<DataPtr<Tarn::float64>>(p->outputMinimum.getValue()) == 0);
    EXPECT_TRUE(DynamicCast<DataPtr<Tarn::float32>>(p->outputMinimum.getValue()) == 0);
    EXPECT_EQ(DynamicCast<SmartPointer<IComposite>>(p->outputMinimum.getValue())->getType(),
              "Tarn::Kito::Persistence::Data< Tarn::uint8 >");
}

TEST(StatisticsFromVolume, OperatorRunsAgainFromScratch)
{
    MemoryVolumePtr<Tarn::int8> volume = TestSupport::makeIndexVolume<Tarn::int8>(Dimension<SizeType>(2, 2, 2));
    SmartPointer<Parameter> p = parameterFor(volume);
    StatisticsOperator<MemoryVolumePtr<Tarn::int8>> op;
    op.apply(asComposite(p));
    EXPECT_DOUBLE_EQ(p->outputMean.getValue(), 3.5);
    // An earlier stop is forgotten, and nothing of the first run is carried into the second.
    op.abort();
    volume->setRoiToSlice(1);
    op.apply(asComposite(p));
    EXPECT_DOUBLE_EQ(p->outputMean.getValue(), 5.5);
    EXPECT_EQ(dataValue<Tarn::int8>(p->outputMinimum.getValue()), 4);
    EXPECT_EQ(dataValue<Tarn::int8>(p->outputMaximum.getValue()), 7);
    EXPECT_EQ(op.getProgress().getProgress(), 1.0);
}

TEST(StatisticsFromVolumeParameter, ClassNameAndProperties)
{
    Parameter p;
    EXPECT_EQ(p.getType(), "Tarn::Kito::Statistics::StatisticsFromVolume::Parameter");
    ASSERT_EQ(p.size(), 6u);
    EXPECT_EQ(p.getKey(0), "inputVolume");
    EXPECT_EQ(p.getKey(1), "outputMinimum");
    EXPECT_EQ(p.getKey(2), "outputMaximum");
    EXPECT_EQ(p.getKey(3), "outputStandardDeviation");
    EXPECT_EQ(p.getKey(4), "outputVariance");
    EXPECT_EQ(p.getKey(5), "outputMean");
}

// ---- failures -------------------------------------------------------------------------------------

SmartPointer<IComposite> parameterOfAnotherOperator()
{
    return DynamicCast<SmartPointer<IComposite>>(SmartPointer<Tarn::Kito::Statistics::SumOfVoxels::Parameter>(
        new Tarn::Kito::Statistics::SumOfVoxels::Parameter));
}

TEST(StatisticsFromVolumeFailure, FacadeRefusesAParameterOfAnotherClass)
{
    IStatisticsFromVolume::IOperator facade;
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(parameterOfAnotherOperator()); }),
              "parameter: Tarn::Lumo_DLL::IStatisticsFromVolume::IOperator::getOperatorTypeFromParameterObject: invalid "
              "parameter object!");
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(SmartPointer<IComposite>()); }),
              "parameter: Tarn::Lumo_DLL::IStatisticsFromVolume::IOperator::getOperatorTypeFromParameterObject: invalid "
              "parameter object!");
}

TEST(StatisticsFromVolumeFailure, FacadeReportsAMissingVolume)
{
    IStatisticsFromVolume::IOperator facade;
    SmartPointer<Parameter> p(new Parameter);
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo_DLL::IStatisticsFromVolume::IOperator::getOperatorTypeFromParameterObject: "
              "inputVolume is NULL!");
}

TEST(StatisticsFromVolumeFailure, SixtyFourBitIntegersFailInTheFactory)
{
    IStatisticsFromVolume::IOperator facade;
    MemoryVolumePtr<Tarn::int64> wide(new MemoryVolume<Tarn::int64>(Dimension<SizeType>(2, 2, 2)));
    SmartPointer<Parameter> p = parameterFor(wide);
    p->outputMean.setValue(6.25);
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Kito::Statistics::StatisticsFromVolume::Operator< Tarn::Kito::Volume< Tarn::int64 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > is registered");
    EXPECT_EQ(p->outputMean.getValue(), 6.25);
    MemoryVolumePtr<Tarn::uint64> unsignedWide(new MemoryVolume<Tarn::uint64>(Dimension<SizeType>(2, 2, 2)));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(parameterFor(unsignedWide))); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Kito::Statistics::StatisticsFromVolume::Operator< Tarn::Kito::Volume< Tarn::uint64 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > is registered");
}

TEST(StatisticsFromVolumeFailure, DirectApplyWithTheParameterOfAnotherOperator)
{
    StatisticsOperator<MemoryVolumePtr<Tarn::uint8>> op;
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(parameterOfAnotherOperator()); }),
              "parameter: Tarn::Kito::Statistics::StatisticsFromVolume::Operator< Tarn::Kito::Volume< Tarn::uint8 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > >::apply parameter is NULL");
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(SmartPointer<IComposite>()); }),
              "parameter: Tarn::Kito::Statistics::StatisticsFromVolume::Operator< Tarn::Kito::Volume< Tarn::uint8 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > >::apply parameter is NULL");
}

TEST(StatisticsFromVolumeFailure, DirectApplyOnAVolumeOfAnotherTypeWritesNothing)
{
    MemoryVolumePtr<Tarn::float32> volume = TestSupport::makeIndexVolume<Tarn::float32>(Dimension<SizeType>(2, 2, 2));
    SmartPointer<Parameter> p = parameterFor(volume);
    p->outputMean.setValue(6.25);
    StatisticsOperator<MemoryVolumePtr<Tarn::float64>> op;
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Kito::Statistics::StatisticsFromVolume::Operator< Tarn::Kito::Volume< Tarn::float64 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > >::apply inputVolume is NULL");
    EXPECT_EQ(p->outputMean.getValue(), 6.25);
    EXPECT_TRUE(p->outputMinimum.getValue() == 0);
}

TEST(StatisticsFromVolumeFailure, DirectApplyOnAChunkInstanceWithoutVolume)
{
    StatisticsOperator<ChunkVolumePtr<Tarn::int32>> op;
    SmartPointer<Parameter> p(new Parameter);
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Kito::Statistics::StatisticsFromVolume::Operator< Tarn::Kito::Volume< Tarn::int32 , "
              "Tarn::Kito::Allocator::ExternalBufferAllocator< Tarn::Kito::Allocator::SingleBlockAllocator > > "
              ">::apply inputVolume is NULL");
}

// ---- stopping -------------------------------------------------------------------------------------

TEST(StatisticsFromVolumeStop, AStopFromAnotherThreadLeavesTheStatisticsOfTheWalkedSlices)
{
    const SizeType nPrim = 128, nSec = 128, nTert = 1024;
    MemoryVolumePtr<Tarn::uint8> volume(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(nPrim, nSec, nTert)));
    Tarn::uint8* voxel = volume->getPosOffset(Position<SizeType>(0, 0, 0));
    // The reference after each whole slice: what a stopped run must have written.
    ReferenceStatistic<Tarn::uint8> running;
    std::vector<ReferenceStatistic<Tarn::uint8>> afterSlice;
    for (SizeType t = 0; t < nTert; ++t) {
        for (SizeType k = 0; k < nPrim * nSec; ++k) {
            *voxel = static_cast<Tarn::uint8>((k * 7 + t * 13) % 251);
            running.add(*voxel++);
        }
        afterSlice.push_back(running);
    }

    bool stopped = false;
    for (int attempt = 0; attempt < 5 && !stopped; ++attempt) {
        IStatisticsFromVolume::IOperator facade;
        SmartPointer<Parameter> p = parameterFor(volume);
        const TestSupport::StoppedRun run = TestSupport::stopWhileRunning(facade, [&] { facade.apply(asComposite(p)); });
        EXPECT_TRUE(TestSupport::neverFalls(run.seen));
        const double progress = facade.getProgress().getProgress();
        if (progress == 1.0) continue;
        stopped = true;
        EXPECT_LT(progress, 1.0);
        const double mean = p->outputMean.getValue();
        const auto found = std::find_if(afterSlice.begin(), afterSlice.end() - 1, [&](const auto& r) {
            return bitsOf(r.mean) == bitsOf(mean);
        });
        ASSERT_NE(found, afterSlice.end() - 1) << "the mean " << mean << " is that of no whole first slices";
        expectOutputs(p, *found);
    }
    EXPECT_TRUE(stopped) << "no run out of five saw the stop before its end";
}

} // namespace
