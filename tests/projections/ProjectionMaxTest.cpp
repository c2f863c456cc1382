#include <Kito/ClassFactory>
#include <Kito/Data>
#include <Kito/Functor>
#include <Kito/Orientation>
#include <Kito/Volume>
#include <LumoStudio/Operators/ProjectionMax/Operator.h>
#include <LumoStudio/Operators/ProjectionSum/Parameter.h>
#include <Lumo_MiscDispatcher_DLL/IProjectionMax.h>

#include <projections/ProjectionTestSupport.h>
#include <support/FailureOf.h>
#include <support/RandomVolume.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using namespace ProjectionTesting;
using Tarn::Lumo_DLL::IProjectionMax;
using TestSupport::invalidArgumentOf;

using Parameter = Tarn::Lumo::ProjectionMax::Parameter;
template <class T> using MaxOperator = Tarn::Lumo::ProjectionMax::Operator<MemoryVolumePtr<T>, MemoryVolumePtr<T>>;

/// The maximum in walk order, starting at 0, with the comparison written as the library must make it.
template <class V> std::vector<typename V::VoxelType> referenceMax(const V& input, Tarn::uint64 direction)
{
    using T = typename V::VoxelType;
    return referenceProjection<T>(input, direction, [](T w, T v) { return (w > v) ? w : v; });
}

/// Projects input through the facade and returns the parameter object.
template <class V> SmartPointer<Parameter> projectByFacade(const V& input, Tarn::uint64 direction)
{
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, direction);
    IProjectionMax::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_EQ(facade.getProgress().getProgress(), 1.0);
    return p;
}

/// A volume of extent (n, 1, 1) with the given voxels along prim.
template <class T> MemoryVolumePtr<T> makeRay(const std::vector<T>& values)
{
    MemoryVolumePtr<T> volume(new MemoryVolume<T>(Dimension<SizeType>(values.size(), 1, 1)));
    std::copy(values.begin(), values.end(), volume->getIterator());
    return volume;
}

/// The single voxel of a projection of a ray along prim (direction 2).
template <class T> T maxOfRay(const std::vector<T>& values)
{
    const SmartPointer<Parameter> p = projectByFacade(makeRay(values), 2);
    const MemoryVolumePtr<T> output = outputOf<T>(p);
    EXPECT_TRUE(output != 0);
    return output == 0 ? T() : output->getValueAt(Position<SizeType>(0, 0, 0));
}

template <class T> class ProjectionMaxTyped : public ::testing::Test {};
TYPED_TEST_SUITE(ProjectionMaxTyped, TestSupport::OperatorVoxelTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(ProjectionMaxTyped, FacadeEqualsTheWalkOrderReferenceInEveryDirectionAndView)
{
    using T = TypeParam;
    for (const View& view : allViews)
        for (Tarn::uint64 direction = 0; direction < 3; ++direction) {
            SCOPED_TRACE("view " + std::to_string(view.index) + ", direction " + std::to_string(direction));
            MemoryVolumePtr<T> input =
                TestSupport::makeRandomVolume<T>(Dimension<SizeType>(13, 12, 11), 100 + 3 * view.index + direction);
            setView(*input, view);
            const SmartPointer<Parameter> p = projectByFacade(input, direction);
            expectVolume(outputOf<T>(p), expectedDimension(*input, direction), referenceMax(*input, direction));
        }
}

TYPED_TEST(ProjectionMaxTyped, IdentifierNamesBothVolumeClassesAndIsRegistered)
{
    using T = TypeParam;
    const std::string volume =
        std::string("Tarn::Kito::Volume< ") + TestSupport::voxelName<T>() + " , Tarn::Kito::Allocator::SingleBlockAllocator >";
    const std::string expected = "Tarn::Lumo::ProjectionMax::Operator< " + volume + " , " + volume + " >";
    MaxOperator<T> op;
    EXPECT_EQ(static_cast<const IComposite&>(op).getType(), expected);
    const auto ids = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    EXPECT_NE(std::find(ids.begin(), ids.end(), expected), ids.end());
}

TYPED_TEST(ProjectionMaxTyped, SingleSliceAlongTertGivesTheVoxelsWithNegativesAsZero)
{
    using T = TypeParam;
    MemoryVolumePtr<T> input = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(7, 5, 1), 9);
    const std::vector<T> voxels = TestSupport::valuesInView(*input);
    std::vector<T> expected;
    for (T v : voxels) expected.push_back(std::max(v, T(0)));
    const SmartPointer<Parameter> p = projectByFacade(input, 0);
    expectVolume(outputOf<T>(p), Dimension<SizeType>(7, 5, 1), expected);
}

