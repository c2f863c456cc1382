// IVolumeFromRawFileInput: headerless files read as the caller describes them, leniently.
#include "FileTestSupport.h"

#include <Lumo_MiscDispatcher_DLL/IVolumeFromRawFileInput.h>
#include <LumoStudio/Operators/VolumeFromRawFileInput/Operator.h>
#include <Lumo_MiscDispatcher_DLL/KitoInstances.h>
#include <support/FailureOf.h>
#include <support/RandomVolume.h>
#include <support/ThreadCount.h>

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace {

using FileTest::bytesOf;
using FileTest::operator+;
using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::Position;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;
using Facade = Tarn::Lumo_DLL::IVolumeFromRawFileInput;
using Parameter = Facade::Parameter;

const char* const origin = "Tarn::Kito::Persistence::VolumeFileInput::VolumeFromRawFileInput::Operator::apply";

/// The data type number of T, as hosts give it.
template <class T> Tarn::uint64 dataTypeOf()
{
    if constexpr (std::is_floating_point_v<T>) return std::numeric_limits<T>::digits;
    else return std::numeric_limits<T>::digits;
}

SmartPointer<Parameter> describe(const std::string& path, Tarn::uint64 dataType, Tarn::uint64 skip,
                                 const std::vector<Tarn::uint64>& startEnd)
{
    SmartPointer<Parameter> p(new Parameter);
    p->inputFilePath.setValue(path);
    p->inputDataType.setValue(dataType);
    p->inputHeaderSkip.setValue(skip);
    p->inputStartPrim.setValue(startEnd.at(0));
    p->inputEndPrim.setValue(startEnd.at(1));
    p->inputStartSec.setValue(startEnd.at(2));
    p->inputEndSec.setValue(startEnd.at(3));
    p->inputStartTert.setValue(startEnd.at(4));
    p->inputEndTert.setValue(startEnd.at(5));
    return p;
}

void apply(const SmartPointer<Parameter>& p)
{
    Facade::IOperator facade;
    facade.apply(DynamicCast<SmartPointer<IComposite>>(p));
}

template <class T> std::vector<T> voxelsOf(const SmartPointer<Tarn::Kito::IVolume>& volume)
{
    const MemoryVolumePtr<T> typed = DynamicCast<MemoryVolumePtr<T>>(volume);
    EXPECT_FALSE(typed == 0);
    if (typed == 0) return {};
    return FileTest::storageVoxels(typed);
}

template <class T> class RawInputTyped : public ::testing::Test {};
using OperatorTypes = TestSupport::VoxelTypesAs<::testing::Types, Tarn::Lumo_DLL::Instances::OperatorVoxels>;
TYPED_TEST_SUITE(RawInputTyped, OperatorTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(RawInputTyped, ReadsTheFileBytesAfterTheSkipInStorageOrder)
{
    using T = TypeParam;
    FileTest::TemporaryDirectory directory;
    const std::vector<T> voxels = FileTest::countingVoxels<T>(3 * 4 * 5);
    FileTest::writeFile(directory.file("v.raw"), FileTest::zeros(10) + bytesOf(voxels) + FileTest::zeros(7));
    const auto p = describe(directory.file("v.raw"), dataTypeOf<T>(), 10, {0, 2, 0, 3, 0, 4});
    apply(p);
    EXPECT_EQ(p->outputVolume.getValue()->getDimension(), Dimension<SizeType>(3, 4, 5));
    EXPECT_EQ(bytesOf(voxelsOf<T>(p->outputVolume.getValue())), bytesOf(voxels));
}

TEST(RawInput, EightVoxelsAfterASixteenByteHeaderInFileOrder)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::uint16> voxels = {1, 2, 3, 4, 5, 6, 7, 8};
    FileTest::writeFile(directory.file("v.raw"), FileTest::zeros(16) + bytesOf(voxels));
    const auto p = describe(directory.file("v.raw"), 16, 16, {0, 1, 0, 1, 0, 1});
    apply(p);
    const auto volume = DynamicCast<MemoryVolumePtr<Tarn::uint16>>(p->outputVolume.getValue());
    EXPECT_EQ(volume->getValueAt(Position<SizeType>(1, 0, 0)), 2);
    EXPECT_EQ(volume->getValueAt(Position<SizeType>(0, 1, 0)), 3);
    EXPECT_EQ(volume->getValueAt(Position<SizeType>(0, 0, 1)), 5);
    EXPECT_EQ(voxelsOf<Tarn::uint16>(p->outputVolume.getValue()), voxels);
}

TEST(RawInput, StartAndEndGiveOnlyTheExtent)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::uint8> voxels = FileTest::countingVoxels<Tarn::uint8>(10);
    FileTest::writeFile(directory.file("v.raw"), bytesOf(voxels));
    const auto p = describe(directory.file("v.raw"), 8, 0, {10, 19, 5, 5, 7, 7});
    apply(p);
    EXPECT_EQ(p->outputVolume.getValue()->getDimension(), Dimension<SizeType>(10, 1, 1));
    EXPECT_EQ(voxelsOf<Tarn::uint8>(p->outputVolume.getValue()), voxels);
}

