#include "VolumeTestSupport.h"

#include <Kito/ClassFactory>
#include <Kito/Composite>
#include <Kito/ExternalBufferAllocator>
#include <Kito/SingleBlockAllocator>
#include <Kito/SmartPointer>
#include <Kito/Volume>

#include <gtest/gtest.h>
#include <support/Sanitizers.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>

namespace {

using namespace VolumeTesting;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::VolumePtr;
using Tarn::Kito::Persistence::IComposite;

template <class F> std::string plainFailureOf(F&& action)
{
    try {
        action();
    } catch (const std::exception& failure) {
        return failure.what();
    }
    return "no failure";
}

bool isRegistered(const std::string& identifier)
{
    const auto ids = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    return std::find(ids.begin(), ids.end(), identifier) != ids.end();
}

TEST(AllocatorNames, SingleBlock)
{
    EXPECT_EQ(SingleBlock().getType(), "Tarn::Kito::Allocator::SingleBlockAllocator");
}

TEST(AllocatorNames, ExternalBufferNestsTheNameOfItsSource)
{
    EXPECT_EQ(External1().getType(),
              "Tarn::Kito::Allocator::ExternalBufferAllocator< Tarn::Kito::Allocator::SingleBlockAllocator >");
    EXPECT_EQ(External2().getType(), "Tarn::Kito::Allocator::ExternalBufferAllocator< "
                                     "Tarn::Kito::Allocator::ExternalBufferAllocator< "
                                     "Tarn::Kito::Allocator::SingleBlockAllocator > >");
    EXPECT_EQ(External3().getType(), "Tarn::Kito::Allocator::ExternalBufferAllocator< "
                                     "Tarn::Kito::Allocator::ExternalBufferAllocator< "
                                     "Tarn::Kito::Allocator::ExternalBufferAllocator< "
                                     "Tarn::Kito::Allocator::SingleBlockAllocator > > >");
}

TEST(AllocatorNames, AllAreRegisteredWithTheFactory)
{
    EXPECT_TRUE(isRegistered("Tarn::Kito::Allocator::SingleBlockAllocator"));
    EXPECT_TRUE(isRegistered("Tarn::Kito::Allocator::ExternalBufferAllocator< Tarn::Kito::Allocator::SingleBlockAllocator >"));
    EXPECT_TRUE(isRegistered("Tarn::Kito::Allocator::ExternalBufferAllocator< Tarn::Kito::Allocator::ExternalBufferAllocator< "
                             "Tarn::Kito::Allocator::SingleBlockAllocator > >"));
    EXPECT_TRUE(isRegistered("Tarn::Kito::Allocator::ExternalBufferAllocator< Tarn::Kito::Allocator::ExternalBufferAllocator< "
                             "Tarn::Kito::Allocator::ExternalBufferAllocator< Tarn::Kito::Allocator::SingleBlockAllocator > > >"));
}

TEST(AllocatorNames, FactoryMakesAnAllocatorByItsName)
{
    const SmartPointer<IComposite> made = Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(
        "Tarn::Kito::Allocator::ExternalBufferAllocator< Tarn::Kito::Allocator::SingleBlockAllocator >");
    EXPECT_FALSE(DynamicCast<SmartPointer<External1>>(made) == 0);
}

TEST(AllocatorComposite, IsALeafWithoutKeys)
{
    SingleBlock allocator;
    IComposite& composite = allocator;
    EXPECT_EQ(composite.size(), 0u);
    EXPECT_EQ(plainFailureOf([&] { composite.getValue("x"); }),
              "Tarn::Kito::Persistence::CompositeLeaf::getValue( const std::string&): A leaf has got no keys and no "
              "values!");
    External2 external;
    IComposite& nested = external;
    EXPECT_EQ(nested.size(), 0u);
    EXPECT_EQ(plainFailureOf([&] { nested.getKey(0); }),
              "Tarn::Kito::Persistence::CompositeLeaf::getKey( Tarn::Kito::SizeType ): A leaf has got no keys and no "
              "values!");
    EXPECT_EQ(plainFailureOf([&] { nested.setValue("x", SmartPointer<IComposite>()); }),
              "Tarn::Kito::Persistence::CompositeLeaf::setValue( const std::string&, Tarn::Kito::SmartPointer< "
              "IComposite > ): A leaf has got no keys and no values!");
}

TEST(SingleBlockAllocator, AllocatesOneBlockDescribedByOneRegion)
{
    auto storage = SingleBlock::allocate<Tarn::uint16>(dim(2, 3, 4));
    ASSERT_NE(storage.begin, nullptr);
    ASSERT_EQ(storage.blocks.size(), 1u);
    EXPECT_EQ(storage.blocks.front(), region(dim(2, 3, 4), pos(0, 0, 0)));
    // All 24 voxels are ours to write.
    for (int i = 0; i < 24; ++i) storage.begin[i] = static_cast<Tarn::uint16>(i);
    EXPECT_EQ(storage.begin[23], 23);
    SingleBlock::release(storage);
    EXPECT_EQ(storage.begin, nullptr);
    EXPECT_TRUE(storage.blocks.empty());
}

TEST(SingleBlockAllocator, BlocksOf2MiBAndMoreStartAtA2MiBBoundary)
{
    const std::uintptr_t twoMiB = std::uintptr_t(1) << 21;
    // 1024 x 1024 x 1 uint16 voxels are exactly 2 MiB; 3 x 5 x 7 of them far less.
    for (const Dimension<SizeType>& size : {dim(1024, 1024, 1), dim(1000, 1000, 3), dim(512, 512, 256)}) {
        auto storage = SingleBlock::allocate<Tarn::uint16>(size);
        ASSERT_NE(storage.begin, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(storage.begin) % twoMiB, 0u);
        // Every voxel is ours, to the last.
        storage.begin[0] = 1;
        storage.begin[size.size() - 1] = 2;
        EXPECT_EQ(storage.begin[size.size() - 1], 2);
        SingleBlock::release(storage);
        EXPECT_EQ(storage.begin, nullptr);
    }
    MemoryVolume<double> volume(dim(64, 64, 64));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(volume.getIterator()) % twoMiB, 0u);
    volume.reallocate(dim(3, 5, 7));
    volume.fill(1.5);
    EXPECT_EQ(volume.getValueAt(pos(2, 4, 6)), 1.5);
}

