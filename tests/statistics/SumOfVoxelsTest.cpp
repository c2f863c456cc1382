#include <Kito/ClassFactory>
#include <Kito/Data>
#include <Kito/ExternalBufferAllocator>
#include <Kito/Orientation>
#include <Kito/Statistics/SumOfVoxels/Operator>
#include <Kito/Statistics/SumOfVoxels/Parameter>
#include <Kito/Statistics/StatisticsFromVolume/Parameter>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/ISumOfVoxels.h>

#include <support/FailureOf.h>
#include <support/RandomVolume.h>
#include <support/StopWhileRunning.h>
#include <support/Views.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
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
using Tarn::Lumo_DLL::ISumOfVoxels;
using TestSupport::bitsOf;
using TestSupport::invalidArgumentOf;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;
using TestSupport::View;
using TestSupport::asComposite;
using TestSupport::setView;

using Region = RegionOfInterest<SizeType>;
using Parameter = Tarn::Kito::Statistics::SumOfVoxels::Parameter;
template <class T> using SumOperator = Tarn::Kito::Statistics::SumOfVoxels::Operator<MemoryVolumePtr<T>>;
using ChunkAllocator = Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Kito::Allocator::SingleBlockAllocator>;

template <class V> SmartPointer<Parameter> parameterFor(const V& volume)
{
    return TestSupport::parameterWithInput<Parameter>(volume);
}

/// The sum in walk order, each voxel as a double, one plain addition after the other.
template <class V> double referenceSum(const V& volume)
{
    double sum = 0.0;
    TestSupport::forEachInView(volume, [&](const typename V::VoxelType& value, SizeType, SizeType, SizeType) {
        sum += static_cast<double>(value);
    });
    return sum;
}

/// The views each typed case is run on; the second region is seen with view prim = storage tert
/// backwards, view sec = storage prim, view tert = storage sec backwards.
const View allViews[] = {
    TestSupport::wholeView(0), TestSupport::regionView(1, Dimension<SizeType>(11, 9, 6), Position<SizeType>(5, 3, 2)),
    TestSupport::turnedRegionView(2, Dimension<SizeType>(14, 8, 7), Position<SizeType>(4, 6, 1), Orientation(5, 0, 3)),
    TestSupport::turnedView(3, Orientation(1, 3, 5))};

template <class T> class SumOfVoxelsTyped : public ::testing::Test {};
TYPED_TEST_SUITE(SumOfVoxelsTyped, TestSupport::OperatorVoxelTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(SumOfVoxelsTyped, FacadeSumEqualsTheWalkOrderSumBitForBit)
{
    using T = TypeParam;
    for (const View& view : allViews) {
        MemoryVolumePtr<T> volume = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(23, 17, 11), 1000 + view.index);
        setView(*volume, view);
        const double expected = referenceSum(*volume);
        ISumOfVoxels::IOperator facade;
        SmartPointer<Parameter> p = parameterFor(volume);
        facade.apply(asComposite(p));
        EXPECT_EQ(bitsOf(p->outputSum.getValue()), bitsOf(expected)) << "view " << view.index;
        EXPECT_EQ(facade.getProgress().getProgress(), 1.0);
    }
}

TYPED_TEST(SumOfVoxelsTyped, DirectSumEqualsTheWalkOrderSumBitForBit)
{
    using T = TypeParam;
    for (const View& view : allViews) {
        MemoryVolumePtr<T> volume = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(23, 17, 11), 2000 + view.index);
        setView(*volume, view);
        const double expected = referenceSum(*volume);
        SumOperator<T> op;
        SmartPointer<Parameter> p = parameterFor(volume);
        op.apply(asComposite(p));
        EXPECT_EQ(bitsOf(p->outputSum.getValue()), bitsOf(expected)) << "view " << view.index;
        EXPECT_EQ(op.getProgress().getProgress(), 1.0);
    }
}

TYPED_TEST(SumOfVoxelsTyped, IdentifierNamesTheVolumeClass)
{
    using T = TypeParam;
    const std::string expected = std::string("Tarn::Kito::Statistics::SumOfVoxels::Operator< Tarn::Kito::Volume< ") +
                                 TestSupport::voxelName<T>() + " , Tarn::Kito::Allocator::SingleBlockAllocator > >";
    SumOperator<T> op;
    EXPECT_EQ(static_cast<const IComposite&>(op).getType(), expected);
    const auto ids = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    EXPECT_NE(std::find(ids.begin(), ids.end(), expected), ids.end());
}

