// Copy and its facade ICopy: every source allocator, every voxel type, whole volumes, regions and
// turned views, into new and existing outputs; the failures; a copy that is stopped.
#include <Kito/BufferedInputFileAllocator>
#include <Kito/Copy/Operator>
#include <Kito/ExternalBufferAllocator>
#include <Kito/ForEach>
#include <Kito/InputFileAllocator>
#include <Kito/Statistics/SumOfVoxels/Parameter>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/ICopy.h>

#include <support/FailureOf.h>
#include <support/RandomVolume.h>
#include <support/StopWhileRunning.h>
#include <support/Views.h>
#include <support/VolumeFiles.h>

#include <gtest/gtest.h>

#include <omp.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::Orientation;
using Tarn::Kito::Position;
using Tarn::Kito::Progress;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Volume;
using Tarn::Kito::VolumePtr;
using Tarn::Kito::Allocator::BufferedInputFileAllocator;
using Tarn::Kito::Allocator::ExternalBufferAllocator;
using Tarn::Kito::Allocator::InputFileAllocator;
using Tarn::Kito::Allocator::SingleBlockAllocator;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;
using CopyParameter = Tarn::Kito::Copy::Parameter;

const std::uint8_t goOn = 0;

template <class V> SmartPointer<IVolume> asVolume(const V& volume) { return DynamicCast<SmartPointer<IVolume>>(volume); }