TYPED_TEST(ProjectionMaxTyped, APassedOutputVolumeIsReplacedAndNeverWritten)
{
    using T = TypeParam;
    MemoryVolumePtr<T> input = TestSupport::makeIndexVolume<T>(Dimension<SizeType>(4, 3, 2));
    MemoryVolumePtr<T> passed(new MemoryVolume<T>(Dimension<SizeType>(4, 3, 1)));
    passed->fill(T(77));
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 0);
    p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(passed));
    IProjectionMax::IOperator facade;
    facade.apply(asComposite(p));
    const MemoryVolumePtr<T> output = outputOf<T>(p);
    ASSERT_TRUE(output != 0);
    EXPECT_NE(output.operator->(), passed.operator->());
    EXPECT_EQ(voxelsOf(passed), std::vector<T>(12, T(77)));
    // Voxel (p, s) of slice 1 holds 12 + p + 4 s, the larger of each ray.
    expectVolume(output, Dimension<SizeType>(4, 3, 1),
                 std::vector<T>{T(12), T(13), T(14), T(15), T(16), T(17), T(18), T(19), T(20), T(21), T(22), T(23)});
}

// ---- the cases by hand ----------------------------------------------------------------------------

TEST(ProjectionMax, Int16VolumeOfNegativeVoxelsGivesZeros)
{
    MemoryVolumePtr<Tarn::int16> input(new MemoryVolume<Tarn::int16>(Dimension<SizeType>(3, 4, 5)));
    input->fill(-5);
    *input->getPosOffset(Position<SizeType>(1, 2, 3)) = std::numeric_limits<Tarn::int16>::min();
    for (Tarn::uint64 direction = 0; direction < 3; ++direction) {
        const SmartPointer<Parameter> p = projectByFacade(input, direction);
        const Dimension<SizeType> dimension = expectedDimension(*input, direction);
        expectVolume(outputOf<Tarn::int16>(p), dimension, std::vector<Tarn::int16>(dimension.size(), 0));
    }
}

TEST(ProjectionMax, RegionNarrowerThanTheVolumeGivesTheRegionsExtents)
{
    // Voxel = storage index p + 6 s + 30 t; the region is (2..4, 1..3, 2..3).
    MemoryVolumePtr<Tarn::int32> input = TestSupport::makeIndexVolume<Tarn::int32>(Dimension<SizeType>(6, 5, 4));
    input->setRoi(Region(Dimension<SizeType>(3, 3, 2), Position<SizeType>(2, 1, 2)));
    const SmartPointer<Parameter> along0 = projectByFacade(input, 0);
    expectVolume(outputOf<Tarn::int32>(along0), Dimension<SizeType>(3, 3, 1),
                 std::vector<Tarn::int32>{98, 99, 100, 104, 105, 106, 110, 111, 112});
    const SmartPointer<Parameter> along1 = projectByFacade(input, 1);
    expectVolume(outputOf<Tarn::int32>(along1), Dimension<SizeType>(3, 1, 2),
                 std::vector<Tarn::int32>{80, 81, 82, 110, 111, 112});
    const SmartPointer<Parameter> along2 = projectByFacade(input, 2);
    expectVolume(outputOf<Tarn::int32>(along2), Dimension<SizeType>(1, 3, 2),
                 std::vector<Tarn::int32>{70, 76, 82, 100, 106, 112});
}

