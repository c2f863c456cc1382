// The file-backed allocators: pages shared by iterators and dropped with the last one, short files,
// steps backwards over a page start, the failures, and files that stay as they were.
#include <Kito/BufferedInputFileAllocator>
#include <Kito/Exceptions>
#include <Kito/ForEach>
#include <Kito/InputFileAllocator>
#include <Kito/Volume>

#include <support/FailureOf.h>
#include <support/RandomVolume.h>
#include <support/VolumeFiles.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <ios>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::OffsetType;
using Tarn::Kito::Position;
using Tarn::Kito::Progress;
using Tarn::Kito::SizeType;
using Tarn::Kito::Volume;
using Tarn::Kito::VolumePtr;
using Tarn::Kito::Allocator::BufferedInputFileAllocator;
using Tarn::Kito::Allocator::InputFileAllocator;
using TestSupport::ScratchDirectory;

using Paged = BufferedInputFileAllocator::Iterator<Tarn::uint16>;
constexpr OffsetType perPage = 16384; // 32,768 bytes of 2-byte voxels

/// 0, 1, 2, ... as uint16 voxels.
std::vector<Tarn::uint16> counting(std::size_t count)
{
    std::vector<Tarn::uint16> voxels(count);
    std::iota(voxels.begin(), voxels.end(), Tarn::uint16(0));
    return voxels;
}

std::string outOfRangeOf(const Paged& it)
{
    try {
        static_cast<void>(*it);
    } catch (const std::out_of_range& failure) {
        return failure.what();
    }
    return "no failure";
}

const char* const behindTheData = "Tarn::Kito::Allocator::BufferedInputFileAllocator::Iterator::operator * ()";

// ---- pages --------------------------------------------------------------------------------------

TEST(BufferedInputFileAllocator, ReadsTheVoxelsBehindTheHeaderPageByPage)
{
    ScratchDirectory dir;
    const std::string path = dir.file("v.rek");
    TestSupport::writeVolumeFile(path, counting(3 * perPage));
    Paged it(path);
    it += 0;
    EXPECT_EQ(*it, 0);
    it += perPage + 7;
    EXPECT_EQ(*it, perPage + 7);
    EXPECT_EQ(it.getPage()->pageNumber, 1);
    EXPECT_EQ(it.getIndex(), 7);
    it += perPage;
    EXPECT_EQ(*it, static_cast<Tarn::uint16>(2 * perPage + 7));
    EXPECT_EQ(it.getFile()->pageCount(), 1u) << "a page lives only while an iterator stands on it";
}

TEST(BufferedInputFileAllocator, TwoIteratorsShareAPageUntilTheLastLeavesIt)
{
    ScratchDirectory dir;
    const std::string path = dir.file("v.rek");
    TestSupport::writeVolumeFile(path, counting(2 * perPage));
    Paged first(path);
    first += 5;
    Paged second(first); // a copy stands on the same page, without reading
    EXPECT_EQ(first.getFile()->pageCount(), 1u);
    EXPECT_EQ(first.getPage(), second.getPage());
    EXPECT_EQ(first.getPage()->references, 2);

    first += perPage; // the first moves on: the page stays for the second
    EXPECT_EQ(first.getFile()->pageCount(), 2u);
    EXPECT_EQ(second.getPage()->references, 1);
    EXPECT_EQ(*second, 5);

    second += perPage; // the second joins it: page 0 has no iterator left and is erased
    EXPECT_EQ(first.getFile()->pageCount(), 1u);
    EXPECT_EQ(first.getPage(), second.getPage());
    EXPECT_EQ(first.getPage()->pageNumber, 1);
    EXPECT_EQ(first.getPage()->references, 2);
}