/// The bytes of the voxels of a view in walk order: a comparison to the bit, floats included.
template <class V> std::vector<unsigned char> bytesInView(const V& volume)
{
    const auto values = TestSupport::valuesInView(volume);
    std::vector<unsigned char> bytes(values.size() * sizeof(values[0]));
    if (!bytes.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

/// The views each source is copied through: whole, a region, a region turned with prim and sec
/// swapped, the whole volume mirrored along prim, and a region seen with tert first, mirrored.
std::vector<TestSupport::View> copyViews()
{
    return {TestSupport::wholeView(0),
            TestSupport::regionView(1, Dimension<SizeType>(50, 30, 7), Position<SizeType>(9, 8, 3)),
            TestSupport::turnedRegionView(2, Dimension<SizeType>(41, 33, 9), Position<SizeType>(20, 5, 1),
                                          Orientation(2, 0, 4)),
            TestSupport::turnedView(3, Orientation(1, 2, 4)),
            TestSupport::turnedRegionView(4, Dimension<SizeType>(60, 44, 12), Position<SizeType>(3, 1, 0),
                                          Orientation(5, 1, 2))};
}

const Dimension<SizeType> sourceSize(67, 45, 13);

/// Copies source (in its view) through the facade, into output (NULL: a new volume).
template <class T> MemoryVolumePtr<T> copyThroughFacade(const SmartPointer<IVolume>& source,
                                                        const SmartPointer<IVolume>& output)
{
    SmartPointer<CopyParameter> p(new CopyParameter);
    p->inputVolume.setValue(source);
    p->outputVolume.setValue(output);
    Tarn::Lumo_DLL::ICopy::IOperator copy;
    copy.apply(TestSupport::asComposite(p));
    EXPECT_EQ(copy.getProgress().getProgress(), 1.0);
    return DynamicCast<MemoryVolumePtr<T>>(p->outputVolume.getValue());
}

template <class T> class CopyTyped : public ::testing::Test {};
TYPED_TEST_SUITE(CopyTyped, TestSupport::OperatorVoxelTypes, TestSupport::VoxelTypeNames);

/// From each of the four source allocators, through each view: the output holds the source's view
/// bit for bit, in the output's storage order, and has the view's extent.
TYPED_TEST(CopyTyped, EverySourceAllocatorGivesItsViewBitForBit)
{
    using T = TypeParam;
    TestSupport::ScratchDirectory dir;
    const std::string path = dir.file("source.rek");
    const MemoryVolumePtr<T> memory = TestSupport::makeRandomVolume<T>(sourceSize, 101);
    TestSupport::writeVolumeFile(path, TestSupport::storageVoxels(*memory));

    for (const TestSupport::View& view : copyViews()) {
        SCOPED_TRACE("view " + std::to_string(view.index));
        const MemoryVolumePtr<T> reference = TestSupport::makeRandomVolume<T>(sourceSize, 101);
        TestSupport::setView(*reference, view);
        const std::vector<unsigned char> expected = bytesInView(*reference);

        // In memory: the output is made by the copy.
        const MemoryVolumePtr<T> source = TestSupport::makeRandomVolume<T>(sourceSize, 101);
        TestSupport::setView(*source, view);
        const MemoryVolumePtr<T> fromMemory = copyThroughFacade<T>(asVolume(source), SmartPointer<IVolume>());
        ASSERT_NE(fromMemory, 0);
        EXPECT_EQ(fromMemory->getDimension(), reference->getDimension());
        EXPECT_EQ(bytesInView(*fromMemory), expected);

        // A chunk of memory over the whole source, turned and narrowed like the others.
        using Chunk = Volume<T, ExternalBufferAllocator<SingleBlockAllocator>>;
        const MemoryVolumePtr<T> whole = TestSupport::makeRandomVolume<T>(sourceSize, 101);
        VolumePtr<T, ExternalBufferAllocator<SingleBlockAllocator>> chunk(
            new Chunk(whole, RegionOfInterest<SizeType>(sourceSize, Position<SizeType>(0, 0, 0))));
        TestSupport::setView(*chunk, view);
        const MemoryVolumePtr<T> intoExisting(new MemoryVolume<T>(reference->getDimension()));
        const MemoryVolumePtr<T> fromChunk = copyThroughFacade<T>(asVolume(chunk), asVolume(intoExisting));
        EXPECT_EQ(fromChunk.get(), intoExisting.get()) << "an output of the view's extent is kept";
        EXPECT_EQ(bytesInView(*fromChunk), expected);

        // Files, by both allocators; the output first of another extent, which is reallocated.
        VolumePtr<T, InputFileAllocator> streamed(new Volume<T, InputFileAllocator>(path, sourceSize));
        TestSupport::setView(*streamed, view);
        const MemoryVolumePtr<T> other(new MemoryVolume<T>(Dimension<SizeType>(3, 3, 3)));
        const MemoryVolumePtr<T> fromStream = copyThroughFacade<T>(asVolume(streamed), asVolume(other));
        EXPECT_EQ(fromStream->getDimension(), reference->getDimension());
        EXPECT_EQ(bytesInView(*fromStream), expected);

        VolumePtr<T, BufferedInputFileAllocator> paged(new Volume<T, BufferedInputFileAllocator>(path, sourceSize));
        TestSupport::setView(*paged, view);
        const MemoryVolumePtr<T> fromPages =
            copyThroughFacade<T>(asVolume(paged), asVolume(MemoryVolumePtr<T>(new MemoryVolume<T>(sourceSize))));
        EXPECT_EQ(bytesInView(*fromPages), expected);
    }
}

/// What a serial walk hands over, in order.
template <class T> struct Collect : Tarn::Kito::Iterating::Functor {
    void operator()(const T& value) { values.push_back(value); }
    std::vector<T> values;
};

/// The serial walk of a file volume, through either allocator, meets the voxels of the volume in
/// memory in the same order.
TYPED_TEST(CopyTyped, ASerialWalkOverAFileMeetsTheVoxelsOfTheVolumeInMemory)
{
    using T = TypeParam;
    TestSupport::ScratchDirectory dir;
    const std::string path = dir.file("source.rek");
    const MemoryVolumePtr<T> memory = TestSupport::makeRandomVolume<T>(sourceSize, 7);
    TestSupport::writeVolumeFile(path, TestSupport::storageVoxels(*memory));
    for (const TestSupport::View& view : copyViews()) {
        SCOPED_TRACE("view " + std::to_string(view.index));
        const MemoryVolumePtr<T> reference = TestSupport::makeRandomVolume<T>(sourceSize, 7);
        TestSupport::setView(*reference, view);
        const std::vector<T> expected = TestSupport::valuesInView(*reference);
        Progress progress;
        VolumePtr<T, InputFileAllocator> streamed(new Volume<T, InputFileAllocator>(path, sourceSize));
        TestSupport::setView(*streamed, view);
        Collect<T> fromStream;
        Tarn::Kito::Iterating::ForEach::apply(fromStream, streamed, progress, &goOn);
        EXPECT_TRUE(fromStream.values == expected);
        VolumePtr<T, BufferedInputFileAllocator> paged(new Volume<T, BufferedInputFileAllocator>(path, sourceSize));
        TestSupport::setView(*paged, view);
        Collect<T> fromPages;
        Tarn::Kito::Iterating::ForEach::apply(fromPages, paged, progress, &goOn);
        EXPECT_TRUE(fromPages.values == expected);
    }
}

/// The same copies on one, two and three threads.
TYPED_TEST(CopyTyped, TheCopyDoesNotDependOnTheNumberOfThreads)
{
    using T = TypeParam;
    TestSupport::ScratchDirectory dir;
    const std::string path = dir.file("source.rek");
    const MemoryVolumePtr<T> memory = TestSupport::makeRandomVolume<T>(sourceSize, 3);
    TestSupport::writeVolumeFile(path, TestSupport::storageVoxels(*memory));
    const TestSupport::View view = copyViews()[2];
    const MemoryVolumePtr<T> reference = TestSupport::makeRandomVolume<T>(sourceSize, 3);
    TestSupport::setView(*reference, view);
    const int saved = omp_get_max_threads();
    for (int threads : {1, 2, 3}) {
        omp_set_num_threads(threads);
        VolumePtr<T, BufferedInputFileAllocator> paged(new Volume<T, BufferedInputFileAllocator>(path, sourceSize));
        TestSupport::setView(*paged, view);
        const MemoryVolumePtr<T> copy =
            copyThroughFacade<T>(asVolume(paged), asVolume(MemoryVolumePtr<T>(new MemoryVolume<T>(sourceSize))));
        EXPECT_EQ(bytesInView(*copy), bytesInView(*reference)) << threads << " threads";
    }
    omp_set_num_threads(saved);
}

// ---- the 64-bit integers: in memory, serially -----------------------------------------------------

template <class T> class WideCopyTyped : public ::testing::Test {};
using WideTypes = ::testing::Types<Tarn::int64, Tarn::uint64>;
TYPED_TEST_SUITE(WideCopyTyped, WideTypes, TestSupport::VoxelTypeNames);

TYPED_TEST(WideCopyTyped, CopiesEveryViewSerially)
{
    using T = TypeParam;
    for (const TestSupport::View& view : copyViews()) {
        const MemoryVolumePtr<T> source = TestSupport::makeRandomVolume<T>(sourceSize, 11);
        TestSupport::setView(*source, view);
        const MemoryVolumePtr<T> copy = copyThroughFacade<T>(asVolume(source), SmartPointer<IVolume>());
        EXPECT_EQ(bytesInView(*copy), bytesInView(*source)) << "view " << view.index;
    }
}

// ---- edge cases -----------------------------------------------------------------------------------

using Copy16 = Tarn::Kito::Copy::Operator<MemoryVolumePtr<Tarn::uint16>, MemoryVolumePtr<Tarn::uint16>>;

SmartPointer<CopyParameter> copyParameter(const SmartPointer<IVolume>& input, const SmartPointer<IVolume>& output)
{
    SmartPointer<CopyParameter> p(new CopyParameter);
    p->inputVolume.setValue(input);
    p->outputVolume.setValue(output);
    return p;
}

TEST(Copy, ARegionOnTheSourceOnlyGivesAWholeVolumeOfTheRegionsExtent)
{
    const MemoryVolumePtr<Tarn::uint16> source = TestSupport::makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(6, 5, 4));
    source->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(3, 2, 2), Position<SizeType>(2, 1, 1)));
    const SmartPointer<CopyParameter> p = copyParameter(asVolume(source), SmartPointer<IVolume>());
    Copy16 copy;
    copy.apply(TestSupport::asComposite(p));
    const MemoryVolumePtr<Tarn::uint16> output = DynamicCast<MemoryVolumePtr<Tarn::uint16>>(p->outputVolume.getValue());
    ASSERT_NE(output, 0);
    EXPECT_EQ(output->getVolumeDimension(), Dimension<SizeType>(3, 2, 2));
    EXPECT_EQ(output->getRoiStack().size(), 1u);
    const std::vector<Tarn::uint16> expected = {38, 39, 40, 44, 45, 46, 68, 69, 70, 74, 75, 76};
    EXPECT_EQ(TestSupport::valuesInView(*output), expected);
}

