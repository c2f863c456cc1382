#include <Kito/ArithmeticOperators/Division/CheckedInplaceValueDivision/Operator>
#include <Kito/ArithmeticOperators/Division/CheckedInplaceValueDivision/Parameter>
#include <Kito/ArithmeticOperators/GenericArithmeticOperator/Operator>
#include <Kito/ArithmeticOperators/Subtraction/UncheckedSubtraction/Parameter>
#include <Kito/ClassFactory>
#include <Kito/Data>
#include <Kito/Volume>

#include "TransformTestSupport.h"

#include <support/FailureOf.h>
#include <support/RandomVolume.h>

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::Position;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::DataPtr;
using Tarn::Kito::Persistence::IComposite;
using Tarn::Kito::Persistence::IData;
using TestSupport::asComposite;
using TestSupport::invalidArgumentOf;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;
using TransformTest::expectVoxels;

using Parameter = Tarn::Kito::ArithmeticOperators::Division::CheckedInplaceValueDivision::Parameter;
using Division = Tarn::Kito::ArithmeticOperators::Division::CheckedInplaceValueDivision::Operator<MemoryVolumePtr<double>>;

const std::string divisionType = "Tarn::Kito::ArithmeticOperators::Division::CheckedInplaceValueDivision::Operator< "
                                 "Tarn::Kito::Volume< Tarn::float64 , Tarn::Kito::Allocator::SingleBlockAllocator > >";

template <class T> SmartPointer<Parameter> parameterFor(const MemoryVolumePtr<double>& volume, T value)
{
    SmartPointer<Parameter> p(new Parameter);
    p->modifyVolume.setValue(DynamicCast<SmartPointer<IVolume>>(volume));
    p->inputValue.setValue(DynamicCast<SmartPointer<IData>>(DataPtr<T>(value)));
    return p;
}

void divide(const MemoryVolumePtr<double>& volume, double value)
{
    Division op;
    op.apply(asComposite(parameterFor(volume, value)));
    EXPECT_EQ(op.getProgress().getProgress(), 1.0);
}

/// What a host sees of a division by zero: the text of the logic_error, or "no failure".
std::string logicErrorOf(const MemoryVolumePtr<double>& volume, double value)
{
    try {
        divide(volume, value);
    } catch (const std::logic_error& failure) {
        return failure.what();
    }
    return "no failure";
}

TEST(CheckedInplaceValueDivision, EveryVoxelOfEveryViewIsItsTrueQuotientWithOneTwoAndThreeThreads)
{
    for (const TestSupport::View& view : TransformTest::views()) {
        SCOPED_TRACE(view.index);
        for (int threads : {1, 2, 3}) {
            SCOPED_TRACE(threads);
            MemoryVolumePtr<double> volume = TestSupport::makeRandomVolume<double>(TransformTest::volumeExtent(), 40);
            TestSupport::setView(*volume, view);
            std::vector<double> expected = TestSupport::valuesInView(*volume);
            // 3.7 has no exact reciprocal: a multiplication would differ in the last bit for many voxels.
            for (double& x : expected) x = x / 3.7;
            TransformTest::withThreads(threads, [&] { divide(volume, 3.7); });
            expectVoxels(*volume, expected);
        }
    }
}

TEST(CheckedInplaceValueDivision, ARegionChangesOnlyItsOwnVoxels)
{
    MemoryVolumePtr<double> volume = TestSupport::makeIndexVolume<double>(Dimension<SizeType>(5, 4, 3));
    volume->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(2, 2, 2), Position<SizeType>(1, 1, 1)));
    divide(volume, 2.0);
    volume->popRoi();
    std::vector<double> expected;
    for (SizeType t = 0; t < 3; ++t)
        for (SizeType s = 0; s < 4; ++s)
            for (SizeType p = 0; p < 5; ++p) {
                const double index = static_cast<double>(p + 5 * s + 20 * t);
                const bool inside = p >= 1 && p <= 2 && s >= 1 && s <= 2 && t >= 1;
                expected.push_back(inside ? index / 2.0 : index);
            }
    expectVoxels(*volume, expected);
}

