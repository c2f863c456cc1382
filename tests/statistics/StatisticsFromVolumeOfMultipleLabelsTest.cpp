// StatisticsFromVolumeOfMultipleLabels: each label's statistics bit for bit against the
// accumulator CIncrementalStatistic fed with that label's voxels in walk order, on volumes and label volumes
// whose regions and orientations differ; the output map added to and overwritten; the stop; every
// failure text.
#include <Kito/ClassFactory>
#include <Kito/Data>
#include <Kito/Map>
#include <Kito/Orientation>
#include <Kito/Statistics/IncrementalStatistic>
#include <Kito/Statistics/SumOfVoxels/Parameter>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/IStatisticsFromVolume.h>
#include <Lumo_MiscDispatcher_DLL/IStatisticsFromVolumeOfMultipleLabels.h>
#include <LumoStudio/Operators/StatisticsFromVolumeOfMultipleLabels/Operator.h>

#include <support/FailureOf.h>
#include <support/RandomVolume.h>
#include <support/StopWhileRunning.h>
#include <support/Views.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
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
using Tarn::Lumo_DLL::IStatisticsFromVolumeOfMultipleLabels;
using TestSupport::asComposite;
using TestSupport::bitsOf;
using TestSupport::invalidArgumentOf;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;

namespace Labels = Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels;
using Region = RegionOfInterest<SizeType>;
using Parameter = Labels::Parameter;
using Statistics = Labels::Statistics;
using StatisticsPtr = Labels::StatisticsPtr;
using StatisticsMap = Labels::StatisticsMap;
using StatisticsMapPtr = Labels::StatisticsMapPtr;
template <class T>
using LabelOperator = Labels::Operator<MemoryVolumePtr<T>, MemoryVolumePtr<Tarn::uint8>>;

/// CIncrementalStatistic with its four doubles.
template <class T> struct Accumulator {
    double mean = 0.0, previousMean = 0.0, variance = 0.0, squares = 0.0;
    Tarn::Kito::Statistics::CIncrementalStatistic<T> statistic{mean, previousMean, variance, squares};
    Accumulator() = default;
    Accumulator(const Accumulator&) = delete;
};
template <class T> using Reference = std::map<Tarn::uint8, std::unique_ptr<Accumulator<T>>>;

/// Each label's accumulator fed with its voxels in the walk order of the input's view, the label
/// read at the same walk position of the label volume's view.
template <class T> Reference<T> referenceOf(const MemoryVolume<T>& volume, const MemoryVolume<Tarn::uint8>& labels)
{
    const std::vector<T> values = TestSupport::valuesInView(volume);
    const std::vector<Tarn::uint8> classes = TestSupport::valuesInView(labels);
    Reference<T> reference;
    for (std::size_t i = 0; i < values.size(); ++i) {
        std::unique_ptr<Accumulator<T>>& slot = reference[classes[i]];
        if (!slot) slot.reset(new Accumulator<T>);
        slot->statistic.add(values[i]);
    }
    return reference;
}

template <class T> bool sameBits(const T& a, const T& b) { return std::memcmp(&a, &b, sizeof(T)) == 0; }

template <class T> T dataValue(const SmartPointer<Tarn::Kito::Persistence::IData>& data)
{
    const DataPtr<T> typed = DynamicCast<DataPtr<T>>(data);
    if (typed == 0) {
        ADD_FAILURE() << "the output is no Data of " << TestSupport::voxelName<T>();
        return T();
    }
    return typed->getValue();
}

/// One label's five outputs against its accumulator, to the last bit.
template <class T> void expectStatistics(const StatisticsPtr& s, const Accumulator<T>& r)
{
    ASSERT_FALSE(s == 0);
    EXPECT_TRUE(sameBits(dataValue<T>(s->outputMinimum.getValue()), r.statistic.minimum));
    EXPECT_TRUE(sameBits(dataValue<T>(s->outputMaximum.getValue()), r.statistic.maximum));
    EXPECT_EQ(bitsOf(s->outputMean.getValue()), bitsOf(r.mean));
    EXPECT_EQ(bitsOf(s->outputVariance.getValue()), bitsOf(r.variance));
    EXPECT_EQ(bitsOf(s->outputStandardDeviation.getValue()), bitsOf(std::sqrt(r.variance)));
}