TYPED_TEST(SumOfVoxelsTyped, SingleVoxelViewGivesThatVoxel)
{
    using T = TypeParam;
    MemoryVolumePtr<T> volume = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(4, 3, 2), 5);
    volume->setRoi(Region(Dimension<SizeType>(1, 1, 1), Position<SizeType>(2, 1, 1)));
    const T value = volume->getValueAt(Position<SizeType>(0, 0, 0));
    ISumOfVoxels::IOperator facade;
    SmartPointer<Parameter> p = parameterFor(volume);
    facade.apply(asComposite(p));
    EXPECT_EQ(bitsOf(p->outputSum.getValue()), bitsOf(static_cast<double>(value)));
}

TYPED_TEST(SumOfVoxelsTyped, EmptyVolumeSumsToZero)
{
    using T = TypeParam;
    MemoryVolumePtr<T> volume(new MemoryVolume<T>(Dimension<SizeType>(0, 0, 0)));
    SmartPointer<Parameter> p = parameterFor(volume);
    p->outputSum.setValue(-3.0);
    ISumOfVoxels::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_EQ(bitsOf(p->outputSum.getValue()), bitsOf(0.0));
    EXPECT_EQ(facade.getProgress().getProgress(), 1.0);
}

// ---- hand-checked sums ----------------------------------------------------------------------------

TEST(SumOfVoxels, RegionOfHalfTheSlicesSumsThoseSlices)
{
    // Voxel = storage index 0..23; slices of 6 voxels: 0..5, 6..11, 12..17, 18..23.
    MemoryVolumePtr<Tarn::uint16> volume = TestSupport::makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(3, 2, 4));
    volume->setRoi(Region(Dimension<SizeType>(3, 2, 2), Position<SizeType>(0, 0, 2)));
    SmartPointer<Parameter> p = parameterFor(volume);
    ISumOfVoxels::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_EQ(p->outputSum.getValue(), 12.0 + 13 + 14 + 15 + 16 + 17 + 18 + 19 + 20 + 21 + 22 + 23);
    volume->popRoi();
    facade.apply(asComposite(p));
    EXPECT_EQ(p->outputSum.getValue(), 276.0);
}

TEST(SumOfVoxels, AddsInDoubleInWalkOrderWithoutCompensation)
{
    // 2^53 + 1 rounds back to 2^53 in a double, so two ones added after it are lost; added first
    // they survive. The walk's order decides which.
    const double big = 9007199254740992.0;
    MemoryVolumePtr<Tarn::float64> volume(new MemoryVolume<Tarn::float64>(Dimension<SizeType>(3, 1, 1)));
    *volume->getPosOffset(Position<SizeType>(0, 0, 0)) = big;
    *volume->getPosOffset(Position<SizeType>(1, 0, 0)) = 1.0;
    *volume->getPosOffset(Position<SizeType>(2, 0, 0)) = 1.0;
    SmartPointer<Parameter> p = parameterFor(volume);
    SumOperator<Tarn::float64> op;
    op.apply(asComposite(p));
    EXPECT_EQ(p->outputSum.getValue(), big);
    volume->setOrientation(Orientation(1, 2, 4));
    op.apply(asComposite(p));
    EXPECT_EQ(p->outputSum.getValue(), big + 2.0);
}

TEST(SumOfVoxels, Float32VoxelsAreAddedAsDoubles)
{
    MemoryVolumePtr<Tarn::float32> volume(new MemoryVolume<Tarn::float32>(Dimension<SizeType>(2, 1, 1)));
    *volume->getPosOffset(Position<SizeType>(0, 0, 0)) = 0.1f;
    *volume->getPosOffset(Position<SizeType>(1, 0, 0)) = 0.2f;
    SmartPointer<Parameter> p = parameterFor(volume);
    ISumOfVoxels::IOperator facade;
    facade.apply(asComposite(p));
    const double asDoubles = static_cast<double>(0.1f) + static_cast<double>(0.2f);
    EXPECT_NE(asDoubles, static_cast<double>(0.1f + 0.2f));
    EXPECT_EQ(bitsOf(p->outputSum.getValue()), bitsOf(asDoubles));
}

TEST(SumOfVoxels, Float32NaNGivesNaN)
{
    MemoryVolumePtr<Tarn::float32> volume = TestSupport::makeIndexVolume<Tarn::float32>(Dimension<SizeType>(3, 3, 3));
    *volume->getPosOffset(Position<SizeType>(1, 2, 1)) = std::numeric_limits<float>::quiet_NaN();
    SmartPointer<Parameter> p = parameterFor(volume);
    ISumOfVoxels::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_TRUE(std::isnan(p->outputSum.getValue()));
}

