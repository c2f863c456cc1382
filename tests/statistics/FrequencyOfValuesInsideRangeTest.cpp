// FrequencyOfValuesInsideRange: counts against a plain count of the view for every type,
// identical for 1, 2 and 3 threads; bounds of any numeric Data narrowed to the voxel type; the stop;
// every failure text.
#include <Kito/ClassFactory>
#include <Kito/Data>
#include <Kito/Orientation>
#include <Kito/Statistics/SumOfVoxels/Parameter>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/IFrequencyOfValuesInsideRange.h>
#include <LumoStudio/Operators/FrequencyOfValuesInsideRange/Operator.h>

#include <support/FailureOf.h>
#include <support/RandomVolume.h>
#include <support/StopWhileRunning.h>
#include <support/Views.h>

#include <gtest/gtest.h>

#include <omp.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <cstdint>
#include <string>
#include <type_traits>
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
using Tarn::Kito::Persistence::IData;
using Tarn::Lumo_DLL::IFrequencyOfValuesInsideRange;
using TestSupport::asComposite;
using TestSupport::invalidArgumentOf;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;

using Region = RegionOfInterest<SizeType>;
using Parameter = Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Parameter;
template <class T> using FrequencyOperator = Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Operator<MemoryVolumePtr<T>>;

template <class S> SmartPointer<IData> dataOf(const S& value)
{
    return DynamicCast<SmartPointer<IData>>(DataPtr<S>(value));
}

template <class V, class S>
SmartPointer<Parameter> parameterFor(const V& volume, const S& lower, const S& upper)
{
    SmartPointer<Parameter> p = TestSupport::parameterWithInput<Parameter>(volume);
    p->inputRangeLowerValue.setValue(dataOf(lower));
    p->inputRangeUpperValue.setValue(dataOf(upper));
    return p;
}

/// Sets the process's thread count for the life of the object.
class Threads {
public:
    explicit Threads(int count) : saved(omp_get_max_threads()) { omp_set_num_threads(count); }
    ~Threads() { omp_set_num_threads(saved); }

private:
    int saved;
};

template <class T> Tarn::uint64 facadeCount(const SmartPointer<Parameter>& p)
{
    IFrequencyOfValuesInsideRange::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_EQ(facade.getProgress().getProgress(), 1.0);
    return p->outputFrequency.getValue();
}

/// The count of the view's voxels v with v >= lower and upper >= v.
template <class V, class T> Tarn::uint64 plainCount(const V& volume, T lower, T upper)
{
    Tarn::uint64 count = 0;
    for (const T& v : TestSupport::valuesInView(volume)) count += (v >= lower && upper >= v) ? 1 : 0;
    return count;
}

const TestSupport::View frequencyViews[] = {
    TestSupport::wholeView(0), TestSupport::regionView(1, Dimension<SizeType>(13, 9, 7), Position<SizeType>(2, 5, 3)),
    TestSupport::turnedRegionView(2, Dimension<SizeType>(16, 6, 9), Position<SizeType>(1, 4, 2), Orientation(5, 1, 2)),
    TestSupport::turnedView(3, Orientation(2, 5, 1))};

template <class T> class FrequencyOfValuesInsideRangeTyped : public ::testing::Test {};
TYPED_TEST_SUITE(FrequencyOfValuesInsideRangeTyped, TestSupport::OperatorVoxelTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(FrequencyOfValuesInsideRangeTyped, CountsOfThePlainLoopForOneTwoAndThreeThreads)
{
    using T = TypeParam;
    for (const TestSupport::View& view : frequencyViews) {
        SCOPED_TRACE(view.index);
        MemoryVolumePtr<T> volume = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(19, 14, 13), 800 + view.index);
        TestSupport::setView(*volume, view);
        // A window around the median of the view's voxels, so that the count is neither 0 nor all.
        std::vector<T> values = TestSupport::valuesInView(*volume);
        std::sort(values.begin(), values.end());
        const T lower = values[values.size() / 4], upper = values[values.size() * 3 / 4];
        const Tarn::uint64 expected = plainCount(*volume, lower, upper);
        ASSERT_GT(expected, 0u);
        ASSERT_LT(expected, values.size());
        for (int threads : {1, 2, 3}) {
            SCOPED_TRACE(threads);
            const Threads setting(threads);
            EXPECT_EQ(facadeCount<T>(parameterFor(volume, lower, upper)), expected);
            FrequencyOperator<T> op;
            SmartPointer<Parameter> p = parameterFor(volume, lower, upper);
            op.apply(asComposite(p));
            EXPECT_EQ(p->outputFrequency.getValue(), expected);
            EXPECT_EQ(omp_get_max_threads(), threads);
        }
    }
}

