// Slices read ahead by a second thread: the block's bytes, the loop's slices and its failures are
// those of the serial loop alone, where it stops, fails or meets a short file.
#include <Kito/SingleBlockAllocator>
#include <Kito/Volume>
#include <Kito/detail/SlicesAhead>

#include <gtest/gtest.h>
#include <support/ThreadCount.h>

#include <omp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Tarn::Kito::SizeType;
using Tarn::Kito::Allocator::SingleBlockAllocator;
using Tarn::Kito::detail::SlicesAhead;

constexpr SizeType sliceBytes = SizeType(1) << 20;
constexpr SizeType sliceCount = 12;
constexpr SizeType blockBytes = sliceBytes * sliceCount;
constexpr SizeType skip = 100;   // bytes before the first slice in the file
constexpr SizeType never = std::numeric_limits<SizeType>::max();

/// A new block as volumes get one (2 MiB-aligned, huge pages advised), zeros in it, given back at
/// the end.
class Block {
public:
    explicit Block(SizeType bytes) : bytes(bytes), begin(static_cast<unsigned char*>(SingleBlockAllocator::allocateBlock(bytes)))
    {
        std::memset(begin, 0, static_cast<std::size_t>(bytes));
    }
    ~Block() { SingleBlockAllocator::releaseBlock(begin, bytes); }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    SizeType bytes;
    unsigned char* begin;
};

unsigned char fileByte(SizeType at) { return static_cast<unsigned char>(at * 7 % 253 + 1); }

/// A file of skip bytes and then payload bytes, none of them zero, removed at the end.
class SliceFile {
public:
    explicit SliceFile(SizeType payload)
        : path((std::filesystem::temp_directory_path() /
                ("lumo-slices-" + std::to_string(::getpid()) + "-" + std::to_string(payload) + ".bin"))
                   .string())
    {
        std::vector<char> bytes(static_cast<std::size_t>(skip + payload), 'h');
        for (SizeType i = 0; i < payload; ++i) bytes[static_cast<std::size_t>(skip + i)] = static_cast<char>(fileByte(i));
        std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    ~SliceFile() { std::filesystem::remove(path); }
    SliceFile(const SliceFile&) = delete;
    SliceFile& operator=(const SliceFile&) = delete;
    std::string path;
};

/// What the serial loop did: the slices it claimed, and whether it ran on the caller's thread.
struct LoopRecord {
    std::vector<SizeType> claimed;
    std::vector<SizeType> readItself;
    bool onCaller = false;
};

/// The serial loop as the readers write it: a stream of its own, a claim before each slice, a seek
/// after slices read ahead. It stops before slice stopAt, and fails after reading slice failAt.
struct SerialLoop {
    const std::string& path;
    unsigned char* begin;
    SizeType stopAt = never;
    SizeType failAt = never;
    LoopRecord* record;

    void operator()(SlicesAhead& ahead) const
    {
        record->onCaller = omp_get_thread_num() == 0;
        std::ifstream file(path, std::ios::binary);
        file.seekg(static_cast<std::streamoff>(skip));
        bool behind = false;
        for (SizeType t = 0; t < sliceCount; ++t) {
            if (t == stopAt) return;
            if (file.good() && ahead.claim(t)) {
                record->claimed.push_back(t);
                behind = true;
                continue;
            }
            if (behind) file.seekg(static_cast<std::streamoff>(skip + t * sliceBytes));
            behind = false;
            record->readItself.push_back(t);
            file.read(reinterpret_cast<char*>(begin + t * sliceBytes), static_cast<std::streamsize>(sliceBytes));
            if (t == failAt) throw std::invalid_argument("the loop's own text");
        }
    }
};

std::vector<SizeType> range(SizeType first, SizeType end)
{
    std::vector<SizeType> values;
    for (SizeType t = first; t < end; ++t) values.push_back(t);
    return values;
}

/// The first byte at which the block differs from the file's bytes up to readBytes and zeros
/// after; never if none.
SizeType firstDifference(const Block& block, SizeType readBytes)
{
    for (SizeType i = 0; i < block.bytes; ++i)
        if (block.begin[i] != (i < readBytes ? fileByte(i) : 0)) return i;
    return never;
}

/// A fresh block read on two threads from a file of payload bytes by the serial loop, which stops
/// before slice stopAt or fails after slice failAt; the second thread opens secondPath, the file's
/// own path if that is empty.
struct TwoThreadRead {
    explicit TwoThreadRead(SizeType payload) : file(payload) {}