TEST(BufferedInputFileAllocator, ANegativeStepOverThePageStartGoesToTheLastVoxelOfThePageBefore)
{
    ScratchDirectory dir;
    const std::string path = dir.file("v.rek");
    TestSupport::writeVolumeFile(path, counting(3 * perPage));
    Paged it(path);
    it += 2 * perPage;
    ASSERT_EQ(it.getPage()->pageNumber, 2);
    ASSERT_EQ(it.getIndex(), 0);
    it += -1;
    EXPECT_EQ(it.getPage()->pageNumber, 1);
    EXPECT_EQ(it.getIndex(), perPage - 1);
    EXPECT_EQ(*it, static_cast<Tarn::uint16>(2 * perPage - 1));
    it += -(perPage + 1); // a step of more than a page backwards
    EXPECT_EQ(it.getPage()->pageNumber, 0);
    EXPECT_EQ(it.getIndex(), perPage - 2);
    EXPECT_EQ(*it, static_cast<Tarn::uint16>(perPage - 2));
}

TEST(BufferedInputFileAllocator, DataEndingInsideAPageReadUpToTheirEndThenFail)
{
    ScratchDirectory dir;
    const std::string path = dir.file("short.rek");
    TestSupport::writeVolumeFile(path, counting(perPage + 100));
    Paged it(path);
    it += perPage + 99;
    EXPECT_EQ(*it, perPage + 99);
    EXPECT_EQ(it.getPage()->validCount, 100);
    it += 1;
    EXPECT_EQ(outOfRangeOf(it), behindTheData);
}

TEST(BufferedInputFileAllocator, AnOddByteAtTheEndIsNoVoxel)
{
    ScratchDirectory dir;
    const std::string path = dir.file("odd.rek");
    TestSupport::writeVolumeFile(path, std::vector<Tarn::uint8>(7, 1));
    Paged it(path);
    it += 0;
    EXPECT_EQ(it.getPage()->validCount, 3) << "7 bytes are 3 voxels of 2 bytes";
}

TEST(BufferedInputFileAllocator, AFileShorterThanItsHeaderHasNoValidVoxel)
{
    ScratchDirectory dir;
    const std::string path = dir.file("tiny.rek");
    {
        std::ofstream out(path, std::ios::binary);
        out << "only a few bytes";
    }
    Paged it(path);
    it += 0;
    EXPECT_EQ(it.getPage()->validCount, 0);
    EXPECT_EQ(outOfRangeOf(it), behindTheData);
}

TEST(BufferedInputFileAllocator, AWalkOverAShortFileFailsAtTheFirstMissingVoxel)
{
    ScratchDirectory dir;
    const std::string path = dir.file("short.rek");
    TestSupport::writeVolumeFile(path, counting(10));
    VolumePtr<Tarn::uint16, BufferedInputFileAllocator> volume(
        new Volume<Tarn::uint16, BufferedInputFileAllocator>(path, Dimension<SizeType>(4, 2, 2)));
    struct Sum : Tarn::Kito::Iterating::Functor {
        void operator()(const Tarn::uint16& v) { total += v; }
        unsigned total = 0;
    } sum;
    Progress progress;
    const std::uint8_t goOn = 0;
    std::string failure = "no failure";
    try {
        Tarn::Kito::Iterating::ForEach::apply(sum, volume, progress, &goOn);
    } catch (const std::out_of_range& e) {
        failure = e.what();
    }
    EXPECT_EQ(failure, behindTheData);
    EXPECT_EQ(sum.total, 45u) << "the ten voxels before the end were walked";
    EXPECT_EQ(sum.prim, 2u);
    EXPECT_EQ(sum.sec, 0u);
    EXPECT_EQ(sum.tert, 1u);
}

TEST(BufferedInputFileAllocator, APageNumberBeyondTheFileOffsetsFails)
{
    ScratchDirectory dir;
    const std::string path = dir.file("v.rek");
    TestSupport::writeVolumeFile(path, counting(4));
    Paged it(path);
    std::string failure = "no failure";
    try {
        it += std::numeric_limits<OffsetType>::max() - 10;
    } catch (const std::overflow_error& e) {
        failure = e.what();
    }
    EXPECT_EQ(failure, "Tarn::Kito::Allocator::BufferedInputFileAllocator::Iterator::File::attach -> overflow cast "
                       "from OffsetType to std::streamoff");
    EXPECT_EQ(it.getFile()->pageCount(), 0u);
}

