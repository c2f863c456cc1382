// QuickSelectMedian and QuickSelectMedianValueOfRoi: the element of rank (n - 1) / 2,
// against a sort, for all ten voxel types; the region popped and pushed again; the reads at the
// region's absolute position in the view below; every failure text.
#include <Kito/ClassFactory>
#include <Kito/Data>
#include <Kito/MedianOperators/QuickSelectMedian>
#include <Kito/MedianOperators/QuickSelectMedianValueOfRoi/Operator>
#include <Kito/MedianOperators/QuickSelectMedianValueOfRoi/Parameter>
#include <Kito/Orientation>
#include <Kito/Statistics/SumOfVoxels/Parameter>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/IQuickSelectMedianValueOfRoi.h>

#include <support/FailureOf.h>
#include <support/RandomVolume.h>
#include <support/Views.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::Orientation;
using Tarn::Kito::Position;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::MedianOperators::QuickSelectMedian;
using Tarn::Kito::Persistence::DataPtr;
using Tarn::Kito::Persistence::IComposite;
using Tarn::Lumo_DLL::IQuickSelectMedianValueOfRoi;
using TestSupport::asComposite;
using TestSupport::invalidArgumentOf;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;

using Region = RegionOfInterest<SizeType>;
using Parameter = Tarn::Kito::MedianOperators::QuickSelectMedianValueOfRoi::Parameter;
template <class P> using MedianOperator = Tarn::Kito::MedianOperators::QuickSelectMedianValueOfRoi::Operator<P>;
using AllVoxelTypes = TestSupport::VoxelTypesAs<::testing::Types, Tarn::Lumo_DLL::Instances::AllVoxels>;

template <class T> bool sameBits(const T& a, const T& b) { return std::memcmp(&a, &b, sizeof(T)) == 0; }

/// The element of rank (n - 1) / 2 of a sorted copy.
template <class T> T rankOfSort(std::vector<T> values)
{
    std::sort(values.begin(), values.end());
    return values[(values.size() - 1) / 2];
}

/// Random values drawn from only `distinct` different ones, so that many repeat.
template <class T> std::vector<T> repeatedValues(std::size_t n, std::size_t distinct, std::uint64_t seed)
{
    std::mt19937_64 engine(seed);
    std::vector<T> pool(distinct);
    for (T& value : pool) value = TestSupport::randomVoxel<T>(engine);
    std::uniform_int_distribution<std::size_t> pick(0, distinct - 1);
    std::vector<T> values(n);
    for (T& value : values) value = pool[pick(engine)];
    return values;
}

template <class T> T medianOfData(const SmartPointer<Tarn::Kito::Persistence::IData>& data)
{
    const DataPtr<T> typed = DynamicCast<DataPtr<T>>(data);
    if (typed == 0) {
        ADD_FAILURE() << "outputValue is no Data of " << TestSupport::voxelName<T>();
        return T();
    }
    return typed->getValue();
}

/// The median through the facade; the volume keeps whatever the operator leaves on its stack.
template <class T> T facadeMedian(const MemoryVolumePtr<T>& volume)
{
    SmartPointer<Parameter> p = TestSupport::parameterWithInput<Parameter>(volume);
    IQuickSelectMedianValueOfRoi::IOperator facade;
    facade.apply(asComposite(p));
    return medianOfData<T>(p->outputValue.getValue());
}