TEST(ProjectionMax, DirectionTwoLeavesASliceInTheSecTertPlane)
{
    MemoryVolumePtr<Tarn::uint8> input = TestSupport::makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(4, 2, 3));
    const SmartPointer<Parameter> p = projectByFacade(input, 2);
    const MemoryVolumePtr<Tarn::uint8> output = outputOf<Tarn::uint8>(p);
    ASSERT_TRUE(output != 0);
    ASSERT_EQ(output->getDimension(), Dimension<SizeType>(1, 2, 3));
    // Output (0, s, t) is the last voxel of line (s, t): 3 + 4 s + 8 t.
    EXPECT_EQ(output->getValueAt(Position<SizeType>(0, 0, 0)), 3);
    EXPECT_EQ(output->getValueAt(Position<SizeType>(0, 1, 0)), 7);
    EXPECT_EQ(output->getValueAt(Position<SizeType>(0, 0, 2)), 19);
    EXPECT_EQ(output->getValueAt(Position<SizeType>(0, 1, 2)), 23);
}

TEST(ProjectionMax, NaNIsTakenOverAndReplacedByTheNextVoxel)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(maxOfRay<Tarn::float32>({1.0f, nan, 0.5f}), 0.5f);
    EXPECT_EQ(maxOfRay<Tarn::float32>({3.0f, nan, 2.0f, 1.0f}), 2.0f);
    EXPECT_TRUE(std::isnan(maxOfRay<Tarn::float32>({1.0f, 2.0f, nan})));
    // After a NaN even a negative voxel is taken: the result may then fall below 0.
    EXPECT_EQ(maxOfRay<Tarn::float32>({nan, -1.0f}), -1.0f);
    EXPECT_EQ(maxOfRay<Tarn::float64>({2.0, std::nan(""), -3.0, -4.0}), -3.0);
    EXPECT_TRUE(std::isnan(maxOfRay<Tarn::float64>({std::nan("")})));
}

TEST(ProjectionMax, NaNSurvivesOnlyAsTheLastVoxelOfItsRayInWalkOrder)
{
    // Mirroring prim turns the walk order of the ray round, and with it which voxel follows the NaN.
    const float nan = std::numeric_limits<float>::quiet_NaN();
    MemoryVolumePtr<Tarn::float32> ray = makeRay<Tarn::float32>({4.0f, 1.0f, nan});
    EXPECT_TRUE(std::isnan(outputOf<Tarn::float32>(projectByFacade(ray, 2))->getValueAt(Position<SizeType>(0, 0, 0))));
    ray->setOrientation(Orientation(1, 2, 4));
    EXPECT_EQ(outputOf<Tarn::float32>(projectByFacade(ray, 2))->getValueAt(Position<SizeType>(0, 0, 0)), 4.0f);
}

TEST(ProjectionMax, FunctorFoldsTheLargerValueIntoTheOutputVoxel)
{
    using Functor = MaxOperator<Tarn::int16>::Functor<MemoryVolumePtr<Tarn::int16>, MemoryVolumePtr<Tarn::int16>>;
    static_assert(std::is_base_of_v<Tarn::Kito::Iterating::Functor, Functor>);
    MemoryVolumePtr<Tarn::int16> output(new MemoryVolume<Tarn::int16>(Dimension<SizeType>(1, 1, 1)));
    const Functor f(output, 2);
    EXPECT_EQ(f.direction, 2u);
    EXPECT_EQ(f.output.operator->(), output.operator->());
    Tarn::int16 projected = 3;
    f(-7, projected);
    EXPECT_EQ(projected, 3);
    f(9, projected);
    EXPECT_EQ(projected, 9);
}

