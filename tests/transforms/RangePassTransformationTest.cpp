#include <Kito/Data>
#include <Kito/Exceptions>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/IRangePassTransformation.h>
#include <LumoStudio/Operators/RangePassTransformation/Operator.h>
#include <LumoStudio/Operators/RangePassTransformation/Parameter.h>

#include "TransformTestSupport.h"

#include <support/FailureOf.h>
#include <support/RandomVolume.h>
#include <support/StopWhileRunning.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::Position;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::DataPtr;
using Tarn::Kito::Persistence::IData;
using Tarn::Lumo_DLL::IRangePassTransformation;
using TestSupport::asComposite;
using TestSupport::invalidArgumentOf;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;
using TransformTest::expectVoxels;

using Parameter = Tarn::Lumo::ValueTransformation::RangePassTransformation::Parameter;
template <class T>
using RangePass = Tarn::Lumo::ValueTransformation::RangePassTransformation::Operator<MemoryVolumePtr<T>, MemoryVolumePtr<T>>;

template <class T> SmartPointer<IData> data(T value) { return DynamicCast<SmartPointer<IData>>(DataPtr<T>(value)); }

template <class T> SmartPointer<Parameter> parameterFor(const MemoryVolumePtr<T>& volume, T min, T max, T background)
{
    SmartPointer<Parameter> p = TestSupport::parameterWithInput<Parameter>(volume);
    p->inputMinThreshold.setValue(data(min));
    p->inputMaxThreshold.setValue(data(max));
    p->inputBackgroundValue.setValue(data(background));
    return p;
}

/// The rule in walk order: outside [min, max] the background, else the voxel; NaN is never outside.
template <class T> std::vector<T> reference(const MemoryVolume<T>& volume, T min, T max, T background)
{
    std::vector<T> values = TestSupport::valuesInView(volume);
    for (T& x : values) x = (x < min || x > max) ? background : x;
    return values;
}

template <class T> MemoryVolumePtr<T> volumeOf(const std::vector<T>& values)
{
    MemoryVolumePtr<T> volume(new MemoryVolume<T>(Dimension<SizeType>(values.size(), 1, 1)));
    std::copy(values.begin(), values.end(), volume->getIterator());
    return volume;
}

template <class T> MemoryVolumePtr<T> outputOf(const SmartPointer<Parameter>& p)
{
    return DynamicCast<MemoryVolumePtr<T>>(p->outputVolume.getValue());
}

template <class T> MemoryVolumePtr<T> runFacade(const SmartPointer<Parameter>& p)
{
    IRangePassTransformation::IOperator facade;
    facade.apply(asComposite(p));
    return outputOf<T>(p);
}