template <class T> class QuickSelectMedianTyped : public ::testing::Test {};
TYPED_TEST_SUITE(QuickSelectMedianTyped, AllVoxelTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(QuickSelectMedianTyped, GivesTheElementOfRankOfTheSortOnRandomData)
{
    using T = TypeParam;
    std::mt19937_64 engine(77);
    for (std::size_t n : {std::size_t(1), std::size_t(2), std::size_t(3), std::size_t(4), std::size_t(5),
                          std::size_t(7), std::size_t(8), std::size_t(31), std::size_t(64), std::size_t(1000),
                          std::size_t(4097)}) {
        SCOPED_TRACE(n);
        std::vector<T> values(n);
        for (T& value : values) value = TestSupport::randomVoxel<T>(engine);
        const T expected = rankOfSort(values);
        std::vector<T> work = values;
        EXPECT_TRUE(sameBits(QuickSelectMedian(work.data(), static_cast<Tarn::uint32>(n)), expected));
        // Only reordered.
        std::sort(work.begin(), work.end());
        std::sort(values.begin(), values.end());
        EXPECT_EQ(work, values);
    }
}

TYPED_TEST(QuickSelectMedianTyped, GivesTheElementOfRankOfTheSortWithManyRepeatedValues)
{
    using T = TypeParam;
    for (std::size_t distinct : {std::size_t(1), std::size_t(2), std::size_t(3), std::size_t(17)})
        for (std::size_t n : {std::size_t(2), std::size_t(6), std::size_t(99), std::size_t(5000)}) {
            SCOPED_TRACE(std::to_string(distinct) + " values, " + std::to_string(n) + " elements");
            std::vector<T> values = repeatedValues<T>(n, distinct, 1000 * distinct + n);
            const T expected = rankOfSort(values);
            EXPECT_TRUE(sameBits(QuickSelectMedian(values.data(), static_cast<Tarn::uint32>(n)), expected));
        }
}

TEST(QuickSelectMedian, HandCheckedCases)
{
    int one[] = {5};
    EXPECT_EQ(QuickSelectMedian(one, 1), 5);
    int two[] = {3, 1};
    EXPECT_EQ(QuickSelectMedian(two, 2), 1);
    // The lower of the two middle elements: 2, not 2.5.
    double four[] = {4.0, 1.0, 3.0, 2.0};
    EXPECT_EQ(QuickSelectMedian(four, 4), 2.0);
    Tarn::uint16 equal[] = {9, 9, 9, 9, 9, 9, 9};
    EXPECT_EQ(QuickSelectMedian(equal, 7), 9);
    // Sorted and reverse-sorted input.
    std::vector<int> up(101), down(101);
    for (int i = 0; i < 101; ++i) up[i] = i, down[i] = 100 - i;
    EXPECT_EQ(QuickSelectMedian(up.data(), 101), 50);
    EXPECT_EQ(QuickSelectMedian(down.data(), 101), 50);
}

TEST(QuickSelectMedian, AnEmptyArrayGivesZeroAndIsNotRead)
{
    EXPECT_EQ(QuickSelectMedian(static_cast<float*>(nullptr), 0), 0.0f);
}

TEST(QuickSelectMedian, NaNsEndWithSomeElement)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    std::mt19937_64 engine(5);
    for (int round = 0; round < 50; ++round) {
        std::vector<float> values(257);
        for (float& value : values) value = engine() % 5 == 0 ? nan : static_cast<float>(engine() % 100);
        std::vector<float> work = values;
        const float result = QuickSelectMedian(work.data(), static_cast<Tarn::uint32>(work.size()));
        // Unspecified, but one of the elements, and the routine ended.
        EXPECT_TRUE(std::isnan(result) || std::find(values.begin(), values.end(), result) != values.end());
    }
}

// ---- the operator -----------------------------------------------------------------------------------

template <class T> class QuickSelectMedianValueOfRoiTyped : public ::testing::Test {};
TYPED_TEST_SUITE(QuickSelectMedianValueOfRoiTyped, AllVoxelTypes, TestSupport::VoxelTypeNames);

/// Regions pushed directly on the whole volume, in storage order or turned: the operator is right
/// for those.
const TestSupport::View medianViews[] = {
    TestSupport::wholeView(0), TestSupport::regionView(1, Dimension<SizeType>(11, 7, 5), Position<SizeType>(4, 3, 2)),
    TestSupport::turnedRegionView(2, Dimension<SizeType>(8, 9, 6), Position<SizeType>(3, 1, 4), Orientation(3, 4, 1)),
    TestSupport::regionView(3, Dimension<SizeType>(6, 1, 1), Position<SizeType>(2, 5, 7))};

TYPED_TEST(QuickSelectMedianValueOfRoiTyped, FacadeAndDirectAgreeWithTheSortAndWithQuickSelect)
{
    using T = TypeParam;
    for (const TestSupport::View& view : medianViews) {
        SCOPED_TRACE(view.index);
        // Random voxels, and voxels from few values, so that the histogram's bins hold many.
        for (int repeated = 0; repeated < 2; ++repeated) {
            MemoryVolumePtr<T> volume = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(19, 13, 11), 40 + view.index);
            if (repeated) {
                const std::vector<T> few = repeatedValues<T>(19 * 13 * 11, 6, 90 + view.index);
                std::copy(few.begin(), few.end(), volume->getIterator());
            }
            TestSupport::setView(*volume, view);
            const std::vector<T> values = TestSupport::valuesInView(*volume);
            const T expected = rankOfSort(values);
            std::vector<T> work = values;
            const T selected = QuickSelectMedian(work.data(), static_cast<Tarn::uint32>(work.size()));
            EXPECT_TRUE(sameBits(selected, expected));

            const auto stackBefore = volume->getRoiStack();
            EXPECT_TRUE(sameBits(facadeMedian(volume), expected));
            // A pushed region is in force again, the stack as it was; the bottom region is pushed
            // a second time.
            auto stackAfter = volume->getRoiStack();
            if (view.pushRegion) {
                EXPECT_EQ(stackAfter, stackBefore);
            } else {
                ASSERT_EQ(stackAfter.size(), stackBefore.size() + 1);
                EXPECT_EQ(stackAfter.back(), stackBefore.back());
                volume->popRoi();
            }

            MedianOperator<MemoryVolumePtr<T>> op;
            SmartPointer<Parameter> p = TestSupport::parameterWithInput<Parameter>(volume);
            op.apply(asComposite(p));
            EXPECT_TRUE(sameBits(medianOfData<T>(p->outputValue.getValue()), expected));
        }
    }
}