TEST(Copy, IntoARegionOfAnExistingOutputByLines)
{
    const MemoryVolumePtr<Tarn::uint16> source = TestSupport::makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(4, 3, 2));
    const MemoryVolumePtr<Tarn::uint16> output(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(6, 5, 3)));
    output->fill(9999);
    output->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(4, 3, 2), Position<SizeType>(1, 2, 1)));
    Copy16 copy;
    copy.apply(TestSupport::asComposite(copyParameter(asVolume(source), asVolume(output))));
    EXPECT_EQ(TestSupport::valuesInView(*output), TestSupport::valuesInView(*source));
    output->popRoi();
    EXPECT_EQ(output->getValueAt(Position<SizeType>(0, 2, 1)), 9999) << "outside the region nothing is written";
    EXPECT_EQ(output->getValueAt(Position<SizeType>(5, 4, 2)), 9999);
    EXPECT_EQ(output->getValueAt(Position<SizeType>(1, 2, 1)), 0);
}

TEST(Copy, BetweenRegionsThatCutTertAloneBySlices)
{
    // Whole slices of the source, slices 1 to 3, into slices 2 to 4 of a taller output, as a join
    // along tert places its parts; the slices around them stay.
    const MemoryVolumePtr<Tarn::uint16> source = TestSupport::makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(5, 4, 5));
    source->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(5, 4, 3), Position<SizeType>(0, 0, 1)));
    const MemoryVolumePtr<Tarn::uint16> output(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(5, 4, 6)));
    output->fill(9999);
    output->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(5, 4, 3), Position<SizeType>(0, 0, 2)));
    Copy16 copy;
    copy.apply(TestSupport::asComposite(copyParameter(asVolume(source), asVolume(output))));
    EXPECT_EQ(copy.getProgress().getProgress(), 1.0);
    output->popRoi();
    for (SizeType t = 0; t < 6; ++t)
        for (SizeType s = 0; s < 4; ++s)
            for (SizeType p = 0; p < 5; ++p) {
                const Tarn::uint16 expected =
                    t >= 2 && t <= 4 ? static_cast<Tarn::uint16>(p + 5 * (s + 4 * (t - 1))) : Tarn::uint16(9999);
                ASSERT_EQ(output->getValueAt(Position<SizeType>(p, s, t)), expected) << p << " " << s << " " << t;
            }
    // A region of a volume onto the same region of itself: slice moves onto themselves.
    const std::vector<Tarn::uint16> before = TestSupport::valuesInView(*output);
    output->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(5, 4, 4), Position<SizeType>(0, 0, 1)));
    copy.apply(TestSupport::asComposite(copyParameter(asVolume(output), asVolume(output))));
    output->popRoi();
    EXPECT_EQ(TestSupport::valuesInView(*output), before);
}

