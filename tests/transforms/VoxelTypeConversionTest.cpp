#include <AncillaryKitoOperators/VoxelTypeConversion>
#include <AncillaryKitoOperators/VoxelTypeConversionParameter>
#include <Kito/ClassFactory>
#include <Kito/Volume>

#include "TransformTestSupport.h"

#include <support/FailureOf.h>
#include <support/RandomVolume.h>
#include <support/StopWhileRunning.h>

#include <gtest/gtest.h>
#include <omp.h>

#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;
using TestSupport::asComposite;
using TestSupport::invalidArgumentOf;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;
using TransformTest::expectVoxels;

using Parameter = Tarn::AncillaryKitoOperators::VoxelTypeConversion::Parameter;
template <class W>
using Conversion = Tarn::AncillaryKitoOperators::VoxelTypeConversion::Operator<MemoryVolumePtr<double>, MemoryVolumePtr<W>>;

SmartPointer<Parameter> parameterFor(const MemoryVolumePtr<double>& volume, bool rounding = true, bool checked = true,
                                     Tarn::uint64 threads = 0)
{
    SmartPointer<Parameter> p = TestSupport::parameterWithInput<Parameter>(volume);
    p->inputRounding.setValue(rounding);
    p->inputCheckedCast.setValue(checked);
    p->inputNumberOfThreads.setValue(threads);
    return p;
}

template <class W> MemoryVolumePtr<W> convert(const SmartPointer<Parameter>& p)
{
    Conversion<W> op;
    op.apply(asComposite(p));
    return DynamicCast<MemoryVolumePtr<W>>(p->outputVolume.getValue());
}

MemoryVolumePtr<double> volumeOf(const std::vector<double>& values)
{
    MemoryVolumePtr<double> volume(new MemoryVolume<double>(Dimension<SizeType>(values.size(), 1, 1)));
    std::copy(values.begin(), values.end(), volume->getIterator());
    return volume;
}

/// The text of the overflow_error that converting values into W gives, or "no failure".
template <class W> std::string overflowOf(const std::vector<double>& values, bool rounding = true)
{
    try {
        convert<W>(parameterFor(volumeOf(values), rounding, true));
    } catch (const std::overflow_error& failure) {
        return failure.what();
    }
    return "no failure";
}

/// Values that every target type holds after rounding half up: integers within W's range plus
/// fractions, and halves, whose rounding decides between two neighbours.
template <class W> MemoryVolumePtr<double> convertibleVolume(std::uint64_t seed)
{
    MemoryVolumePtr<double> volume(new MemoryVolume<double>(TransformTest::volumeExtent()));
    std::mt19937_64 engine(seed);
    const double lowest = std::is_floating_point_v<W> ? -1e6 : static_cast<double>(std::numeric_limits<W>::lowest());
    const double highest = std::is_floating_point_v<W> ? 1e6 : static_cast<double>(std::numeric_limits<W>::max());
    std::uniform_real_distribution<double> whole(lowest, highest - 1.0);
    std::uniform_int_distribution<int> fraction(0, 7);
    double* p = volume->getIterator();
    for (SizeType i = 0; i < volume->size(); ++i) p[i] = std::floor(whole(engine)) + fraction(engine) / 8.0;
    return volume;
}

template <class W> W roundedAndCast(double x) { return static_cast<W>(std::floor(x + 0.5)); }