    void run(SizeType stopAt = never, SizeType failAt = never, const std::string& secondPath = std::string())
    {
        Tarn::Kito::detail::readWithSlicesAhead(block.begin, sliceBytes, sliceCount,
                                                secondPath.empty() ? file.path : secondPath, skip, true,
                                                SerialLoop{file.path, block.begin, stopAt, failAt, &record});
    }

    const TestSupport::ThreadCount threads{2};
    const SliceFile file;
    const Block block{blockBytes};
    LoopRecord record;
};

TEST(SlicesAhead, TheBackHalfIsReadAheadAndTheBlockHoldsTheFile)
{
    TwoThreadRead read(blockBytes);
    read.run();
    EXPECT_TRUE(read.record.onCaller);
    EXPECT_EQ(read.record.readItself, range(0, sliceCount / 2));
    EXPECT_EQ(read.record.claimed, range(sliceCount / 2, sliceCount));
    EXPECT_EQ(firstDifference(read.block, blockBytes), never);
}

TEST(SlicesAhead, AStopBeforeTheBackHalfLeavesEverySliceFromThereAsItWas)
{
    TwoThreadRead read(blockBytes);
    read.run(3);
    EXPECT_TRUE(read.record.claimed.empty());
    EXPECT_EQ(firstDifference(read.block, 3 * sliceBytes), never);
}

TEST(SlicesAhead, AStopInTheBackHalfKeepsTheSlicesClaimedBeforeIt)
{
    TwoThreadRead read(blockBytes);
    read.run(8);
    EXPECT_EQ(read.record.claimed, range(6, 8));
    EXPECT_EQ(firstDifference(read.block, 8 * sliceBytes), never);
}

TEST(SlicesAhead, AFailureOfTheLoopPassesThroughAndWhatWasReadAheadIsCleared)
{
    TwoThreadRead read(blockBytes);
    try {
        read.run(never, 2);
        FAIL() << "the failure was lost";
    } catch (const std::invalid_argument& failure) {
        EXPECT_STREQ(failure.what(), "the loop's own text");
    }
    EXPECT_EQ(firstDifference(read.block, 3 * sliceBytes), never);
}

/// The file ends inside the second slice of the back half: the second thread gives up there, and
/// the loop reads that slice itself, as far as the file goes; its failed stream reads nothing
/// after it.
TEST(SlicesAhead, AFileThatEndsInTheBackHalfIsReadAsFarAsItGoes)
{
    const SizeType payload = 7 * sliceBytes + 1234;
    TwoThreadRead read(payload);
    read.run();
    EXPECT_EQ(read.record.claimed, std::vector<SizeType>{6});
    EXPECT_EQ(read.record.readItself, (std::vector<SizeType>{0, 1, 2, 3, 4, 5, 7, 8, 9, 10, 11}));
    EXPECT_EQ(firstDifference(read.block, payload), never);
}

/// The file ends before the back half: the second thread reads nothing, and the slices it was to
/// read stay as they were.
TEST(SlicesAhead, AFileThatEndsInTheFrontHalfLeavesTheBackHalfAsItWas)
{
    const SizeType payload = 2 * sliceBytes + 10;
    TwoThreadRead read(payload);
    read.run();
    EXPECT_TRUE(read.record.claimed.empty());
    EXPECT_EQ(firstDifference(read.block, payload), never);
}

/// A second thread that cannot open its file leaves every slice to the loop.
TEST(SlicesAhead, ASecondThreadWithoutItsFileLeavesEverySliceToTheLoop)
{
    TwoThreadRead read(blockBytes);
    read.run(never, never, read.file.path + ".missing");
    EXPECT_TRUE(read.record.claimed.empty());
    EXPECT_EQ(read.record.readItself, range(0, sliceCount));
    EXPECT_EQ(firstDifference(read.block, blockBytes), never);
}

/// A block that is not fresh, one thread, a small block, offsets beyond a stream's, or a parallel
/// region: the loop reads alone.
TEST(SlicesAhead, NoSecondThreadWhereItMayNotOrNeedNotHelp)
{
    const SliceFile file(blockBytes);
    const auto claimsOf = [&](SizeType bytesPerSlice, SizeType firstOffset, bool fresh) {
        const Block block(blockBytes);
        LoopRecord record;
        Tarn::Kito::detail::readWithSlicesAhead(block.begin, bytesPerSlice, sliceCount, file.path, firstOffset, fresh,
                                                SerialLoop{file.path, block.begin, never, never, &record});
        EXPECT_EQ(firstDifference(block, blockBytes), never);
        return record.claimed.size();
    };
    {
        const TestSupport::ThreadCount threads(1);
        EXPECT_EQ(claimsOf(sliceBytes, skip, true), 0u);
    }
    const TestSupport::ThreadCount threads(2);
    EXPECT_EQ(claimsOf(sliceBytes, skip, false), 0u);
    EXPECT_EQ(claimsOf(sliceBytes, never - 5, true), 0u);
    // Twelve slices of 1 KiB are less than a huge page: the loop reads them alone (the serial loop
    // still moves 1 MiB per slice, which the file holds).
    EXPECT_EQ(claimsOf(1024, skip, true), 0u);
    EXPECT_EQ(claimsOf(sliceBytes, skip, true), sliceCount / 2);
    int claimedInParallel = 0;
#pragma omp parallel num_threads(2) reduction(+ : claimedInParallel)
    {
        if (omp_get_thread_num() == 0) claimedInParallel += static_cast<int>(claimsOf(sliceBytes, skip, true));
    }
    EXPECT_EQ(claimedInParallel, 0);
}

/// A pipe is read by the loop alone: a second reader would wait in its open for a writer, and
/// take bytes meant for the loop once one came.
TEST(SlicesAhead, APipeIsReadByTheLoopAlone)
{
    TwoThreadRead read(blockBytes);
    const std::string pipe = read.file.path + ".pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    read.run(never, never, pipe);
    std::filesystem::remove(pipe);
    EXPECT_TRUE(read.record.claimed.empty());
    EXPECT_EQ(firstDifference(read.block, blockBytes), never);
}

/// A volume is fresh for a read when the output check makes it: none given, or one whose block
/// has another size. A volume of the read's size keeps the host's voxels, even seen through a
/// region of other extents.
TEST(SlicesAhead, FreshVoxelsAreThoseTheOutputCheckMakes)
{
    using Tarn::Kito::Dimension;
    using Volume = Tarn::Kito::Volume<Tarn::uint16, SingleBlockAllocator>;
    using VolumePtr = Tarn::Kito::VolumePtr<Tarn::uint16, SingleBlockAllocator>;
    const auto asIVolume = [](const VolumePtr& volume) {
        return Tarn::Kito::DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>>(volume);
    };
    const Dimension<SizeType> extent(4, 3, 2);
    EXPECT_TRUE(Tarn::Kito::detail::freshVoxels(Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>(), extent));
    EXPECT_FALSE(Tarn::Kito::detail::freshVoxels(asIVolume(VolumePtr(new Volume(extent))), extent));
    EXPECT_TRUE(Tarn::Kito::detail::freshVoxels(asIVolume(VolumePtr(new Volume(Dimension<SizeType>(4, 3, 3)))), extent));
    const VolumePtr narrowed(new Volume(extent));
    narrowed->setRoiToSlice(1);
    EXPECT_FALSE(Tarn::Kito::detail::freshVoxels(asIVolume(narrowed), extent));
    const VolumePtr larger(new Volume(Dimension<SizeType>(8, 3, 2)));
    larger->setRoi(Tarn::Kito::RegionOfInterest<SizeType>(Dimension<SizeType>(4, 3, 1), Tarn::Kito::Position<SizeType>(0, 0, 0)));
    EXPECT_TRUE(Tarn::Kito::detail::freshVoxels(asIVolume(larger), extent));
}

} // namespace
