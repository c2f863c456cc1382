#include <Kito/ClassFactory>
#include <Kito/Data>
#include <Kito/Functor>
#include <Kito/Orientation>
#include <Kito/Volume>
#include <LumoStudio/Operators/ProjectionMax/Parameter.h>
#include <LumoStudio/Operators/ProjectionSum/Operator.h>
#include <Lumo_MiscDispatcher_DLL/IProjectionSum.h>

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
using Tarn::Lumo_DLL::IProjectionSum;
using TestSupport::invalidArgumentOf;

using Parameter = Tarn::Lumo::ProjectionSum::Parameter;
template <class I, class O> using SumOperator = Tarn::Lumo::ProjectionSum::Operator<MemoryVolumePtr<I>, MemoryVolumePtr<O>>;

/// A voxel as a term of a sum in O. Floats into integers are truncated toward zero; into
/// Tarn::uint32 the truncated value is a 64-bit integer, into the others a 32-bit one, of which O
/// keeps the low bits. The random floats lie well inside the 32-bit range.
template <class O, class I> O referenceTerm(I voxel)
{
    if constexpr (std::is_floating_point_v<I> && std::is_integral_v<O>) {
        const double truncated = std::trunc(static_cast<double>(voxel));
        if constexpr (std::is_same_v<O, Tarn::uint32>)
            return static_cast<O>(static_cast<Tarn::int64>(truncated));
        else
            return static_cast<O>(static_cast<Tarn::int32>(truncated));
    } else {
        return static_cast<O>(voxel);
    }
}

/// a + b in O: integers of up to 32 bits added exactly in 64 bits and cut to O's width.
template <class O> O referenceAdd(O a, O b)
{
    if constexpr (std::is_integral_v<O>)
        return static_cast<O>(static_cast<Tarn::int64>(a) + static_cast<Tarn::int64>(b));
    else
        return static_cast<O>(a + b);
}

template <class O, class V> std::vector<O> referenceSum(const V& input, Tarn::uint64 direction)
{
    using I = typename V::VoxelType;
    return referenceProjection<O>(input, direction, [](O w, I v) { return referenceAdd<O>(w, referenceTerm<O>(v)); });
}

/// Sums input through the facade, the output type picked by a small volume of type O in
/// outputVolume, and returns the parameter object. The small volume is replaced, never written.
template <class O, class V> SmartPointer<Parameter> sumByFacade(const V& input, Tarn::uint64 direction)
{
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, direction);
    const MemoryVolumePtr<O> selector(new MemoryVolume<O>(Dimension<SizeType>(1, 1, 1)));
    *selector->getIterator() = O(99);
    p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(selector));
    IProjectionSum::IOperator facade;
    facade.apply(asComposite(p));
    EXPECT_EQ(facade.getProgress().getProgress(), 1.0);
    EXPECT_NE(outputOf<O>(p).operator->(), selector.operator->());
    EXPECT_EQ(voxelsOf(selector), std::vector<O>(1, O(99)));
    return p;
}

/// The single voxel of a sum in O of a ray of voxels along prim (direction 2).
template <class O, class I> O sumOfRay(const std::vector<I>& values)
{
    MemoryVolumePtr<I> ray(new MemoryVolume<I>(Dimension<SizeType>(values.size(), 1, 1)));
    std::copy(values.begin(), values.end(), ray->getIterator());
    const MemoryVolumePtr<O> output = outputOf<O>(sumByFacade<O>(ray, 2));
    EXPECT_TRUE(output != 0);
    return output == 0 ? O() : output->getValueAt(Position<SizeType>(0, 0, 0));
}