TEST(RawInput, AShortFileLeavesTheRestAsItWasWithoutAFailure)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::int16> voxels = {-1, -2, -3, -4, -5};
    FileTest::writeFile(directory.file("v.raw"), bytesOf(voxels));
    const MemoryVolumePtr<Tarn::int16> given(new MemoryVolume<Tarn::int16>(Dimension<SizeType>(2, 2, 2)));
    given->fill(9);
    const auto p = describe(directory.file("v.raw"), 15, 0, {0, 1, 0, 1, 0, 1});
    p->outputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(given));
    apply(p);
    // The first slice is read whole; the second read comes up short and stops the stream.
    EXPECT_EQ(voxelsOf<Tarn::int16>(p->outputVolume.getValue()), (std::vector<Tarn::int16>{-1, -2, -3, -4, -5, 9, 9, 9}));
}

// ---- volumes of several MiB, whose back half a second thread reads when the volume is new --------

using FileTest::largePrim;
using FileTest::largeSec;
using FileTest::largeSlice;
using FileTest::largeTert;

TEST(RawInput, ALargeNewVolumeHoldsTheFileOnOneAndTwoThreads)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::uint16> voxels = FileTest::countingVoxels<Tarn::uint16>(largeSlice * largeTert);
    FileTest::writeFile(directory.file("v.raw"), FileTest::zeros(64) + bytesOf(voxels));
    for (const int threads : {1, 2}) {
        const TestSupport::ThreadCount count(threads);
        const auto p = describe(directory.file("v.raw"), 16, 64, {0, largePrim - 1, 0, largeSec - 1, 0, largeTert - 1});
        apply(p);
        EXPECT_EQ(voxelsOf<Tarn::uint16>(p->outputVolume.getValue()), voxels) << threads << " threads";
    }
}

/// A file that ends in the back half of a new volume's slices: the same voxels as one thread
/// reads, and the slices after the end as they were.
TEST(RawInput, AShortFileIntoANewVolumeIsReadAsOneThreadReadsIt)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::uint16> voxels = FileTest::countingVoxels<Tarn::uint16>(largeSlice * 40 + 77);
    FileTest::writeFile(directory.file("v.raw"), bytesOf(voxels));
    using Reader = Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput::Operator<MemoryVolumePtr<Tarn::uint16>>;
    const auto readInto = [&](int threads) {
        const TestSupport::ThreadCount count(threads);
        const MemoryVolumePtr<Tarn::uint16> volume = FileTest::largeVolumeOf(0);
        std::ifstream stream(directory.file("v.raw"), std::ios::binary);
        Tarn::Kito::Progress progress;
        const std::string path = directory.file("v.raw");
        Reader::readVolume(stream, volume, 0, progress, &path);
        EXPECT_NEAR(progress.getProgress(), 0.99, 1e-9);
        return FileTest::storageVoxels(volume);
    };
    const std::vector<Tarn::uint16> alone = readInto(1);
    EXPECT_EQ(std::vector<Tarn::uint16>(alone.begin(), alone.begin() + static_cast<std::ptrdiff_t>(voxels.size())), voxels);
    EXPECT_EQ(std::vector<Tarn::uint16>(alone.begin() + static_cast<std::ptrdiff_t>(voxels.size()), alone.end()),
              std::vector<Tarn::uint16>(alone.size() - voxels.size(), 0));
    EXPECT_EQ(readInto(2), alone);
}