/// The whole map: exactly the labels of the reference, each to the bit.
template <class T> void expectMap(const StatisticsMapPtr& map, const Reference<T>& reference)
{
    ASSERT_FALSE(map == 0);
    std::vector<Tarn::uint32> keys, expectedKeys;
    for (const auto& entry : *map) keys.push_back(entry.first);
    for (const auto& entry : reference) expectedKeys.push_back(entry.first);
    ASSERT_EQ(keys, expectedKeys);
    for (const auto& entry : reference) {
        SCOPED_TRACE(static_cast<int>(entry.first));
        expectStatistics(map->find(entry.first)->second, *entry.second);
    }
}

template <class T>
SmartPointer<Parameter> parameterFor(const MemoryVolumePtr<T>& volume, const MemoryVolumePtr<Tarn::uint8>& labels)
{
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(volume));
    p->inputLabelVolume.setValue(DynamicCast<SmartPointer<IVolume>>(labels));
    return p;
}

/// A label volume of random labels out of `count`, spread over the byte range (0 included).
MemoryVolumePtr<Tarn::uint8> makeLabels(const Dimension<SizeType>& dimension, unsigned count, std::uint64_t seed)
{
    MemoryVolumePtr<Tarn::uint8> labels(new MemoryVolume<Tarn::uint8>(dimension));
    std::mt19937_64 engine(seed);
    Tarn::uint8* voxel = labels->getIterator();
    for (SizeType i = 0; i < dimension.size(); ++i) voxel[i] = static_cast<Tarn::uint8>((engine() % count) * 255 / count);
    return labels;
}

/// A volume and a label volume whose views have extents 12 x 9 x 7 through other regions and
/// orientations: the input's view is a region seen in storage order, a region turned, or a whole
/// volume turned; the label volume's is another.
struct Pairing {
    int index;
    Dimension<SizeType> volumeSize;
    TestSupport::View volumeView;
    Dimension<SizeType> labelSize;
    TestSupport::View labelView;
};
const Pairing pairings[] = {
    {0, Dimension<SizeType>(12, 9, 7), TestSupport::wholeView(0), Dimension<SizeType>(12, 9, 7), TestSupport::wholeView(0)},
    {1, Dimension<SizeType>(20, 15, 10),
     TestSupport::regionView(1, Dimension<SizeType>(12, 9, 7), Position<SizeType>(5, 3, 2)), Dimension<SizeType>(9, 7, 12),
     TestSupport::turnedView(1, Orientation(5, 0, 2))},
    {2, Dimension<SizeType>(14, 16, 13),
     TestSupport::turnedRegionView(2, Dimension<SizeType>(9, 7, 12), Position<SizeType>(2, 4, 1), Orientation(3, 4, 1)),
     Dimension<SizeType>(15, 11, 9),
     TestSupport::turnedRegionView(2, Dimension<SizeType>(12, 7, 9), Position<SizeType>(1, 2, 0), Orientation(3, 0, 5))},
};

