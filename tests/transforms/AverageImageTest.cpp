// AverageImage: the voxel-wise mean of REK files by its operator, and its facade, whose identifier
// matches no registered operator.
#include <Kito/ClassFactory>
#include <Kito/Exceptions>
#include <Kito/List>
#include <Kito/Progress>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/IAverageImage.h>
#include <LumoStudio/Operators/AverageImage/Operator.h>
#include <LumoStudio/Operators/AverageImage/Parameter.h>

#include "TransformTestSupport.h"

#include <support/FailureOf.h>
#include <support/RandomVolume.h>
#include <support/RekFiles.h>
#include <support/StopWhileRunning.h>
#include <support/VolumeFiles.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <list>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Container::ListPtr;
using Tarn::Lumo_DLL::IAverageImage;
using TestSupport::asComposite;
using TestSupport::invalidArgumentOf;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;
using TransformTest::expectVoxels;

using Parameter = Tarn::Lumo::ArithmeticOperators::AverageImage::Parameter;
template <class T> using Average = Tarn::Lumo::ArithmeticOperators::AverageImage::Operator<MemoryVolumePtr<T>>;

const std::string volumeText = "Tarn::Kito::Volume< ";
const std::string singleBlockText = " , Tarn::Kito::Allocator::SingleBlockAllocator >";

/// Extent of the files: six slices, so that one, two and three threads each cut other slabs.
const Dimension<SizeType> extent(7, 5, 6);

/// REK files of random voxels in a scratch directory, with their voxels in storage order.
template <class T> struct Files {
    TestSupport::ScratchDirectory directory;
    std::vector<std::string> names;
    std::vector<std::vector<T>> voxels;

    void add(const std::string& name, const Dimension<SizeType>& dimension, const std::vector<T>& values)
    {
        names.push_back(directory.file(name));
        voxels.push_back(values);
        TestSupport::writeRekFile(names.back(), dimension, values);
    }
    void addRandom(const std::string& name, std::uint64_t seed)
    {
        add(name, extent, TestSupport::storageVoxels(*TestSupport::makeRandomVolume<T>(extent, seed)));
    }
};

template <class T> void addThreeRandom(Files<T>& files)
{
    files.addRandom("a.rek", 11);
    files.addRandom("b.rek", 22);
    files.addRandom("c.rek", 33);
}

/// The mean as a plain loop forms it: per voxel the files' values in float64 from the first one
/// on, in list order, divided by their number; into integers rounded half up, into floats the
/// nearest value.
template <class T> std::vector<T> plainAverage(const std::vector<std::vector<T>>& files)
{
    std::vector<T> mean(files.front().size());
    for (std::size_t i = 0; i < mean.size(); ++i) {
        double sum = static_cast<double>(files[0][i]);
        for (std::size_t k = 1; k < files.size(); ++k) sum += static_cast<double>(files[k][i]);
        const double value = sum / static_cast<double>(files.size());
        if constexpr (std::is_floating_point_v<T>)
            mean[i] = static_cast<T>(value);
        else
            mean[i] = static_cast<T>(std::floor(value + 0.5));
    }
    return mean;
}

ListPtr<std::string> listOf(const std::vector<std::string>& names)
{
    return ListPtr<std::string>(std::list<std::string>(names.begin(), names.end()));
}

SmartPointer<Parameter> parameterFor(const std::vector<std::string>& names,
                                     const SmartPointer<IVolume>& output = SmartPointer<IVolume>())
{
    SmartPointer<Parameter> p(new Parameter);
    p->inputFileList.setValue(listOf(names));
    p->outputVolume.setValue(output);
    return p;
}

template <class T> MemoryVolumePtr<T> runOperator(const SmartPointer<Parameter>& p)
{
    Average<T> op;
    op.apply(asComposite(p));
    return DynamicCast<MemoryVolumePtr<T>>(p->outputVolume.getValue());
}

template <class T> SmartPointer<IVolume> asIVolume(const MemoryVolumePtr<T>& volume)
{
    return DynamicCast<SmartPointer<IVolume>>(volume);
}