template <class T> class RangePassTyped : public ::testing::Test {};
TYPED_TEST_SUITE(RangePassTyped, TestSupport::OperatorVoxelTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(RangePassTyped, FacadeEqualsTheRuleInWalkOrderOnEveryView)
{
    using T = TypeParam;
    for (const TestSupport::View& view : TransformTest::views()) {
        SCOPED_TRACE(view.index);
        MemoryVolumePtr<T> volume = TestSupport::makeRandomVolume<T>(TransformTest::volumeExtent(), 800 + view.index);
        TestSupport::setView(*volume, view);
        // Limits from the volume's own voxels, so that both ends are met exactly somewhere.
        std::vector<T> values = TestSupport::valuesInView(*volume);
        std::sort(values.begin(), values.end());
        const T min = values[values.size() / 4], max = values[values.size() * 3 / 4], background = values[1];
        const SmartPointer<Parameter> p = parameterFor<T>(volume, min, max, background);
        const MemoryVolumePtr<T> output = runFacade<T>(p);
        ASSERT_NE(output, 0);
        EXPECT_EQ(output->getDimension(), TransformTest::extentOf(*volume));
        expectVoxels(*output, reference(*volume, min, max, background));
        EXPECT_EQ(runFacade<T>(p)->getDimension(), TransformTest::extentOf(*volume));
    }
}

TYPED_TEST(RangePassTyped, BothLimitsPassAndTheirNeighboursDoNot)
{
    using T = TypeParam;
    const MemoryVolumePtr<T> volume = volumeOf<T>({T(9), T(10), T(11), T(19), T(20), T(21)});
    expectVoxels(*runFacade<T>(parameterFor<T>(volume, T(10), T(20), T(7))),
                 std::vector<T>{T(7), T(10), T(11), T(19), T(20), T(7)});
}

TYPED_TEST(RangePassTyped, MinAboveMaxMakesEveryVoxelTheBackground)
{
    using T = TypeParam;
    const MemoryVolumePtr<T> volume = volumeOf<T>({T(9), T(10), T(15), T(20), T(21)});
    expectVoxels(*runFacade<T>(parameterFor<T>(volume, T(20), T(10), T(3))), std::vector<T>(5, T(3)));
}

TYPED_TEST(RangePassTyped, MinEqualToMaxLetsOnlyThatValuePass)
{
    using T = TypeParam;
    const MemoryVolumePtr<T> volume = volumeOf<T>({T(14), T(15), T(16), T(15)});
    expectVoxels(*runFacade<T>(parameterFor<T>(volume, T(15), T(15), T(0))), std::vector<T>{T(0), T(15), T(0), T(15)});
}

TYPED_TEST(RangePassTyped, TheExtremesOfTheTypeAreLimitsLikeAnyOther)
{
    using T = TypeParam;
    const T lowest = std::numeric_limits<T>::lowest(), highest = std::numeric_limits<T>::max();
    const MemoryVolumePtr<T> volume = volumeOf<T>({lowest, T(0), highest});
    expectVoxels(*runFacade<T>(parameterFor<T>(volume, lowest, highest, T(1))), std::vector<T>{lowest, T(0), highest});
    expectVoxels(*runFacade<T>(parameterFor<T>(volume, highest, highest, T(1))), std::vector<T>{T(1), T(1), highest});
}

TYPED_TEST(RangePassTyped, ARegionGivesAnOutputOfTheRegionsSize)
{
    using T = TypeParam;
    MemoryVolumePtr<T> volume = TestSupport::makeIndexVolume<T>(Dimension<SizeType>(6, 5, 4));
    volume->setRoi(Tarn::Kito::RegionOfInterest<SizeType>(Dimension<SizeType>(2, 3, 2), Position<SizeType>(1, 1, 1)));
    const MemoryVolumePtr<T> output = runFacade<T>(parameterFor<T>(volume, T(0), T(100), T(0)));
    EXPECT_EQ(output->getDimension(), Dimension<SizeType>(2, 3, 2));
    // Storage indices 37, 38, 43, 44, 49, 50 and 30 more each, all within the range.
    expectVoxels(*output, std::vector<T>{T(37), T(38), T(43), T(44), T(49), T(50), T(67), T(68), T(73), T(74), T(79),
                                         T(80)});
}

TYPED_TEST(RangePassTyped, AGivenOutputVolumeIsWrittenAndResizedToTheView)
{
    using T = TypeParam;
    const MemoryVolumePtr<T> volume = volumeOf<T>({T(1), T(5), T(9)});
    const SmartPointer<Parameter> p = parameterFor<T>(volume, T(2), T(8), T(0));
    const MemoryVolumePtr<T> given(new MemoryVolume<T>(Dimension<SizeType>(2, 2, 2)));
    p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(given));
    const MemoryVolumePtr<T> output = runFacade<T>(p);
    EXPECT_EQ(output.get(), given.get());
    EXPECT_EQ(given->getDimension(), Dimension<SizeType>(3, 1, 1));
    expectVoxels(*given, std::vector<T>{T(0), T(5), T(0)});
}

TYPED_TEST(RangePassTyped, TheInputMayBeItsOwnOutput)
{
    using T = TypeParam;
    const MemoryVolumePtr<T> volume = volumeOf<T>({T(1), T(5), T(9), T(4)});
    const SmartPointer<Parameter> p = parameterFor<T>(volume, T(2), T(8), T(0));
    p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(volume));
    EXPECT_EQ(runFacade<T>(p).get(), volume.get());
    expectVoxels(*volume, std::vector<T>{T(0), T(5), T(0), T(4)});
}

TYPED_TEST(RangePassTyped, TheOperatorRegistersUnderTheFacadesIdentifier)
{
    using T = TypeParam;
    const std::string volume = std::string("Tarn::Kito::Volume< ") + TestSupport::voxelName<T>() +
                               " , Tarn::Kito::Allocator::SingleBlockAllocator >";
    EXPECT_EQ(RangePass<T>().getType(),
              "Tarn::Lumo::ValueTransformation::RangePassTransformation::Operator< " + volume + " , " + volume + " >");
}