TEST(SumOfVoxels, Int32ExtremesAreNotSummedAsIntegers)
{
    // As int32 the sum would wrap; as doubles it is exact.
    MemoryVolumePtr<Tarn::int32> volume(new MemoryVolume<Tarn::int32>(Dimension<SizeType>(2, 2, 1)));
    volume->fill(std::numeric_limits<Tarn::int32>::max());
    SmartPointer<Parameter> p = parameterFor(volume);
    ISumOfVoxels::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_EQ(p->outputSum.getValue(), 4.0 * 2147483647.0);
}

/// A volume of extent dim whose voxels are drawn uniformly from [low, high].
template <class T> MemoryVolumePtr<T> uniformVolume(const Dimension<SizeType>& dim, T low, T high, unsigned seed)
{
    MemoryVolumePtr<T> volume(new MemoryVolume<T>(dim));
    std::mt19937_64 engine(seed);
    std::uniform_int_distribution<Tarn::int64> draw(low, high);
    T* voxel = volume->getIterator();
    for (SizeType i = 0; i < dim.size(); ++i) voxel[i] = static_cast<T>(draw(engine));
    return volume;
}

/// The sum of a view's voxels as an integer, without any rounding.
template <class V> Tarn::int64 integerSumOf(const V& volume)
{
    Tarn::int64 sum = 0;
    TestSupport::forEachInView(volume, [&](const typename V::VoxelType& value, SizeType, SizeType, SizeType) {
        sum += static_cast<Tarn::int64>(value);
    });
    return sum;
}

/// Large 32-bit voxels whose partial sums pass 2^53 in magnitude: from there on the double chain
/// rounds, and the operator must round exactly as the chain does, in walk order, not give the
/// integer sum. Each view is checked against the chain and against the integer sum rounded once.
template <class T> void expectTheChainsRoundingAbove2To53(T low, T high, unsigned seed)
{
    // 5.2 million voxels of about 2^31 in magnitude: the partial sums pass 2^53 after about 4.2 million.
    MemoryVolumePtr<T> volume = uniformVolume<T>(Dimension<SizeType>(256, 128, 160), low, high, seed);
    const View views[] = {
        TestSupport::wholeView(0),
        TestSupport::regionView(1, Dimension<SizeType>(250, 127, 159), Position<SizeType>(3, 1, 0)),
        TestSupport::turnedRegionView(2, Dimension<SizeType>(255, 128, 159), Position<SizeType>(1, 0, 1),
                                      Orientation(1, 5, 2)),
        TestSupport::turnedView(3, Orientation(4, 1, 2))};
    for (const View& view : views) {
        SCOPED_TRACE(view.index);
        volume->clearRoiStack();
        volume->setOrientation(Orientation(0, 2, 4));
        setView(*volume, view);
        const double chain = referenceSum(*volume);
        const Tarn::int64 exact = integerSumOf(*volume);
        ASSERT_GT(exact < 0 ? -exact : exact, Tarn::int64(1) << 53);
        SumOperator<T> op;
        SmartPointer<Parameter> p = parameterFor(volume);
        op.apply(asComposite(p));
        EXPECT_EQ(bitsOf(p->outputSum.getValue()), bitsOf(chain));
        // The chain's rounding shows: the integer sum rounded once is another double.
        EXPECT_NE(bitsOf(chain), bitsOf(static_cast<double>(exact)));
        EXPECT_EQ(op.getProgress().getProgress(), 1.0);
    }
}

TEST(SumOfVoxels, Int32PartialSumsPast2To53RoundAsTheChainDoes)
{
    expectTheChainsRoundingAbove2To53<Tarn::int32>(2147000000, 2147483647, 11);
}

TEST(SumOfVoxels, NegativeInt32PartialSumsPast2To53RoundAsTheChainDoes)
{
    expectTheChainsRoundingAbove2To53<Tarn::int32>(-2147483647 - 1, -2147000000, 12);
}

TEST(SumOfVoxels, Uint32PartialSumsPast2To53RoundAsTheChainDoes)
{
    expectTheChainsRoundingAbove2To53<Tarn::uint32>(4294000000u, 4294967295u, 13);
}

