// The REK loader: voxels into memory, slice by slice or into a region, and what it reports beside them.
#include "FileTestSupport.h"

#include <Kito/ClassFactory>
#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderFileInputOutput/Loader/Operator>
#include <Lumo_MiscDispatcher_DLL/KitoInstances.h>
#include <support/FailureOf.h>
#include <support/RandomVolume.h>
#include <support/StopWhileRunning.h>
#include <support/ThreadCount.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <ios>
#include <string>
#include <thread>
#include <vector>

namespace {

using FileTest::bytesOf;
using FileTest::operator+;
using FileTest::headerWith;
using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;
namespace Files = Tarn::Kito::Persistence::VolumeFileInputOutput;
using Meta = Files::RecHeaderFileInputOutput::MetaInformation<Tarn::RecHeader_V260>;
template <class T> using Loader = Files::RecHeaderFileInputOutput::Loader::Operator<MemoryVolumePtr<T>, Meta>;
using Parameter = Files::Loader::Parameter;

const std::string applyOrigin =
    "Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::Loader::Operator::apply";

template <class T> Tarn::int16 codeOf() { return static_cast<Tarn::int16>(Files::VoxelTypeConverter()[TestSupport::voxelName<T>()]); }

/// A REK file of extent (p, s, t) with counting voxels, reko block filled, image block empty.
template <class T> std::vector<T> writeRek(const std::string& path, SizeType p, SizeType s, SizeType t)
{
    const std::vector<T> voxels = FileTest::countingVoxels<T>(p * s * t);
    Tarn::RecHeader_V260 header = headerWith(codeOf<T>(), {0, 0, 0}, {Tarn::int64(p), Tarn::int64(s), Tarn::int64(t)});
    header.voxelSizeXY = 0.125f;
    header.voxelSizeZ = 2.5f;
    FileTest::writeFile(path, bytesOf(header) + bytesOf(voxels));
    return voxels;
}

SmartPointer<Parameter> parameterFor(const std::string& path, const SmartPointer<Tarn::Kito::IVolume>& volume = {})
{
    SmartPointer<Parameter> parameter(new Parameter);
    parameter->inputFileName.setValue(path);
    parameter->modifyVolume.setValue(volume);
    return parameter;
}

template <class L> void run(L& loader, const SmartPointer<Parameter>& parameter)
{
    loader.apply(DynamicCast<SmartPointer<IComposite>>(parameter));
}

template <class T> SmartPointer<Tarn::Kito::IVolume> asIVolume(const MemoryVolumePtr<T>& volume)
{
    return DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(volume);
}

template <class T> class LoaderTyped : public ::testing::Test {};
using OperatorTypes = TestSupport::VoxelTypesAs<::testing::Types, Tarn::Lumo_DLL::Instances::OperatorVoxels>;
TYPED_TEST_SUITE(LoaderTyped, OperatorTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(LoaderTyped, NullVolumeGivesANewVolumeWithTheFileBytes)
{
    using T = TypeParam;
    FileTest::TemporaryDirectory directory;
    const std::vector<T> voxels = writeRek<T>(directory.file("v.rek"), 5, 3, 4);
    const SmartPointer<Parameter> parameter = parameterFor(directory.file("v.rek"));
    Loader<T> loader;
    run(loader, parameter);
    const MemoryVolumePtr<T> volume = DynamicCast<MemoryVolumePtr<T>>(parameter->modifyVolume.getValue());
    ASSERT_FALSE(volume == 0);
    EXPECT_EQ(volume->getVolumeDimension(), Dimension<SizeType>(5, 3, 4));
    EXPECT_EQ(bytesOf(FileTest::storageVoxels(volume)), bytesOf(voxels));
    EXPECT_EQ(loader.getProgress().getProgress(), 1.0);
}

TEST(Loader, ReportsVoxelSizeAndTheHeader)
{
    FileTest::TemporaryDirectory directory;
    writeRek<Tarn::uint16>(directory.file("v.rek"), 2, 2, 2);
    const SmartPointer<Parameter> parameter = parameterFor(directory.file("v.rek"));
    Loader<Tarn::uint16> loader;
    run(loader, parameter);
    EXPECT_EQ(parameter->outputMetaInformation.getValue()->modifyVoxelSize.getValue(),
              Tarn::Kito::Triple<Tarn::float32>(0.125f, 0.125f, 2.5f));
    const SmartPointer<Meta> meta = DynamicCast<SmartPointer<Meta>>(parameter->outputFormatSpecificMetaInformation.getValue());
    ASSERT_FALSE(meta == 0);
    EXPECT_EQ(meta->header.rekoTert, 2);
    EXPECT_EQ(meta->header.voxelSizeZ, 2.5f);
}

TEST(Loader, AVolumeOfTheRightExtentIsFilledInPlace)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::uint16> voxels = writeRek<Tarn::uint16>(directory.file("v.rek"), 6, 5, 4);
    const MemoryVolumePtr<Tarn::uint16> given(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(6, 5, 4)));
    const Tarn::uint16* memory = given->getIterator();
    const SmartPointer<Parameter> parameter = parameterFor(directory.file("v.rek"), asIVolume(given));
    Loader<Tarn::uint16> loader;
    run(loader, parameter);
    EXPECT_EQ(DynamicCast<MemoryVolumePtr<Tarn::uint16>>(parameter->modifyVolume.getValue()).get(), given.get());
    EXPECT_EQ(given->getIterator(), memory);
    EXPECT_EQ(FileTest::storageVoxels(given), voxels);
}