/// The operator counts in 32 bits below 2^32 voxels; the 64-bit counts of larger views, walked here
/// directly, count alike.
TYPED_TEST(FrequencyOfValuesInsideRangeTyped, EveryFunctorCountsAlike)
{
    using T = TypeParam;
    using P = MemoryVolumePtr<T>;
    namespace F = Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange;
    MemoryVolumePtr<T> volume = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(17, 11, 9), 31);
    volume->setOrientation(Orientation(3, 5, 0));
    std::vector<T> values = TestSupport::valuesInView(*volume);
    std::sort(values.begin(), values.end());
    const T lower = values[values.size() / 3], upper = values[values.size() * 2 / 3];
    const Tarn::uint64 expected = plainCount(*volume, lower, upper);
    const auto total = [&](const auto& functor) {
        Tarn::Kito::Progress progress;
        const std::uint8_t abort = 0;
        Tarn::uint64 sum = 0;
        for (const auto& slab : Tarn::Kito::Iterating::ForEachParallel::apply(&functor, volume, progress, &abort))
            sum += slab->count;
        return sum;
    };
    const Threads setting(2);
    EXPECT_EQ(total(F::Functor<P>(lower, upper)), expected);
    EXPECT_EQ(total(F::Functor<P, Tarn::uint32>(lower, upper)), expected);
    EXPECT_EQ(total(F::Functor<P>(upper, lower)), 0u);
    if constexpr (std::is_integral_v<T>) {
        EXPECT_EQ(total(F::SpanFunctor<P, Tarn::uint64>(lower, upper)), expected);
        EXPECT_EQ(total(F::SpanFunctor<P, Tarn::uint32>(lower, upper)), expected);
        const T lowest = std::numeric_limits<T>::lowest(), largest = std::numeric_limits<T>::max();
        EXPECT_EQ(total(F::SpanFunctor<P, Tarn::uint32>(lowest, largest)), values.size());
        EXPECT_EQ(total(F::SpanFunctor<P, Tarn::uint32>(largest, largest)),
                  static_cast<Tarn::uint64>(std::count(values.begin(), values.end(), largest)));
    }
}

TYPED_TEST(FrequencyOfValuesInsideRangeTyped, ARangeOverTheWholeTypeCountsTheView)
{
    using T = TypeParam;
    MemoryVolumePtr<T> volume = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(9, 8, 7), 5);
    volume->setRoi(Region(Dimension<SizeType>(5, 4, 3), Position<SizeType>(1, 2, 3)));
    const T lowest = std::numeric_limits<T>::lowest(), largest = std::numeric_limits<T>::max();
    EXPECT_EQ(facadeCount<T>(parameterFor(volume, lowest, largest)), 60u);
}

TYPED_TEST(FrequencyOfValuesInsideRangeTyped, LowerAboveUpperCountsNothing)
{
    using T = TypeParam;
    MemoryVolumePtr<T> volume = TestSupport::makeIndexVolume<T>(Dimension<SizeType>(4, 4, 4));
    EXPECT_EQ(facadeCount<T>(parameterFor(volume, T(10), T(5))), 0u);
    EXPECT_EQ(facadeCount<T>(parameterFor(volume, T(5), T(10))), 6u);
}

TYPED_TEST(FrequencyOfValuesInsideRangeTyped, IdentifierIsRegistered)
{
    using T = TypeParam;
    const std::string identifier =
        std::string("Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Operator< Tarn::Kito::Volume< ") +
        TestSupport::voxelName<T>() + " , Tarn::Kito::Allocator::SingleBlockAllocator > >";
    EXPECT_EQ(static_cast<const IComposite&>(FrequencyOperator<T>()).getType(), identifier);
    const auto ids = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    EXPECT_NE(std::find(ids.begin(), ids.end(), identifier), ids.end());
}