TEST(ProjectionMax, OperatorCanRunAgainAndForgetsAnEarlierStop)
{
    MemoryVolumePtr<Tarn::uint16> input = TestSupport::makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(3, 3, 3));
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 0);
    MaxOperator<Tarn::uint16> op;
    op.abort();
    op.apply(asComposite(p));
    EXPECT_EQ(op.getProgress().getProgress(), 1.0);
    expectVolume(outputOf<Tarn::uint16>(p), Dimension<SizeType>(3, 3, 1),
                 std::vector<Tarn::uint16>{18, 19, 20, 21, 22, 23, 24, 25, 26});
    const MemoryVolumePtr<Tarn::uint16> first = outputOf<Tarn::uint16>(p);
    p->inputDirection.setValue(1);
    op.apply(asComposite(p));
    expectVolume(outputOf<Tarn::uint16>(p), Dimension<SizeType>(3, 1, 3),
                 std::vector<Tarn::uint16>{6, 7, 8, 15, 16, 17, 24, 25, 26});
    EXPECT_NE(outputOf<Tarn::uint16>(p).operator->(), first.operator->());
}

// ---- long lines, many lines ------------------------------------------------------------------------

TYPED_TEST(ProjectionMaxTyped, LongAndManyLinesEqualTheWalkOrderReferenceInEveryDirectionAndView)
{
    using T = TypeParam;
    for (const SizedView& sized : longLineViews)
        for (Tarn::uint64 direction = 0; direction < 3; ++direction) {
            SCOPED_TRACE("view " + std::to_string(sized.view.index) + ", direction " + std::to_string(direction));
            const MemoryVolumePtr<T> input = makeRandomView<T>(sized, 400 + 3 * sized.view.index + direction);
            ASSERT_EQ(input->getDimension(), Dimension<SizeType>(301, 37, 3));
            const SmartPointer<Parameter> p = projectByFacade(input, direction);
            expectVolume(outputOf<T>(p), expectedDimension(*input, direction), referenceMax(*input, direction));
        }
}

TEST(ProjectionMax, NaNAndSignedZerosAlongPrimKeepTheWalkOrderInLanesAndTails)
{
    // Lines of 45 voxels fold as vectors and a last voxel or more one by one; of 20 lines 16 go side
    // by side and 4 alone. Every third line has a NaN, at a place that moves along the lines; every
    // third is all zeros of alternating sign, starting with 0 or -0; every third ends with a NaN
    // after negative voxels.
    const auto check = [](auto zero) {
        using T = decltype(zero);
        const T nan = std::numeric_limits<T>::quiet_NaN();
        const SizeType P = 45, S = 20, Tn = 2;
        MemoryVolumePtr<T> input = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(P, S, Tn), 77);
        for (SizeType t = 0; t < Tn; ++t)
            for (SizeType s = 0; s < S; ++s)
                for (SizeType q = 0; q < P; ++q) {
                    T& voxel = *input->getPosOffset(Position<SizeType>(q, s, t));
                    if (s % 3 == 0 && q == (s * 7 + t) % P) voxel = nan;
                    if (s % 3 == 1) voxel = (q + s) % 2 == 1 ? -zero : zero;
                    if (s % 3 == 2) voxel = q + 1 == P ? nan : -std::abs(voxel);
                }
        for (const View& view : {TestSupport::wholeView(0),
                                 TestSupport::turnedView(1, Orientation(0, 5, 3))}) {
            SCOPED_TRACE(std::string(TestSupport::voxelName<T>()) + ", view " + std::to_string(view.index));
            setView(*input, view);
            const std::vector<T> expected = referenceMax(*input, 2);
            const MemoryVolumePtr<T> output = outputOf<T>(projectByFacade(input, 2));
            expectVolume(output, expectedDimension(*input, 2), expected);
        }
        // By hand, in storage order: line (1, 0) ends with voxel 44, (44 + 1) % 2 == 1, so -0, which
        // wins over the 0 before it; line (2, 0) ends with its NaN.
        setView(*input, TestSupport::wholeView(0));
        const MemoryVolumePtr<T> output = outputOf<T>(projectByFacade(input, 2));
        const T zeros = output->getValueAt(Position<SizeType>(0, 1, 0));
        EXPECT_TRUE(zeros == 0 && std::signbit(zeros));
        EXPECT_TRUE(std::isnan(output->getValueAt(Position<SizeType>(0, 2, 0))));
    };
    check(Tarn::float32(0));
    check(Tarn::float64(0));
}

