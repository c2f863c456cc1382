#include <Kito/ClassFactory>
#include <Kito/Data>
#include <Kito/Orientation>
#include <Kito/Volume>
#include <LumoStudio/Operators/ProjectionMax/Parameter.h>
#include <LumoStudio/Operators/ProjectionMean/Operator.h>
#include <Lumo_MiscDispatcher_DLL/IProjectionMean.h>

#include <projections/ProjectionFacadeChecks.h>
#include <projections/ProjectionTestSupport.h>
#include <support/FailureOf.h>
#include <support/RandomVolume.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using namespace ProjectionTesting;
using Tarn::Lumo_DLL::IProjectionMean;
using TestSupport::invalidArgumentOf;

using Parameter = Tarn::Lumo::ProjectionMean::Parameter;
template <class I, class O>
using MeanOperator = Tarn::Lumo::ProjectionMean::Operator<MemoryVolumePtr<I>, MemoryVolumePtr<O>>;

/// A mean as the output holds it: floats as the language converts a double, integers rounded half
/// up. The means of integer voxels lie inside their type's range, so no cast of these tests fails.
template <class O> O referenceConversion(double mean)
{
    if constexpr (std::is_floating_point_v<O>)
        return static_cast<O>(mean);
    else
        return static_cast<O>(std::floor(mean + 0.5));
}

/// The reference mean: each ray summed in double in walk order, divided by the ray's length, converted.
template <class O, class V> std::vector<O> referenceMean(const V& input, Tarn::uint64 direction)
{
    using I = typename V::VoxelType;
    const std::vector<double> sums =
        referenceProjection<double>(input, direction, [](double w, I v) { return w + static_cast<double>(v); });
    const double n = static_cast<double>(direction == 0 ? input.getDimTert()
                                                        : (direction == 1 ? input.getDimSec() : input.getDimPrim()));
    std::vector<O> result;
    for (double sum : sums) result.push_back(referenceConversion<O>(sum / n));
    return result;
}

/// Runs the facade with a small volume of O in outputVolume (it picks the instance and is written).
template <class O, class V> SmartPointer<Parameter> meanByFacade(const V& input, Tarn::uint64 direction)
{
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, direction);
    const MemoryVolumePtr<O> passed(new MemoryVolume<O>(Dimension<SizeType>(1, 1, 1)));
    p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(passed));
    IProjectionMean::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_EQ(facade.getProgress().getProgress(), 1.0);
    EXPECT_EQ(outputOf<O>(p).operator->(), passed.operator->()) << "the volume handed in is the one written";
    return p;
}

/// The single output voxel of the mean in O of a ray along prim.
template <class O, class I> O meanOfRay(const std::vector<I>& values)
{
    MemoryVolumePtr<I> ray(new MemoryVolume<I>(Dimension<SizeType>(values.size(), 1, 1)));
    std::copy(values.begin(), values.end(), ray->getIterator());
    const MemoryVolumePtr<O> output = outputOf<O>(meanByFacade<O>(ray, 2));
    EXPECT_TRUE(output != 0);
    return output == 0 ? O() : output->getValueAt(Position<SizeType>(0, 0, 0));
}

/// The output types of the means of I: I itself, Tarn::float32, Tarn::float64.
template <class I, class Visit> void forEachMeanOutput(Visit&& visit)
{
    if constexpr (std::is_integral_v<I>)
        forEachType(TypeList<I, Tarn::float32, Tarn::float64>(), visit);
    else
        forEachType(TypeList<Tarn::float32, Tarn::float64>(), visit);
}