TEST(CheckedInplaceValueDivision, ZeroIsRefusedBeforeAnyVoxelIsTouched)
{
    MemoryVolumePtr<double> volume = TestSupport::makeRandomVolume<double>(Dimension<SizeType>(4, 3, 2), 2);
    const std::vector<double> before = TestSupport::valuesInView(*volume);
    EXPECT_EQ(logicErrorOf(volume, 0.0),
              "Tarn::Kito::ArithmeticOperators::Division::CheckedInplaceValueDivision division by zero");
    expectVoxels(*volume, before);
}

TEST(CheckedInplaceValueDivision, NegativeZeroIsZero)
{
    MemoryVolumePtr<double> volume = TestSupport::makeRandomVolume<double>(Dimension<SizeType>(4, 3, 2), 3);
    const std::vector<double> before = TestSupport::valuesInView(*volume);
    EXPECT_EQ(logicErrorOf(volume, -0.0),
              "Tarn::Kito::ArithmeticOperators::Division::CheckedInplaceValueDivision division by zero");
    expectVoxels(*volume, before);
}

TEST(CheckedInplaceValueDivision, ZeroIsRefusedAlsoForAViewWithoutVoxels)
{
    // A volume made without extent: its view holds no voxel.
    MemoryVolumePtr<double> volume(new MemoryVolume<double>());
    ASSERT_EQ(volume->getDimension(), Dimension<SizeType>(0, 0, 0));
    EXPECT_EQ(logicErrorOf(volume, 0.0),
              "Tarn::Kito::ArithmeticOperators::Division::CheckedInplaceValueDivision division by zero");
    // The same view divides by anything else without a failure and without a voxel.
    EXPECT_EQ(logicErrorOf(volume, 2.0), "no failure");
}

TEST(CheckedInplaceValueDivision, ANaNDivisorIsNoZeroAndGivesNaNVoxels)
{
    MemoryVolumePtr<double> volume = TestSupport::makeRandomVolume<double>(Dimension<SizeType>(4, 3, 2), 5);
    divide(volume, std::numeric_limits<double>::quiet_NaN());
    for (double x : TestSupport::valuesInView(*volume)) EXPECT_TRUE(x != x);
}

TEST(CheckedInplaceValueDivision, InfinityAndSignsFollowTheArithmetic)
{
    MemoryVolumePtr<double> volume(new MemoryVolume<double>(Dimension<SizeType>(4, 1, 1)));
    const double values[] = {1.0, -1.0, 0.0, std::numeric_limits<double>::infinity()};
    std::copy(std::begin(values), std::end(values), volume->getIterator());
    divide(volume, -std::numeric_limits<double>::infinity());
    const std::vector<double> got = TestSupport::valuesInView(*volume);
    EXPECT_TRUE(TransformTest::sameBits(got[0], -0.0));
    EXPECT_TRUE(TransformTest::sameBits(got[1], 0.0));
    EXPECT_TRUE(TransformTest::sameBits(got[2], -0.0));
    EXPECT_TRUE(got[3] != got[3]);
}

TEST(CheckedInplaceValueDivision, ItIsRegisteredUnderItsType)
{
    EXPECT_EQ(Division().getType(), divisionType);
    const SmartPointer<IComposite> made = Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(divisionType);
    EXPECT_NE(DynamicCast<SmartPointer<Division>>(made), 0);
}

TEST(CheckedInplaceValueDivisionFailure, AParameterObjectOfAnotherClass)
{
    Division op;
    SmartPointer<Tarn::Kito::Progress> other(new Tarn::Kito::Progress);
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(other)); }), "parameter: " + divisionType + "::apply");
}

TEST(CheckedInplaceValueDivisionFailure, AMissingVolumeAndOneOfAnotherType)
{
    Division op;
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(parameterFor(MemoryVolumePtr<double>(), 2.0))); }),
              "parameter: " + divisionType + "::apply the volume is NULL");
    const SmartPointer<Parameter> p = parameterFor(MemoryVolumePtr<double>(), 2.0);
    p->modifyVolume.setValue(DynamicCast<SmartPointer<IVolume>>(
        MemoryVolumePtr<float>(new MemoryVolume<float>(Dimension<SizeType>(1, 1, 1)))));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: " + divisionType + "::apply the volume is NULL");
}