TEST(Copy, AVolumeCopiedOntoItselfStaysAsItWas)
{
    const MemoryVolumePtr<Tarn::uint16> volume = TestSupport::makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(8, 4, 3));
    const std::vector<Tarn::uint16> before = TestSupport::valuesInView(*volume);
    Copy16 copy;
    const SmartPointer<CopyParameter> p = copyParameter(asVolume(volume), asVolume(volume));
    copy.apply(TestSupport::asComposite(p));
    EXPECT_EQ(DynamicCast<MemoryVolumePtr<Tarn::uint16>>(p->outputVolume.getValue()).get(), volume.get());
    EXPECT_EQ(TestSupport::valuesInView(*volume), before);
    volume->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(5, 2, 2), Position<SizeType>(1, 1, 1)));
    copy.apply(TestSupport::asComposite(p)); // a region of it onto the same region: line moves onto themselves
    volume->popRoi();
    EXPECT_EQ(TestSupport::valuesInView(*volume), before);
}

TEST(Copy, AnEmptySourceGivesAnEmptyOutputAndNoWalk)
{
    const MemoryVolumePtr<Tarn::uint16> source(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(0, 0, 0)));
    const SmartPointer<CopyParameter> p = copyParameter(asVolume(source), SmartPointer<IVolume>());
    Copy16 copy;
    copy.apply(TestSupport::asComposite(p));
    const MemoryVolumePtr<Tarn::uint16> output = DynamicCast<MemoryVolumePtr<Tarn::uint16>>(p->outputVolume.getValue());
    ASSERT_NE(output, 0);
    EXPECT_EQ(output->getVolumeDimension(), Dimension<SizeType>(0, 0, 0));
    EXPECT_EQ(copy.getProgress().getProgress(), 0.0);
}