template <class T> class AverageImageTyped : public ::testing::Test {};
TYPED_TEST_SUITE(AverageImageTyped, TestSupport::OperatorVoxelTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(AverageImageTyped, ThreeFilesGiveTheirMeanAsAPlainLoopFormsIt)
{
    using T = TypeParam;
    Files<T> files;
    addThreeRandom(files);
    const MemoryVolumePtr<T> output = runOperator<T>(parameterFor(files.names));
    ASSERT_FALSE(output == 0);
    EXPECT_EQ(TransformTest::extentOf(*output), extent);
    expectVoxels<T>(*output, plainAverage(files.voxels));
}

TYPED_TEST(AverageImageTyped, OneTwoAndThreeThreadsGiveTheSameBits)
{
    using T = TypeParam;
    Files<T> files;
    addThreeRandom(files);
    const std::vector<T> expected = plainAverage(files.voxels);
    for (int threads = 1; threads <= 3; ++threads) {
        SCOPED_TRACE(threads);
        TransformTest::withThreads(threads, [&] { expectVoxels<T>(*runOperator<T>(parameterFor(files.names)), expected); });
    }
}

TYPED_TEST(AverageImageTyped, AGivenOutputIsWrittenInPlaceAndResizedToTheFiles)
{
    using T = TypeParam;
    Files<T> files;
    addThreeRandom(files);
    const MemoryVolumePtr<T> given(new MemoryVolume<T>(Dimension<SizeType>(2, 3, 4)));
    const SmartPointer<Parameter> p = parameterFor(files.names, asIVolume(given));
    const MemoryVolumePtr<T> output = runOperator<T>(p);
    EXPECT_EQ(output.get(), given.get());
    EXPECT_EQ(TransformTest::extentOf(*given), extent);
    expectVoxels<T>(*given, plainAverage(files.voxels));
}

TYPED_TEST(AverageImageTyped, OneFileGivesItsOwnVoxels)
{
    using T = TypeParam;
    Files<T> files;
    files.addRandom("only.rek", 5);
    expectVoxels<T>(*runOperator<T>(parameterFor(files.names)), files.voxels.front());
}

TYPED_TEST(AverageImageTyped, TheFacadeFailsInTheFactoryWithItsIdentifierForAValidList)
{
    using T = TypeParam;
    Files<T> files;
    addThreeRandom(files);
    IAverageImage::IOperator facade;
    const std::string voxel = TestSupport::voxelName<T>();
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(parameterFor(files.names))); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Kito::SerrinOperators::AverageImage::Operator< " +
                  voxel + " , " + voxel + " > is registered");
}

TYPED_TEST(AverageImageTyped, TheOperatorRegistersUnderItsOwnIdentifierAndWorksFromTheFactory)
{
    using T = TypeParam;
    Files<T> files;
    addThreeRandom(files);
    const std::string identifier = "Tarn::Lumo::ArithmeticOperators::AverageImage::Operator< " + volumeText +
                                   TestSupport::voxelName<T>() + singleBlockText + " >";
    const SmartPointer<Tarn::Kito::IOperator> op = DynamicCast<SmartPointer<Tarn::Kito::IOperator>>(
        Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(identifier));
    ASSERT_FALSE(op == 0);
    EXPECT_EQ(Average<T>().getType(), identifier);
    const SmartPointer<Parameter> p = parameterFor(files.names);
    op->apply(asComposite(p));
    EXPECT_DOUBLE_EQ(op->getProgress().getProgress(), 1.0);
    expectVoxels<T>(*DynamicCast<MemoryVolumePtr<T>>(p->outputVolume.getValue()), plainAverage(files.voxels));
}

// ---- the arithmetic, checked by hand ------------------------------------------------------------------

TEST(AverageImage, IntegerMeansHalfwayBetweenTwoValuesRoundUp)
{
    Files<Tarn::int8> files;
    const Dimension<SizeType> five(5, 1, 1);
    files.add("a.rek", five, {1, 0, -1, -2, 100});
    files.add("b.rek", five, {2, 1, -2, -3, 101});
    // 1.5, 0.5, -1.5, -2.5, 100.5: each goes to the next value upward.
    expectVoxels<Tarn::int8>(*runOperator<Tarn::int8>(parameterFor(files.names)), {2, 1, -1, -2, 101});
}

TEST(AverageImage, ExtremeIntegersStayInsideTheirType)
{
    Files<Tarn::uint32> files;
    const Dimension<SizeType> three(3, 1, 1);
    const Tarn::uint32 top = std::numeric_limits<Tarn::uint32>::max();
    files.add("a.rek", three, {top, top, 0});
    files.add("b.rek", three, {top, top - 1, 0});
    files.add("c.rek", three, {top, top - 1, 1});
    // top; top - 2/3 rounds to top - 1; 1/3 rounds to 0.
    expectVoxels<Tarn::uint32>(*runOperator<Tarn::uint32>(parameterFor(files.names)), {top, top - 1, 0});
}