template <class T> class ProjectionSumTyped : public ::testing::Test {};
TYPED_TEST_SUITE(ProjectionSumTyped, TestSupport::OperatorVoxelTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(ProjectionSumTyped, FacadeEqualsTheWalkOrderReferenceForEveryOutputTypeDirectionAndView)
{
    using I = TypeParam;
    forEachType(OperatorVoxelList(), [](auto* tag) {
        using O = std::remove_pointer_t<decltype(tag)>;
        for (const View& view : allViews)
            for (Tarn::uint64 direction = 0; direction < 3; ++direction) {
                SCOPED_TRACE(std::string("output ") + TestSupport::voxelName<O>() + ", view " +
                             std::to_string(view.index) + ", direction " + std::to_string(direction));
                MemoryVolumePtr<I> input =
                    TestSupport::makeRandomVolume<I>(Dimension<SizeType>(13, 12, 11), 200 + 3 * view.index + direction);
                setView(*input, view);
                const SmartPointer<Parameter> p = sumByFacade<O>(input, direction);
                expectVolume(outputOf<O>(p), expectedDimension(*input, direction), referenceSum<O>(*input, direction));
            }
    });
}

TYPED_TEST(ProjectionSumTyped, WithoutAnOutputVolumeTheSumsAreFormedInTheInputType)
{
    using I = TypeParam;
    MemoryVolumePtr<I> input = TestSupport::makeRandomVolume<I>(Dimension<SizeType>(6, 5, 4), 31);
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 1);
    IProjectionSum::IOperator facade;
    facade.apply(asComposite(p));
    expectVolume(outputOf<I>(p), Dimension<SizeType>(6, 1, 4), referenceSum<I>(*input, 1));
}

TYPED_TEST(ProjectionSumTyped, IdentifiersOfAllEightOutputsAreRegistered)
{
    using I = TypeParam;
    const auto ids = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    forEachType(OperatorVoxelList(), [&](auto* tag) {
        using O = std::remove_pointer_t<decltype(tag)>;
        const std::string expected = std::string("Tarn::Lumo::ProjectionSum::Operator< Tarn::Kito::Volume< ") +
                                     TestSupport::voxelName<I>() +
                                     " , Tarn::Kito::Allocator::SingleBlockAllocator > , Tarn::Kito::Volume< " +
                                     TestSupport::voxelName<O>() + " , Tarn::Kito::Allocator::SingleBlockAllocator > >";
        EXPECT_NE(std::find(ids.begin(), ids.end(), expected), ids.end()) << expected;
    });
    SumOperator<I, Tarn::float64> op;
    EXPECT_EQ(static_cast<const IComposite&>(op).getType(),
              std::string("Tarn::Lumo::ProjectionSum::Operator< Tarn::Kito::Volume< ") + TestSupport::voxelName<I>() +
                  " , Tarn::Kito::Allocator::SingleBlockAllocator > , Tarn::Kito::Volume< Tarn::float64 , "
                  "Tarn::Kito::Allocator::SingleBlockAllocator > >");
}

// ---- the cases by hand ----------------------------------------------------------------------------

TEST(ProjectionSum, ThreeHundredOnesWrapInUint8AndNotInUint16)
{
    MemoryVolumePtr<Tarn::uint8> input(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(2, 3, 300)));
    input->fill(1);
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 0);
    IProjectionSum::IOperator facade;
    facade.apply(asComposite(p));
    expectVolume(outputOf<Tarn::uint8>(p), Dimension<SizeType>(2, 3, 1), std::vector<Tarn::uint8>(6, 44));
    const SmartPointer<Parameter> wide = sumByFacade<Tarn::uint16>(input, 0);
    expectVolume(outputOf<Tarn::uint16>(wide), Dimension<SizeType>(2, 3, 1), std::vector<Tarn::uint16>(6, 300));
}

TEST(ProjectionSum, FloatHalvesIntoInt32AreTruncatedOneByOne)
{
    EXPECT_EQ((sumOfRay<Tarn::int32, Tarn::float32>(std::vector<Tarn::float32>(10, 0.5f))), 0);
    EXPECT_EQ((sumOfRay<Tarn::int32, Tarn::float32>({0.9f, 0.9f})), 0);
    EXPECT_EQ((sumOfRay<Tarn::int32, Tarn::float64>({1.99, -1.99, 2.5})), 2);
    EXPECT_EQ((sumOfRay<Tarn::int16, Tarn::float32>({-0.5f, -0.5f, -2.75f})), -2);
}

