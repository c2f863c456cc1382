#include <Kito/ClassFactory>
#include <Kito/Data>
#include <Kito/Orientation>
#include <Kito/Volume>
#include <LumoStudio/Operators/ProjectionMax/Parameter.h>
#include <LumoStudio/Operators/ProjectionMedian/Operator.h>
#include <Lumo_MiscDispatcher_DLL/IProjectionMedian.h>

#include <projections/ProjectionFacadeChecks.h>
#include <projections/ProjectionTestSupport.h>
#include <support/FailureOf.h>
#include <support/RandomVolume.h>

#include <gtest/gtest.h>

#include <omp.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using namespace ProjectionTesting;
using Tarn::Lumo_DLL::IProjectionMedian;
using TestSupport::invalidArgumentOf;

using Parameter = Tarn::Lumo::ProjectionMedian::Parameter;
template <class T> using MedianOperator = Tarn::Lumo::ProjectionMedian::Operator<MemoryVolumePtr<T>, MemoryVolumePtr<T>>;

/// The position in the input's view of voxel k of the ray through plane position (a, b) along
/// direction: the plane is tert 0 (a = prim, b = sec), sec 0 (a = prim, b = tert) or prim 0
/// (a = sec, b = tert).
Position<SizeType> rayVoxel(Tarn::uint64 direction, SizeType a, SizeType b, SizeType k)
{
    if (direction == 0) return Position<SizeType>(a, b, k);
    if (direction == 1) return Position<SizeType>(a, k, b);
    return Position<SizeType>(k, a, b);
}

/// The element of rank (n - 1) / 2 of the sorted ray.
template <class T> T sortedMedian(std::vector<T> ray)
{
    std::sort(ray.begin(), ray.end());
    return ray[(ray.size() - 1) / 2];
}

/// What the output's view must hold after a run on input along direction: in the walked plane each
/// ray's median, elsewhere what before held (in the output's view order, tert outermost).
template <class T>
std::vector<T> expectedMedians(const MemoryVolume<T>& input, Tarn::uint64 direction, const std::vector<T>& before)
{
    const Dimension<SizeType> d = input.getDimension();
    const SizeType length = direction == 0 ? d.tert : (direction == 1 ? d.sec : d.prim);
    const SizeType nA = direction == 2 ? d.sec : d.prim, nB = direction == 0 ? d.sec : d.tert;
    std::vector<T> result = before;
    for (SizeType b = 0; b < nB; ++b)
        for (SizeType a = 0; a < nA; ++a) {
            std::vector<T> ray;
            for (SizeType k = 0; k < length; ++k) ray.push_back(input.getValueAt(rayVoxel(direction, a, b, k)));
            const Position<SizeType> q = rayVoxel(direction, a, b, 0);
            result[static_cast<std::size_t>(q.prim + d.prim * (q.sec + d.sec * q.tert))] = sortedMedian(ray);
        }
    return result;
}

/// Runs the facade with output (NULL or a volume of T) in outputVolume.
template <class T>
SmartPointer<Parameter> medianByFacade(const MemoryVolumePtr<T>& input, Tarn::uint64 direction,
                                       const MemoryVolumePtr<T>& output)
{
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, direction);
    if (output != 0) p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(output));
    IProjectionMedian::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_EQ(facade.getProgress().getProgress(), 1.0);
    return p;
}

/// The medians of input along direction into an output of the input view's extent filled with
/// random voxels first, checked against the sorted rays, the rest of the output unchanged.
template <class T> void expectMedians(const MemoryVolumePtr<T>& input, Tarn::uint64 direction, std::uint64_t seed)
{
    const MemoryVolumePtr<T> output = TestSupport::makeRandomVolume<T>(input->getDimension(), seed);
    const std::vector<T> before = voxelsOf(output);
    const SmartPointer<Parameter> p = medianByFacade(input, direction, output);
    EXPECT_EQ(outputOf<T>(p).operator->(), output.operator->()) << "the volume handed in is the one written";
    expectVolume(output, input->getDimension(), expectedMedians(*input, direction, before));
}