TEST(BufferedInputFileAllocator, PathsThatAreNoReadableFileFailAtOnce)
{
    ScratchDirectory dir;
    EXPECT_THROW(Paged(dir.file("missing.rek")), std::ios_base::failure);
    EXPECT_THROW(Paged(dir.file("")), std::ios_base::failure) << "the directory itself";
    using V = Volume<Tarn::uint16, BufferedInputFileAllocator>;
    EXPECT_THROW(V(dir.file("missing.rek"), Dimension<SizeType>(1, 1, 1)), std::ios_base::failure);
}

TEST(BufferedInputFileAllocator, WritesThroughAnIteratorAreLostWithThePage)
{
    ScratchDirectory dir;
    const std::string path = dir.file("v.rek");
    TestSupport::writeVolumeFile(path, counting(2 * perPage));
    Paged it(path);
    it += 3;
    *it = 999;
    EXPECT_EQ(*it, 999) << "the page in memory holds the write";
    it += perPage; // the only iterator leaves page 0, which is dropped
    it += -perPage;
    EXPECT_EQ(*it, 3) << "read again from the file";
}

// ---- reallocate and names -----------------------------------------------------------------------

template <class A> void expectReallocateRefused(const std::string& text)
{
    ScratchDirectory dir;
    const std::string path = dir.file("v.rek");
    TestSupport::writeVolumeFile(path, counting(24));
    Volume<Tarn::uint16, A> volume(path, Dimension<SizeType>(2, 3, 4));
    const TestSupport::TarnFailure failure =
        TestSupport::tarnFailureOf([&] { volume.reallocate(Dimension<SizeType>(2, 3, 4)); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::NotSupported");
    EXPECT_EQ(failure.origin, text);
    EXPECT_EQ(failure.error, text);
    EXPECT_EQ(volume.getVolumeDimension(), Dimension<SizeType>(2, 3, 4)) << "the volume stays as it was";
    EXPECT_EQ(volume.getValueAt(Position<SizeType>(1, 2, 3)), 23);
}

TEST(FileAllocators, ReallocateIsRefusedEvenForTheSameDimension)
{
    expectReallocateRefused<BufferedInputFileAllocator>("Tarn::Kito::Allocator::BufferedInputFileAllocator::reallocate");
    expectReallocateRefused<InputFileAllocator>("Tarn::Kito::Allocator::InputFileAllocator::reallocate");
}

TEST(FileAllocators, NamesAndClassTexts)
{
    EXPECT_EQ(BufferedInputFileAllocator().getType(), "Tarn::Kito::Allocator::BufferedInputFileAllocator");
    EXPECT_EQ(InputFileAllocator().getType(), "Tarn::Kito::Allocator::InputFileAllocator");
    EXPECT_EQ((Volume<Tarn::float32, BufferedInputFileAllocator>().getType()),
              "Tarn::Kito::Volume< Tarn::float32 , Tarn::Kito::Allocator::BufferedInputFileAllocator >");
    EXPECT_EQ((Volume<Tarn::int16, Tarn::Kito::Allocator::ExternalBufferAllocator<InputFileAllocator>>().getType()),
              "Tarn::Kito::Volume< Tarn::int16 , Tarn::Kito::Allocator::ExternalBufferAllocator< "
              "Tarn::Kito::Allocator::InputFileAllocator > >");
}

TEST(FileAllocators, AFileStaysOpenThroughAChunkAfterItsVolumeIsGone)
{
    ScratchDirectory dir;
    const std::string path = dir.file("v.rek");
    TestSupport::writeVolumeFile(path, counting(24));
    using Chunk = Volume<Tarn::uint16, Tarn::Kito::Allocator::ExternalBufferAllocator<BufferedInputFileAllocator>>;
    std::unique_ptr<Chunk> chunk;
    {
        VolumePtr<Tarn::uint16, BufferedInputFileAllocator> volume(
            new Volume<Tarn::uint16, BufferedInputFileAllocator>(path, Dimension<SizeType>(2, 3, 4)));
        chunk = std::make_unique<Chunk>(
            volume, Tarn::Kito::RegionOfInterest<SizeType>(Dimension<SizeType>(1, 1, 2), Position<SizeType>(1, 2, 1)));
    }
    std::filesystem::remove(path); // the open file outlives its name too
    EXPECT_EQ(chunk->getValueAt(Position<SizeType>(0, 0, 0)), 11);
    EXPECT_EQ(chunk->getValueAt(Position<SizeType>(0, 0, 1)), 17);
}

// ---- InputFileAllocator -------------------------------------------------------------------------

using Streamed = InputFileAllocator::Iterator<Tarn::int32>;

TEST(InputFileAllocator, ReadsVoxelByVoxelAndSeeksForOtherSteps)
{
    ScratchDirectory dir;
    const std::string path = dir.file("v.rek");
    std::vector<Tarn::int32> voxels(5000);
    std::iota(voxels.begin(), voxels.end(), -100);
    TestSupport::writeVolumeFile(path, voxels);
    Streamed it(path);
    EXPECT_EQ(*it, -100);
    it += 1;
    EXPECT_EQ(*it, -99);
    it += 4000; // beyond what one read brings
    EXPECT_EQ(*it, 3901);
    it += -3999;
    EXPECT_EQ(*it, -98);
}

TEST(InputFileAllocator, ACopyReadsOnItsOwnFromTheSamePlace)
{
    ScratchDirectory dir;
    const std::string path = dir.file("v.rek");
    std::vector<Tarn::int32> voxels(100);
    std::iota(voxels.begin(), voxels.end(), 0);
    TestSupport::writeVolumeFile(path, voxels);
    Streamed first(path);
    first += 42;
    Streamed second(first);
    EXPECT_EQ(*second, 42);
    second += 10;
    EXPECT_EQ(*first, 42);
    EXPECT_EQ(*second, 52);
}

TEST(InputFileAllocator, AVoxelBehindTheEndOfTheFileFailsAsTheFileFails)
{
    ScratchDirectory dir;
    const std::string path = dir.file("v.rek");
    TestSupport::writeVolumeFile(path, std::vector<Tarn::int32>(3, 7));
    Streamed it(path);
    it += 2;
    EXPECT_EQ(*it, 7);
    it += 1; // moving there reads nothing: a walk steps once behind its last voxel
    EXPECT_THROW(static_cast<void>(*it), std::ios_base::failure);
    EXPECT_THROW(Streamed(dir.file("missing.rek")), std::ios_base::failure);
    EXPECT_THROW(Streamed(dir.file("")), std::ios_base::failure) << "a directory";
}

// ---- nothing is ever written to the file ----------------------------------------------------------

/// Writes a constant into every voxel it is handed.
struct Overwrite : Tarn::Kito::Iterating::Functor {
    template <class T> void operator()(T& voxel) const { voxel = T(77); }
};

template <class A> void expectWalkThatWritesLeavesTheFile()
{
    ScratchDirectory dir;
    const std::string path = dir.file("v.rek");
    TestSupport::writeVolumeFile(path, counting(3 * perPage));
    const TestSupport::FileState before = TestSupport::stateOf(path);
    {
        VolumePtr<Tarn::uint16, A> volume(new Volume<Tarn::uint16, A>(path, Dimension<SizeType>(256, 64, 3)));
        Overwrite overwrite;
        Progress progress;
        const std::uint8_t goOn = 0;
        Tarn::Kito::Iterating::ForEach::apply(overwrite, volume, progress, &goOn);
        volume->setOrientation(Tarn::Kito::Orientation(1, 5, 2));
        Tarn::Kito::Iterating::ForEach::apply(overwrite, volume, progress, &goOn);
        volume->fill(5);
    }
    EXPECT_TRUE(TestSupport::stateOf(path) == before) << "the bytes and the modification time are unchanged";
}

TEST(FileAllocators, WalksThatWriteThroughTheIteratorNeverChangeTheFile)
{
    expectWalkThatWritesLeavesTheFile<BufferedInputFileAllocator>();
    expectWalkThatWritesLeavesTheFile<InputFileAllocator>();
}

} // namespace