TEST(Copy, FailuresOfTheOperator)
{
    Copy16 copy;
    SmartPointer<Tarn::Kito::Statistics::SumOfVoxels::Parameter> wrong(new Tarn::Kito::Statistics::SumOfVoxels::Parameter);
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { copy.apply(TestSupport::asComposite(wrong)); }),
              "parameter: Tarn::Kito::Copy::Operator::apply");
    EXPECT_EQ(TestSupport::invalidArgumentOf(
                  [&] { copy.apply(TestSupport::asComposite(copyParameter(SmartPointer<IVolume>(), SmartPointer<IVolume>()))); }),
              "parameter: Tarn::Kito::Copy::Operator::apply input volume is NULL");
    const MemoryVolumePtr<Tarn::uint8> ofOtherType(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 2)));
    const MemoryVolumePtr<Tarn::uint16> source = TestSupport::makeIndexVolume<Tarn::uint16>(Dimension<SizeType>(2, 2, 2));
    EXPECT_EQ(TestSupport::invalidArgumentOf(
                  [&] { copy.apply(TestSupport::asComposite(copyParameter(asVolume(source), asVolume(ofOtherType)))); }),
              "parameter: Tarn::Kito::Operator::checkOutputVolume volume is of the wrong type");
    EXPECT_EQ(copy.getType(), "Tarn::Kito::Copy::Operator< Tarn::Kito::Volume< Tarn::uint16 , "
                              "Tarn::Kito::Allocator::SingleBlockAllocator > , Tarn::Kito::Volume< Tarn::uint16 , "
                              "Tarn::Kito::Allocator::SingleBlockAllocator > >");
}