TEST(SingleBlockAllocator, EmptySizeGivesEmptyStorage)
{
    auto storage = SingleBlock::allocate<float>(dim(0, 0, 0));
    EXPECT_EQ(storage.begin, nullptr);
    EXPECT_TRUE(storage.blocks.empty());
}

TEST(SingleBlockAllocator, MixedSizeIsRefusedByTheSizeCheck)
{
    EXPECT_EQ(plainOutOfRangeOf([] { SingleBlock::allocate<float>(dim(0, 1, 1)); }),
              "Tarn::Kito::Dimension< Tarn::uint64 >::check invalid values detected ( 0 , 1 , 1 ) ");
}

TEST(SingleBlockAllocator, ByteCountSaturatesInsteadOfWrapping)
{
    const SizeType largest = std::numeric_limits<SizeType>::max();
    EXPECT_EQ(SingleBlock::byteCount(3, 4), 12u);
    EXPECT_EQ(SingleBlock::byteCount(largest / 8, 8), (largest / 8) * 8);
    EXPECT_EQ(SingleBlock::byteCount(largest / 8 + 1, 8), largest);
    EXPECT_EQ(SingleBlock::byteCount(SizeType(1) << 62, 8), largest);
    EXPECT_EQ(SingleBlock::byteCount(largest, 1), largest);
}

TEST(SingleBlockAllocator, RequestBeyondTheSizeRangeFailsAsAnAllocation)
{
    LUMO_SKIP_IF_ALLOCATION_FAILURE_CANNOT_THROW();
    // 2^63 voxels fit SizeType, their 2^64 bytes do not: the request must not wrap to 0.
    EXPECT_THROW(SingleBlock::allocate<Tarn::uint16>(dim(SizeType(1) << 21, SizeType(1) << 21, SizeType(1) << 21)),
                 std::bad_alloc);
    EXPECT_THROW(MemoryVolume<double>(dim(SizeType(1) << 30, SizeType(1) << 30, 8)), std::bad_alloc);
}

TEST(SingleBlockAllocator, VoxelCountOverflowIsReported)
{
    try {
        SingleBlock::allocate<Tarn::uint8>(dim(SizeType(1) << 32, SizeType(1) << 32, 1));
        FAIL() << "no failure";
    } catch (const std::overflow_error& failure) {
        EXPECT_STREQ(failure.what(),
                     "Tarn::Kito::Dimension< Tarn::uint64 >::size current size exceeds to boundarys of Tarn::uint64");
    }
}