TYPED_TEST(QuickSelectMedianValueOfRoiTyped, IdentifierIsRegistered)
{
    using T = TypeParam;
    const std::string identifier =
        std::string("Tarn::Kito::MedianOperators::QuickSelectMedianValueOfRoi::Operator< Tarn::Kito::Volume< ") +
        TestSupport::voxelName<T>() + " , Tarn::Kito::Allocator::SingleBlockAllocator > >";
    EXPECT_EQ(static_cast<const IComposite&>(MedianOperator<MemoryVolumePtr<T>>()).getType(), identifier);
    const auto ids = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    EXPECT_NE(std::find(ids.begin(), ids.end(), identifier), ids.end());
}

TYPED_TEST(QuickSelectMedianValueOfRoiTyped, OutputIsADataOfTheVoxelType)
{
    using T = TypeParam;
    MemoryVolumePtr<T> volume = TestSupport::makeIndexVolume<T>(Dimension<SizeType>(3, 3, 1));
    volume->setRoi(Region(Dimension<SizeType>(3, 3, 1), Position<SizeType>(0, 0, 0)));
    SmartPointer<Parameter> p = TestSupport::parameterWithInput<Parameter>(volume);
    IQuickSelectMedianValueOfRoi::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_EQ(DynamicCast<SmartPointer<IComposite>>(p->outputValue.getValue())->getType(),
              std::string("Tarn::Kito::Persistence::Data< ") + TestSupport::voxelName<T>() + " >");
    EXPECT_EQ(medianOfData<T>(p->outputValue.getValue()), T(4));
}

TEST(QuickSelectMedianValueOfRoi, HandCheckedRegions)
{
    MemoryVolumePtr<Tarn::int16> volume(new MemoryVolume<Tarn::int16>(Dimension<SizeType>(4, 2, 1)));
    const Tarn::int16 values[] = {3, 1, 4, 2, -7, -7, -7, -7};
    std::copy(values, values + 8, volume->getIterator());
    // One voxel.
    volume->setRoi(Region(Dimension<SizeType>(1, 1, 1), Position<SizeType>(2, 0, 0)));
    EXPECT_EQ(facadeMedian(volume), 4);
    volume->popRoi();
    // Two voxels 3 and 1: 1.
    volume->setRoi(Region(Dimension<SizeType>(2, 1, 1), Position<SizeType>(0, 0, 0)));
    EXPECT_EQ(facadeMedian(volume), 1);
    volume->popRoi();
    // 1, 2, 3, 4: 2, not 2.5.
    volume->setRoi(Region(Dimension<SizeType>(4, 1, 1), Position<SizeType>(0, 0, 0)));
    EXPECT_EQ(facadeMedian(volume), 2);
    volume->popRoi();
    // All equal.
    volume->setRoi(Region(Dimension<SizeType>(4, 1, 1), Position<SizeType>(0, 1, 0)));
    EXPECT_EQ(facadeMedian(volume), -7);
    EXPECT_EQ(volume->getRoiStack().size(), 2u);
    EXPECT_EQ(volume->getRoi(), Region(Dimension<SizeType>(4, 1, 1), Position<SizeType>(0, 1, 0)));
}

TEST(QuickSelectMedianValueOfRoi, FloatsWithRepeatedValuesAndSignedZeros)
{
    MemoryVolumePtr<Tarn::float32> volume(new MemoryVolume<Tarn::float32>(Dimension<SizeType>(5, 1, 1)));
    const float values[] = {0.0f, -0.0f, 2.5f, -0.0f, 2.5f};
    std::copy(values, values + 5, volume->getIterator());
    std::vector<float> work(values, values + 5);
    const float selected = QuickSelectMedian(work.data(), 5);
    EXPECT_EQ(selected, 0.0f);
    EXPECT_TRUE(sameBits(facadeMedian(volume), selected));
}