template <class T> class ProjectionMeanTyped : public ::testing::Test {};
TYPED_TEST_SUITE(ProjectionMeanTyped, TestSupport::OperatorVoxelTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(ProjectionMeanTyped, FacadeEqualsTheWalkOrderReferenceForEveryOutputDirectionAndView)
{
    using I = TypeParam;
    forEachMeanOutput<I>([](auto* tag) {
        using O = std::remove_pointer_t<decltype(tag)>;
        for (const View& view : allViews)
            for (Tarn::uint64 direction = 0; direction < 3; ++direction) {
                SCOPED_TRACE(std::string("output ") + TestSupport::voxelName<O>() + ", view " +
                             std::to_string(view.index) + ", direction " + std::to_string(direction));
                MemoryVolumePtr<I> input =
                    TestSupport::makeRandomVolume<I>(Dimension<SizeType>(13, 12, 11), 700 + 3 * view.index + direction);
                setView(*input, view);
                const SmartPointer<Parameter> p = meanByFacade<O>(input, direction);
                expectVolume(outputOf<O>(p), expectedDimension(*input, direction), referenceMean<O>(*input, direction));
            }
    });
}

TYPED_TEST(ProjectionMeanTyped, LongAndManyLinesEqualTheWalkOrderReference)
{
    using I = TypeParam;
    for (const SizedView& sized : longLineViews)
        for (Tarn::uint64 direction = 0; direction < 3; ++direction) {
            SCOPED_TRACE("view " + std::to_string(sized.view.index) + ", direction " + std::to_string(direction));
            const MemoryVolumePtr<I> input = makeRandomView<I>(sized, 900 + 3 * sized.view.index + direction);
            forEachMeanOutput<I>([&](auto* tag) {
                using O = std::remove_pointer_t<decltype(tag)>;
                SCOPED_TRACE(std::string("output ") + TestSupport::voxelName<O>());
                expectVolume(outputOf<O>(meanByFacade<O>(input, direction)), expectedDimension(*input, direction),
                             referenceMean<O>(*input, direction));
            });
        }
}

TYPED_TEST(ProjectionMeanTyped, WithoutAnOutputVolumeTheMeansAreInTheInputTypeInANewVolume)
{
    using I = TypeParam;
    MemoryVolumePtr<I> input = TestSupport::makeRandomVolume<I>(Dimension<SizeType>(6, 5, 4), 41);
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 1);
    IProjectionMean::IOperator facade;
    facade.apply(asComposite(p));
    expectVolume(outputOf<I>(p), Dimension<SizeType>(6, 1, 4), referenceMean<I>(*input, 1));
}

TYPED_TEST(ProjectionMeanTyped, IdentifiersOfItsOutputsAreRegistered)
{
    using I = TypeParam;
    const auto ids = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    forEachMeanOutput<I>([&](auto* tag) {
        using O = std::remove_pointer_t<decltype(tag)>;
        const std::string expected = std::string("Tarn::Lumo::ProjectionMean::Operator< Tarn::Kito::Volume< ") +
                                     TestSupport::voxelName<I>() +
                                     " , Tarn::Kito::Allocator::SingleBlockAllocator > , Tarn::Kito::Volume< " +
                                     TestSupport::voxelName<O>() + " , Tarn::Kito::Allocator::SingleBlockAllocator > >";
        EXPECT_NE(std::find(ids.begin(), ids.end(), expected), ids.end()) << expected;
        EXPECT_EQ(static_cast<const IComposite&>(MeanOperator<I, O>()).getType(), expected);
    });
}

// ---- the cases by hand ----------------------------------------------------------------------------

TEST(ProjectionMean, OneAndTwoGiveOneAndAHalfInFloatsAndTwoInUint8)
{
    EXPECT_EQ((meanOfRay<Tarn::float32, Tarn::uint8>({1, 2})), 1.5f);
    EXPECT_EQ((meanOfRay<Tarn::float64, Tarn::uint8>({1, 2})), 1.5);
    // Rounded half up by the conversion's defaults: floor(1.5 + 0.5).
    EXPECT_EQ((meanOfRay<Tarn::uint8, Tarn::uint8>({1, 2})), 2);
}

TEST(ProjectionMean, IntegerMeansAreRoundedHalfUp)
{
    EXPECT_EQ((meanOfRay<Tarn::uint8, Tarn::uint8>({2, 3})), 3);
    EXPECT_EQ((meanOfRay<Tarn::uint8, Tarn::uint8>({2, 2, 3})), 2);
    EXPECT_EQ((meanOfRay<Tarn::int8, Tarn::int8>({-1, 0})), 0);
    EXPECT_EQ((meanOfRay<Tarn::int8, Tarn::int8>({-1, -2})), -1);
    EXPECT_EQ((meanOfRay<Tarn::int16, Tarn::int16>({-3, -4, -4})), -4);
    EXPECT_EQ((meanOfRay<Tarn::int32, Tarn::int32>({2147483647, 2147483646})), 2147483647);
    EXPECT_EQ((meanOfRay<Tarn::uint32, Tarn::uint32>({4294967295u, 4294967295u})), 4294967295u);
}