TYPED_TEST(FrequencyOfValuesInsideRangeTyped, BoundsOfEveryNumericTypeAreTaken)
{
    using T = TypeParam;
    MemoryVolumePtr<T> volume = TestSupport::makeIndexVolume<T>(Dimension<SizeType>(5, 4, 3));
    // 7 to 20 in every numeric type: 14 voxels.
    EXPECT_EQ(facadeCount<T>(parameterFor(volume, Tarn::int8(7), Tarn::int8(20))), 14u);
    EXPECT_EQ(facadeCount<T>(parameterFor(volume, Tarn::uint8(7), Tarn::uint8(20))), 14u);
    EXPECT_EQ(facadeCount<T>(parameterFor(volume, Tarn::int16(7), Tarn::int16(20))), 14u);
    EXPECT_EQ(facadeCount<T>(parameterFor(volume, Tarn::uint16(7), Tarn::uint16(20))), 14u);
    EXPECT_EQ(facadeCount<T>(parameterFor(volume, Tarn::int32(7), Tarn::int32(20))), 14u);
    EXPECT_EQ(facadeCount<T>(parameterFor(volume, Tarn::uint32(7), Tarn::uint32(20))), 14u);
    EXPECT_EQ(facadeCount<T>(parameterFor(volume, Tarn::int64(7), Tarn::int64(20))), 14u);
    EXPECT_EQ(facadeCount<T>(parameterFor(volume, Tarn::uint64(7), Tarn::uint64(20))), 14u);
    EXPECT_EQ(facadeCount<T>(parameterFor(volume, Tarn::float32(7), Tarn::float32(20))), 14u);
    EXPECT_EQ(facadeCount<T>(parameterFor(volume, Tarn::float64(7), Tarn::float64(20))), 14u);
    // Mixed types.
    SmartPointer<Parameter> p = TestSupport::parameterWithInput<Parameter>(volume);
    p->inputRangeLowerValue.setValue(dataOf(Tarn::uint64(7)));
    p->inputRangeUpperValue.setValue(dataOf(Tarn::float32(20.0f)));
    EXPECT_EQ(facadeCount<T>(p), 14u);
}

// ---- hand-checked cases ---------------------------------------------------------------------------

TEST(FrequencyOfValuesInsideRange, BothBoundsBelongToTheRange)
{
    MemoryVolumePtr<Tarn::int16> volume(new MemoryVolume<Tarn::int16>(Dimension<SizeType>(4, 1, 1)));
    const Tarn::int16 values[] = {2, 3, 3, 4};
    std::copy(values, values + 4, volume->getIterator());
    EXPECT_EQ(facadeCount<Tarn::int16>(parameterFor(volume, Tarn::int16(3), Tarn::int16(3))), 2u);
}

TEST(FrequencyOfValuesInsideRange, BoundsAreNarrowedToTheVoxelType)
{
    MemoryVolumePtr<Tarn::uint8> volume(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(5, 1, 1)));
    const Tarn::uint8 values[] = {0, 1, 2, 3, 44};
    std::copy(values, values + 5, volume->getIterator());
    // 1.5 acts as 1, 2.9 as 2: 1 and 2.
    EXPECT_EQ(facadeCount<Tarn::uint8>(parameterFor(volume, 1.5, 2.9)), 2u);
    EXPECT_EQ(facadeCount<Tarn::uint8>(parameterFor(volume, 1.5f, 2.9f)), 2u);
    // An integer beyond the type wraps as the language converts: 300 is 44, 257 is 1.
    EXPECT_EQ(facadeCount<Tarn::uint8>(parameterFor(volume, Tarn::int32(300), Tarn::int32(300))), 1u);
    EXPECT_EQ(facadeCount<Tarn::uint8>(parameterFor(volume, Tarn::uint16(257), Tarn::uint16(259))), 3u);
    // A float outside the type has no value in the language: it takes the nearest end of the range,
    // and NaN is 0.
    EXPECT_EQ(facadeCount<Tarn::uint8>(parameterFor(volume, -5.0, 1000.0)), 5u);
    EXPECT_EQ(facadeCount<Tarn::uint8>(parameterFor(volume, -0.5, 0.5)), 1u);
    EXPECT_EQ(facadeCount<Tarn::uint8>(
                  parameterFor(volume, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::quiet_NaN())),
              1u);
    // Into a float volume a double is rounded to float.
    MemoryVolumePtr<Tarn::float32> floats(new MemoryVolume<Tarn::float32>(Dimension<SizeType>(2, 1, 1)));
    floats->getIterator()[0] = 0.1f;
    floats->getIterator()[1] = 0.2f;
    EXPECT_EQ(facadeCount<Tarn::float32>(parameterFor(floats, 0.1, 0.1)), 1u);
}