TEST(QuickSelectMedianValueOfRoi, EightAndSixteenBitRegionsOfEveryValue)
{
    // Every value of the type once, in a shuffled order, and a region of each signedness: the
    // histogram's bins at both ends and at the sign change.
    std::vector<Tarn::int16> all(65536);
    for (int i = 0; i < 65536; ++i) all[static_cast<std::size_t>(i)] = static_cast<Tarn::int16>(i - 32768);
    std::shuffle(all.begin(), all.end(), std::mt19937_64(3));
    MemoryVolumePtr<Tarn::int16> volume(new MemoryVolume<Tarn::int16>(Dimension<SizeType>(256, 16, 16)));
    std::copy(all.begin(), all.end(), volume->getIterator());
    EXPECT_EQ(facadeMedian(volume), -1);
    volume->popRoi();
    MemoryVolumePtr<Tarn::uint8> bytes(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(16, 16, 1)));
    for (int i = 0; i < 256; ++i) bytes->getIterator()[i] = static_cast<Tarn::uint8>(255 - i);
    EXPECT_EQ(facadeMedian(bytes), 127);
    bytes->getIterator()[0] = 0; // 0 twice, 255 gone
    bytes->popRoi();
    EXPECT_EQ(facadeMedian(bytes), 126);
}

TEST(QuickSelectMedianValueOfRoi, ARegionOnARegionIsReadAtItsAbsolutePositionInTheViewBelow)
{
    // Storage index volume 8 x 1 x 1. The first region shows 2..7; a region on it of 2 voxels at
    // its position 1 shows the voxels 3 and 4, but getRoi says position 3, and in the view below
    // (which starts at 2) positions 3 and 4 are the voxels 5 and 6: the median is 5.
    MemoryVolumePtr<Tarn::uint32> volume = TestSupport::makeIndexVolume<Tarn::uint32>(Dimension<SizeType>(8, 1, 1));
    volume->setRoi(Region(Dimension<SizeType>(6, 1, 1), Position<SizeType>(2, 0, 0)));
    volume->setRoi(Region(Dimension<SizeType>(2, 1, 1), Position<SizeType>(1, 0, 0)));
    ASSERT_EQ(volume->getRoi().origin, Position<SizeType>(3, 0, 0));
    EXPECT_EQ(facadeMedian(volume), 5u);
    // The region pushed again is taken relative to the view below as well: it now shows 5 and 6.
    EXPECT_EQ(volume->getRoiStack().size(), 3u);
    EXPECT_EQ(volume->getRoi(), Region(Dimension<SizeType>(2, 1, 1), Position<SizeType>(5, 0, 0)));
}

TEST(QuickSelectMedianValueOfRoi, APositionOutsideTheViewBelowFailsAndLeavesTheRegionPopped)
{
    MemoryVolumePtr<Tarn::uint8> volume = TestSupport::makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(8, 4, 2));
    volume->setRoi(Region(Dimension<SizeType>(4, 2, 2), Position<SizeType>(4, 2, 0)));
    volume->setRoi(Region(Dimension<SizeType>(2, 2, 1), Position<SizeType>(2, 0, 1)));
    SmartPointer<Parameter> p = TestSupport::parameterWithInput<Parameter>(volume);
    IQuickSelectMedianValueOfRoi::IOperator facade;
    const TestSupport::TarnFailure failure = TestSupport::tarnFailureOf([&] { facade.apply(asComposite(p)); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::InvalidArg");
    EXPECT_EQ(failure.gui, "Invalid argument!");
    EXPECT_EQ(failure.error, "Given position is ouside volume!");
    EXPECT_EQ(failure.origin, "Tarn::Kito::Volume::getValueAt");
    EXPECT_EQ(volume->getRoiStack().size(), 2u);
    EXPECT_EQ(volume->getRoi(), Region(Dimension<SizeType>(4, 2, 2), Position<SizeType>(4, 2, 0)));
    EXPECT_TRUE(p->outputValue.getValue() == 0);
}

TEST(QuickSelectMedianValueOfRoi, AnEmptyViewGivesZero)
{
    MemoryVolumePtr<Tarn::float64> volume(new MemoryVolume<Tarn::float64>(Dimension<SizeType>(0, 0, 0)));
    EXPECT_EQ(facadeMedian(volume), 0.0);
    MemoryVolumePtr<Tarn::uint16> small = TestSupport::makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(3, 3, 3));
    small->setRoi(Region(Dimension<SizeType>(0, 0, 0), Position<SizeType>(0, 0, 0)));
    EXPECT_EQ(facadeMedian(small), 0);
}