template <class W> class VoxelTypeConversionTyped : public ::testing::Test {};
TYPED_TEST_SUITE(VoxelTypeConversionTyped, TestSupport::OperatorVoxelTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(VoxelTypeConversionTyped, EveryViewGivesTheRoundedValuesInWalkOrderWithOneTwoAndThreeThreads)
{
    using W = TypeParam;
    for (const TestSupport::View& view : TransformTest::views()) {
        SCOPED_TRACE(view.index);
        MemoryVolumePtr<double> volume = convertibleVolume<W>(700 + view.index);
        TestSupport::setView(*volume, view);
        std::vector<W> expected;
        for (double x : TestSupport::valuesInView(*volume)) expected.push_back(roundedAndCast<W>(x));
        for (Tarn::uint64 threads : {1, 2, 3}) {
            SCOPED_TRACE(threads);
            const MemoryVolumePtr<W> output = convert<W>(parameterFor(volume, true, true, threads));
            ASSERT_NE(output, 0);
            EXPECT_EQ(output->getDimension(), TransformTest::extentOf(*volume));
            expectVoxels(*output, expected);
        }
    }
}

TYPED_TEST(VoxelTypeConversionTyped, AGivenOutputVolumeIsWrittenAndResized)
{
    using W = TypeParam;
    const MemoryVolumePtr<double> volume = volumeOf({1.0, 2.0, 3.0});
    const SmartPointer<Parameter> p = parameterFor(volume);
    const MemoryVolumePtr<W> given(new MemoryVolume<W>(Dimension<SizeType>(2, 2, 2)));
    p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(given));
    EXPECT_EQ(convert<W>(p).get(), given.get());
    EXPECT_EQ(given->getDimension(), Dimension<SizeType>(3, 1, 1));
    expectVoxels(*given, std::vector<W>{W(1), W(2), W(3)});
}

TYPED_TEST(VoxelTypeConversionTyped, TheExtremesOfTheTargetPassTheCheckedCast)
{
    using W = TypeParam;
    const double lowest = static_cast<double>(std::numeric_limits<W>::lowest());
    const double highest = static_cast<double>(std::numeric_limits<W>::max());
    expectVoxels(*convert<W>(parameterFor(volumeOf({lowest, highest}), false, true)),
                 std::vector<W>{std::numeric_limits<W>::lowest(), std::numeric_limits<W>::max()});
}

TYPED_TEST(VoxelTypeConversionTyped, TheIdentifierJoinsTheVolumesWithACommaAndABlank)
{
    using W = TypeParam;
    const std::string expected = std::string("Tarn::AncillaryKitoOperators::VoxelTypeConversion::Operator< "
                                             "Tarn::Kito::Volume< Tarn::float64 , Tarn::Kito::Allocator::SingleBlockAllocator >, "
                                             "Tarn::Kito::Volume< ") +
                                 TestSupport::voxelName<W>() + " , Tarn::Kito::Allocator::SingleBlockAllocator > >";
    EXPECT_EQ(Conversion<W>().getType(), expected);
    const SmartPointer<IComposite> made = Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(expected);
    EXPECT_NE(DynamicCast<SmartPointer<Conversion<W>>>(made), 0);
}

TEST(VoxelTypeConversion, HalvesRoundUp)
{
    expectVoxels(*convert<Tarn::uint8>(parameterFor(volumeOf({1.5, 2.5, -0.5, 0.49, 254.5}))),
                 std::vector<Tarn::uint8>{2, 3, 0, 0, 255});
    expectVoxels(*convert<Tarn::int16>(parameterFor(volumeOf({-1.5, -2.5, -2.6, -0.4}))),
                 std::vector<Tarn::int16>{-1, -2, -3, 0});
}

TEST(VoxelTypeConversion, BelowTheLowestAfterRoundingFails)
{
    EXPECT_EQ(overflowOf<Tarn::uint8>({-0.6}),
              "Couldn't cast -1 (64 bit float) to 8 bit unsigned integer without loss of data!");
    EXPECT_EQ(overflowOf<Tarn::uint8>({-0.5}), "no failure");
    EXPECT_EQ(overflowOf<Tarn::uint8>({255.5}),
              "Couldn't cast 256 (64 bit float) to 8 bit unsigned integer without loss of data!");
}