// ---- parameter --------------------------------------------------------------------------------------

TEST(ProjectionMaxParameter, ClassNamePropertiesAndFactory)
{
    Parameter p;
    EXPECT_EQ(p.getType(), "Tarn::Lumo::ProjectionMax::Parameter");
    ASSERT_EQ(p.size(), 3u);
    EXPECT_EQ(p.getKey(0), "inputVolume");
    EXPECT_EQ(p.getKey(1), "outputVolume");
    EXPECT_EQ(p.getKey(2), "inputDirection");
    EXPECT_TRUE(p.inputVolume.getValue() == 0);
    EXPECT_TRUE(p.outputVolume.getValue() == 0);
    EXPECT_EQ(p.inputDirection.getValue(), 0u);
    const SmartPointer<IComposite> made =
        Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance("Tarn::Lumo::ProjectionMax::Parameter");
    EXPECT_TRUE(DynamicCast<SmartPointer<Parameter>>(made) != 0);
}

TEST(ProjectionMaxParameter, ACopyHasItsOwnProperties)
{
    MemoryVolumePtr<Tarn::uint8> input(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 2)));
    Parameter p;
    p.inputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(input));
    p.inputDirection.setValue(2);
    Parameter copy(p);
    p.inputDirection.setValue(1);
    EXPECT_EQ(copy.inputDirection.getValue(), 2u);
    EXPECT_TRUE(copy.inputVolume.getValue() != 0);
    copy.setValue("inputDirection",
                  DynamicCast<SmartPointer<IComposite>>(Tarn::Kito::Persistence::DataPtr<Tarn::uint64>(Tarn::uint64(5))));
    EXPECT_EQ(copy.inputDirection.getValue(), 5u);
    EXPECT_EQ(p.inputDirection.getValue(), 1u);
}

// ---- failures -------------------------------------------------------------------------------------

TEST(ProjectionMaxFailure, FacadeRefusesAParameterOfAnotherClass)
{
    IProjectionMax::IOperator facade;
    const SmartPointer<IComposite> other = DynamicCast<SmartPointer<IComposite>>(
        SmartPointer<Tarn::Lumo::ProjectionSum::Parameter>(new Tarn::Lumo::ProjectionSum::Parameter));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(other); }),
              "parameter: Tarn::Lumo_DLL::IProjectionMax::IOperator::getOperatorTypeFromParameterObject: invalid "
              "parameter object!");
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(SmartPointer<IComposite>()); }),
              "parameter: Tarn::Lumo_DLL::IProjectionMax::IOperator::getOperatorTypeFromParameterObject: invalid "
              "parameter object!");
}

TEST(ProjectionMaxFailure, FacadeReportsAMissingInputEvenWithAnOutput)
{
    IProjectionMax::IOperator facade;
    SmartPointer<Parameter> p(new Parameter);
    p->outputVolume.setValue(
        DynamicCast<SmartPointer<IVolume>>(MemoryVolumePtr<Tarn::uint8>(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(1, 1, 1)))));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo_DLL::IProjectionMax::IOperator::getOperatorTypeFromParameterObject: inputVolume "
              "is NULL!");
}

TEST(ProjectionMaxFailure, OutputOfAnotherVoxelTypeFailsInTheFactoryWithTheWholeIdentifier)
{
    MemoryVolumePtr<Tarn::int8> input = TestSupport::makeIndexVolume<Tarn::int8>(Dimension<SizeType>(2, 2, 2));
    const SmartPointer<IVolume> passed =
        DynamicCast<SmartPointer<IVolume>>(MemoryVolumePtr<Tarn::uint8>(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 1))));
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 0);
    p->outputVolume.setValue(passed);
    IProjectionMax::IOperator facade;
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Lumo::ProjectionMax::Operator< Tarn::Kito::Volume< Tarn::int8 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > , Tarn::Kito::Volume< Tarn::uint8 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > is registered");
    EXPECT_EQ(p->outputVolume.getValue().operator->(), passed.operator->());
}