TEST(ProjectionSum, FloatIntoNarrowOutputsAddsTheLowBitsOfA32BitInteger)
{
    // 300.7 -> 300 -> 44 in 8 bits; -1.5 -> -1 -> 255; 70000.9 -> 70000 -> 4464 in 16 bits.
    EXPECT_EQ((sumOfRay<Tarn::uint8, Tarn::float32>({300.7f})), 44);
    EXPECT_EQ((sumOfRay<Tarn::uint8, Tarn::float32>({-1.5f})), 255);
    EXPECT_EQ((sumOfRay<Tarn::int8, Tarn::float64>({200.0})), -56);
    EXPECT_EQ((sumOfRay<Tarn::uint16, Tarn::float64>({70000.9})), 4464);
    EXPECT_EQ((sumOfRay<Tarn::int16, Tarn::float64>({70000.9, 70000.9})), 8928);
    EXPECT_EQ((sumOfRay<Tarn::uint16, Tarn::float64>({-70000.9})), 61072);
}

TEST(ProjectionSum, FloatIntoUint32WrapsNegativeValuesAsIntegersDo)
{
    EXPECT_EQ((sumOfRay<Tarn::uint32, Tarn::float32>({-1.5f})), 4294967295u);
    EXPECT_EQ((sumOfRay<Tarn::uint32, Tarn::float64>({-2.0, 5.25})), 3u);
    // 5e9 fits a 64-bit integer; its low 32 bits are 705032704.
    EXPECT_EQ((sumOfRay<Tarn::uint32, Tarn::float64>({5e9})), 705032704u);
}

TEST(ProjectionSum, FloatsOutsideTheIntegerRangeAndNaNBecomeTheLowestInteger)
{
    // -2^31 as a 32-bit integer: its low 8 or 16 bits are 0; -2^63 has low 32 bits 0 too.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ((sumOfRay<Tarn::int32, Tarn::float64>({3e9})), std::numeric_limits<Tarn::int32>::min());
    EXPECT_EQ((sumOfRay<Tarn::int32, Tarn::float64>({-3e9})), std::numeric_limits<Tarn::int32>::min());
    EXPECT_EQ((sumOfRay<Tarn::int32, Tarn::float64>({nan})), std::numeric_limits<Tarn::int32>::min());
    EXPECT_EQ((sumOfRay<Tarn::int32, Tarn::float32>({std::numeric_limits<float>::infinity(), 1.0f})), -2147483647);
    EXPECT_EQ((sumOfRay<Tarn::uint8, Tarn::float64>({3e9, 7.0})), 7);
    EXPECT_EQ((sumOfRay<Tarn::int16, Tarn::float32>({static_cast<float>(nan)})), 0);
    EXPECT_EQ((sumOfRay<Tarn::uint32, Tarn::float64>({1e19, 9.0})), 9u);
    EXPECT_EQ((sumOfRay<Tarn::uint32, Tarn::float64>({nan})), 0u);
    // The edges of the 32-bit range itself are exact.
    EXPECT_EQ((sumOfRay<Tarn::int32, Tarn::float64>({2147483647.9})), 2147483647);
    EXPECT_EQ((sumOfRay<Tarn::int32, Tarn::float64>({-2147483648.9})), std::numeric_limits<Tarn::int32>::min());
}

TEST(ProjectionSum, SignedAndUnsignedTakeTheIntegerConversion)
{
    EXPECT_EQ((sumOfRay<Tarn::uint8, Tarn::int8>({-1})), 255);
    EXPECT_EQ((sumOfRay<Tarn::uint8, Tarn::int8>({-1, -1})), 254);
    EXPECT_EQ((sumOfRay<Tarn::int8, Tarn::uint8>({200})), -56);
    EXPECT_EQ((sumOfRay<Tarn::uint16, Tarn::int32>({-1, 70000})), 4463);
    EXPECT_EQ((sumOfRay<Tarn::int32, Tarn::uint32>({4294967295u, 3u})), 2);
}

TEST(ProjectionSum, IntegerOutputsWrapWithoutSaturation)
{
    EXPECT_EQ((sumOfRay<Tarn::int32, Tarn::int32>({2147483647, 1})), std::numeric_limits<Tarn::int32>::min());
    EXPECT_EQ((sumOfRay<Tarn::uint32, Tarn::uint32>({4294967295u, 2u})), 1u);
    EXPECT_EQ((sumOfRay<Tarn::int16, Tarn::int16>({32767, 32767, 2})), 0);
    EXPECT_EQ((sumOfRay<Tarn::int8, Tarn::int8>({-128, -1})), 127);
}