template <class T> class RangePassFloat : public ::testing::Test {};
using FloatTypes = ::testing::Types<Tarn::float32, Tarn::float64>;
TYPED_TEST_SUITE(RangePassFloat, FloatTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(RangePassFloat, NaNPassesWhateverTheLimits)
{
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const MemoryVolumePtr<T> volume = volumeOf<T>({nan, T(3), -nan});
    for (const T& limit : {T(0), T(5)}) {
        const std::vector<T> got = TestSupport::valuesInView(*runFacade<T>(parameterFor<T>(volume, limit, T(5), T(-1))));
        EXPECT_TRUE(TransformTest::sameBits(got[0], nan));
        EXPECT_TRUE(TransformTest::sameBits(got[2], T(-nan)));
    }
    // Even where every other voxel becomes the background.
    const std::vector<T> got = TestSupport::valuesInView(*runFacade<T>(parameterFor<T>(volume, T(9), T(1), T(-1))));
    EXPECT_TRUE(TransformTest::sameBits(got[0], nan));
    EXPECT_EQ(got[1], T(-1));
}

TYPED_TEST(RangePassFloat, SignedZerosPassAsTheyAre)
{
    using T = TypeParam;
    const MemoryVolumePtr<T> volume = volumeOf<T>({T(-0.0), T(0.0)});
    const std::vector<T> got = TestSupport::valuesInView(*runFacade<T>(parameterFor<T>(volume, T(0.0), T(0.0), T(7))));
    EXPECT_TRUE(TransformTest::sameBits(got[0], T(-0.0)));
    EXPECT_TRUE(TransformTest::sameBits(got[1], T(0.0)));
}

// ---- failures ---------------------------------------------------------------------------------------

TEST(RangePassFailure, AParameterObjectOfAnotherClassFailsInTheFacade)
{
    IRangePassTransformation::IOperator facade;
    SmartPointer<Tarn::Kito::Progress> other(new Tarn::Kito::Progress);
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(other)); }),
              "parameter: Tarn::Lumo_DLL::IRangePassTransformation::IOperator::getOperatorTypeFromParameterObject: "
              "invalid parameter object!");
}

TEST(RangePassFailure, AMissingVolumeFailsInTheFacade)
{
    IRangePassTransformation::IOperator facade;
    SmartPointer<Parameter> p(new Parameter);
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo_DLL::IRangePassTransformation::IOperator::getOperatorTypeFromParameterObject: "
              "inputVolume is NULL!");
}

TEST(RangePassFailure, AVolumeWithoutInstanceFailsInTheFactoryWithTheWholeIdentifier)
{
    IRangePassTransformation::IOperator facade;
    const MemoryVolumePtr<Tarn::int64> volume(new MemoryVolume<Tarn::int64>(Dimension<SizeType>(2, 2, 2)));
    const SmartPointer<Parameter> p = TestSupport::parameterWithInput<Parameter>(volume);
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Lumo::ValueTransformation::RangePassTransformation::Operator< Tarn::Kito::Volume< Tarn::int64 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > , Tarn::Kito::Volume< Tarn::int64 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > is registered");
}

TEST(RangePassFailure, TheOperatorRefusesAParameterObjectOfAnotherClass)
{
    RangePass<Tarn::uint16> op;
    SmartPointer<Tarn::Kito::Progress> other(new Tarn::Kito::Progress);
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(other)); }),
              "parameter: Tarn::Lumo::ValueTransformation::RangePassTransformation::Operator::apply");
}

TEST(RangePassFailure, AMissingVolumeWithItsValuesSetFailsWithTheOperatorsText)
{
    RangePass<Tarn::uint16> op;
    const SmartPointer<Parameter> p = parameterFor<Tarn::uint16>(MemoryVolumePtr<Tarn::uint16>(), 1, 2, 3);
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo::ValueTransformation::RangePassTransformation::Operator::apply the input volume is "
              "NULL");
}