TEST(Loader, AVolumeWhoseViewHasAnotherExtentIsReallocatedToTheFile)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::uint16> voxels = writeRek<Tarn::uint16>(directory.file("v.rek"), 6, 5, 4);
    const MemoryVolumePtr<Tarn::uint16> given(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(9, 9, 9)));
    given->fill(77);
    given->setRoi(Tarn::Kito::RegionOfInterest<SizeType>(Dimension<SizeType>(6, 5, 3), Tarn::Kito::Position<SizeType>(1, 1, 1)));
    Loader<Tarn::uint16> loader;
    run(loader, parameterFor(directory.file("v.rek"), asIVolume(given)));
    EXPECT_EQ(given->getVolumeDimension(), Dimension<SizeType>(6, 5, 4));
    EXPECT_EQ(given->getRoiStack().size(), 1u);
    EXPECT_EQ(FileTest::storageVoxels(given), voxels);
}

TEST(Loader, ADestinationRegionOfTheFileExtentGetsTheFileAndNothingElseChanges)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::int16> voxels = writeRek<Tarn::int16>(directory.file("v.rek"), 3, 2, 2);
    const MemoryVolumePtr<Tarn::int16> given(new MemoryVolume<Tarn::int16>(Dimension<SizeType>(5, 4, 3)));
    given->fill(-9);
    given->setRoi(Tarn::Kito::RegionOfInterest<SizeType>(Dimension<SizeType>(3, 2, 2), Tarn::Kito::Position<SizeType>(1, 2, 1)));
    const Tarn::int16* memory = given->getPosOffset(Tarn::Kito::Position<SizeType>(0, 0, 0));
    Loader<Tarn::int16> loader;
    run(loader, parameterFor(directory.file("v.rek"), asIVolume(given)));
    EXPECT_EQ(given->getPosOffset(Tarn::Kito::Position<SizeType>(0, 0, 0)), memory);
    EXPECT_EQ(given->getRoiStack().size(), 2u);
    given->popRoi();
    // Plain loop over the whole volume: the region holds the file in file order, the rest is untouched.
    std::vector<Tarn::int16> expected;
    for (SizeType t = 0; t < 3; ++t)
        for (SizeType s = 0; s < 4; ++s)
            for (SizeType p = 0; p < 5; ++p) {
                const bool inside = p >= 1 && p < 4 && s >= 2 && t >= 1;
                expected.push_back(inside ? voxels[(p - 1) + 3 * ((s - 2) + 2 * (t - 1))] : Tarn::int16(-9));
            }
    EXPECT_EQ(FileTest::storageVoxels(given), expected);
    EXPECT_EQ(loader.getProgress().getProgress(), 1.0);
}