template <class T> class StatisticsFromVolumeOfMultipleLabelsTyped : public ::testing::Test {};
TYPED_TEST_SUITE(StatisticsFromVolumeOfMultipleLabelsTyped, TestSupport::OperatorVoxelTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(StatisticsFromVolumeOfMultipleLabelsTyped, EachLabelMatchesTheAccumulatorInWalkOrderBitForBit)
{
    using T = TypeParam;
    for (const Pairing& pairing : pairings) {
        SCOPED_TRACE(pairing.index);
        MemoryVolumePtr<T> volume = TestSupport::makeRandomVolume<T>(pairing.volumeSize, 600 + pairing.index);
        TestSupport::setView(*volume, pairing.volumeView);
        MemoryVolumePtr<Tarn::uint8> labels = makeLabels(pairing.labelSize, 10, 700 + pairing.index);
        TestSupport::setView(*labels, pairing.labelView);
        ASSERT_EQ(volume->getDimension(), labels->getDimension());
        const Reference<T> reference = referenceOf(*volume, *labels);
        ASSERT_EQ(reference.size(), 10u);

        IStatisticsFromVolumeOfMultipleLabels::IOperator facade;
        SmartPointer<Parameter> p = parameterFor(volume, labels);
        facade.apply(asComposite(p));
        expectMap(p->outputMapStatistics.getValue(), reference);
        EXPECT_EQ(facade.getProgress().getProgress(), 1.0);

        LabelOperator<T> op;
        SmartPointer<Parameter> q = parameterFor(volume, labels);
        op.apply(asComposite(q));
        expectMap(q->outputMapStatistics.getValue(), reference);
    }
}

TYPED_TEST(StatisticsFromVolumeOfMultipleLabelsTyped, EveryLabelValueOnce)
{
    using T = TypeParam;
    MemoryVolumePtr<T> volume = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(64, 16, 8), 11);
    MemoryVolumePtr<Tarn::uint8> labels(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(64, 16, 8)));
    for (SizeType i = 0; i < 64 * 16 * 8; ++i) labels->getIterator()[i] = static_cast<Tarn::uint8>(i * 7 % 256);
    const Reference<T> reference = referenceOf(*volume, *labels);
    ASSERT_EQ(reference.size(), 256u);
    SmartPointer<Parameter> p = parameterFor(volume, labels);
    IStatisticsFromVolumeOfMultipleLabels::IOperator facade;
    facade.apply(asComposite(p));
    expectMap(p->outputMapStatistics.getValue(), reference);
}

TYPED_TEST(StatisticsFromVolumeOfMultipleLabelsTyped, OneLabelGivesTheStatisticsOfTheWholeView)
{
    using T = TypeParam;
    MemoryVolumePtr<T> volume = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(10, 8, 6), 12);
    volume->setRoi(Region(Dimension<SizeType>(7, 5, 4), Position<SizeType>(1, 2, 1)));
    volume->setOrientation(Orientation(2, 5, 0));
    MemoryVolumePtr<Tarn::uint8> labels(new MemoryVolume<Tarn::uint8>(volume->getDimension()));
    labels->fill(42);
    SmartPointer<Parameter> p = parameterFor(volume, labels);
    IStatisticsFromVolumeOfMultipleLabels::IOperator facade;
    facade.apply(asComposite(p));
    const StatisticsMapPtr map = p->outputMapStatistics.getValue();
    ASSERT_EQ(map->size(), 1u);
    ASSERT_EQ(map->begin()->first, 42u);

    using Whole = Tarn::Lumo_DLL::IStatisticsFromVolume;
    SmartPointer<Whole::Parameter> w = TestSupport::parameterWithInput<Whole::Parameter>(volume);
    Whole::IOperator whole;
    whole.apply(asComposite(w));
    const StatisticsPtr s = map->begin()->second;
    EXPECT_TRUE(sameBits(dataValue<T>(s->outputMinimum.getValue()), dataValue<T>(w->outputMinimum.getValue())));
    EXPECT_TRUE(sameBits(dataValue<T>(s->outputMaximum.getValue()), dataValue<T>(w->outputMaximum.getValue())));
    EXPECT_EQ(bitsOf(s->outputMean.getValue()), bitsOf(w->outputMean.getValue()));
    EXPECT_EQ(bitsOf(s->outputVariance.getValue()), bitsOf(w->outputVariance.getValue()));
    EXPECT_EQ(bitsOf(s->outputStandardDeviation.getValue()), bitsOf(w->outputStandardDeviation.getValue()));
}

TYPED_TEST(StatisticsFromVolumeOfMultipleLabelsTyped, IdentifierHasTwoArgumentsAndIsRegistered)
{
    using T = TypeParam;
    const std::string identifier =
        std::string("Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Operator< Tarn::Kito::Volume< ") +
        TestSupport::voxelName<T>() +
        " , Tarn::Kito::Allocator::SingleBlockAllocator >, Tarn::Kito::Volume< Tarn::uint8 , "
        "Tarn::Kito::Allocator::SingleBlockAllocator > >";
    EXPECT_EQ(static_cast<const IComposite&>(LabelOperator<T>()).getType(), identifier);
    const auto ids = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    EXPECT_NE(std::find(ids.begin(), ids.end(), identifier), ids.end());
}