TEST(SumOfVoxels, Int32SumThatComesBackBelow2To53KeepsTheChainsRounding)
{
    // Positive voxels first, negative ones after: the partial sums rise past 2^53 and come back
    // far below it. The rounding that happened on the way stays in the chain's result.
    const SizeType nPrim = 512, nSec = 512, nTert = 40;
    MemoryVolumePtr<Tarn::int32> volume(new MemoryVolume<Tarn::int32>(Dimension<SizeType>(nPrim, nSec, nTert)));
    std::mt19937_64 engine(14);
    std::uniform_int_distribution<Tarn::int64> high(2147000000, 2147483647);
    Tarn::int32* voxel = volume->getIterator();
    const SizeType half = nPrim * nSec * nTert / 2;
    for (SizeType i = 0; i < half; ++i) voxel[i] = static_cast<Tarn::int32>(high(engine));
    for (SizeType i = half; i < 2 * half; ++i) voxel[i] = static_cast<Tarn::int32>(-high(engine));
    const double chain = referenceSum(*volume);
    const Tarn::int64 exact = integerSumOf(*volume);
    ASSERT_LT(exact < 0 ? -exact : exact, Tarn::int64(1) << 53);
    EXPECT_NE(bitsOf(chain), bitsOf(static_cast<double>(exact)));
    SumOperator<Tarn::int32> op;
    SmartPointer<Parameter> p = parameterFor(volume);
    op.apply(asComposite(p));
    EXPECT_EQ(bitsOf(p->outputSum.getValue()), bitsOf(chain));
}

TEST(SumOfVoxels, SameParameterAndOperatorCanRunAgain)
{
    MemoryVolumePtr<Tarn::uint8> volume = TestSupport::makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 2));
    SmartPointer<Parameter> p = parameterFor(volume);
    SumOperator<Tarn::uint8> op;
    op.apply(asComposite(p));
    EXPECT_EQ(p->outputSum.getValue(), 28.0);
    // A stop asked for between runs is forgotten by the next run, and outputSum is overwritten.
    op.abort();
    volume->setRoiToSlice(1);
    op.apply(asComposite(p));
    EXPECT_EQ(p->outputSum.getValue(), 4.0 + 5 + 6 + 7);
    EXPECT_EQ(op.getProgress().getProgress(), 1.0);
}

// ---- failures -------------------------------------------------------------------------------------

TEST(SumOfVoxelsFailure, FacadeRefusesAParameterOfAnotherClass)
{
    ISumOfVoxels::IOperator facade;
    SmartPointer<IComposite> other =
        DynamicCast<SmartPointer<IComposite>>(SmartPointer<Tarn::Kito::Statistics::StatisticsFromVolume::Parameter>(
            new Tarn::Kito::Statistics::StatisticsFromVolume::Parameter));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(other); }),
              "parameter: Tarn::Lumo_DLL::ISumOfVoxels::IOperator::getOperatorTypeFromParameterObject: invalid "
              "parameter object!");
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(SmartPointer<IComposite>()); }),
              "parameter: Tarn::Lumo_DLL::ISumOfVoxels::IOperator::getOperatorTypeFromParameterObject: invalid "
              "parameter object!");
}

TEST(SumOfVoxelsFailure, FacadeReportsAMissingVolume)
{
    ISumOfVoxels::IOperator facade;
    SmartPointer<Parameter> p(new Parameter);
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo_DLL::ISumOfVoxels::IOperator::getOperatorTypeFromParameterObject: inputVolume is "
              "NULL!");
}

TEST(SumOfVoxelsFailure, Int64VolumeFailsInTheFactoryWithTheWholeIdentifier)
{
    ISumOfVoxels::IOperator facade;
    MemoryVolumePtr<Tarn::int64> volume(new MemoryVolume<Tarn::int64>(Dimension<SizeType>(2, 2, 2)));
    SmartPointer<Parameter> p = parameterFor(volume);
    p->outputSum.setValue(7.5);
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Kito::Statistics::SumOfVoxels::Operator< Tarn::Kito::Volume< Tarn::int64 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > is registered");
    EXPECT_EQ(p->outputSum.getValue(), 7.5);
}

TEST(SumOfVoxelsFailure, Uint64VolumeFailsInTheFactory)
{
    ISumOfVoxels::IOperator facade;
    MemoryVolumePtr<Tarn::uint64> volume(new MemoryVolume<Tarn::uint64>(Dimension<SizeType>(1, 1, 1)));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(parameterFor(volume))); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Kito::Statistics::SumOfVoxels::Operator< Tarn::Kito::Volume< Tarn::uint64 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > is registered");
}

TEST(SumOfVoxelsFailure, VolumeInAnotherAllocatorFailsInTheFactory)
{
    MemoryVolumePtr<Tarn::uint16> source = TestSupport::makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(4, 4, 4));
    Tarn::Kito::VolumePtr<Tarn::uint16, ChunkAllocator> chunk(new Tarn::Kito::Volume<Tarn::uint16, ChunkAllocator>(
        source, Region(Dimension<SizeType>(2, 2, 2), Position<SizeType>(1, 1, 1))));
    ISumOfVoxels::IOperator facade;
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(parameterFor(chunk))); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Kito::Statistics::SumOfVoxels::Operator< Tarn::Kito::Volume< Tarn::uint16 , "
              "Tarn::Kito::Allocator::ExternalBufferAllocator< Tarn::Kito::Allocator::SingleBlockAllocator > > > is "
              "registered");
}