TEST(Loader, ATurnedWholeVolumeShowsTheFileInItsViewOrder)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::uint8> voxels = writeRek<Tarn::uint8>(directory.file("v.rek"), 4, 3, 2);
    const MemoryVolumePtr<Tarn::uint8> given(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(4, 3, 2)));
    given->setOrientation(Tarn::Kito::Orientation(1, 2, 4)); // prim mirrored
    Loader<Tarn::uint8> loader;
    run(loader, parameterFor(directory.file("v.rek"), asIVolume(given)));
    for (SizeType t = 0; t < 2; ++t)
        for (SizeType s = 0; s < 3; ++s)
            for (SizeType p = 0; p < 4; ++p)
                EXPECT_EQ(given->getValueAt(Tarn::Kito::Position<SizeType>(p, s, t)), voxels[p + 4 * (s + 3 * t)]);
    // In storage, each line is reversed.
    EXPECT_EQ(FileTest::storageVoxels(given)[0], voxels[3]);
}

TEST(Loader, TheRegionPathReportsToTheCallersProgress)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::uint32> voxels = writeRek<Tarn::uint32>(directory.file("v.rek"), 2, 2, 4);
    const MemoryVolumePtr<Tarn::uint32> volume(new MemoryVolume<Tarn::uint32>(Dimension<SizeType>(3, 3, 4)));
    volume->setRoi(Tarn::Kito::RegionOfInterest<SizeType>(Dimension<SizeType>(2, 2, 4), Tarn::Kito::Position<SizeType>(1, 1, 0)));
    Tarn::Kito::Progress progress;
    const std::uint8_t go = 0;
    Loader<Tarn::uint32>::readVolume(volume, directory.file("v.rek"), progress, &go);
    EXPECT_EQ(progress.getProgress(), 1.0);
    EXPECT_EQ(volume->getValueAt(Tarn::Kito::Position<SizeType>(1, 1, 3)), voxels[15]);
}

TEST(Loader, AFileOfAnotherVoxelTypeNamesBoth)
{
    FileTest::TemporaryDirectory directory;
    writeRek<Tarn::uint16>(directory.file("v.rek"), 2, 2, 2);
    Loader<Tarn::uint8> loader;
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { run(loader, parameterFor(directory.file("v.rek"))); }),
              "parameter: " + applyOrigin +
                  " template voxel type (Tarn::uint8) doesn't match file voxel type (Tarn::uint16) ");
}

TEST(Loader, AVolumeOfAnotherTypeFailsAsTheOutputCheck)
{
    FileTest::TemporaryDirectory directory;
    writeRek<Tarn::uint16>(directory.file("v.rek"), 2, 2, 2);
    const MemoryVolumePtr<Tarn::int16> given(new MemoryVolume<Tarn::int16>(Dimension<SizeType>(2, 2, 2)));
    Loader<Tarn::uint16> loader;
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { run(loader, parameterFor(directory.file("v.rek"), asIVolume(given))); }),
              "parameter: Tarn::Kito::Operator::checkOutputVolume volume is of the wrong type");
}

TEST(Loader, AMissingFileFailsToOpen)
{
    Loader<Tarn::uint16> loader;
    const TestSupport::TarnFailure failure =
        TestSupport::tarnFailureOf([&] { run(loader, parameterFor("no/such/volume.rek")); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::FileOpen");
    EXPECT_EQ(failure.gui, "Couldn't open file 'no/such/volume.rek'!");
    EXPECT_EQ(failure.origin, applyOrigin);
}

TEST(Loader, AnotherParameterObjectFails)
{
    Loader<Tarn::uint16> loader;
    const SmartPointer<IComposite> other = DynamicCast<SmartPointer<IComposite>>(
        SmartPointer<Files::RecHeaderLoader::Parameter>(new Files::RecHeaderLoader::Parameter));
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { loader.apply(other); }), "parameter: " + applyOrigin);
}