TYPED_TEST(StatisticsFromVolumeOfMultipleLabelsTyped, MinimumAndMaximumAreDataOfTheVoxelType)
{
    using T = TypeParam;
    MemoryVolumePtr<T> volume = TestSupport::makeIndexVolume<T>(Dimension<SizeType>(4, 2, 1));
    MemoryVolumePtr<Tarn::uint8> labels(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(4, 2, 1)));
    const Tarn::uint8 classes[] = {0, 0, 3, 3, 0, 3, 3, 3};
    std::copy(classes, classes + 8, labels->getIterator());
    SmartPointer<Parameter> p = parameterFor(volume, labels);
    IStatisticsFromVolumeOfMultipleLabels::IOperator facade;
    facade.apply(asComposite(p));
    const StatisticsMapPtr map = p->outputMapStatistics.getValue();
    ASSERT_EQ(map->size(), 2u);
    const std::string dataType = std::string("Tarn::Kito::Persistence::Data< ") + TestSupport::voxelName<T>() + " >";
    const StatisticsPtr zero = (*map)[0], three = (*map)[3];
    EXPECT_EQ(DynamicCast<SmartPointer<IComposite>>(zero->outputMinimum.getValue())->getType(), dataType);
    EXPECT_EQ(DynamicCast<SmartPointer<IComposite>>(three->outputMaximum.getValue())->getType(), dataType);
    // Label 0 is counted as any other: voxels 0, 1, 4.
    EXPECT_EQ(dataValue<T>(zero->outputMinimum.getValue()), T(0));
    EXPECT_EQ(dataValue<T>(zero->outputMaximum.getValue()), T(4));
    EXPECT_EQ(zero->outputMean.getValue(), 5.0 / 3.0);
    // Voxels 2, 3, 5, 6, 7: mean 4.6.
    EXPECT_EQ(dataValue<T>(three->outputMinimum.getValue()), T(2));
    EXPECT_EQ(dataValue<T>(three->outputMaximum.getValue()), T(7));
    EXPECT_DOUBLE_EQ(three->outputMean.getValue(), 4.6);
}

// ---- hand-checked cases ---------------------------------------------------------------------------

TEST(StatisticsFromVolumeOfMultipleLabels, ALabelOfOneVoxelHasNoVariance)
{
    MemoryVolumePtr<Tarn::float32> volume(new MemoryVolume<Tarn::float32>(Dimension<SizeType>(3, 1, 1)));
    const float values[] = {1.0f, 3.0f, 2.5f};
    std::copy(values, values + 3, volume->getIterator());
    MemoryVolumePtr<Tarn::uint8> labels(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(3, 1, 1)));
    const Tarn::uint8 classes[] = {1, 1, 200};
    std::copy(classes, classes + 3, labels->getIterator());
    SmartPointer<Parameter> p = parameterFor(volume, labels);
    IStatisticsFromVolumeOfMultipleLabels::IOperator facade;
    facade.apply(asComposite(p));
    const StatisticsMapPtr map = p->outputMapStatistics.getValue();
    ASSERT_EQ(map->size(), 2u);
    // 1 and 3: mean 2, variance 2, not 1.
    EXPECT_EQ((*map)[1]->outputMean.getValue(), 2.0);
    EXPECT_EQ((*map)[1]->outputVariance.getValue(), 2.0);
    EXPECT_EQ((*map)[1]->outputStandardDeviation.getValue(), std::sqrt(2.0));
    EXPECT_EQ((*map)[200]->outputMean.getValue(), 2.5);
    EXPECT_EQ(bitsOf((*map)[200]->outputVariance.getValue()), bitsOf(0.0));
    EXPECT_EQ(bitsOf((*map)[200]->outputStandardDeviation.getValue()), bitsOf(0.0));
    EXPECT_EQ(dataValue<Tarn::float32>((*map)[200]->outputMinimum.getValue()), 2.5f);
    EXPECT_EQ(dataValue<Tarn::float32>((*map)[200]->outputMaximum.getValue()), 2.5f);
}