TEST(SingleBlockAllocator, ReallocateToTheSameSizeKeepsPointerAndContent)
{
    auto storage = SingleBlock::allocate<Tarn::int32>(dim(2, 2, 2));
    Tarn::int32* before = storage.begin;
    storage.begin[7] = -5;
    SingleBlock::reallocate<Tarn::int32>(dim(2, 2, 2), dim(2, 2, 2), storage);
    EXPECT_EQ(storage.begin, before);
    EXPECT_EQ(storage.begin[7], -5);
    SingleBlock::release(storage);
}

TEST(SingleBlockAllocator, ReallocateToAnotherSizeReplacesTheBlockList)
{
    auto storage = SingleBlock::allocate<Tarn::int32>(dim(2, 2, 2));
    SingleBlock::reallocate<Tarn::int32>(dim(2, 2, 2), dim(3, 1, 5), storage);
    ASSERT_NE(storage.begin, nullptr);
    ASSERT_EQ(storage.blocks.size(), 1u);
    EXPECT_EQ(storage.blocks.front(), region(dim(3, 1, 5), pos(0, 0, 0)));
    SingleBlock::reallocate<Tarn::int32>(dim(3, 1, 5), dim(0, 0, 0), storage);
    EXPECT_EQ(storage.begin, nullptr);
    EXPECT_TRUE(storage.blocks.empty());
}

TEST(SingleBlockAllocator, FailedReallocateLeavesTheStorageEmpty)
{
    LUMO_SKIP_IF_ALLOCATION_FAILURE_CANNOT_THROW();
    auto storage = SingleBlock::allocate<Tarn::uint16>(dim(2, 2, 2));
    EXPECT_THROW(SingleBlock::reallocate<Tarn::uint16>(
                     dim(2, 2, 2), dim(SizeType(1) << 21, SizeType(1) << 21, SizeType(1) << 21), storage),
                 std::bad_alloc);
    EXPECT_EQ(storage.begin, nullptr);
    EXPECT_TRUE(storage.blocks.empty());
}

TEST(SingleBlockAllocator, VolumeWithAFailedReallocateIsLeftEmpty)
{
    LUMO_SKIP_IF_ALLOCATION_FAILURE_CANNOT_THROW();
    MemoryVolume<Tarn::uint16> volume(dim(2, 2, 2));
    volume.setRoi(region(dim(1, 1, 1), pos(1, 1, 1)));
    EXPECT_THROW(volume.reallocate(dim(SizeType(1) << 21, SizeType(1) << 21, SizeType(1) << 21)), std::bad_alloc);
    EXPECT_EQ(volume.getVolumeDimension(), dim(0, 0, 0));
    EXPECT_EQ(volume.getDimension(), dim(0, 0, 0));
    EXPECT_EQ(volume.size(), 0u);
    EXPECT_EQ(volume.getIterator(), nullptr);
    ASSERT_EQ(volume.getRoiStack().size(), 1u);
    EXPECT_EQ(volume.getRoiStack().front(), region(dim(0, 0, 0), pos(0, 0, 0)));
}

TEST(ExternalBufferAllocator, ReallocateToTheSameSizeSucceedsSilently)
{
    Tarn::uint8 voxels[8] = {};
    External1::Storage<Tarn::uint8> storage;
    storage.begin = voxels;
    storage.blocks.push_back(region(dim(2, 2, 2), pos(0, 0, 0)));
    EXPECT_NO_THROW(External1::reallocate<Tarn::uint8>(dim(2, 2, 2), dim(2, 2, 2), storage));
    EXPECT_EQ(storage.begin, voxels);
    EXPECT_EQ(storage.blocks.size(), 1u);
}