TEST(AverageImage, FloatMeansKeepNaNInfinityAndTheSignOfZero)
{
    Files<Tarn::float32> files;
    const Dimension<SizeType> four(4, 1, 1);
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    files.add("a.rek", four, {1.0f, nan, -0.0f, inf});
    files.add("b.rek", four, {2.0f, 5.0f, -0.0f, 1.0f});
    const std::vector<float> got =
        TestSupport::valuesInView(*runOperator<Tarn::float32>(parameterFor(files.names)));
    ASSERT_EQ(got.size(), 4u);
    EXPECT_EQ(got[0], 1.5f);
    EXPECT_TRUE(std::isnan(got[1]));
    EXPECT_TRUE(TransformTest::sameBits(got[2], -0.0f));
    EXPECT_EQ(got[3], inf);
}

TEST(AverageImage, TheProgressEndsAtOne)
{
    Files<Tarn::uint16> files;
    addThreeRandom(files);
    Average<Tarn::uint16> op;
    op.apply(asComposite(parameterFor(files.names)));
    EXPECT_DOUBLE_EQ(op.getProgress().getProgress(), 1.0);
}

TEST(AverageImage, AStopWhileRunningReturnsNormallyWithAProgressThatNeverFalls)
{
    // Enough slices that the watcher sees the run under way before it ends.
    Files<Tarn::uint16> files;
    const Dimension<SizeType> large(64, 64, 64);
    for (int k = 0; k < 4; ++k)
        files.add("f" + std::to_string(k) + ".rek", large,
                  TestSupport::storageVoxels(*TestSupport::makeRandomVolume<Tarn::uint16>(large, 40 + k)));
    Average<Tarn::uint16> op;
    const SmartPointer<Parameter> p = parameterFor(files.names);
    const TestSupport::StoppedRun run = TestSupport::stopWhileRunning(op, [&] { op.apply(asComposite(p)); });
    EXPECT_TRUE(TestSupport::neverFalls(run.seen));
    // Stopped before the conversion, the output was never made; else the run went to its end.
    if (p->outputVolume.getValue() == 0) {
        EXPECT_TRUE(run.stopAsked);
        EXPECT_LT(op.getProgress().getProgress(), 1.0);
    }
}

// ---- failures of the operator ------------------------------------------------------------------------

TEST(AverageImageFailure, AParameterObjectOfAnotherClassIsRefused)
{
    Average<Tarn::uint16> op;
    const SmartPointer<Tarn::Kito::Progress> other(new Tarn::Kito::Progress);
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(other)); }),
              "parameter: Tarn::Lumo::ArithmeticOperators::AverageImage::Operator::apply || parameter == NULL");
}

TEST(AverageImageFailure, ANullParameterObjectIsRefusedInTheSameWords)
{
    Average<Tarn::uint16> op;
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(SmartPointer<Tarn::Kito::Persistence::IComposite>()); }),
              "parameter: Tarn::Lumo::ArithmeticOperators::AverageImage::Operator::apply || parameter == NULL");
}

TEST(AverageImageFailure, AnEmptyListIsRefused)
{
    Average<Tarn::uint16> op;
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(parameterFor({}))); }),
              "parameter: Tarn::Lumo::ArithmeticOperators::AverageImage::Operator::apply || size of list equals zero");
}

TEST(AverageImageFailure, ANullListIsRefusedAsAnEmptyOne)
{
    Average<Tarn::uint16> op;
    const SmartPointer<Parameter> p(new Parameter);
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo::ArithmeticOperators::AverageImage::Operator::apply || size of list equals zero");
}

TEST(AverageImageFailure, AMissingFileFailsAsFileOpenWithItsNameAndLeavesTheOutputAlone)
{
    Files<Tarn::uint16> files;
    files.addRandom("a.rek", 1);
    const std::string missing = files.directory.file("missing.rek");
    const SmartPointer<Parameter> p = parameterFor({files.names[0], missing});
    Average<Tarn::uint16> op;
    std::string className = "no failure", fileName, gui;
    try {
        op.apply(asComposite(p));
    } catch (const Tarn::Exceptions::FileOpen& failure) {
        className = failure.getClassName();
        fileName = failure.getFileName();
        gui = failure.what();
    }
    EXPECT_EQ(className, "Tarn::Exceptions::FileOpen");
    EXPECT_EQ(fileName, missing);
    EXPECT_EQ(gui, "Couldn't open file '" + missing + "'!");
    EXPECT_TRUE(p->outputVolume.getValue() == 0);
}