TEST(StatisticsFromVolumeOfMultipleLabels, EmptyViewsGiveAnEmptyMapWithoutFailure)
{
    MemoryVolumePtr<Tarn::int16> volume(new MemoryVolume<Tarn::int16>(Dimension<SizeType>(0, 0, 0)));
    MemoryVolumePtr<Tarn::uint8> labels(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(0, 0, 0)));
    SmartPointer<Parameter> p = parameterFor(volume, labels);
    IStatisticsFromVolumeOfMultipleLabels::IOperator facade;
    facade.apply(asComposite(p));
    ASSERT_FALSE(p->outputMapStatistics.getValue() == 0);
    EXPECT_EQ(p->outputMapStatistics.getValue()->size(), 0u);
    EXPECT_EQ(facade.getProgress().getProgress(), 1.0);
}

TEST(StatisticsFromVolumeOfMultipleLabels, NaNSpoilsTheMomentsOfItsLabelOnly)
{
    MemoryVolumePtr<Tarn::float64> volume(new MemoryVolume<Tarn::float64>(Dimension<SizeType>(4, 1, 1)));
    const double values[] = {1.0, std::numeric_limits<double>::quiet_NaN(), 5.0, 7.0};
    std::copy(values, values + 4, volume->getIterator());
    MemoryVolumePtr<Tarn::uint8> labels(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(4, 1, 1)));
    const Tarn::uint8 classes[] = {1, 1, 1, 2};
    std::copy(classes, classes + 4, labels->getIterator());
    SmartPointer<Parameter> p = parameterFor(volume, labels);
    IStatisticsFromVolumeOfMultipleLabels::IOperator facade;
    facade.apply(asComposite(p));
    const StatisticsMapPtr map = p->outputMapStatistics.getValue();
    EXPECT_TRUE(std::isnan((*map)[1]->outputMean.getValue()));
    EXPECT_EQ(dataValue<Tarn::float64>((*map)[1]->outputMinimum.getValue()), 1.0);
    EXPECT_EQ(dataValue<Tarn::float64>((*map)[1]->outputMaximum.getValue()), 5.0);
    EXPECT_EQ((*map)[2]->outputMean.getValue(), 7.0);
}

TEST(StatisticsFromVolumeOfMultipleLabels, ASecondRunAddsToTheMapAndOverwritesItsLabels)
{
    MemoryVolumePtr<Tarn::uint16> volume = TestSupport::makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(4, 1, 1));
    MemoryVolumePtr<Tarn::uint8> labels(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(4, 1, 1)));
    const Tarn::uint8 first[] = {5, 5, 9, 9};
    std::copy(first, first + 4, labels->getIterator());
    SmartPointer<Parameter> p = parameterFor(volume, labels);
    LabelOperator<Tarn::uint16> op;
    op.apply(asComposite(p));
    const StatisticsMapPtr map = p->outputMapStatistics.getValue();
    ASSERT_EQ(map->size(), 2u);
    const StatisticsPtr nine = (*map)[9];
    EXPECT_EQ(nine->outputMean.getValue(), 2.5);

    // Label 5 no longer occurs and keeps its entry; 9 is overwritten in the same Statistics object;
    // 7 is new. A host's entry of its own stays too.
    const Tarn::uint8 second[] = {9, 7, 7, 7};
    std::copy(second, second + 4, labels->getIterator());
    StatisticsPtr hosts(new Statistics);
    hosts->outputMean.setValue(-1.0);
    (*map)[1000] = hosts;
    op.apply(asComposite(p));
    EXPECT_TRUE(p->outputMapStatistics.getValue().get() == map.get());
    std::vector<Tarn::uint32> keys;
    for (const auto& entry : *map) keys.push_back(entry.first);
    EXPECT_EQ(keys, (std::vector<Tarn::uint32>{5, 7, 9, 1000}));
    EXPECT_EQ((*map)[5]->outputMean.getValue(), 0.5);
    EXPECT_EQ((*map)[7]->outputMean.getValue(), 2.0);
    EXPECT_TRUE((*map)[9].get() == nine.get());
    EXPECT_EQ(nine->outputMean.getValue(), 0.0);
    EXPECT_EQ(bitsOf(nine->outputVariance.getValue()), bitsOf(0.0));
    EXPECT_EQ((*map)[1000]->outputMean.getValue(), -1.0);
}