TEST(VoxelTypeConversion, AFractionWithoutRoundingFailsTheCheckedCast)
{
    EXPECT_EQ(overflowOf<Tarn::uint8>({1.5}, false),
              "Couldn't cast 1.5 (64 bit float) to 8 bit unsigned integer without loss of data!");
    EXPECT_EQ(overflowOf<Tarn::int32>({-7.25}, false),
              "Couldn't cast -7.25 (64 bit float) to 32 bit signed integer without loss of data!");
    // Floats hold what they can represent exactly, and no more.
    EXPECT_EQ(overflowOf<Tarn::float32>({0.1}, false),
              "Couldn't cast 0.1 (64 bit float) to 32 bit float without loss of data!");
    EXPECT_EQ(overflowOf<Tarn::float32>({0.375}, false), "no failure");
    EXPECT_EQ(overflowOf<Tarn::float64>({0.1}, false), "no failure");
}

TEST(VoxelTypeConversion, OutOfRangeCheckedFailsWithTheValueInTheStreamsDefaultForm)
{
    EXPECT_EQ(overflowOf<Tarn::uint8>({300.0}),
              "Couldn't cast 300 (64 bit float) to 8 bit unsigned integer without loss of data!");
    EXPECT_EQ(overflowOf<Tarn::int16>({40000.0}),
              "Couldn't cast 40000 (64 bit float) to 16 bit signed integer without loss of data!");
    EXPECT_EQ(overflowOf<Tarn::uint32>({1e10}),
              "Couldn't cast 1e+10 (64 bit float) to 32 bit unsigned integer without loss of data!");
    EXPECT_EQ(overflowOf<Tarn::int8>({1234567.0}),
              "Couldn't cast 1.23457e+06 (64 bit float) to 8 bit signed integer without loss of data!");
    EXPECT_EQ(overflowOf<Tarn::float32>({1e300}),
              "Couldn't cast 1e+300 (64 bit float) to 32 bit float without loss of data!");
    EXPECT_EQ(overflowOf<Tarn::float64>({std::numeric_limits<double>::infinity()}),
              "Couldn't cast inf (64 bit float) to 64 bit float without loss of data!");
}

TEST(VoxelTypeConversion, OutOfRangeUncheckedDoesNotFail)
{
    const MemoryVolumePtr<Tarn::uint8> output = convert<Tarn::uint8>(parameterFor(volumeOf({7.0, 300.0, 9.0}), true, false));
    ASSERT_NE(output, 0);
    const std::vector<Tarn::uint8> got = TestSupport::valuesInView(*output);
    // What 300 becomes is the platform's; its neighbours are converted as usual.
    EXPECT_EQ(got[0], 7);
    EXPECT_EQ(got[2], 9);
}

TEST(VoxelTypeConversion, NaNFailsTheCheckedCastIntoEveryKindOfType)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(overflowOf<Tarn::uint8>({nan}),
              "Couldn't cast nan (64 bit float) to 8 bit unsigned integer without loss of data!");
    EXPECT_EQ(overflowOf<Tarn::float32>({nan}, false),
              "Couldn't cast nan (64 bit float) to 32 bit float without loss of data!");
    EXPECT_EQ(overflowOf<Tarn::float64>({nan}, false),
              "Couldn't cast nan (64 bit float) to 64 bit float without loss of data!");
}

TEST(VoxelTypeConversion, NegativeZeroKeepsItsSignInFloats)
{
    const std::vector<double> got = TestSupport::valuesInView(*convert<double>(parameterFor(volumeOf({-0.0}), false, true)));
    EXPECT_TRUE(TransformTest::sameBits(got[0], -0.0));
}

TEST(VoxelTypeConversion, TheDefaultsRoundAndCheckOnAllThreads)
{
    Parameter p;
    EXPECT_EQ(p.getType(), "Tarn::AncillaryKitoOperators::VoxelTypeConversion::Parameter");
    EXPECT_TRUE(p.inputRounding.getValue());
    EXPECT_TRUE(p.inputCheckedCast.getValue());
    EXPECT_EQ(p.inputNumberOfThreads.getValue(), 0u);
    ASSERT_EQ(p.size(), 5u);
    const char* keys[] = {"inputVolume", "inputRounding", "inputCheckedCast", "inputNumberOfThreads", "outputVolume"};
    for (SizeType i = 0; i < 5; ++i) EXPECT_EQ(p.getKey(i), keys[i]);
}