TEST(ProjectionSum, Float32OutputOfUint32InputRoundsEveryVoxelAndEveryAddition)
{
    // 16777217 = 2^24 + 1 has no float32: it is 16777216 before it is added.
    EXPECT_EQ((sumOfRay<Tarn::float32, Tarn::uint32>({16777217u})), 16777216.0f);
    // In walk order 2^24 first: each 1 added to it rounds away. 1 + 1 first survives.
    MemoryVolumePtr<Tarn::uint32> ray(new MemoryVolume<Tarn::uint32>(Dimension<SizeType>(3, 1, 1)));
    Tarn::uint32* v = ray->getIterator();
    v[0] = 16777216u;
    v[1] = 1u;
    v[2] = 1u;
    EXPECT_EQ(outputOf<Tarn::float32>(sumByFacade<Tarn::float32>(ray, 2))->getValueAt(Position<SizeType>(0, 0, 0)),
              16777216.0f);
    EXPECT_EQ(outputOf<Tarn::float64>(sumByFacade<Tarn::float64>(ray, 2))->getValueAt(Position<SizeType>(0, 0, 0)),
              16777218.0);
    ray->setOrientation(Orientation(1, 2, 4));
    EXPECT_EQ(outputOf<Tarn::float32>(sumByFacade<Tarn::float32>(ray, 2))->getValueAt(Position<SizeType>(0, 0, 0)),
              16777218.0f);
}

TEST(ProjectionSum, Float64InputIntoFloat32IsRoundedToSinglePrecisionAtEveryVoxel)
{
    // After 1.0 each 1e-8 rounds away in single precision; summed in double they would add 1e-5.
    std::vector<Tarn::float64> values(1001, 1e-8);
    values[0] = 1.0;
    float expected = 0.0f;
    for (double v : values) expected = expected + static_cast<float>(v);
    double wide = 0.0;
    for (double v : values) wide += v;
    ASSERT_EQ(expected, 1.0f);
    ASSERT_NE(static_cast<float>(wide), expected);
    EXPECT_TRUE(sameBits((sumOfRay<Tarn::float32, Tarn::float64>(values)), expected));
}

TEST(ProjectionSum, ExtentOneAlongTheCollapsedAxisGivesTheInputConverted)
{
    MemoryVolumePtr<Tarn::int16> input(new MemoryVolume<Tarn::int16>(Dimension<SizeType>(3, 2, 1)));
    const std::vector<Tarn::int16> values = {-1, 0, 255, 256, 300, -32768};
    std::copy(values.begin(), values.end(), input->getIterator());
    expectVolume(outputOf<Tarn::uint8>(sumByFacade<Tarn::uint8>(input, 0)), Dimension<SizeType>(3, 2, 1),
                 std::vector<Tarn::uint8>{255, 0, 255, 0, 44, 0});
    expectVolume(outputOf<Tarn::float32>(sumByFacade<Tarn::float32>(input, 0)), Dimension<SizeType>(3, 2, 1),
                 std::vector<Tarn::float32>{-1.0f, 0.0f, 255.0f, 256.0f, 300.0f, -32768.0f});
    MemoryVolumePtr<Tarn::float32> floats(new MemoryVolume<Tarn::float32>(Dimension<SizeType>(1, 2, 2)));
    const std::vector<Tarn::float32> fractions = {2.9f, -2.9f, 0.4f, 65537.5f};
    std::copy(fractions.begin(), fractions.end(), floats->getIterator());
    expectVolume(outputOf<Tarn::uint16>(sumByFacade<Tarn::uint16>(floats, 2)), Dimension<SizeType>(1, 2, 2),
                 std::vector<Tarn::uint16>{2, 65534, 0, 1});
}

TEST(ProjectionSum, FunctorAddsTheConvertedVoxelInTheOutputType)
{
    using Functor = SumOperator<Tarn::float32, Tarn::uint8>::Functor<MemoryVolumePtr<Tarn::float32>,
                                                                      MemoryVolumePtr<Tarn::uint8>>;
    static_assert(std::is_base_of_v<Tarn::Kito::Iterating::Functor, Functor>);
    MemoryVolumePtr<Tarn::uint8> output(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(1, 1, 1)));
    const Functor f(output, 1);
    EXPECT_EQ(f.direction, 1u);
    Tarn::uint8 projected = 250;
    f(7.9f, projected);
    EXPECT_EQ(projected, 1);
    f(-2.5f, projected);
    EXPECT_EQ(projected, 255);
}