TEST(StatisticsFromVolumeOfMultipleLabels, ANullEntryOfTheMapIsMadeAnew)
{
    MemoryVolumePtr<Tarn::int8> volume = TestSupport::makeIndexVolume<Tarn::int8>(Dimension<SizeType>(2, 1, 1));
    MemoryVolumePtr<Tarn::uint8> labels(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(2, 1, 1)));
    labels->fill(3);
    SmartPointer<Parameter> p = parameterFor(volume, labels);
    StatisticsMapPtr map(new StatisticsMap);
    (*map)[3] = StatisticsPtr();
    p->outputMapStatistics.setValue(map);
    IStatisticsFromVolumeOfMultipleLabels::IOperator facade;
    facade.apply(asComposite(p));
    ASSERT_FALSE((*map)[3] == 0);
    EXPECT_EQ((*map)[3]->outputMean.getValue(), 0.5);
}

TEST(StatisticsFromVolumeOfMultipleLabels, OperatorRunsAgainFromScratch)
{
    MemoryVolumePtr<Tarn::int32> volume = TestSupport::makeIndexVolume<Tarn::int32>(Dimension<SizeType>(2, 2, 2));
    MemoryVolumePtr<Tarn::uint8> labels(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 2)));
    labels->fill(1);
    LabelOperator<Tarn::int32> op;
    SmartPointer<Parameter> p = parameterFor(volume, labels);
    op.apply(asComposite(p));
    EXPECT_EQ((*p->outputMapStatistics.getValue())[1]->outputMean.getValue(), 3.5);
    op.abort();
    SmartPointer<Parameter> q = parameterFor(volume, labels);
    op.apply(asComposite(q));
    EXPECT_EQ((*q->outputMapStatistics.getValue())[1]->outputMean.getValue(), 3.5);
    EXPECT_EQ(op.getProgress().getProgress(), 1.0);
}

TEST(StatisticsFromVolumeOfMultipleLabelsParameter, ClassNamesAndProperties)
{
    Parameter p;
    EXPECT_EQ(p.getType(), "Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Parameter");
    ASSERT_EQ(p.size(), 3u);
    EXPECT_EQ(p.getKey(0), "inputVolume");
    EXPECT_EQ(p.getKey(1), "inputLabelVolume");
    EXPECT_EQ(p.getKey(2), "outputMapStatistics");
    Statistics s;
    EXPECT_EQ(s.getType(), "Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Statistics");
    ASSERT_EQ(s.size(), 5u);
    EXPECT_EQ(s.getKey(0), "outputMinimum");
    EXPECT_EQ(s.getKey(1), "outputMaximum");
    EXPECT_EQ(s.getKey(2), "outputStandardDeviation");
    EXPECT_EQ(s.getKey(3), "outputVariance");
    EXPECT_EQ(s.getKey(4), "outputMean");
    EXPECT_EQ(StatisticsMap().getType(),
              "Tarn::Kito::Container::Map< Tarn::uint32 , "
              "Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Statistics >");
    auto& factory = Tarn::Kito::Factory::DefaultClassFactory::instance();
    EXPECT_EQ(factory.createInstance(p.getType())->getType(), p.getType());
    EXPECT_EQ(factory.createInstance(s.getType())->getType(), s.getType());
    EXPECT_EQ(factory.createInstance(StatisticsMap().getType())->getType(), StatisticsMap().getType());
}

// ---- failures -------------------------------------------------------------------------------------