TEST(VoxelTypeConversion, TeamSizesOfZeroNegativeOrWithHighBitsOnlyTakeAllThreadsAndLeaveTheSettingAlone)
{
    const MemoryVolumePtr<double> volume = convertibleVolume<Tarn::int16>(5);
    std::vector<Tarn::int16> expected;
    for (double x : TestSupport::valuesInView(*volume)) expected.push_back(roundedAndCast<Tarn::int16>(x));
    const int before = omp_get_max_threads();
    for (Tarn::uint64 threads : {Tarn::uint64(0), Tarn::uint64(0xffffffffu), Tarn::uint64(0x80000000u),
                                 Tarn::uint64(1) << 32, (Tarn::uint64(7) << 32) | 2u, Tarn::uint64(1)}) {
        SCOPED_TRACE(threads);
        expectVoxels(*convert<Tarn::int16>(parameterFor(volume, true, true, threads)), expected);
        EXPECT_EQ(omp_get_max_threads(), before);
    }
}

// ---- a failure in the middle of a run -----------------------------------------------------------------

/// 8 x 4 x 6 voxels of 1.0, with 300 at prim 5, sec 2 of slice 3.
MemoryVolumePtr<double> volumeFailingInSlice3()
{
    MemoryVolumePtr<double> volume(new MemoryVolume<double>(Dimension<SizeType>(8, 4, 6)));
    volume->fill(1.0);
    volume->getIterator()[3 * 32 + 2 * 8 + 5] = 300.0;
    return volume;
}

TEST(VoxelTypeConversionFailure, OnOneThreadTheVoxelsBeforeTheFailureAreWrittenAndNoneAfterIt)
{
    const SmartPointer<Parameter> p = parameterFor(volumeFailingInSlice3(), true, true, 1);
    const MemoryVolumePtr<Tarn::uint8> given(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(8, 4, 6)));
    given->fill(9);
    p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(given));
    Conversion<Tarn::uint8> op;
    EXPECT_THROW(op.apply(asComposite(p)), std::overflow_error);
    std::vector<Tarn::uint8> expected(8 * 4 * 6, 9);
    std::fill(expected.begin(), expected.begin() + 3 * 32 + 2 * 8 + 5, Tarn::uint8(1));
    expectVoxels(*given, expected);
    EXPECT_EQ(p->outputVolume.getValue().get(), DynamicCast<SmartPointer<IVolume>>(given).get());
    // Three slices of six were finished.
    EXPECT_EQ(op.getProgress().getProgress(), 0.5);
}

TEST(VoxelTypeConversionFailure, OnSeveralThreadsTheFailureComesOutAsItWasAndOutputVolumeStaysNull)
{
    for (Tarn::uint64 threads : {2, 3}) {
        SCOPED_TRACE(threads);
        const SmartPointer<Parameter> p = parameterFor(volumeFailingInSlice3(), true, true, threads);
        std::string text = "no failure";
        try {
            convert<Tarn::uint8>(p);
        } catch (const std::overflow_error& failure) {
            text = failure.what();
        }
        EXPECT_EQ(text, "Couldn't cast 300 (64 bit float) to 8 bit unsigned integer without loss of data!");
        EXPECT_EQ(p->outputVolume.getValue(), 0);
    }
}