TEST(ProjectionMaxFailure, Int64VolumeFailsInTheFactory)
{
    MemoryVolumePtr<Tarn::int64> input(new MemoryVolume<Tarn::int64>(Dimension<SizeType>(2, 2, 2)));
    IProjectionMax::IOperator facade;
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(parameterFor<Parameter>(input, 0))); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Lumo::ProjectionMax::Operator< Tarn::Kito::Volume< Tarn::int64 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > , Tarn::Kito::Volume< Tarn::int64 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > is registered");
}

TEST(ProjectionMaxFailure, DirectionThreeFailsBeforeTheWalkAndKeepsTheOutputVolume)
{
    MemoryVolumePtr<Tarn::float32> input = TestSupport::makeIndexVolume<Tarn::float32>(Dimension<SizeType>(3, 3, 3));
    const SmartPointer<IVolume> passed = DynamicCast<SmartPointer<IVolume>>(
        MemoryVolumePtr<Tarn::float32>(new MemoryVolume<Tarn::float32>(Dimension<SizeType>(5, 5, 5))));
    for (Tarn::uint64 direction : {Tarn::uint64(3), std::numeric_limits<Tarn::uint64>::max()}) {
        SmartPointer<Parameter> p = parameterFor<Parameter>(input, direction);
        p->outputVolume.setValue(passed);
        IProjectionMax::IOperator facade;
        EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
                  "parameter: Tarn::Lumo::ProjectionMax::Operator::apply: Invalid direction");
        EXPECT_EQ(p->outputVolume.getValue().operator->(), passed.operator->());
        EXPECT_EQ(passed->getDimension(), Dimension<SizeType>(5, 5, 5));
        // Not a single slice was reported: the walk never began.
        EXPECT_EQ(facade.getProgress().getProgress(), 0.0);
    }
}

TEST(ProjectionMaxFailure, DirectApplyWithTheParameterOfAnotherOperator)
{
    MaxOperator<Tarn::uint8> op;
    const SmartPointer<IComposite> other = DynamicCast<SmartPointer<IComposite>>(
        SmartPointer<Tarn::Lumo::ProjectionSum::Parameter>(new Tarn::Lumo::ProjectionSum::Parameter));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(other); }),
              "parameter: Tarn::Lumo::ProjectionMax::Operator::apply: Invalid parameter object");
}

TEST(ProjectionMaxFailure, DirectApplyOnAVolumeOfAnotherTypeKeepsTheOutputVolume)
{
    MemoryVolumePtr<Tarn::int16> input = TestSupport::makeIndexVolume<Tarn::int16>(Dimension<SizeType>(2, 2, 2));
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 0);
    MaxOperator<Tarn::uint16> op;
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo::ProjectionMax::Operator::apply: Invalid input volume");
    EXPECT_TRUE(p->outputVolume.getValue() == 0);
}

// ---- stopping -------------------------------------------------------------------------------------

TEST(ProjectionMaxStop, AStopFromAnotherThreadStoresTheRowsOfTheWalkedSlices)
{
    expectStopLeavesWalkedSlices<Tarn::uint8, IProjectionMax::IOperator, Parameter>(
        [](SizeType t) { return static_cast<Tarn::uint8>(1 + t % 200); });
}

TEST(ProjectionMaxStop, AStopAlongPrimStoresTheMaximaOfTheWalkedSlices)
{
    // Float32 lines go in bands side by side, each giving its slice's number.
    expectStopLeavesWalkedSlices<Tarn::float32, IProjectionMax::IOperator, Parameter, Tarn::float32>(
        [](SizeType t) { return static_cast<Tarn::float32>(1 + t % 200); }, 2);
}

} // namespace