TEST(ProjectionMean, FloatMeansAreNeitherRoundedNorChecked)
{
    // A third: float64 is the double quotient, float32 its nearest value.
    EXPECT_TRUE(sameBits((meanOfRay<Tarn::float64, Tarn::uint8>({0, 0, 1})), 1.0 / 3.0));
    EXPECT_TRUE(sameBits((meanOfRay<Tarn::float32, Tarn::uint8>({0, 0, 1})), static_cast<float>(1.0 / 3.0)));
    EXPECT_TRUE(sameBits((meanOfRay<Tarn::float32, Tarn::int16>({-1, -2})), -1.5f));
    // A NaN goes through as it is.
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(std::isnan((meanOfRay<Tarn::float32, Tarn::float32>({1.0f, nan}))));
    EXPECT_TRUE(std::isnan((meanOfRay<Tarn::float64, Tarn::float64>({static_cast<double>(nan)}))));
}

TEST(ProjectionMean, ThreeHundredVoxelsOf255GiveTheirValueWithoutWrapping)
{
    MemoryVolumePtr<Tarn::uint8> input(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(2, 3, 300)));
    input->fill(255);
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 0);
    IProjectionMean::IOperator facade;
    facade.apply(asComposite(p));
    expectVolume(outputOf<Tarn::uint8>(p), Dimension<SizeType>(2, 3, 1), std::vector<Tarn::uint8>(6, 255));
    expectVolume(outputOf<Tarn::float32>(meanByFacade<Tarn::float32>(input, 0)), Dimension<SizeType>(2, 3, 1),
                 std::vector<Tarn::float32>(6, 255.0f));
}

TEST(ProjectionMean, ARegionOfExtentOneAlongTheCollapsedAxisGivesTheInputItself)
{
    MemoryVolumePtr<Tarn::int16> input = TestSupport::makeRandomVolume<Tarn::int16>(Dimension<SizeType>(5, 4, 3), 12);
    input->setRoi(Region(Dimension<SizeType>(5, 4, 1), Position<SizeType>(0, 0, 1)));
    const std::vector<Tarn::int16> slice = TestSupport::valuesInView(*input);
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 0);
    IProjectionMean::IOperator facade;
    facade.apply(asComposite(p));
    expectVolume(outputOf<Tarn::int16>(p), Dimension<SizeType>(5, 4, 1), slice);
    MemoryVolumePtr<Tarn::float32> floats =
        TestSupport::makeRandomVolume<Tarn::float32>(Dimension<SizeType>(3, 4, 5), 13);
    floats->setRoi(Region(Dimension<SizeType>(1, 4, 5), Position<SizeType>(2, 0, 0)));
    expectVolume(outputOf<Tarn::float32>(meanByFacade<Tarn::float32>(floats, 2)), Dimension<SizeType>(1, 4, 5),
                 TestSupport::valuesInView(*floats));
}

TEST(ProjectionMean, FloatRaysAreSummedInWalkOrder)
{
    // 1e16 + 1 + 1 in that order: each 1 rounds away in double; the other order keeps both.
    MemoryVolumePtr<Tarn::float64> ray(new MemoryVolume<Tarn::float64>(Dimension<SizeType>(3, 1, 1)));
    Tarn::float64* v = ray->getIterator();
    v[0] = 1e16;
    v[1] = 1.0;
    v[2] = 1.0;
    EXPECT_EQ(outputOf<Tarn::float64>(meanByFacade<Tarn::float64>(ray, 2))->getValueAt(Position<SizeType>(0, 0, 0)),
              1e16 / 3.0);
    ray->setOrientation(Orientation(1, 2, 4));
    EXPECT_EQ(outputOf<Tarn::float64>(meanByFacade<Tarn::float64>(ray, 2))->getValueAt(Position<SizeType>(0, 0, 0)),
              (1e16 + 2.0) / 3.0);
}