template <class T> class ProjectionMedianTyped : public ::testing::Test {};
TYPED_TEST_SUITE(ProjectionMedianTyped, TestSupport::OperatorVoxelTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(ProjectionMedianTyped, EachRayGetsTheLowerMiddleOfItsSortedVoxelsForEveryDirectionAndView)
{
    using T = TypeParam;
    for (const View& view : allViews)
        for (Tarn::uint64 direction = 0; direction < 3; ++direction) {
            SCOPED_TRACE("view " + std::to_string(view.index) + ", direction " + std::to_string(direction));
            MemoryVolumePtr<T> input =
                TestSupport::makeRandomVolume<T>(Dimension<SizeType>(13, 12, 11), 300 + 3 * view.index + direction);
            setView(*input, view);
            expectMedians(input, direction, 17 + direction);
        }
}

TYPED_TEST(ProjectionMedianTyped, LongLinesAndManyRaysGetTheirMedians)
{
    using T = TypeParam;
    for (const SizedView& sized : longLineViews)
        for (Tarn::uint64 direction = 0; direction < 3; ++direction) {
            SCOPED_TRACE("view " + std::to_string(sized.view.index) + ", direction " + std::to_string(direction));
            expectMedians(makeRandomView<T>(sized, 400 + 3 * sized.view.index + direction), direction, 5);
        }
}

TYPED_TEST(ProjectionMedianTyped, OneTwoAndThreeThreadsGiveTheSameMedians)
{
    using T = TypeParam;
    const MemoryVolumePtr<T> input = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(67, 9, 29), 77);
    const int saved = omp_get_max_threads();
    for (Tarn::uint64 direction = 0; direction < 3; ++direction) {
        SCOPED_TRACE("direction " + std::to_string(direction));
        std::vector<std::vector<T>> results;
        for (int threads = 1; threads <= 3; ++threads) {
            omp_set_num_threads(threads);
            const MemoryVolumePtr<T> output(new MemoryVolume<T>(input->getDimension()));
            output->fill(T(0));
            medianByFacade(input, direction, output);
            results.push_back(voxelsOf(output));
        }
        omp_set_num_threads(saved);
        EXPECT_TRUE(results[0] == results[1]);
        EXPECT_TRUE(results[0] == results[2]);
        EXPECT_TRUE(results[0] == expectedMedians(*input, direction, std::vector<T>(results[0].size(), T(0))));
    }
}

TYPED_TEST(ProjectionMedianTyped, IdentifierIsRegistered)
{
    using T = TypeParam;
    const std::string volume =
        std::string("Tarn::Kito::Volume< ") + TestSupport::voxelName<T>() + " , Tarn::Kito::Allocator::SingleBlockAllocator >";
    const std::string expected = "Tarn::Lumo::ProjectionMedian::Operator< " + volume + " , " + volume + " >";
    const auto ids = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    EXPECT_NE(std::find(ids.begin(), ids.end(), expected), ids.end()) << expected;
    EXPECT_EQ(static_cast<const IComposite&>(MedianOperator<T>()).getType(), expected);
}

// ---- the cases by hand ----------------------------------------------------------------------------

/// The median that a ray of values along prim gets, in a new output.
template <class T> T medianOfRay(const std::vector<T>& values)
{
    MemoryVolumePtr<T> ray(new MemoryVolume<T>(Dimension<SizeType>(values.size(), 1, 1)));
    std::copy(values.begin(), values.end(), ray->getIterator());
    const MemoryVolumePtr<T> output = outputOf<T>(medianByFacade(ray, 2, MemoryVolumePtr<T>()));
    EXPECT_TRUE(output != 0);
    EXPECT_EQ(output->getDimension(), Dimension<SizeType>(values.size(), 1, 1));
    return output == 0 ? T() : output->getValueAt(Position<SizeType>(0, 0, 0));
}

TEST(ProjectionMedian, OneAndTwoGiveTheLowerMedian)
{
    EXPECT_EQ(medianOfRay<Tarn::uint8>({1, 2}), 1);
    EXPECT_EQ(medianOfRay<Tarn::uint8>({2, 1}), 1);
    EXPECT_EQ(medianOfRay<Tarn::int16>({4, 1, 3, 2}), 2);
    EXPECT_EQ(medianOfRay<Tarn::float32>({-0.5f, 7.0f, 2.5f}), 2.5f);
    EXPECT_EQ(medianOfRay<Tarn::int32>({5, 5, 5, 5, 5}), 5);
}

TEST(ProjectionMedian, ARayOfExtentOneGivesTheVoxelItself)
{
    EXPECT_EQ(medianOfRay<Tarn::float64>({-3.25}), -3.25);
    MemoryVolumePtr<Tarn::int8> input = TestSupport::makeRandomVolume<Tarn::int8>(Dimension<SizeType>(4, 3, 1), 3);
    const SmartPointer<Parameter> p = medianByFacade(input, 0, MemoryVolumePtr<Tarn::int8>());
    expectVolume(outputOf<Tarn::int8>(p), Dimension<SizeType>(4, 3, 1), voxelsOf(input));
}