TEST(SumOfVoxelsFailure, DirectApplyOnAVolumeOfAnotherTypeKeepsTheOldSum)
{
    MemoryVolumePtr<Tarn::int16> volume = TestSupport::makeIndexVolume<Tarn::int16>(Dimension<SizeType>(2, 2, 2));
    SmartPointer<Parameter> p = parameterFor(volume);
    p->outputSum.setValue(7.5);
    SumOperator<Tarn::uint16> op;
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Kito::Statistics::SumOfVoxels::Operator::apply invalid input volume");
    EXPECT_EQ(p->outputSum.getValue(), 7.5);
}

TEST(SumOfVoxelsFailure, DirectApplyWithoutVolume)
{
    SumOperator<Tarn::float32> op;
    SmartPointer<Parameter> p(new Parameter);
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Kito::Statistics::SumOfVoxels::Operator::apply invalid input volume");
}

TEST(SumOfVoxelsFailure, DirectApplyWithTheParameterOfAnotherOperator)
{
    SumOperator<Tarn::float32> op;
    SmartPointer<IComposite> other =
        DynamicCast<SmartPointer<IComposite>>(SmartPointer<Tarn::Kito::Statistics::StatisticsFromVolume::Parameter>(
            new Tarn::Kito::Statistics::StatisticsFromVolume::Parameter));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(other); }),
              "parameter: Tarn::Kito::Statistics::SumOfVoxels::Operator::apply");
}

TEST(SumOfVoxelsParameter, ClassNameAndProperties)
{
    Parameter p;
    EXPECT_EQ(p.getType(), "Tarn::Kito::Statistics::SumOfVoxels::Parameter");
    ASSERT_EQ(p.size(), 2u);
    EXPECT_EQ(p.getKey(0), "inputVolume");
    EXPECT_EQ(p.getKey(1), "outputSum");
    EXPECT_TRUE(p.inputVolume.getValue() == 0);
    EXPECT_EQ(p.outputSum.getValue(), 0.0);
}

// ---- stopping -------------------------------------------------------------------------------------

TEST(SumOfVoxelsStop, AStopFromAnotherThreadLeavesTheSumOfTheWalkedSlices)
{
    // 4096 slices of 128 x 128 voxels, voxel k of a slice = (k + slice) % 200: the sums of whole
    // slices are exact in a double, so the partial sum tells how many slices were walked.
    const SizeType nPrim = 128, nSec = 128, nTert = 4096;
    MemoryVolumePtr<Tarn::uint8> volume(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(nPrim, nSec, nTert)));
    Tarn::uint8* voxel = volume->getPosOffset(Position<SizeType>(0, 0, 0));
    std::vector<double> sumAfter = {0.0};
    for (SizeType t = 0; t < nTert; ++t) {
        double slice = 0.0;
        for (SizeType k = 0; k < nPrim * nSec; ++k) {
            *voxel = static_cast<Tarn::uint8>((k + t) % 200);
            slice += *voxel++;
        }
        sumAfter.push_back(sumAfter.back() + slice);
    }

    bool stopped = false;
    for (int attempt = 0; attempt < 5 && !stopped; ++attempt) {
        ISumOfVoxels::IOperator facade;
        SmartPointer<Parameter> p = parameterFor(volume);
        const TestSupport::StoppedRun run = TestSupport::stopWhileRunning(facade, [&] { facade.apply(asComposite(p)); });
        EXPECT_TRUE(TestSupport::neverFalls(run.seen));
        const double progress = facade.getProgress().getProgress();
        if (progress == 1.0) {
            // The walk ended before the stop was seen; the sum is then the whole one.
            EXPECT_EQ(p->outputSum.getValue(), sumAfter.back());
            continue;
        }
        stopped = true;
        EXPECT_TRUE(run.stopAsked);
        EXPECT_LT(progress, 1.0);
        const auto found = std::find(sumAfter.begin() + 1, sumAfter.end() - 1, p->outputSum.getValue());
        EXPECT_NE(found, sumAfter.end() - 1) << "the partial sum " << p->outputSum.getValue()
                                             << " is no sum of whole first slices";
    }
    EXPECT_TRUE(stopped) << "no run out of five saw the stop before its end";
}

} // namespace