TEST(ProjectionMean, AnOutputVolumeOfTheRightTypeIsResizedAndWritten)
{
    MemoryVolumePtr<Tarn::uint16> input(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(4, 3, 2)));
    input->fill(7);
    const MemoryVolumePtr<Tarn::float64> passed(new MemoryVolume<Tarn::float64>(Dimension<SizeType>(9, 9, 9)));
    passed->setRoi(Region(Dimension<SizeType>(2, 2, 2), Position<SizeType>(1, 1, 1)));
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 1);
    p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(passed));
    IProjectionMean::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_EQ(outputOf<Tarn::float64>(p).operator->(), passed.operator->());
    expectVolume(passed, Dimension<SizeType>(4, 1, 2), std::vector<Tarn::float64>(8, 7.0));
}

// ---- parameter --------------------------------------------------------------------------------------

TEST(ProjectionMeanParameter, ClassNamePropertiesAndFactory)
{
    EXPECT_EQ(parameterDescription<Parameter>(),
              (std::vector<std::string>{"Tarn::Lumo::ProjectionMean::Parameter", "inputVolume", "outputVolume",
                                        "inputDirection", "made by the factory"}));
}

// ---- failures -------------------------------------------------------------------------------------

TEST(ProjectionMeanFailure, FacadeRefusesAParameterOfAnotherClassAndAMissingInput)
{
    EXPECT_EQ((facadeFailureTexts<IProjectionMean, Parameter>()),
              (std::vector<std::string>{
                  "parameter: Tarn::Lumo_DLL::IProjectionMean::IOperator::getOperatorTypeFromParameterObject: invalid "
                  "parameter object!",
                  "parameter: Tarn::Lumo_DLL::IProjectionMean::IOperator::getOperatorTypeFromParameterObject: "
                  "inputVolume is NULL!"}));
}

TEST(ProjectionMeanFailure, AnOutputTypeWithoutInstanceFailsInTheFactory)
{
    EXPECT_EQ((failureWithOutputOf<IProjectionMean, Parameter, Tarn::int16>()),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Lumo::ProjectionMean::Operator< Tarn::Kito::Volume< Tarn::uint8 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > , Tarn::Kito::Volume< Tarn::int16 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > is registered");
}

TEST(ProjectionMeanFailure, DirectionThreeFailsWithTheMiddleNamespaceAndKeepsTheOutputVolume)
{
    MemoryVolumePtr<Tarn::int8> input = TestSupport::makeIndexVolume<Tarn::int8>(Dimension<SizeType>(3, 3, 3));
    const MemoryVolumePtr<Tarn::float64> passed(new MemoryVolume<Tarn::float64>(Dimension<SizeType>(2, 2, 2)));
    passed->fill(-4.0);
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 3);
    p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(passed));
    IProjectionMean::IOperator facade;
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: Tarn::Kito::Lumo::ProjectionMean::Operator::apply: Invalid direction");
    EXPECT_EQ(outputOf<Tarn::float64>(p).operator->(), passed.operator->());
    EXPECT_EQ(voxelsOf(passed), std::vector<Tarn::float64>(8, -4.0));
    EXPECT_EQ(passed->getDimension(), Dimension<SizeType>(2, 2, 2));
    EXPECT_EQ(facade.getProgress().getProgress(), 0.0);
}

TEST(ProjectionMeanFailure, DirectApplyWithTheParameterOfAnotherOperator)
{
    MeanOperator<Tarn::uint8, Tarn::float64> op;
    const SmartPointer<IComposite> other = DynamicCast<SmartPointer<IComposite>>(
        SmartPointer<Tarn::Lumo::ProjectionMax::Parameter>(new Tarn::Lumo::ProjectionMax::Parameter));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(other); }),
              "parameter: Tarn::Kito::Lumo::ProjectionMean::Operator::apply: Invalid parameter object");
}

TEST(ProjectionMeanFailure, DirectApplyWithoutInput)
{
    MeanOperator<Tarn::uint8, Tarn::float64> op;
    SmartPointer<Parameter> p(new Parameter);
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Kito::Lumo::ProjectionMean::Operator::apply: Invalid input volume");
}