TEST(Loader, AbortBeforeTheFirstSliceReadsNothingAndFailsNothing)
{
    FileTest::TemporaryDirectory directory;
    writeRek<Tarn::uint16>(directory.file("v.rek"), 4, 4, 3);
    const MemoryVolumePtr<Tarn::uint16> volume(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(4, 4, 3)));
    volume->fill(5);
    Tarn::Kito::Progress progress;
    const std::uint8_t abort = 1;
    Loader<Tarn::uint16>::readVolume(volume, directory.file("v.rek"), progress, &abort);
    EXPECT_EQ(FileTest::storageVoxels(volume), std::vector<Tarn::uint16>(48, 5));
    EXPECT_EQ(progress.getProgress(), 0.0);
}

TEST(Loader, DirectReadReportsEachSlice)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::uint16> voxels = writeRek<Tarn::uint16>(directory.file("v.rek"), 4, 4, 3);
    const MemoryVolumePtr<Tarn::uint16> volume(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(4, 4, 3)));
    Tarn::Kito::Progress progress;
    const std::uint8_t go = 0;
    Loader<Tarn::uint16>::readVolume(volume, directory.file("v.rek"), progress, &go);
    EXPECT_EQ(FileTest::storageVoxels(volume), voxels);
    const double step = 0.99 / 3.0;
    EXPECT_EQ(progress.getProgress(), step + step + step);
}

TEST(Loader, AFileThatEndsEarlyOnTheDirectPathFailsInTheStream)
{
    FileTest::TemporaryDirectory directory;
    writeRek<Tarn::uint16>(directory.file("v.rek"), 4, 4, 3);
    const MemoryVolumePtr<Tarn::uint16> volume(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(4, 4, 4)));
    volume->fill(5);
    Tarn::Kito::Progress progress;
    const std::uint8_t go = 0;
    EXPECT_THROW(Loader<Tarn::uint16>::readVolume(volume, directory.file("v.rek"), progress, &go), std::ios_base::failure);
    // The slices read stay, the region of the failed slice is gone.
    EXPECT_EQ(volume->getValueAt(Tarn::Kito::Position<SizeType>(0, 0, 2)), 3 + 7 * 32);
    EXPECT_EQ(volume->getRoiStack().size(), 1u);
}

// ---- volumes of several MiB, whose back half a second thread reads when the volume is new --------

using FileTest::largePrim;
using FileTest::largeSec;
using FileTest::largeSlice;
using FileTest::largeTert;

TEST(Loader, ALargeNewVolumeHoldsTheFileOnOneAndTwoThreads)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::uint16> voxels = writeRek<Tarn::uint16>(directory.file("v.rek"), largePrim, largeSec, largeTert);
    for (const int threads : {1, 2}) {
        const TestSupport::ThreadCount count(threads);
        const SmartPointer<Parameter> parameter = parameterFor(directory.file("v.rek"));
        Loader<Tarn::uint16> loader;
        run(loader, parameter);
        EXPECT_EQ(FileTest::storageVoxels(DynamicCast<MemoryVolumePtr<Tarn::uint16>>(parameter->modifyVolume.getValue())),
                  voxels)
            << threads << " threads";
        EXPECT_EQ(loader.getProgress().getProgress(), 1.0);
    }
}

/// Stopped while it reads a volume made for the read, the loader leaves the slices from the stop
/// on as they were (zeros here), whatever the second thread had read of them, and its progress
/// counts the slices read.
TEST(Loader, AStopWhileANewVolumeIsReadLeavesTheSlicesFromThereAsTheyWere)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::uint16> voxels = writeRek<Tarn::uint16>(directory.file("v.rek"), largePrim, largeSec, largeTert);
    const TestSupport::ThreadCount count(2);
    const MemoryVolumePtr<Tarn::uint16> volume = FileTest::largeVolumeOf(0);
    Tarn::Kito::Progress progress;
    std::uint8_t abort = 0;
    std::atomic<bool> finished{false};
    std::thread watcher([&] {
        while (!finished.load() && progress.getProgress() == 0.0) std::this_thread::yield();
        Tarn::Kito::requestStop(&abort);
    });
    Loader<Tarn::uint16>::readVolume(volume, directory.file("v.rek"), progress, &abort, true);
    finished = true;
    watcher.join();
    const long long read = FileTest::fileSlicesThenOnly(FileTest::storageVoxels(volume), voxels, Tarn::uint16(0), largeSlice);
    ASSERT_GE(read, 1);
    double reported = 0.0;
    for (long long t = 0; t < read; ++t) reported += 0.99 / static_cast<double>(largeTert);
    EXPECT_EQ(progress.getProgress(), reported) << read << " slices read";
}