/// The same short file into a host's volume of that size: its own voxels stay after the end.
TEST(RawInput, AShortFileIntoAHostsLargeVolumeLeavesItsVoxelsAfterTheEnd)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::uint16> voxels = FileTest::countingVoxels<Tarn::uint16>(largeSlice * 40);
    FileTest::writeFile(directory.file("v.raw"), bytesOf(voxels));
    const TestSupport::ThreadCount count(2);
    const MemoryVolumePtr<Tarn::uint16> given = FileTest::largeVolumeOf(9);
    const auto p = describe(directory.file("v.raw"), 16, 0, {0, largePrim - 1, 0, largeSec - 1, 0, largeTert - 1});
    p->outputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(given));
    apply(p);
    EXPECT_EQ(FileTest::fileSlicesThenOnly(FileTest::storageVoxels(given), voxels, Tarn::uint16(9), largeSlice), 40);
}

TEST(RawInput, ASkipBeyondTheFileReadsNothing)
{
    FileTest::TemporaryDirectory directory;
    FileTest::writeFile(directory.file("v.raw"), FileTest::zeros(8));
    const MemoryVolumePtr<Tarn::uint8> given(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 2)));
    given->fill(4);
    for (const Tarn::uint64 skip : {Tarn::uint64(8), Tarn::uint64(1) << 62, ~Tarn::uint64(0)}) {
        const auto p = describe(directory.file("v.raw"), 8, skip, {0, 1, 0, 1, 0, 1});
        p->outputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(given));
        apply(p);
        EXPECT_EQ(voxelsOf<Tarn::uint8>(p->outputVolume.getValue()), std::vector<Tarn::uint8>(8, 4)) << skip;
    }
}

TEST(RawInput, AGivenVolumeOfAnotherSizeIsResized)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::float32> voxels = {0.5f, 1.5f, 2.5f, 3.5f, 4.5f, 5.5f};
    FileTest::writeFile(directory.file("v.raw"), bytesOf(voxels));
    const MemoryVolumePtr<Tarn::float32> given(new MemoryVolume<Tarn::float32>(Dimension<SizeType>(5, 5, 5)));
    const auto p = describe(directory.file("v.raw"), 24, 0, {0, 2, 0, 1, 0, 0});
    p->outputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(given));
    apply(p);
    EXPECT_EQ(DynamicCast<MemoryVolumePtr<Tarn::float32>>(p->outputVolume.getValue()).get(), given.get());
    EXPECT_EQ(given->getVolumeDimension(), Dimension<SizeType>(3, 2, 1));
    EXPECT_EQ(voxelsOf<Tarn::float32>(p->outputVolume.getValue()), voxels);
}

TEST(RawInput, AMirroredVolumeGetsTheBytesFromItsLowestVoxelOn)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::uint8> voxels = FileTest::countingVoxels<Tarn::uint8>(12);
    FileTest::writeFile(directory.file("v.raw"), bytesOf(voxels));
    const MemoryVolumePtr<Tarn::uint8> given(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(3, 2, 2)));
    given->setOrientation(Tarn::Kito::Orientation(1, 3, 5));
    const auto p = describe(directory.file("v.raw"), 8, 0, {0, 2, 0, 1, 0, 1});
    p->outputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(given));
    apply(p);
    // View slice 0 is storage slice 1: each view slice takes the next bytes of the file, stored
    // forward from its lowest voxel, so that no read runs past the block.
    std::vector<Tarn::uint8> expected(voxels.begin() + 6, voxels.end());
    expected.insert(expected.end(), voxels.begin(), voxels.begin() + 6);
    EXPECT_EQ(voxelsOf<Tarn::uint8>(p->outputVolume.getValue()), expected);
}