// ---- long lines, many lines ------------------------------------------------------------------------

/// The sums of input along direction in every output type, each compared with the walk-order reference.
template <class I> void expectSumsInEveryOutputType(const MemoryVolumePtr<I>& input, Tarn::uint64 direction)
{
    forEachType(OperatorVoxelList(), [&](auto* tag) {
        using O = std::remove_pointer_t<decltype(tag)>;
        SCOPED_TRACE(std::string("output ") + TestSupport::voxelName<O>());
        expectVolume(outputOf<O>(sumByFacade<O>(input, direction)), expectedDimension(*input, direction),
                     referenceSum<O>(*input, direction));
    });
}

TYPED_TEST(ProjectionSumTyped, LongAndManyLinesEqualTheWalkOrderReferenceForEveryOutputTypeDirectionAndView)
{
    for (const SizedView& sized : longLineViews)
        for (Tarn::uint64 direction = 0; direction < 3; ++direction) {
            SCOPED_TRACE("view " + std::to_string(sized.view.index) + ", direction " + std::to_string(direction));
            const MemoryVolumePtr<TypeParam> input =
                makeRandomView<TypeParam>(sized, 500 + 3 * sized.view.index + direction);
            ASSERT_EQ(input->getDimension(), Dimension<SizeType>(301, 37, 3));
            expectSumsInEveryOutputType(input, direction);
        }
}

/// A volume of extent dimension with every voxel value.
template <class I> MemoryVolumePtr<I> makeFilledVolume(const Dimension<SizeType>& dimension, I value)
{
    MemoryVolumePtr<I> volume(new MemoryVolume<I>(dimension));
    volume->fill(value);
    return volume;
}

TEST(ProjectionSum, RaysAtTheEdgeOfTheExactRangeOfFloat32SumExactly)
{
    // 256 voxels of 65535 sum to 16776960, 512 of -32768 to -2^24: every partial sum is a float32.
    const SmartPointer<Parameter> unsignedSums =
        sumByFacade<Tarn::float32>(makeFilledVolume<Tarn::uint16>(Dimension<SizeType>(256, 20, 2), 65535), 2);
    expectVolume(outputOf<Tarn::float32>(unsignedSums), Dimension<SizeType>(1, 20, 2),
                 std::vector<Tarn::float32>(40, 16776960.0f));
    const SmartPointer<Parameter> signedSums =
        sumByFacade<Tarn::float32>(makeFilledVolume<Tarn::int16>(Dimension<SizeType>(512, 20, 2), -32768), 2);
    expectVolume(outputOf<Tarn::float32>(signedSums), Dimension<SizeType>(1, 20, 2),
                 std::vector<Tarn::float32>(40, -16777216.0f));
}

TEST(ProjectionSum, RaysPastTheExactRangeOfFloat32KeepTheWalkOrder)
{
    // Lines of 700 large voxels pass 2^24 after some 260 voxels; from there on additions round, so
    // the walk's order shows in the result, which the integer sum rounded once would not give.
    const auto check = [](auto sign) {
        using I = decltype(sign);
        const Dimension<SizeType> extent(703, 21, 3);
        MemoryVolumePtr<I> input(new MemoryVolume<I>(extent));
        for (SizeType t = 0; t < extent.tert; ++t)
            for (SizeType s = 0; s < extent.sec; ++s)
                for (SizeType q = 0; q < extent.prim; ++q)
                    *input->getPosOffset(Position<SizeType>(q, s, t)) =
                        static_cast<I>(sign * (32767 - static_cast<int>((q * 7919 + s * 104729 + t * 13) % 1999)));
        for (const View& view : {TestSupport::wholeView(0), TestSupport::regionView(1, Dimension<SizeType>(700, 19, 2),
                                                                                    Position<SizeType>(2, 1, 1))}) {
            SCOPED_TRACE(std::string(TestSupport::voxelName<I>()) + ", view " + std::to_string(view.index));
            setView(*input, view);
            const std::vector<Tarn::float32> expected = referenceSum<Tarn::float32>(*input, 2);
            expectVolume(outputOf<Tarn::float32>(sumByFacade<Tarn::float32>(input, 2)),
                         expectedDimension(*input, 2), expected);
            const std::vector<Tarn::int64> exact =
                referenceProjection<Tarn::int64>(*input, 2, [](Tarn::int64 w, I v) { return w + v; });
            int rounded = 0;
            for (std::size_t k = 0; k < exact.size(); ++k) rounded += expected[k] != static_cast<Tarn::float32>(exact[k]);
            EXPECT_GT(rounded, 0) << "no ray whose walk-order sum differs from its exact sum rounded once";
        }
    };
    check(Tarn::uint16(1));
    check(Tarn::int16(-1));
}