TEST(ProjectionMeanFailure, EmptyViewFailsInTheDimensionCheckOfTheAccumulator)
{
    // A view without voxels gives an accumulator of extent (0, 0, 1), which no volume can have: the
    // run ends there, before the division by a ray length of 0 could be tried.
    MemoryVolumePtr<Tarn::uint8> input(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(0, 0, 0)));
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 0);
    IProjectionMean::IOperator facade;
    std::string text = "no failure";
    try {
        facade.apply(asComposite(p));
    } catch (const std::out_of_range& failure) {
        text = failure.what();
    }
    EXPECT_EQ(text, "Tarn::Kito::Dimension< Tarn::uint64 >::check invalid values detected ( 0 , 0 , 1 ) ");
    EXPECT_TRUE(p->outputVolume.getValue() == 0);
}

TEST(ProjectionMeanFailure, TheDivisionStageRefusesARayLengthOfZero)
{
    // The stage the mean divides with, on a slice and a count of 0, in its own words.
    const Tarn::Lumo::ProjectionMean::Accumulator acc(
        new MemoryVolume<Tarn::float64>(Dimension<SizeType>(2, 2, 1)));
    acc->fill(3.0);
    std::string text = "no failure";
    try {
        Tarn::Lumo::ProjectionMean::Stages::divide(acc, 0.0);
    } catch (const std::logic_error& failure) {
        text = failure.what();
    }
    EXPECT_EQ(text, "Tarn::Kito::ArithmeticOperators::Division::CheckedInplaceValueDivision division by zero");
    EXPECT_EQ(voxelsOf(acc), std::vector<Tarn::float64>(4, 3.0));
}

// ---- stopping -------------------------------------------------------------------------------------

TEST(ProjectionMeanStop, AStopFromAnotherThreadConvertsTheMeansOfTheWalkedSlices)
{
    // Direction 1: the 64 lines of slice t hold 1 + t % 200, so a walked row's mean is that value;
    // rows the walk has not reached are 0 / 64.
    expectStopLeavesWalkedSlices<Tarn::float32, IProjectionMean::IOperator, Parameter>(
        [](SizeType t) { return static_cast<Tarn::float32>(1 + t % 200); });
}

TEST(ProjectionMeanStop, AStoppedRunAlongPrimConvertsWhatItSummed)
{
    expectStopLeavesWalkedSlices<Tarn::uint16, IProjectionMean::IOperator, Parameter, Tarn::uint16>(
        [](SizeType t) { return static_cast<Tarn::uint16>(1 + t % 200); }, 2);
}

TEST(ProjectionMeanStop, AStopAlongTertDividesThePartialSumsByTheWholeRayLength)
{
    // Every voxel is 1: after k walked slices each sum is k, and the stored mean k / T, not 1.
    const SizeType nPrim = 64, nSec = 64, nTert = 8192;
    MemoryVolumePtr<Tarn::uint8> input(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(nPrim, nSec, nTert)));
    input->fill(1);
    const std::vector<double> perSlice = progressAfterSlices(nTert);
    bool stopped = false;
    for (int attempt = 0; attempt < 200 && !stopped; ++attempt) {
        IProjectionMean::IOperator facade;
        SmartPointer<Parameter> p = parameterFor<Parameter>(input, 0);
        p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(
            MemoryVolumePtr<Tarn::float64>(new MemoryVolume<Tarn::float64>(Dimension<SizeType>(1, 1, 1)))));
        const TestSupport::StoppedRun run = TestSupport::stopWhileRunning(facade, [&] { facade.apply(asComposite(p)); });
        const double progress = facade.getProgress().getProgress();
        if (progress == 1.0) continue;
        stopped = true;
        EXPECT_TRUE(run.stopAsked);
        SizeType walked = 0;
        while (walked < nTert && perSlice[walked] != progress) ++walked;
        ASSERT_LT(walked, nTert) << "the final progress " << progress << " is no value after a slice";
        ++walked;
        expectVolume(outputOf<Tarn::float64>(p), Dimension<SizeType>(nPrim, nSec, 1),
                     std::vector<Tarn::float64>(nPrim * nSec, static_cast<double>(walked) / static_cast<double>(nTert)));
    }
    EXPECT_TRUE(stopped) << "no run out of 200 saw the stop before its end";
}

} // namespace