TEST(FrequencyOfValuesInsideRange, NaNVoxelsAreNotCounted)
{
    MemoryVolumePtr<Tarn::float64> volume(new MemoryVolume<Tarn::float64>(Dimension<SizeType>(3, 1, 1)));
    const double values[] = {1.0, std::numeric_limits<double>::quiet_NaN(), 2.0};
    std::copy(values, values + 3, volume->getIterator());
    EXPECT_EQ(facadeCount<Tarn::float64>(parameterFor(volume, -std::numeric_limits<double>::infinity(),
                                                      std::numeric_limits<double>::infinity())),
              2u);
}

TEST(FrequencyOfValuesInsideRange, AnEmptyViewCountsZero)
{
    MemoryVolumePtr<Tarn::uint16> volume(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(0, 0, 0)));
    SmartPointer<Parameter> p = parameterFor(volume, Tarn::uint16(0), Tarn::uint16(65535));
    p->outputFrequency.setValue(99);
    EXPECT_EQ(facadeCount<Tarn::uint16>(p), 0u);
}

TEST(FrequencyOfValuesInsideRangeParameter, ClassNamePropertiesAndDefault)
{
    Parameter p;
    EXPECT_EQ(p.getType(), "Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Parameter");
    ASSERT_EQ(p.size(), 4u);
    EXPECT_EQ(p.getKey(0), "inputVolume");
    EXPECT_EQ(p.getKey(1), "inputRangeLowerValue");
    EXPECT_EQ(p.getKey(2), "inputRangeUpperValue");
    EXPECT_EQ(p.getKey(3), "outputFrequency");
    EXPECT_EQ(p.outputFrequency.getValue(), 0u);
    EXPECT_EQ(Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(p.getType())->getType(), p.getType());
}

// ---- failures -------------------------------------------------------------------------------------

SmartPointer<IComposite> parameterOfAnotherOperator()
{
    return DynamicCast<SmartPointer<IComposite>>(SmartPointer<Tarn::Kito::Statistics::SumOfVoxels::Parameter>(
        new Tarn::Kito::Statistics::SumOfVoxels::Parameter));
}

TEST(FrequencyOfValuesInsideRangeFailure, FacadeTexts)
{
    IFrequencyOfValuesInsideRange::IOperator facade;
    const std::string head =
        "parameter: Tarn::Lumo_DLL::IFrequencyOfValuesInsideRange::IOperator::getOperatorTypeFromParameterObject: ";
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(parameterOfAnotherOperator()); }), head + "invalid parameter object!");
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(SmartPointer<IComposite>()); }), head + "invalid parameter object!");
    SmartPointer<Parameter> p(new Parameter);
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }), head + "inputVolume is NULL!");
    MemoryVolumePtr<Tarn::uint64> wide(new MemoryVolume<Tarn::uint64>(Dimension<SizeType>(2, 2, 2)));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(parameterFor(wide, 1.0, 2.0))); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Operator< Tarn::Kito::Volume< Tarn::uint64 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > is registered");
}

TEST(FrequencyOfValuesInsideRangeFailure, DirectApplyTexts)
{
    FrequencyOperator<Tarn::int32> op;
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(parameterOfAnotherOperator()); }),
              "parameter: Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Operator::apply");
    const std::vector<SmartPointer<IVolume>> volumes = {
        SmartPointer<IVolume>(),
        DynamicCast<SmartPointer<IVolume>>(TestSupport::makeIndexVolume<Tarn::uint32>(Dimension<SizeType>(2, 2, 2)))};
    for (const SmartPointer<IVolume>& volume : volumes) {
        SmartPointer<Parameter> p(new Parameter);
        p->inputVolume.setValue(volume);
        p->outputFrequency.setValue(7);
        const TestSupport::TarnFailure failure = TestSupport::tarnFailureOf([&] { op.apply(asComposite(p)); });
        EXPECT_EQ(failure.className, "Tarn::Exceptions::InvalidArg");
        EXPECT_EQ(failure.gui, "Invalid argument!");
        EXPECT_EQ(failure.error, "inputVolume is NULL");
        EXPECT_EQ(failure.origin, "Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Operator::apply");
        EXPECT_EQ(p->outputFrequency.getValue(), 7u);
    }
}