TEST(ProjectionSum, Uint8SumsWrapAlongEveryAxis)
{
    // 65535 and -1 are 255 modulo 256. Along prim 301 of them make 76755, 211 modulo 256; along
    // sec 18 make 4590, 238; along tert 2 make 510, 254.
    const Dimension<SizeType> extent(301, 18, 2);
    const MemoryVolumePtr<Tarn::uint16> wide = makeFilledVolume<Tarn::uint16>(extent, 65535);
    const MemoryVolumePtr<Tarn::int8> negative = makeFilledVolume<Tarn::int8>(extent, -1);
    const Tarn::uint8 expected[3] = {254, 238, 211};
    for (Tarn::uint64 direction = 0; direction < 3; ++direction) {
        SCOPED_TRACE("direction " + std::to_string(direction));
        const Dimension<SizeType> out = expectedDimension(*wide, direction);
        const std::vector<Tarn::uint8> all(out.prim * out.sec * out.tert, expected[direction]);
        expectVolume(outputOf<Tarn::uint8>(sumByFacade<Tarn::uint8>(wide, direction)), out, all);
        expectVolume(outputOf<Tarn::uint8>(sumByFacade<Tarn::uint8>(negative, direction)), out, all);
    }
}

// ---- parameter --------------------------------------------------------------------------------------

TEST(ProjectionSumParameter, ClassNamePropertiesAndFactory)
{
    Parameter p;
    EXPECT_EQ(p.getType(), "Tarn::Lumo::ProjectionSum::Parameter");
    ASSERT_EQ(p.size(), 3u);
    EXPECT_EQ(p.getKey(0), "inputVolume");
    EXPECT_EQ(p.getKey(1), "outputVolume");
    EXPECT_EQ(p.getKey(2), "inputDirection");
    EXPECT_EQ(p.inputDirection.getValue(), 0u);
    const SmartPointer<IComposite> made =
        Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance("Tarn::Lumo::ProjectionSum::Parameter");
    EXPECT_TRUE(DynamicCast<SmartPointer<Parameter>>(made) != 0);
}

// ---- failures -------------------------------------------------------------------------------------

TEST(ProjectionSumFailure, FacadeRefusesAParameterOfAnotherClass)
{
    IProjectionSum::IOperator facade;
    const SmartPointer<IComposite> other = DynamicCast<SmartPointer<IComposite>>(
        SmartPointer<Tarn::Lumo::ProjectionMax::Parameter>(new Tarn::Lumo::ProjectionMax::Parameter));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(other); }),
              "parameter: Tarn::Lumo_DLL::IProjectionSum::IOperator::getOperatorTypeFromParameterObject: invalid "
              "parameter object!");
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(SmartPointer<IComposite>()); }),
              "parameter: Tarn::Lumo_DLL::IProjectionSum::IOperator::getOperatorTypeFromParameterObject: invalid "
              "parameter object!");
}

TEST(ProjectionSumFailure, FacadeReportsAMissingInput)
{
    IProjectionSum::IOperator facade;
    SmartPointer<Parameter> p(new Parameter);
    // A volume of another class set through the composite face leaves the property NULL.
    p->setValue("inputVolume", DynamicCast<SmartPointer<IComposite>>(Tarn::Kito::Persistence::DataPtr<double>(1.0)));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo_DLL::IProjectionSum::IOperator::getOperatorTypeFromParameterObject: inputVolume "
              "is NULL!");
}