TEST(AverageImageFailure, FilesOfDifferentExtentsFailInTheDimensionCheck)
{
    Files<Tarn::uint16> files;
    files.addRandom("a.rek", 1);
    const Dimension<SizeType> other(7, 5, 5);
    files.add("b.rek", other, TestSupport::storageVoxels(*TestSupport::makeRandomVolume<Tarn::uint16>(other, 2)));
    Average<Tarn::uint16> op;
    const SmartPointer<Parameter> p = parameterFor(files.names);
    std::string text = "no failure";
    try {
        op.apply(asComposite(p));
    } catch (const Tarn::Kito::IOperator::InvalidParameterObjectException& failure) {
        text = std::string("wrong kind: ") + failure.what();
    } catch (const std::invalid_argument& failure) {
        text = failure.what();
    }
    EXPECT_EQ(text, "Tarn::Kito::ArithmeticOperators::GenericArithmeticOperator::Operator::checkDimensions at least two "
                    "volumes haven`t the same dimension");
    EXPECT_TRUE(p->outputVolume.getValue() == 0);
}

TEST(AverageImageFailure, AFileOfAnotherVoxelTypeFailsInTheLoaderNamingBothTypes)
{
    Files<Tarn::int16> files;
    files.addRandom("a.rek", 1);
    Average<Tarn::uint16> op;
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(parameterFor(files.names))); }),
              "parameter: Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::Loader::Operator::"
              "apply template voxel type (Tarn::uint16) doesn't match file voxel type (Tarn::int16) ");
}

TEST(AverageImageFailure, AnOutputOfAnotherTypeIsRefused)
{
    Files<Tarn::uint16> files;
    addThreeRandom(files);
    const MemoryVolumePtr<Tarn::float32> other(new MemoryVolume<Tarn::float32>(extent));
    Average<Tarn::uint16> op;
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(parameterFor(files.names, asIVolume(other)))); }),
              "parameter: Tarn::Kito::Operator::checkOutputVolume volume is of the wrong type");
}

// ---- failures of the facade --------------------------------------------------------------------------

TEST(AverageImageFacade, AParameterObjectOfAnotherClassFails)
{
    IAverageImage::IOperator facade;
    const SmartPointer<Tarn::Kito::Progress> other(new Tarn::Kito::Progress);
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(other)); }),
              "parameter: Tarn::Lumo_DLL::IAverageImage::IOperator::getOperatorTypeFromParameterObject: invalid "
              "parameter object!");
}

TEST(AverageImageFacade, ANullListFails)
{
    IAverageImage::IOperator facade;
    const SmartPointer<Parameter> p(new Parameter);
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo_DLL::IAverageImage::IOperator::getOperatorTypeFromParameterObject: list is NULL!");
}

TEST(AverageImageFacade, AnEmptyListFailsInTheTypeReaderForItsEmptyName)
{
    IAverageImage::IOperator facade;
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(parameterFor({}))); }),
              "Tarn::AncillaryKitoOperators::RekTypeReader::Operator input filename is empty");
}

TEST(AverageImageFacade, AMissingFirstFileFailsInTheTypeReader)
{
    TestSupport::ScratchDirectory directory;
    IAverageImage::IOperator facade;
    std::string text = "no failure";
    try {
        facade.apply(asComposite(parameterFor({directory.file("missing.rek")})));
    } catch (const std::runtime_error& failure) {
        text = failure.what();
    }
    EXPECT_EQ(text, "Tarn::AncillaryKitoOperators::RekTypeReader::Operator failed to open file");
}

TEST(AverageImageFacade, AGivenOutputNamesTheSecondArgumentByItsWholeClassText)
{
    Files<Tarn::uint16> files;
    addThreeRandom(files);
    const MemoryVolumePtr<Tarn::float32> output(new MemoryVolume<Tarn::float32>(extent));
    IAverageImage::IOperator facade;
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(parameterFor(files.names, asIVolume(output)))); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Kito::SerrinOperators::AverageImage::Operator< Tarn::uint16 , Tarn::Kito::Volume< Tarn::float32 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > is registered");
    EXPECT_TRUE(TransformTest::extentOf(*output) == extent);
}

} // namespace