TEST(VoxelTypeConversionFailure, AParameterObjectOfAnotherClass)
{
    Conversion<Tarn::uint8> op;
    SmartPointer<Tarn::Kito::Progress> other(new Tarn::Kito::Progress);
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(other)); }),
              "parameter: Tarn::AncillaryKitoOperators::VoxelTypeConversion::Operator< Tarn::Kito::Volume< Tarn::float64 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator >, Tarn::Kito::Volume< Tarn::uint8 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > >");
}

TEST(VoxelTypeConversionFailure, AMissingInputOrOneOfAnotherType)
{
    Conversion<Tarn::int16> op;
    const std::string text = "parameter: Tarn::AncillaryKitoOperators::VoxelTypeConversion::Operator< Tarn::Kito::Volume< "
                             "Tarn::float64 , Tarn::Kito::Allocator::SingleBlockAllocator >, Tarn::Kito::Volume< "
                             "Tarn::int16 , Tarn::Kito::Allocator::SingleBlockAllocator > > input volume is NULL";
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(parameterFor(MemoryVolumePtr<double>()))); }), text);
    const SmartPointer<Parameter> p = parameterFor(MemoryVolumePtr<double>());
    p->inputVolume.setValue(
        DynamicCast<SmartPointer<IVolume>>(MemoryVolumePtr<float>(new MemoryVolume<float>(Dimension<SizeType>(1, 1, 1)))));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }), text);
}

TEST(VoxelTypeConversionFailure, AnOutputVolumeOfAnotherTypeFailsInTheSiblingsWords)
{
    const SmartPointer<Parameter> p = parameterFor(volumeOf({1.0}));
    p->outputVolume.setValue(
        DynamicCast<SmartPointer<IVolume>>(MemoryVolumePtr<float>(new MemoryVolume<float>(Dimension<SizeType>(1, 1, 1)))));
    Conversion<Tarn::uint8> op;
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::AncillaryKitoOperators::Operator::checkOutputVolume volume is of the wrong type");
}

// ---- progress and stop --------------------------------------------------------------------------------

TEST(VoxelTypeConversionRun, ProgressIsTheFractionOfFinishedSlicesAndAStopKeepsTheRestUntouched)
{
    const Dimension<SizeType> extent(256, 256, 200);
    MemoryVolumePtr<double> volume(new MemoryVolume<double>(extent));
    volume->fill(2.25);
    const SmartPointer<Parameter> p = parameterFor(volume, true, true, 1);
    Conversion<Tarn::uint16> op;
    EXPECT_EQ(op.getProgress().getProgress(), 0.0);
    op.apply(asComposite(p));
    EXPECT_EQ(op.getProgress().getProgress(), 1.0);
    for (int attempt = 0; attempt < 200; ++attempt) {
        // A fresh operator: one that ran already shows its old progress until its next run starts.
        Conversion<Tarn::uint16> fresh;
        const MemoryVolumePtr<Tarn::uint16> output(new MemoryVolume<Tarn::uint16>(extent));
        output->fill(0);
        p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(output));
        const TestSupport::StoppedRun run = TestSupport::stopWhileRunning(fresh, [&] { fresh.apply(asComposite(p)); });
        EXPECT_TRUE(TestSupport::neverFalls(run.seen));
        const double progress = fresh.getProgress().getProgress();
        if (progress < 1.0) {
            // One thread: the finished slices are the first ones, the others are untouched.
            const auto finished = static_cast<SizeType>(std::lround(progress * static_cast<double>(extent.tert)));
            const std::vector<Tarn::uint16> got = TestSupport::valuesInView(*output);
            const SizeType slice = extent.prim * extent.sec;
            for (SizeType i = 0; i < got.size(); ++i)
                if (got[i] != (i < finished * slice ? 2 : 0)) {
                    ADD_FAILURE() << "voxel " << i << " after " << finished << " finished slices";
                    break;
                }
            EXPECT_EQ(p->outputVolume.getValue().get(), DynamicCast<SmartPointer<IVolume>>(output).get());
            return;
        }
    }
    GTEST_SKIP() << "no run was stopped before its end";
}

} // namespace