TEST(Copy, AStoppedCopyEndsAtASliceBorderWithoutFailure)
{
    // One thread: the slab is the whole volume, so the copied slices are a run from slice 0 on.
    const int saved = omp_get_max_threads();
    omp_set_num_threads(1);
    const Dimension<SizeType> d(256, 256, 64);
    const MemoryVolumePtr<Tarn::uint16> source(new MemoryVolume<Tarn::uint16>(d));
    source->fill(1);
    source->setOrientation(Orientation(2, 0, 4)); // voxel by voxel: slow enough to be stopped
    bool stoppedInside = false;
    for (int attempt = 0; attempt < 50 && !stoppedInside; ++attempt) {
        const MemoryVolumePtr<Tarn::uint16> output(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(256, 256, 64)));
        output->fill(0);
        Copy16 copy;
        TestSupport::stopWhileRunning(copy, [&] {
            copy.apply(TestSupport::asComposite(copyParameter(asVolume(source), asVolume(output))));
        });
        SizeType filled = 0;
        for (SizeType t = 0; t < d.tert; ++t) {
            std::vector<Tarn::uint16> slice;
            for (SizeType s = 0; s < d.sec; ++s)
                for (SizeType p = 0; p < d.prim; ++p) slice.push_back(output->getValueAt(Position<SizeType>(p, s, t)));
            const bool all = std::all_of(slice.begin(), slice.end(), [](Tarn::uint16 v) { return v == 1; });
            const bool none = std::all_of(slice.begin(), slice.end(), [](Tarn::uint16 v) { return v == 0; });
            ASSERT_TRUE(all || none) << "slice " << t << " is copied whole or not at all";
            if (all) {
                ASSERT_EQ(filled, t) << "the copied slices come first";
                ++filled;
            }
        }
        stoppedInside = filled < d.tert;
        if (stoppedInside) {
            EXPECT_GE(filled, 1u);
        }
    }
    omp_set_num_threads(saved);
    EXPECT_TRUE(stoppedInside) << "no run was stopped before its end";
}

// ---- the facade ----------------------------------------------------------------------------------

std::string facadeFailureOf(const SmartPointer<Tarn::Kito::Persistence::IComposite>& parameter)
{
    Tarn::Lumo_DLL::ICopy::IOperator copy;
    return TestSupport::invalidArgumentOf([&] { copy.apply(parameter); });
}

TEST(ICopy, FailuresInTheOrderOfTheirTests)
{
    const std::string head = "parameter: Tarn::Lumo_DLL::ICopy::IOperator::getOperatorTypeFromParameterObject";
    SmartPointer<Tarn::Kito::Statistics::SumOfVoxels::Parameter> wrong(new Tarn::Kito::Statistics::SumOfVoxels::Parameter);
    EXPECT_EQ(facadeFailureOf(TestSupport::asComposite(wrong)), head + ": invalid parameter object!");
    const MemoryVolumePtr<Tarn::uint8> bytes(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 2)));
    EXPECT_EQ(facadeFailureOf(TestSupport::asComposite(copyParameter(SmartPointer<IVolume>(), asVolume(bytes)))),
              head + ": inputVolume is NULL!");
    const MemoryVolumePtr<Tarn::int8> signedBytes(new MemoryVolume<Tarn::int8>(Dimension<SizeType>(2, 2, 2)));
    EXPECT_EQ(facadeFailureOf(TestSupport::asComposite(copyParameter(asVolume(signedBytes), asVolume(bytes)))),
              head + ": Voxel types must be equal!");
}

TEST(ICopy, AFileSourceWithoutOutputNamesNoInstanceAndFailsInTheFactory)
{
    TestSupport::ScratchDirectory dir;
    const std::string path = dir.file("v.rek");
    TestSupport::writeVolumeFile(path, std::vector<Tarn::uint16>(8, 1));
    VolumePtr<Tarn::uint16, BufferedInputFileAllocator> file(
        new Volume<Tarn::uint16, BufferedInputFileAllocator>(path, Dimension<SizeType>(2, 2, 2)));
    const std::string fileType =
        "Tarn::Kito::Volume< Tarn::uint16 , Tarn::Kito::Allocator::BufferedInputFileAllocator >";
    EXPECT_EQ(facadeFailureOf(TestSupport::asComposite(copyParameter(asVolume(file), SmartPointer<IVolume>()))),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Kito::Copy::Operator< " + fileType + " , " + fileType + " > is registered");
}

} // namespace