TEST(ProjectionMedian, TheOutputKeepsTheInputsExtentAndItsVoxelsOutsideThePlane)
{
    MemoryVolumePtr<Tarn::uint16> input(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(3, 2, 4)));
    const std::vector<Tarn::uint16> values = {1, 2, 3, 4, 5, 6,  9, 9, 9, 9, 9, 9,  //
                                              0, 0, 0, 0, 0, 0,  7, 8, 9, 1, 2, 3};
    std::copy(values.begin(), values.end(), input->getIterator());
    const MemoryVolumePtr<Tarn::uint16> output(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(3, 2, 4)));
    output->fill(500);
    medianByFacade(input, 0, output);
    // Rays along tert, e.g. (1, 9, 0, 7) sorted 0 1 7 9: rank 1 is 1.
    std::vector<Tarn::uint16> expected(24, 500);
    const std::vector<Tarn::uint16> plane = {1, 2, 3, 1, 2, 3};
    std::copy(plane.begin(), plane.end(), expected.begin());
    expectVolume(output, Dimension<SizeType>(3, 2, 4), expected);
}

TEST(ProjectionMedian, AnOutputOfAnotherExtentIsResizedToTheInputsView)
{
    MemoryVolumePtr<Tarn::float32> input =
        TestSupport::makeRandomVolume<Tarn::float32>(Dimension<SizeType>(8, 7, 6), 8);
    input->setRoi(Region(Dimension<SizeType>(5, 4, 3), Position<SizeType>(1, 2, 3)));
    const MemoryVolumePtr<Tarn::float32> output(new MemoryVolume<Tarn::float32>(Dimension<SizeType>(2, 2, 2)));
    const SmartPointer<Parameter> p = medianByFacade(input, 1, output);
    EXPECT_EQ(outputOf<Tarn::float32>(p).operator->(), output.operator->());
    EXPECT_EQ(output->getDimension(), Dimension<SizeType>(5, 4, 3));
    for (SizeType t = 0; t < 3; ++t)
        for (SizeType q = 0; q < 5; ++q) {
            std::vector<Tarn::float32> ray;
            for (SizeType s = 0; s < 4; ++s) ray.push_back(input->getValueAt(Position<SizeType>(q, s, t)));
            EXPECT_EQ(output->getValueAt(Position<SizeType>(q, 0, t)), sortedMedian(ray));
        }
}

// ---- parameter --------------------------------------------------------------------------------------

TEST(ProjectionMedianParameter, ClassNamePropertiesAndFactory)
{
    EXPECT_EQ(parameterDescription<Parameter>(),
              (std::vector<std::string>{"Tarn::Lumo::ProjectionMedian::Parameter", "inputVolume", "outputVolume",
                                        "inputDirection", "made by the factory"}));
}

// ---- failures -------------------------------------------------------------------------------------

TEST(ProjectionMedianFailure, FacadeRefusesAParameterOfAnotherClassAndAMissingInput)
{
    EXPECT_EQ((facadeFailureTexts<IProjectionMedian, Parameter>()),
              (std::vector<std::string>{
                  "parameter: Tarn::Lumo_DLL::IProjectionMedian::IOperator::getOperatorTypeFromParameterObject: "
                  "invalid parameter object!",
                  "parameter: Tarn::Lumo_DLL::IProjectionMedian::IOperator::getOperatorTypeFromParameterObject: "
                  "inputVolume is NULL!"}));
}

TEST(ProjectionMedianFailure, AnOutputOfAnotherTypeFailsInTheFactory)
{
    EXPECT_EQ((failureWithOutputOf<IProjectionMedian, Parameter, Tarn::float32>()),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Lumo::ProjectionMedian::Operator< Tarn::Kito::Volume< Tarn::uint8 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > , Tarn::Kito::Volume< Tarn::float32 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > is registered");
}

TEST(ProjectionMedianFailure, DirectApplyTextsOfTheMedianFilter)
{
    MedianOperator<Tarn::int16> op;
    const SmartPointer<IComposite> other = DynamicCast<SmartPointer<IComposite>>(
        SmartPointer<Tarn::Lumo::ProjectionMax::Parameter>(new Tarn::Lumo::ProjectionMax::Parameter));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(other); }),
              "parameter: Tarn::Kito::MedianOperators::QuickSelectMedian::Operator::apply");
    SmartPointer<Parameter> p(new Parameter);
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Kito::MedianOperators::QuickSelectMedian::Operator::apply the inputVolume is NULL");
    // An input of another voxel type is NULL to this instance.
    p->inputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(
        MemoryVolumePtr<Tarn::uint16>(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(2, 2, 2)))));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Kito::MedianOperators::QuickSelectMedian::Operator::apply the inputVolume is NULL");
    p->inputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(
        MemoryVolumePtr<Tarn::int16>(new MemoryVolume<Tarn::int16>(Dimension<SizeType>(2, 2, 2)))));
    p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(
        MemoryVolumePtr<Tarn::uint16>(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(2, 2, 2)))));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Kito::Operator::checkOutputVolume volume is of the wrong type");
}