const std::string uint16Identifier =
    "Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Operator< Tarn::Kito::Volume< Tarn::uint16 , "
    "Tarn::Kito::Allocator::SingleBlockAllocator >, Tarn::Kito::Volume< Tarn::uint8 , "
    "Tarn::Kito::Allocator::SingleBlockAllocator > >";

SmartPointer<IComposite> parameterOfAnotherOperator()
{
    return DynamicCast<SmartPointer<IComposite>>(SmartPointer<Tarn::Kito::Statistics::SumOfVoxels::Parameter>(
        new Tarn::Kito::Statistics::SumOfVoxels::Parameter));
}

TEST(StatisticsFromVolumeOfMultipleLabelsFailure, FacadeTexts)
{
    IStatisticsFromVolumeOfMultipleLabels::IOperator facade;
    const std::string head = "parameter: Tarn::Lumo_DLL::IStatisticsFromVolumeOfMultipleLabels::IOperator::"
                             "getOperatorTypeFromParameterObject: ";
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(parameterOfAnotherOperator()); }), head + "invalid parameter object!");
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(SmartPointer<IComposite>()); }), head + "invalid parameter object!");
    SmartPointer<Parameter> p(new Parameter);
    p->inputLabelVolume.setValue(DynamicCast<SmartPointer<IVolume>>(
        MemoryVolumePtr<Tarn::uint8>(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(1, 1, 1)))));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }), head + "inputVolume is NULL!");
}

TEST(StatisticsFromVolumeOfMultipleLabelsFailure, TheFacadeDoesNotLookAtTheLabelVolume)
{
    // A missing label volume passes the facade and is found by the operator.
    MemoryVolumePtr<Tarn::uint16> volume = TestSupport::makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(2, 2, 2));
    SmartPointer<Parameter> p = parameterFor(volume, MemoryVolumePtr<Tarn::uint8>());
    IStatisticsFromVolumeOfMultipleLabels::IOperator facade;
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: " + uint16Identifier + "::apply the label volume is NULL");
    // So does one of another voxel type.
    MemoryVolumePtr<Tarn::uint16> wide = TestSupport::makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(2, 2, 2));
    p->inputLabelVolume.setValue(DynamicCast<SmartPointer<IVolume>>(wide));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: " + uint16Identifier + "::apply the label volume is NULL");
    EXPECT_TRUE(p->outputMapStatistics.getValue() == 0);
}

TEST(StatisticsFromVolumeOfMultipleLabelsFailure, SixtyFourBitIntegersFailInTheFactory)
{
    MemoryVolumePtr<Tarn::int64> volume(new MemoryVolume<Tarn::int64>(Dimension<SizeType>(2, 2, 2)));
    MemoryVolumePtr<Tarn::uint8> labels(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 2)));
    IStatisticsFromVolumeOfMultipleLabels::IOperator facade;
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(parameterFor(volume, labels))); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Operator< Tarn::Kito::Volume< Tarn::int64 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator >, Tarn::Kito::Volume< Tarn::uint8 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > is registered");
}

TEST(StatisticsFromVolumeOfMultipleLabelsFailure, DirectApplyTexts)
{
    LabelOperator<Tarn::uint16> op;
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(parameterOfAnotherOperator()); }),
              "parameter: Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Operator::apply");
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(SmartPointer<IComposite>()); }),
              "parameter: Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Operator::apply");
    MemoryVolumePtr<Tarn::int16> other = TestSupport::makeIndexVolume<Tarn::int16>(Dimension<SizeType>(2, 2, 2));
    MemoryVolumePtr<Tarn::uint8> labels(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 2)));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(parameterFor(other, labels))); }),
              "parameter: " + uint16Identifier + "::apply the input volume is NULL");
    // The input is tested before the label volume.
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(parameterFor(other, MemoryVolumePtr<Tarn::uint8>()))); }),
              "parameter: " + uint16Identifier + "::apply the input volume is NULL");
}