TEST(RawInput, AVolumeOfAnotherTypeFails)
{
    FileTest::TemporaryDirectory directory;
    FileTest::writeFile(directory.file("v.raw"), FileTest::zeros(8));
    const MemoryVolumePtr<Tarn::uint8> given(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 2)));
    const auto p = describe(directory.file("v.raw"), 16, 0, {0, 1, 0, 1, 0, 1});
    p->outputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(given));
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { apply(p); }),
              "parameter: Tarn::Kito::Operator::checkOutputVolume volume is of the wrong type");
}

TEST(RawInput, AMissingFileFailsToOpen)
{
    const auto p = describe("no/such/file.raw", 16, 0, {0, 1, 0, 1, 0, 1});
    const TestSupport::TarnFailure failure = TestSupport::tarnFailureOf([&] { apply(p); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::FileOpen");
    EXPECT_EQ(failure.gui, "Couldn't open file 'no/such/file.raw'!");
    EXPECT_EQ(failure.origin, origin);
    EXPECT_TRUE(p->outputVolume.getValue() == 0);
}

TEST(RawInput, DataTypesWithoutAnInstanceFailInTheFactory)
{
    const std::string prefix = "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
                               "Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput::Operator< Tarn::Kito::Volume< ";
    const std::string suffix = " , Tarn::Kito::Allocator::SingleBlockAllocator > > is registered";
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { apply(describe("x.raw", 0, 0, {0, 0, 0, 0, 0, 0})); }),
              prefix + suffix);
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { apply(describe("x.raw", 63, 0, {0, 0, 0, 0, 0, 0})); }),
              prefix + "Tarn::int64" + suffix);
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { apply(describe("x.raw", 64, 0, {0, 0, 0, 0, 0, 0})); }),
              prefix + "Tarn::uint64" + suffix);
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { apply(describe("x.raw", 17, 0, {0, 0, 0, 0, 0, 0})); }),
              prefix + suffix);
}

TEST(RawInput, AnotherParameterObjectFailsInTheFacadeAndInTheOperator)
{
    Facade::IOperator facade;
    const SmartPointer<IComposite> other = DynamicCast<SmartPointer<IComposite>>(
        SmartPointer<Tarn::Kito::Progress>(new Tarn::Kito::Progress));
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { facade.apply(other); }),
              "parameter: Tarn::Lumo_DLL::IVolumeFromRawFileInput::IOperator::getOperatorTypeFromParameterObject: "
              "invalid parameter object!");
    Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput::Operator<MemoryVolumePtr<Tarn::uint8>> op;
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { op.apply(other); }), std::string("parameter: ") + origin);
}

TEST(RawInput, ParameterKeysInOrder)
{
    const Parameter p;
    EXPECT_EQ(p.getType(), "Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput::Parameter");
    const std::vector<std::string> keys = {"inputFilePath",  "inputHeaderSkip", "inputStartPrim", "inputEndPrim",
                                           "inputStartSec",  "inputEndSec",     "inputStartTert", "inputEndTert",
                                           "inputDataType",  "outputVolume"};
    ASSERT_EQ(p.size(), keys.size());
    for (std::size_t i = 0; i < keys.size(); ++i) EXPECT_EQ(p.getKey(i), keys[i]);
}

TEST(RawInput, ProgressEndsAtOne)
{
    FileTest::TemporaryDirectory directory;
    FileTest::writeFile(directory.file("v.raw"), FileTest::zeros(64));
    Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput::Operator<MemoryVolumePtr<Tarn::uint8>> op;
    op.apply(DynamicCast<SmartPointer<IComposite>>(describe(directory.file("v.raw"), 8, 0, {0, 3, 0, 3, 0, 3})));
    EXPECT_EQ(op.getProgress().getProgress(), 1.0);
}

} // namespace
