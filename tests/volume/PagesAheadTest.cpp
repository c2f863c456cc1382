// Pages made ahead of a serial writer: the writer's work, its failures and the memory's contents
// are those of the writer alone.
#include <Kito/SingleBlockAllocator>
#include <Kito/detail/PagesAhead>

#include <gtest/gtest.h>
#include <support/ThreadCount.h>

#include <omp.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using Tarn::Kito::SizeType;
using Tarn::Kito::Allocator::SingleBlockAllocator;

constexpr SizeType blockBytes = SizeType(24) << 20;

/// A new block as volumes get one (2 MiB-aligned, huge pages advised), given back at the end.
class Block {
public:
    explicit Block(SizeType bytes) : bytes(bytes), begin(static_cast<unsigned char*>(SingleBlockAllocator::allocateBlock(bytes))) {}
    ~Block() { SingleBlockAllocator::releaseBlock(begin, bytes); }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    SizeType bytes;
    unsigned char* begin;
};

/// How many of the block's 4 KiB pages the process has in memory.
SizeType residentPages(const void* begin, SizeType bytes)
{
    const long page = ::sysconf(_SC_PAGESIZE);
    std::vector<unsigned char> resident(static_cast<std::size_t>((bytes + page - 1) / page));
    if (::mincore(const_cast<void*>(begin), static_cast<std::size_t>(bytes), resident.data()) != 0) return 0;
    SizeType count = 0;
    for (unsigned char r : resident) count += r & 1;
    return count;
}

TEST(PagesAhead, MakingPagesKeepsEveryByte)
{
    const Block block(blockBytes);
    // The first half written with a pattern, the second never touched.
    for (SizeType i = 0; i < blockBytes / 2; ++i) block.begin[i] = static_cast<unsigned char>(i * 7 + 3);
    const bool made = Tarn::Kito::detail::makePages(block.begin, static_cast<std::size_t>(blockBytes));
    for (SizeType i = 0; i < blockBytes / 2; ++i)
        ASSERT_EQ(block.begin[i], static_cast<unsigned char>(i * 7 + 3)) << "byte " << i;
    if (!made) GTEST_SKIP() << "this kernel cannot make pages on request; the first writes make them";
    // Made, not merely promised: every page of the untouched half is in memory now.
    EXPECT_EQ(residentPages(block.begin, blockBytes), blockBytes / static_cast<SizeType>(::sysconf(_SC_PAGESIZE)));
}

TEST(PagesAhead, TheWriterRunsOnceOnTheCallingThreadAndItsBytesStay)
{
    const TestSupport::ThreadCount threads(2);
    const Block block(blockBytes);
    const std::thread::id caller = std::this_thread::get_id();
    int runs = 0;
    bool onCaller = false;
    Tarn::Kito::detail::writeWithPagesAhead(block.begin, blockBytes, [&] {
        ++runs;
        onCaller = std::this_thread::get_id() == caller;
        // Slice by slice, as the readers write, 1 MiB at a time.
        for (SizeType at = 0; at < blockBytes; at += SizeType(1) << 20)
            for (SizeType i = at; i < at + (SizeType(1) << 20); ++i) block.begin[i] = static_cast<unsigned char>(i % 251);
    });
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(onCaller);
    for (SizeType i = 0; i < blockBytes; ++i) ASSERT_EQ(block.begin[i], static_cast<unsigned char>(i % 251)) << "byte " << i;
}

TEST(PagesAhead, AWriterThatStopsHalfwayLeavesTheRestAsItWas)
{
    const TestSupport::ThreadCount threads(2);
    const Block block(blockBytes);
    std::memset(block.begin, 0x5a, static_cast<std::size_t>(blockBytes));
    Tarn::Kito::detail::writeWithPagesAhead(block.begin, blockBytes,
                                            [&] { std::memset(block.begin, 0x11, static_cast<std::size_t>(blockBytes / 2)); });
    for (SizeType i = 0; i < blockBytes; ++i)
        ASSERT_EQ(block.begin[i], i < blockBytes / 2 ? 0x11 : 0x5a) << "byte " << i;
}

TEST(PagesAhead, AFailureOfTheWriterLeavesAsItself)
{
    const TestSupport::ThreadCount threads(2);
    const Block block(blockBytes);
    try {
        Tarn::Kito::detail::writeWithPagesAhead(block.begin, blockBytes, [&] {
            block.begin[0] = 1;
            throw std::invalid_argument("the writer's own text");
        });
        FAIL() << "the failure was lost";
    } catch (const std::invalid_argument& failure) {
        EXPECT_STREQ(failure.what(), "the writer's own text");
    }
    EXPECT_EQ(block.begin[0], 1);
}

TEST(PagesAhead, OneThreadASmallBlockOrAParallelRegionLeaveTheWriterAlone)
{
    const Block block(blockBytes);
    const auto inParallel = [&](SizeType bytes) {
        bool parallel = true;
        Tarn::Kito::detail::writeWithPagesAhead(block.begin, bytes, [&] { parallel = omp_in_parallel() != 0; });
        return parallel;
    };
    {
        const TestSupport::ThreadCount threads(1);
        EXPECT_FALSE(inParallel(blockBytes));
    }
    const TestSupport::ThreadCount threads(2);
    EXPECT_FALSE(inParallel((SizeType(2) << 20) - 1));
    // With two threads and a large block the writer shares a team with the page maker.
    EXPECT_TRUE(inParallel(blockBytes));
    // Inside a parallel region no second team is started.
    int nestedTeams = 0;
#pragma omp parallel num_threads(2) reduction(+ : nestedTeams)
    {
        Tarn::Kito::detail::writeWithPagesAhead(block.begin, blockBytes, [&] { nestedTeams += omp_get_level() > 1; });
    }
    EXPECT_EQ(nestedTeams, 0);
}

} // namespace