TEST(StatisticsFromVolumeOfMultipleLabelsFailure, VolumesOfOtherSizesFailBeforeAnythingIsComputed)
{
    MemoryVolumePtr<Tarn::uint16> volume = TestSupport::makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(4, 3, 2));
    // Same number of voxels, other extents; and the same storage size with a smaller view.
    MemoryVolumePtr<Tarn::uint8> labels(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(3, 4, 2)));
    labels->fill(1);
    SmartPointer<Parameter> p = parameterFor(volume, labels);
    StatisticsMapPtr map(new StatisticsMap);
    StatisticsPtr kept(new Statistics);
    kept->outputMean.setValue(6.25);
    (*map)[1] = kept;
    p->outputMapStatistics.setValue(map);
    IStatisticsFromVolumeOfMultipleLabels::IOperator facade;
    const std::string text = "parameter: " + uint16Identifier + "::apply the volumes have different dimensions";
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }), text);
    MemoryVolumePtr<Tarn::uint8> narrowed(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(4, 3, 2)));
    narrowed->setRoiToSlice(1);
    p->inputLabelVolume.setValue(DynamicCast<SmartPointer<IVolume>>(narrowed));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }), text);
    EXPECT_TRUE(p->outputMapStatistics.getValue().get() == map.get());
    ASSERT_EQ(map->size(), 1u);
    EXPECT_TRUE((*map)[1].get() == kept.get());
    EXPECT_EQ(kept->outputMean.getValue(), 6.25);
    EXPECT_TRUE(kept->outputMinimum.getValue() == 0);
}

// ---- stopping -------------------------------------------------------------------------------------

TEST(StatisticsFromVolumeOfMultipleLabelsStop, AStopLeavesTheStatisticsOfTheWalkedSlices)
{
    const SizeType nPrim = 128, nSec = 128, nTert = 1024;
    MemoryVolumePtr<Tarn::uint8> volume(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(nPrim, nSec, nTert)));
    MemoryVolumePtr<Tarn::uint8> labels(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(nPrim, nSec, nTert)));
    Tarn::uint8* voxel = volume->getIterator();
    Tarn::uint8* label = labels->getIterator();
    // The mean of label 1 after each whole slice tells how far a stopped run went.
    Accumulator<Tarn::uint8> ones, twos;
    std::vector<std::uint64_t> meanOfOnes;
    std::vector<std::uint64_t> meanOfTwos;
    for (SizeType t = 0; t < nTert; ++t) {
        for (SizeType k = 0; k < nPrim * nSec; ++k, ++voxel, ++label) {
            *voxel = static_cast<Tarn::uint8>((k * 7 + t * 13) % 251);
            *label = static_cast<Tarn::uint8>(1 + (k + t) % 2);
            (*label == 1 ? ones : twos).statistic.add(*voxel);
        }
        meanOfOnes.push_back(bitsOf(ones.mean));
        meanOfTwos.push_back(bitsOf(twos.mean));
    }
    bool stopped = false;
    for (int attempt = 0; attempt < 20 && !stopped; ++attempt) {
        IStatisticsFromVolumeOfMultipleLabels::IOperator facade;
        SmartPointer<Parameter> p = parameterFor(volume, labels);
        const TestSupport::StoppedRun run = TestSupport::stopWhileRunning(facade, [&] { facade.apply(asComposite(p)); });
        EXPECT_TRUE(TestSupport::neverFalls(run.seen));
        if (facade.getProgress().getProgress() == 1.0) continue;
        stopped = true;
        const StatisticsMapPtr map = p->outputMapStatistics.getValue();
        ASSERT_EQ(map->size(), 2u);
        const auto slice = std::find(meanOfOnes.begin(), meanOfOnes.end() - 1, bitsOf((*map)[1]->outputMean.getValue()));
        ASSERT_NE(slice, meanOfOnes.end() - 1) << "label 1 has the mean of no whole first slices";
        EXPECT_EQ(bitsOf((*map)[2]->outputMean.getValue()), meanOfTwos[static_cast<std::size_t>(slice - meanOfOnes.begin())]);
    }
    EXPECT_TRUE(stopped) << "no run saw the stop before its end";
}

} // namespace