TEST(ProjectionMedianFailure, DirectionThreeNamesTheMeanAndComesAfterTheOutputIsResized)
{
    MemoryVolumePtr<Tarn::int8> input = TestSupport::makeIndexVolume<Tarn::int8>(Dimension<SizeType>(3, 4, 5));
    const MemoryVolumePtr<Tarn::int8> passed(new MemoryVolume<Tarn::int8>(Dimension<SizeType>(2, 2, 2)));
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 3);
    p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(passed));
    IProjectionMedian::IOperator facade;
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo::ProjectionMean::Operator::apply: Invalid direction");
    EXPECT_EQ(passed->getDimension(), Dimension<SizeType>(3, 4, 5));
    EXPECT_EQ(outputOf<Tarn::int8>(p).operator->(), passed.operator->());
    EXPECT_EQ(facade.getProgress().getProgress(), 0.0);
}

// ---- stopping -------------------------------------------------------------------------------------

TEST(ProjectionMedianStop, AStopEndsEverySlabOfTheWalkAtItsNextSlice)
{
    // Along prim the walked plane is (1, S, T) and the walk is cut into tert slabs, one per thread.
    // Slice t holds 1 + t % 200, so its rays' median is that value; a row not walked keeps 0. A slab
    // walks its slices in order, so the walked slices of each slab are a run from its start.
    const SizeType nPrim = 64, nSec = 64, nTert = 4096;
    const MemoryVolumePtr<Tarn::uint8> input = makeSliceNumberVolume(nPrim, nSec, nTert);
    const int saved = omp_get_max_threads();
    omp_set_num_threads(2);
    bool stopped = false;
    for (int attempt = 0; attempt < 100 && !stopped; ++attempt) {
        IProjectionMedian::IOperator facade;
        SmartPointer<Parameter> p = parameterFor<Parameter>(input, 2);
        const MemoryVolumePtr<Tarn::uint8> output(new MemoryVolume<Tarn::uint8>(input->getDimension()));
        output->fill(0);
        p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(output));
        const TestSupport::StoppedRun run = TestSupport::stopWhileRunning(facade, [&] { facade.apply(asComposite(p)); });
        // The parallel walk ends at 1.0 also when stopped.
        EXPECT_EQ(facade.getProgress().getProgress(), 1.0);
        EXPECT_TRUE(TestSupport::neverFalls(run.seen));
        std::vector<bool> walked(nTert);
        for (SizeType t = 0; t < nTert; ++t) {
            const Tarn::uint8 first = output->getValueAt(Position<SizeType>(0, 0, t));
            walked[t] = first != 0;
            for (SizeType s = 0; s < nSec; ++s) {
                const Tarn::uint8 v = output->getValueAt(Position<SizeType>(0, s, t));
                ASSERT_EQ(v, walked[t] ? static_cast<Tarn::uint8>(1 + t % 200) : 0) << "a slice walked in part";
            }
        }
        const SizeType half = nTert / 2;
        for (SizeType start : {SizeType(0), half})
            for (SizeType t = start + 1; t < start + half; ++t)
                if (walked[t]) {
                    EXPECT_TRUE(walked[t - 1]) << "slice " << t << " walked, the one before not";
                }
        if (std::find(walked.begin(), walked.end(), false) != walked.end()) {
            stopped = true;
            EXPECT_TRUE(run.stopAsked);
            EXPECT_TRUE(walked[0]) << "the slice that was under way when the stop came is finished";
        }
    }
    omp_set_num_threads(saved);
    EXPECT_TRUE(stopped) << "no run out of 100 saw the stop before its end";
}

TEST(ProjectionMedianStop, AlongTertThePlaneIsOneSliceAndAStopComesTooLate)
{
    // The walked plane along tert is one slice of the walk: it is finished whatever the stop says.
    const MemoryVolumePtr<Tarn::uint16> input =
        TestSupport::makeRandomVolume<Tarn::uint16>(Dimension<SizeType>(64, 64, 512), 9);
    IProjectionMedian::IOperator facade;
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 0);
    const TestSupport::StoppedRun run = TestSupport::stopWhileRunning(facade, [&] { facade.apply(asComposite(p)); });
    EXPECT_EQ(facade.getProgress().getProgress(), 1.0);
    for (double value : run.seen) EXPECT_TRUE(value == 0.0 || value == 0.99 || value == 1.0) << value;
    const MemoryVolumePtr<Tarn::uint16> output = outputOf<Tarn::uint16>(p);
    ASSERT_TRUE(output != 0);
    for (SizeType s = 0; s < 64; s += 9)
        for (SizeType q = 0; q < 64; q += 7) {
            std::vector<Tarn::uint16> ray;
            for (SizeType t = 0; t < 512; ++t) ray.push_back(input->getValueAt(Position<SizeType>(q, s, t)));
            EXPECT_EQ(output->getValueAt(Position<SizeType>(q, s, 0)), sortedMedian(ray));
        }
}

} // namespace