TEST(RangePassFailure, AVolumeOfAnotherTypeIsReportedAsMissing)
{
    RangePass<Tarn::uint16> op;
    const SmartPointer<Parameter> p = parameterFor<Tarn::uint16>(MemoryVolumePtr<Tarn::uint16>(), 1, 2, 3);
    const MemoryVolumePtr<Tarn::int16> other(new MemoryVolume<Tarn::int16>(Dimension<SizeType>(1, 1, 1)));
    p->inputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(other));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo::ValueTransformation::RangePassTransformation::Operator::apply the input volume is "
              "NULL");
}

TEST(RangePassFailure, UnsetValuesFailInExtractValueBeforeTheVolumeIsTested)
{
    RangePass<Tarn::uint16> op;
    SmartPointer<Parameter> p(new Parameter);
    const TestSupport::TarnFailure failure = TestSupport::tarnFailureOf([&] { op.apply(asComposite(p)); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::NULLPointer");
    EXPECT_EQ(failure.origin,
              "Tarn::Kito::Persistence::CompositeOfProperties::Property< Tarn::Kito::Persistence::IData >::extractValue");
}

TEST(RangePassFailure, AValueOfAnotherTypeFailsInExtractValue)
{
    RangePass<Tarn::uint16> op;
    const MemoryVolumePtr<Tarn::uint16> volume = volumeOf<Tarn::uint16>({1, 2});
    const SmartPointer<Parameter> p = parameterFor<Tarn::uint16>(volume, 1, 2, 3);
    p->inputMaxThreshold.setValue(data<double>(2.0));
    const TestSupport::TarnFailure failure = TestSupport::tarnFailureOf([&] { op.apply(asComposite(p)); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::BadCast");
    EXPECT_EQ(failure.origin,
              "Tarn::Kito::Persistence::CompositeOfProperties::Property< Tarn::Kito::Persistence::IData >::extractValue");
}

TEST(RangePassFailure, AnOutputVolumeOfAnotherTypeFailsInTheCheck)
{
    const MemoryVolumePtr<Tarn::uint16> volume = volumeOf<Tarn::uint16>({1, 2});
    const SmartPointer<Parameter> p = parameterFor<Tarn::uint16>(volume, 1, 2, 3);
    const MemoryVolumePtr<Tarn::uint8> other(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(2, 1, 1)));
    p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(other));
    IRangePassTransformation::IOperator facade;
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: Tarn::Kito::Operator::checkOutputVolume volume is of the wrong type");
}

// ---- progress and stop ------------------------------------------------------------------------------

TEST(RangePassRun, ProgressEndsAtOneAndAStopLeavesTheSlicesNotWalkedUntouched)
{
    const Dimension<SizeType> extent(256, 256, 400);
    const MemoryVolumePtr<Tarn::uint16> volume = TestSupport::makeRandomVolume<Tarn::uint16>(extent, 17);
    const SmartPointer<Parameter> p = parameterFor<Tarn::uint16>(volume, 100, 60000, 1);
    RangePass<Tarn::uint16> op;
    op.apply(asComposite(p));
    EXPECT_EQ(op.getProgress().getProgress(), 1.0);

    // Runs until one is stopped before its end; the last slice then still holds the mark.
    for (int attempt = 0; attempt < 200; ++attempt) {
        // A fresh operator: one that ran already shows its old progress until its next run starts.
        RangePass<Tarn::uint16> fresh;
        const MemoryVolumePtr<Tarn::uint16> output(new MemoryVolume<Tarn::uint16>(extent));
        output->fill(0);
        p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(output));
        const TestSupport::StoppedRun run = TestSupport::stopWhileRunning(fresh, [&] { fresh.apply(asComposite(p)); });
        EXPECT_TRUE(TestSupport::neverFalls(run.seen));
        if (fresh.getProgress().getProgress() < 1.0) {
            output->setRoiToSlice(extent.tert - 1);
            EXPECT_EQ(TestSupport::valuesInView(*output), std::vector<Tarn::uint16>(extent.prim * extent.sec, 0));
            output->popRoi();
            output->setRoiToSlice(0);
            volume->setRoiToSlice(0);
            EXPECT_EQ(TestSupport::valuesInView(*output), reference<Tarn::uint16>(*volume, 100, 60000, 1));
            volume->popRoi();
            return;
        }
    }
    GTEST_SKIP() << "no run was stopped before its end";
}

} // namespace