TEST(ProjectionSumFailure, OutputInA64BitTypeFailsInTheFactoryWithTheWholeIdentifier)
{
    MemoryVolumePtr<Tarn::uint16> input = TestSupport::makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(2, 2, 2));
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 2);
    p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(
        MemoryVolumePtr<Tarn::uint64>(new MemoryVolume<Tarn::uint64>(Dimension<SizeType>(1, 1, 1)))));
    IProjectionSum::IOperator facade;
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Lumo::ProjectionSum::Operator< Tarn::Kito::Volume< Tarn::uint16 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > , Tarn::Kito::Volume< Tarn::uint64 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > is registered");
}

TEST(ProjectionSumFailure, DirectionThreeFailsBeforeTheWalkAndKeepsTheOutputVolume)
{
    MemoryVolumePtr<Tarn::int8> input = TestSupport::makeIndexVolume<Tarn::int8>(Dimension<SizeType>(3, 3, 3));
    const MemoryVolumePtr<Tarn::float64> passed(new MemoryVolume<Tarn::float64>(Dimension<SizeType>(2, 2, 2)));
    passed->fill(-4.0);
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 3);
    p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(passed));
    IProjectionSum::IOperator facade;
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo::ProjectionSum::Operator::apply: Invalid direction");
    EXPECT_EQ(outputOf<Tarn::float64>(p).operator->(), passed.operator->());
    EXPECT_EQ(voxelsOf(passed), std::vector<Tarn::float64>(8, -4.0));
    EXPECT_EQ(facade.getProgress().getProgress(), 0.0);
}

TEST(ProjectionSumFailure, DirectApplyWithTheParameterOfAnotherOperator)
{
    SumOperator<Tarn::uint8, Tarn::float64> op;
    const SmartPointer<IComposite> other = DynamicCast<SmartPointer<IComposite>>(
        SmartPointer<Tarn::Lumo::ProjectionMax::Parameter>(new Tarn::Lumo::ProjectionMax::Parameter));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(other); }),
              "parameter: Tarn::Lumo::ProjectionSum::Operator::apply: Invalid parameter object");
}

TEST(ProjectionSumFailure, DirectApplyWithoutInput)
{
    SumOperator<Tarn::uint8, Tarn::float64> op;
    SmartPointer<Parameter> p(new Parameter);
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo::ProjectionSum::Operator::apply: Invalid input volume");
}

TEST(ProjectionSumFailure, EmptyViewFailsInTheDimensionCheckOfTheOutput)
{
    // A view without voxels would give an output of extent (0, 0, 1), which no volume can have.
    MemoryVolumePtr<Tarn::uint8> input(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(0, 0, 0)));
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 0);
    IProjectionSum::IOperator facade;
    std::string text = "no failure";
    try {
        facade.apply(asComposite(p));
    } catch (const std::out_of_range& failure) {
        text = failure.what();
    }
    EXPECT_EQ(text, "Tarn::Kito::Dimension< Tarn::uint64 >::check invalid values detected ( 0 , 0 , 1 ) ");
    EXPECT_TRUE(p->outputVolume.getValue() == 0);
}

// ---- stopping -------------------------------------------------------------------------------------

TEST(ProjectionSumStop, AStopFromAnotherThreadStoresTheSumsOfTheWalkedSlices)
{
    // Direction 1 sums the 64 lines of a slice into its row, in Tarn::uint16 so that no row wraps to 0.
    expectStopLeavesWalkedSlices<Tarn::uint16, IProjectionSum::IOperator, Parameter>(
        [](SizeType t) { return static_cast<Tarn::uint16>(64 * (1 + t % 200)); });
}

TEST(ProjectionSumStop, AStopAlongPrimStoresTheSumsOfTheWalkedSlices)
{
    // Each line holds 64 voxels of its slice's number. Float32 lines go in bands side by side;
    // Tarn::uint16 lines into Tarn::uint32 one by one, in any order.
    expectStopLeavesWalkedSlices<Tarn::float32, IProjectionSum::IOperator, Parameter, Tarn::float32>(
        [](SizeType t) { return static_cast<Tarn::float32>(64 * (1 + t % 200)); }, 2);
    expectStopLeavesWalkedSlices<Tarn::uint32, IProjectionSum::IOperator, Parameter, Tarn::uint16>(
        [](SizeType t) { return static_cast<Tarn::uint32>(64 * (1 + t % 200)); }, 2);
}

} // namespace