TEST(FrequencyOfValuesInsideRangeFailure, ABoundNotSetFailsAsExtractValue)
{
    MemoryVolumePtr<Tarn::int16> volume = TestSupport::makeIndexVolume<Tarn::int16>(Dimension<SizeType>(2, 2, 2));
    SmartPointer<Parameter> p = TestSupport::parameterWithInput<Parameter>(volume);
    p->inputRangeUpperValue.setValue(dataOf(5.0));
    IFrequencyOfValuesInsideRange::IOperator facade;
    const TestSupport::TarnFailure failure = TestSupport::tarnFailureOf([&] { facade.apply(asComposite(p)); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::NULLPointer");
    EXPECT_EQ(failure.gui, "NULL pointer!");
    EXPECT_EQ(failure.error, "The pointer variable '_value' is a NULL pointer");
    EXPECT_EQ(failure.origin,
              "Tarn::Kito::Persistence::CompositeOfProperties::Property< Tarn::Kito::Persistence::IData >::extractValue");
    // The lower bound is read first.
    p->inputRangeLowerValue.setValue(dataOf(1.0));
    p->inputRangeUpperValue.setValue(SmartPointer<IData>());
    EXPECT_EQ(TestSupport::tarnFailureOf([&] { facade.apply(asComposite(p)); }).className,
              "Tarn::Exceptions::NULLPointer");
    EXPECT_EQ(p->outputFrequency.getValue(), 0u);
}

TEST(FrequencyOfValuesInsideRangeFailure, ABoundThatIsNoNumberFailsAsExtractValue)
{
    MemoryVolumePtr<Tarn::float32> volume = TestSupport::makeIndexVolume<Tarn::float32>(Dimension<SizeType>(2, 2, 2));
    const std::vector<SmartPointer<IData>> bounds = {dataOf(std::string("3")), dataOf(true)};
    for (const SmartPointer<IData>& bound : bounds) {
        SmartPointer<Parameter> p = TestSupport::parameterWithInput<Parameter>(volume);
        p->inputRangeLowerValue.setValue(bound);
        p->inputRangeUpperValue.setValue(dataOf(5.0));
        IFrequencyOfValuesInsideRange::IOperator facade;
        const TestSupport::TarnFailure failure = TestSupport::tarnFailureOf([&] { facade.apply(asComposite(p)); });
        EXPECT_EQ(failure.className, "Tarn::Exceptions::BadCast");
        EXPECT_EQ(failure.gui, "Bad cast!");
        EXPECT_EQ(failure.error, "The data type 'Tarn::Kito::Persistence::IDataPtr' couldn't be convertet to "
                                 "'Tarn::Kito::Persistence::DataPtr< Tarn::float32 >'!");
        EXPECT_EQ(failure.origin,
                  "Tarn::Kito::Persistence::CompositeOfProperties::Property< Tarn::Kito::Persistence::IData >::extractValue");
    }
}

// ---- stopping -------------------------------------------------------------------------------------

TEST(FrequencyOfValuesInsideRangeStop, AStopOnOneThreadLeavesTheCountOfTheWalkedSlices)
{
    const Threads setting(1);
    const SizeType nPrim = 128, nSec = 128, nTert = 1024;
    MemoryVolumePtr<Tarn::uint8> volume(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(nPrim, nSec, nTert)));
    Tarn::uint8* voxel = volume->getIterator();
    std::vector<Tarn::uint64> afterSlice;
    Tarn::uint64 count = 0;
    for (SizeType t = 0; t < nTert; ++t) {
        for (SizeType k = 0; k < nPrim * nSec; ++k, ++voxel) {
            *voxel = static_cast<Tarn::uint8>((k * 7 + t * 13) % 251);
            count += (*voxel >= 20 && *voxel <= 100) ? 1 : 0;
        }
        afterSlice.push_back(count);
    }
    bool stopped = false;
    for (int attempt = 0; attempt < 50 && !stopped; ++attempt) {
        IFrequencyOfValuesInsideRange::IOperator facade;
        SmartPointer<Parameter> p = parameterFor(volume, Tarn::uint8(20), Tarn::uint8(100));
        const TestSupport::StoppedRun run = TestSupport::stopWhileRunning(facade, [&] { facade.apply(asComposite(p)); });
        EXPECT_TRUE(TestSupport::neverFalls(run.seen));
        // The parallel walk ends its progress at 1.0 after a stop too.
        EXPECT_EQ(facade.getProgress().getProgress(), 1.0);
        const Tarn::uint64 frequency = p->outputFrequency.getValue();
        if (frequency == count) continue;
        stopped = true;
        EXPECT_NE(std::find(afterSlice.begin(), afterSlice.end(), frequency), afterSlice.end())
            << frequency << " is the count of no whole first slices";
    }
    EXPECT_TRUE(stopped) << "no run saw the stop before its end";
}

} // namespace