TEST(CheckedInplaceValueDivisionFailure, AValueOfAnotherTypeFailsInExtractValue)
{
    Division op;
    MemoryVolumePtr<double> volume = TestSupport::makeRandomVolume<double>(Dimension<SizeType>(2, 2, 2), 6);
    const TestSupport::TarnFailure failure =
        TestSupport::tarnFailureOf([&] { op.apply(asComposite(parameterFor<float>(volume, 2.0f))); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::BadCast");
    EXPECT_EQ(failure.origin,
              "Tarn::Kito::Persistence::CompositeOfProperties::Property< Tarn::Kito::Persistence::IData >::extractValue");
}

// ---- the check of dimensions of the arithmetic operators ------------------------------------------------

std::string dimensionFailureOf(const MemoryVolumePtr<double>& a, const MemoryVolumePtr<double>& b,
                               const MemoryVolumePtr<double>& c)
{
    return invalidArgumentOf([&] { Division::checkDimensions(a, b, c); });
}

MemoryVolumePtr<double> volumeOfExtent(SizeType prim, SizeType sec, SizeType tert)
{
    return MemoryVolumePtr<double>(new MemoryVolume<double>(Dimension<SizeType>(prim, sec, tert)));
}

TEST(GenericArithmeticOperator, AMissingFirstVolumeFailsWhateverTheOthers)
{
    const std::string text =
        "Tarn::Kito::ArithmeticOperators::GenericArithmeticOperator::Operator::apply at least one volume is NULL";
    const MemoryVolumePtr<double> none;
    EXPECT_EQ(dimensionFailureOf(none, none, none), text);
    EXPECT_EQ(dimensionFailureOf(none, volumeOfExtent(2, 2, 2), volumeOfExtent(2, 2, 2)), text);
}

TEST(GenericArithmeticOperator, VolumesThatAreGivenMustAgreeInEveryAxis)
{
    const std::string text = "Tarn::Kito::ArithmeticOperators::GenericArithmeticOperator::Operator::checkDimensions at "
                             "least two volumes haven`t the same dimension";
    const MemoryVolumePtr<double> none, a = volumeOfExtent(3, 4, 5);
    EXPECT_EQ(dimensionFailureOf(a, none, none), "no failure");
    EXPECT_EQ(dimensionFailureOf(a, volumeOfExtent(3, 4, 5), volumeOfExtent(3, 4, 5)), "no failure");
    EXPECT_EQ(dimensionFailureOf(a, none, volumeOfExtent(3, 4, 5)), "no failure");
    EXPECT_EQ(dimensionFailureOf(a, volumeOfExtent(4, 4, 5), none), text);
    EXPECT_EQ(dimensionFailureOf(a, volumeOfExtent(3, 5, 5), none), text);
    EXPECT_EQ(dimensionFailureOf(a, none, volumeOfExtent(3, 4, 6)), text);
    EXPECT_EQ(dimensionFailureOf(a, volumeOfExtent(3, 4, 5), volumeOfExtent(5, 4, 3)), text);
}

TEST(GenericArithmeticOperator, ViewsAreComparedNotStorage)
{
    MemoryVolumePtr<double> a = volumeOfExtent(3, 4, 5), b = volumeOfExtent(5, 4, 3);
    b->setOrientation(Tarn::Kito::Orientation(4, 2, 0));
    EXPECT_EQ(dimensionFailureOf(a, b, MemoryVolumePtr<double>()), "no failure");
}

TEST(UncheckedSubtraction, TheParameterHasItsTypeAndItsVolumes)
{
    Tarn::Kito::ArithmeticOperators::Subtraction::UncheckedSubtraction::Parameter p;
    EXPECT_EQ(p.getType(), "Tarn::Kito::ArithmeticOperators::Subtraction::UncheckedSubtraction::Parameter");
    ASSERT_EQ(p.size(), 3u);
    EXPECT_EQ(p.getKey(0), "inputFirstVolume");
    EXPECT_EQ(p.getKey(1), "inputSecondVolume");
    EXPECT_EQ(p.getKey(2), "outputVolume");
}

TEST(CheckedInplaceValueDivision, TheParameterHasItsTypeAndItsKeysInOrder)
{
    Parameter p;
    EXPECT_EQ(p.getType(), "Tarn::Kito::ArithmeticOperators::Division::CheckedInplaceValueDivision::Parameter");
    ASSERT_EQ(p.size(), 2u);
    EXPECT_EQ(p.getKey(0), "modifyVolume");
    EXPECT_EQ(p.getKey(1), "inputValue");
}

} // namespace