TEST(ExternalBufferAllocator, ReallocateToAnotherSizeIsNotSupported)
{
    Tarn::uint8 voxels[8] = {};
    External2::Storage<Tarn::uint8> storage;
    storage.begin = voxels;
    const Failure failure =
        tarnFailureOf([&] { External2::reallocate<Tarn::uint8>(dim(2, 2, 2), dim(2, 2, 1), storage); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::NotSupported");
    EXPECT_EQ(failure.gui, "Function is not supported!");
    EXPECT_EQ(failure.error, "Tarn::Kito::Allocator::ExternalBufferAllocator::reallocate");
    EXPECT_EQ(failure.origin, "Tarn::Kito::Allocator::ExternalBufferAllocator::reallocate");
    EXPECT_EQ(failure.file, "Kito/include/Kito/ExternalBufferAllocator");
    EXPECT_EQ(storage.begin, voxels);
}

TEST(ExternalBufferAllocator, ReleaseForgetsTheBlocksButNotTheVoxels)
{
    Tarn::uint8 voxels[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    External1::Storage<Tarn::uint8> storage;
    storage.begin = voxels;
    storage.blocks.push_back(region(dim(2, 2, 2), pos(0, 0, 0)));
    External1::release(storage);
    EXPECT_EQ(storage.begin, nullptr);
    EXPECT_TRUE(storage.blocks.empty());
    EXPECT_EQ(voxels[7], 8);
}

// ---- chunks: volumes over another volume's storage ---------------------------------------------

MemoryVolumePtr<Tarn::int16> numberedVolume(SizeType p, SizeType s, SizeType t)
{
    MemoryVolumePtr<Tarn::int16> volume(new MemoryVolume<Tarn::int16>(dim(p, s, t)));
    Tarn::int16* voxel = volume->getIterator();
    for (SizeType i = 0; i < p * s * t; ++i) voxel[i] = static_cast<Tarn::int16>(i);
    return volume;
}

TEST(Chunk, SharesTheVoxelsOfItsSourceBothWays)
{
    MemoryVolumePtr<Tarn::int16> source = numberedVolume(4, 3, 2);
    Tarn::Kito::Volume<Tarn::int16, External1> chunk(source, region(dim(2, 2, 1), pos(1, 1, 1)));
    EXPECT_EQ(chunk.getDimension(), dim(2, 2, 1));
    // The chunk's (0,0,0) is the source's (1,1,1): 1 + 1*4 + 1*12.
    EXPECT_EQ(chunk.getValueAt(pos(0, 0, 0)), 17);
    EXPECT_EQ(chunk.getOffset(pos(1, 1, 0)), 22);
    *chunk.getPosOffset(pos(1, 0, 0)) = -1;
    EXPECT_EQ(source->getValueAt(pos(2, 1, 1)), -1);
    *source->getPosOffset(pos(1, 2, 1)) = -2;
    EXPECT_EQ(chunk.getValueAt(pos(0, 1, 0)), -2);
}

TEST(Chunk, HasItsOwnStackAndOrientation)
{
    MemoryVolumePtr<Tarn::int16> source = numberedVolume(4, 3, 2);
    Tarn::Kito::Volume<Tarn::int16, External1> chunk(source, region(dim(2, 2, 1), pos(1, 1, 1)));
    chunk.setOrientation(Orientation(2, 0, 5));
    chunk.setRoiToSlice(0);
    EXPECT_EQ(source->getOrientation(), Orientation(0, 2, 4));
    EXPECT_EQ(source->getRoiStack().size(), 1u);
    EXPECT_EQ(source->getDimension(), dim(4, 3, 2));
}

TEST(Chunk, BottomRegionIsTheSourcesWholeVolume)
{
    MemoryVolumePtr<Tarn::int16> source = numberedVolume(4, 3, 2);
    source->setRoi(region(dim(3, 3, 2), pos(1, 0, 0)));
    Tarn::Kito::Volume<Tarn::int16, External1> chunk(source, region(dim(1, 2, 2), pos(1, 1, 0)));
    const auto stack = chunk.getRoiStack();
    ASSERT_EQ(stack.size(), 3u);
    EXPECT_EQ(stack.front(), region(dim(4, 3, 2), pos(0, 0, 0)));
    EXPECT_EQ(stack.back(), region(dim(1, 2, 2), pos(2, 1, 0)));
    chunk.popRoi();
    EXPECT_EQ(chunk.getDimension(), dim(3, 3, 2));
    chunk.popRoi();
    EXPECT_EQ(chunk.getDimension(), dim(4, 3, 2));
    chunk.popRoi();
    EXPECT_EQ(chunk.getDimension(), dim(4, 3, 2));
    EXPECT_EQ(chunk.getVolumeDimension(), dim(4, 3, 2));
}

TEST(Chunk, FollowsTheSourcesOrientedViewAndRegion)
{
    MemoryVolumePtr<Tarn::int16> source = numberedVolume(5, 4, 3);
    source->setRoi(region(dim(4, 3, 2), pos(1, 1, 1)));
    source->setOrientation(Orientation(3, 5, 0));
    const Region roi = region(dim(2, 1, 3), pos(1, 1, 1));
    Tarn::Kito::Volume<Tarn::int16, External1> chunk(source, roi);
    EXPECT_EQ(chunk.getOrientation(), Orientation(3, 5, 0));
    ASSERT_EQ(chunk.getDimension(), dim(2, 1, 3));
    for (SizeType t = 0; t < 3; ++t)
        for (SizeType p = 0; p < 2; ++p)
            EXPECT_EQ(chunk.getOffset(pos(p, 0, t)), source->getOffset(pos(p + 1, 1, t + 1)));
}

TEST(Chunk, OfAChunkNestsTheAllocator)
{
    MemoryVolumePtr<Tarn::int16> source = numberedVolume(4, 4, 4);
    VolumePtr<Tarn::int16, External1> first(
        new Tarn::Kito::Volume<Tarn::int16, External1>(source, region(dim(3, 3, 3), pos(1, 1, 1))));
    VolumePtr<Tarn::int16, External2> second(
        new Tarn::Kito::Volume<Tarn::int16, External2>(first, region(dim(2, 2, 2), pos(1, 1, 1))));
    Tarn::Kito::Volume<Tarn::int16, External3> third(second, region(dim(1, 1, 1), pos(1, 1, 1)));
    EXPECT_EQ(third.getValueAt(pos(0, 0, 0)), 3 + 3 * 4 + 3 * 16);
    EXPECT_EQ(third.getAllocatorName(), "Tarn::Kito::Allocator::ExternalBufferAllocator< "
                                        "Tarn::Kito::Allocator::ExternalBufferAllocator< "
                                        "Tarn::Kito::Allocator::ExternalBufferAllocator< "
                                        "Tarn::Kito::Allocator::SingleBlockAllocator > > >");
    // Its own bottom, the view of the chunk it was cut from, and its own region.
    EXPECT_EQ(third.getRoiStack().size(), 3u);
}

TEST(Chunk, ItsEndLeavesTheSourcesVoxels)
{
    MemoryVolumePtr<Tarn::int16> source = numberedVolume(3, 3, 3);
    {
        Tarn::Kito::Volume<Tarn::int16, External1> chunk(source, region(dim(3, 3, 3), pos(0, 0, 0)));
        chunk.fill(9);
    }
    EXPECT_EQ(source->getValueAt(pos(2, 2, 2)), 9);
    source->fill(4);
    EXPECT_EQ(source->getValueAt(pos(0, 0, 0)), 4);
}

TEST(Chunk, CannotChangeItsSize)
{
    MemoryVolumePtr<Tarn::int16> source = numberedVolume(3, 3, 3);
    Tarn::Kito::Volume<Tarn::int16, External1> chunk(source, region(dim(2, 2, 2), pos(0, 0, 0)));
    const Failure failure = tarnFailureOf([&] { chunk.reallocate(dim(2, 2, 2)); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::NotSupported");
    EXPECT_EQ(failure.error, "Tarn::Kito::Allocator::ExternalBufferAllocator::reallocate");
    EXPECT_EQ(chunk.getDimension(), dim(2, 2, 2));
    EXPECT_EQ(chunk.getValueAt(pos(1, 1, 1)), 13);
    // Its own size is no change: the regions go, the voxels stay.
    chunk.reallocate(dim(3, 3, 3));
    EXPECT_EQ(chunk.getDimension(), dim(3, 3, 3));
    EXPECT_EQ(chunk.getValueAt(pos(2, 2, 2)), 26);
}

TEST(Chunk, OfNoVolumeIsANullPointer)
{
    const MemoryVolumePtr<Tarn::int16> none;
    const Failure failure = tarnFailureOf(
        [&] { Tarn::Kito::Volume<Tarn::int16, External1> chunk(none, region(dim(1, 1, 1), pos(0, 0, 0))); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::NULLPointer");
    EXPECT_EQ(failure.error, "The pointer variable 'source' is a NULL pointer");
}

TEST(Chunk, OverStorageOfItsOwnSize)
{
    Tarn::int32 voxels[6] = {0, 1, 2, 3, 4, 5};
    External1::Storage<Tarn::int32> storage;
    storage.begin = voxels;
    storage.blocks.push_back(region(dim(3, 2, 1), pos(0, 0, 0)));
    {
        Tarn::Kito::Volume<Tarn::int32, External1> view(storage, dim(3, 2, 1));
        EXPECT_EQ(view.getValueAt(pos(2, 1, 0)), 5);
        view.fill(7);
    }
    EXPECT_EQ(voxels[0], 7);
    EXPECT_EQ(voxels[5], 7);
}

} // namespace