/// A host's volume of the file's size is read by one thread, and a stop leaves its own voxels
/// after the slices read.
TEST(Loader, AStopWhileAHostsVolumeIsReadInPlaceLeavesItsVoxelsFromThere)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::uint16> voxels = writeRek<Tarn::uint16>(directory.file("v.rek"), largePrim, largeSec, largeTert);
    const TestSupport::ThreadCount count(2);
    const MemoryVolumePtr<Tarn::uint16> given = FileTest::largeVolumeOf(5);
    Loader<Tarn::uint16> loader;
    // Whether the stop comes before the last slice is the scheduler's affair; the slices after the
    // last one read are the host's either way.
    TestSupport::stopWhileRunning(loader, [&] { run(loader, parameterFor(directory.file("v.rek"), asIVolume(given))); });
    EXPECT_GE(FileTest::fileSlicesThenOnly(FileTest::storageVoxels(given), voxels, Tarn::uint16(5), largeSlice), 1);
}

TEST(Loader, RawNamedFileWithAHeaderLargerThanTheFileAllocatesNothing)
{
    FileTest::TemporaryDirectory directory;
    FileTest::writeFile(directory.file("big.raw"),
                        bytesOf(headerWith(16, {30000, 30000, 30000}, {0, 0, 0})) + FileTest::zeros(64));
    Loader<Tarn::uint16> loader;
    const TestSupport::TarnFailure failure = TestSupport::tarnFailureOf([&] { run(loader, parameterFor(directory.file("big.raw"))); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::BadFile");
    EXPECT_EQ(failure.gui, "In '" + directory.file("big.raw") + "': Invalid Rek Header! wrong filesize");
    EXPECT_EQ(failure.origin, loader.getType() + "::apply::readVolume");
}

TEST(Loader, RawNamedFileWithAFittingHeaderLoadsLikeAnyOther)
{
    FileTest::TemporaryDirectory directory;
    const std::vector<Tarn::int16> voxels = FileTest::countingVoxels<Tarn::int16>(24);
    // The reko block disagrees, and a .raw name makes the loader take the image block untested.
    FileTest::writeFile(directory.file("v.raw"), bytesOf(headerWith(15, {4, 3, 2}, {9, 9, 9})) + bytesOf(voxels));
    const SmartPointer<Parameter> parameter = parameterFor(directory.file("v.raw"));
    Loader<Tarn::int16> loader;
    run(loader, parameter);
    const MemoryVolumePtr<Tarn::int16> volume = DynamicCast<MemoryVolumePtr<Tarn::int16>>(parameter->modifyVolume.getValue());
    EXPECT_EQ(volume->getVolumeDimension(), Dimension<SizeType>(4, 3, 2));
    EXPECT_EQ(FileTest::storageVoxels(volume), voxels);
}

TEST(Loader, EveryTypeWithALoaderHasItsIdentifier)
{
    const std::string meta =
        "Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::MetaInformation< RecHeader_V260 >";
    EXPECT_EQ(Loader<Tarn::float32>().getType(),
              "Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::Loader::Operator< "
              "Tarn::Kito::Volume< Tarn::float32 , Tarn::Kito::Allocator::SingleBlockAllocator > , " + meta + " >");
}

TEST(Loader, AFileOf64BitIntegersFindsNoLoaderInTheFactory)
{
    const std::string identifier =
        "Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::Loader::Operator< "
        "Tarn::Kito::Volume< Tarn::int64 , Tarn::Kito::Allocator::SingleBlockAllocator > , "
        "Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::MetaInformation< RecHeader_V260 > >";
    EXPECT_EQ(TestSupport::invalidArgumentOf(
                  [&] { Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(identifier); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier " + identifier +
                  " is registered");
}

} // namespace