TEST(QuickSelectMedianValueOfRoi, ProgressIsNotReportedAndAnEarlierStopIsForgotten)
{
    MemoryVolumePtr<Tarn::int32> volume = TestSupport::makeIndexVolume<Tarn::int32>(Dimension<SizeType>(3, 3, 3));
    MedianOperator<MemoryVolumePtr<Tarn::int32>> op;
    op.abort();
    SmartPointer<Parameter> p = TestSupport::parameterWithInput<Parameter>(volume);
    op.apply(asComposite(p));
    EXPECT_EQ(medianOfData<Tarn::int32>(p->outputValue.getValue()), 13);
    EXPECT_EQ(op.getProgress().getProgress(), 0.0);
}

TEST(QuickSelectMedianValueOfRoiParameter, ClassNameAndProperties)
{
    Parameter p;
    EXPECT_EQ(p.getType(), "Tarn::Kito::MedianOperators::QuickSelectMedianValueOfRoi::Parameter");
    ASSERT_EQ(p.size(), 2u);
    EXPECT_EQ(p.getKey(0), "inputVolume");
    EXPECT_EQ(p.getKey(1), "outputValue");
}

// ---- failures -------------------------------------------------------------------------------------

SmartPointer<IComposite> parameterOfAnotherOperator()
{
    return DynamicCast<SmartPointer<IComposite>>(SmartPointer<Tarn::Kito::Statistics::SumOfVoxels::Parameter>(
        new Tarn::Kito::Statistics::SumOfVoxels::Parameter));
}

TEST(QuickSelectMedianValueOfRoiFailure, FacadeTexts)
{
    IQuickSelectMedianValueOfRoi::IOperator facade;
    const std::string head = "parameter: Tarn::Lumo_DLL::IQuickSelectMedianValueOfRoi::IOperator::"
                             "getOperatorTypeFromParameterObject: ";
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(parameterOfAnotherOperator()); }), head + "invalid parameter object!");
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(SmartPointer<IComposite>()); }), head + "invalid parameter object!");
    SmartPointer<Parameter> p(new Parameter);
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }), head + "inputVolume is NULL!");
}

TEST(QuickSelectMedianValueOfRoiFailure, AVolumeOverForeignMemoryFailsInTheFactory)
{
    MemoryVolumePtr<Tarn::uint8> source = TestSupport::makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 2));
    using Chunk = Tarn::Kito::Volume<Tarn::uint8, Tarn::Kito::Allocator::ExternalBufferAllocator<
                                                       Tarn::Kito::Allocator::SingleBlockAllocator>>;
    SmartPointer<Chunk> chunk(new Chunk(source, Region(Dimension<SizeType>(1, 1, 1), Position<SizeType>(0, 0, 0))));
    IQuickSelectMedianValueOfRoi::IOperator facade;
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(TestSupport::parameterWithInput<Parameter>(chunk))); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Kito::MedianOperators::QuickSelectMedianValueOfRoi::Operator< Tarn::Kito::Volume< Tarn::uint8 , "
              "Tarn::Kito::Allocator::ExternalBufferAllocator< Tarn::Kito::Allocator::SingleBlockAllocator > > > is "
              "registered");
}

TEST(QuickSelectMedianValueOfRoiFailure, DirectApplyTexts)
{
    MedianOperator<MemoryVolumePtr<Tarn::uint64>> op;
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(parameterOfAnotherOperator()); }),
              "parameter: Tarn::Kito::MedianOperators::QuickSelectMedianValueOfRoi::Operator::apply");
    MemoryVolumePtr<Tarn::int64> other = TestSupport::makeIndexVolume<Tarn::int64>(Dimension<SizeType>(2, 2, 2));
    SmartPointer<Parameter> p = TestSupport::parameterWithInput<Parameter>(other);
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Kito::MedianOperators::QuickSelectMedianValueOfRoi::Operator::apply the inputVolume is "
              "NULL");
    EXPECT_TRUE(p->outputValue.getValue() == 0);
    // Nothing was popped.
    EXPECT_EQ(other->getRoiStack().size(), 1u);
}

} // namespace
