// The volume as a composite and as a class of the factory. This file uses the dispatcher library's
// own instances (declared extern there), so the volumes here are those the library compiled.
#include "VolumeTestSupport.h"

#include <Lumo_MiscDispatcher_DLL/KitoInstances.h>

#include <Kito/ClassFactory>
#include <Kito/Composite>
#include <Kito/Data>
#include <Kito/Orientation>
#include <Kito/SmartPointer>
#include <Kito/Volume>

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace VolumeTesting;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::OrientationPtr;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Volume;
using Tarn::Kito::VolumePtr;
using Tarn::Kito::Persistence::DataPtr;
using Tarn::Kito::Persistence::IComposite;

template <class T, class A> std::string typeOf() { return Volume<T, A>().getType(); }

bool isRegistered(const std::string& identifier)
{
    const auto ids = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    return std::find(ids.begin(), ids.end(), identifier) != ids.end();
}

template <class T> SmartPointer<IComposite> asComposite(const SmartPointer<T>& p)
{
    return DynamicCast<SmartPointer<IComposite>>(p);
}

TEST(VolumeClassName, SingleBlock)
{
    EXPECT_EQ((typeOf<Tarn::uint8, SingleBlock>()),
              "Tarn::Kito::Volume< Tarn::uint8 , Tarn::Kito::Allocator::SingleBlockAllocator >");
    EXPECT_EQ((typeOf<Tarn::uint64, SingleBlock>()),
              "Tarn::Kito::Volume< Tarn::uint64 , Tarn::Kito::Allocator::SingleBlockAllocator >");
}

TEST(VolumeClassName, EveryNestingOfExternalBuffers)
{
    EXPECT_EQ((typeOf<Tarn::float32, External1>()),
              "Tarn::Kito::Volume< Tarn::float32 , Tarn::Kito::Allocator::ExternalBufferAllocator< "
              "Tarn::Kito::Allocator::SingleBlockAllocator > >");
    EXPECT_EQ((typeOf<Tarn::int16, External2>()),
              "Tarn::Kito::Volume< Tarn::int16 , Tarn::Kito::Allocator::ExternalBufferAllocator< "
              "Tarn::Kito::Allocator::ExternalBufferAllocator< Tarn::Kito::Allocator::SingleBlockAllocator > > >");
    EXPECT_EQ((typeOf<Tarn::float64, External3>()),
              "Tarn::Kito::Volume< Tarn::float64 , Tarn::Kito::Allocator::ExternalBufferAllocator< "
              "Tarn::Kito::Allocator::ExternalBufferAllocator< Tarn::Kito::Allocator::ExternalBufferAllocator< "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > > >");
}

TEST(VolumeClassName, VoxelTypeNamesOfAllTenTypes)
{
    EXPECT_EQ((Volume<Tarn::int8, SingleBlock>().getVoxelTypeName()), "Tarn::int8");
    EXPECT_EQ((Volume<Tarn::uint8, SingleBlock>().getVoxelTypeName()), "Tarn::uint8");
    EXPECT_EQ((Volume<Tarn::int16, SingleBlock>().getVoxelTypeName()), "Tarn::int16");
    EXPECT_EQ((Volume<Tarn::uint16, SingleBlock>().getVoxelTypeName()), "Tarn::uint16");
    EXPECT_EQ((Volume<Tarn::int32, SingleBlock>().getVoxelTypeName()), "Tarn::int32");
    EXPECT_EQ((Volume<Tarn::uint32, SingleBlock>().getVoxelTypeName()), "Tarn::uint32");
    EXPECT_EQ((Volume<Tarn::int64, External1>().getVoxelTypeName()), "Tarn::int64");
    EXPECT_EQ((Volume<Tarn::uint64, External2>().getVoxelTypeName()), "Tarn::uint64");
    EXPECT_EQ((Volume<Tarn::float32, External3>().getVoxelTypeName()), "Tarn::float32");
    EXPECT_EQ((Volume<Tarn::float64, SingleBlock>().getVoxelTypeName()), "Tarn::float64");
}

TEST(VolumeClassName, InstancesOfTheLibraryAreRegistered)
{
    EXPECT_TRUE(isRegistered("Tarn::Kito::Volume< Tarn::int8 , Tarn::Kito::Allocator::SingleBlockAllocator >"));
    EXPECT_TRUE(isRegistered("Tarn::Kito::Volume< Tarn::uint32 , Tarn::Kito::Allocator::SingleBlockAllocator >"));
    EXPECT_TRUE(isRegistered("Tarn::Kito::Volume< Tarn::int64 , Tarn::Kito::Allocator::SingleBlockAllocator >"));
    EXPECT_TRUE(isRegistered("Tarn::Kito::Volume< Tarn::uint64 , Tarn::Kito::Allocator::ExternalBufferAllocator< "
                             "Tarn::Kito::Allocator::SingleBlockAllocator > >"));
    EXPECT_TRUE(isRegistered("Tarn::Kito::Volume< Tarn::int64 , Tarn::Kito::Allocator::ExternalBufferAllocator< "
                             "Tarn::Kito::Allocator::ExternalBufferAllocator< Tarn::Kito::Allocator::SingleBlockAllocator > > >"));
    EXPECT_TRUE(isRegistered("Tarn::Kito::Volume< Tarn::uint16 , Tarn::Kito::Allocator::ExternalBufferAllocator< "
                             "Tarn::Kito::Allocator::ExternalBufferAllocator< Tarn::Kito::Allocator::ExternalBufferAllocator< "
                             "Tarn::Kito::Allocator::SingleBlockAllocator > > > >"));
    // The 64-bit integers stop at the second level of chunks.
    EXPECT_FALSE(isRegistered("Tarn::Kito::Volume< Tarn::int64 , Tarn::Kito::Allocator::ExternalBufferAllocator< "
                              "Tarn::Kito::Allocator::ExternalBufferAllocator< Tarn::Kito::Allocator::ExternalBufferAllocator< "
                              "Tarn::Kito::Allocator::SingleBlockAllocator > > > >"));
}

TEST(VolumeClassName, FactoryMakesAnEmptyVolumeByItsName)
{
    const SmartPointer<IComposite> made = Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(
        "Tarn::Kito::Volume< Tarn::float32 , Tarn::Kito::Allocator::ExternalBufferAllocator< "
        "Tarn::Kito::Allocator::SingleBlockAllocator > >");
    const VolumePtr<Tarn::float32, External1> volume = DynamicCast<VolumePtr<Tarn::float32, External1>>(made);
    ASSERT_FALSE(volume == 0);
    EXPECT_EQ(volume->getVolumeDimension(), dim(0, 0, 0));
    EXPECT_EQ(volume->getRoiStack().size(), 1u);
}

TEST(VolumeClassName, InterfaceHandleReachesTheComposite)
{
    const SmartPointer<Tarn::Kito::IVolume> volume =
        DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(MemoryVolumePtr<Tarn::int32>(new MemoryVolume<Tarn::int32>(dim(1, 2, 3))));
    ASSERT_FALSE(volume == 0);
    EXPECT_EQ(volume->size(), 6u);
    EXPECT_EQ(DynamicCast<SmartPointer<IComposite>>(volume)->getType(),
              "Tarn::Kito::Volume< Tarn::int32 , Tarn::Kito::Allocator::SingleBlockAllocator >");
    EXPECT_TRUE((DynamicCast<VolumePtr<Tarn::float32, SingleBlock>>(volume) == 0));
}

// ---- keys ----------------------------------------------------------------------------------------

TEST(VolumeComposite, HasThreeKeysInOrder)
{
    MemoryVolume<Tarn::uint8> volume(dim(2, 3, 4));
    const IComposite& composite = volume;
    EXPECT_EQ(composite.size(), 3u);
    EXPECT_EQ(composite.getKey(0), "roiStack");
    EXPECT_EQ(composite.getKey(1), "allocator");
    EXPECT_EQ(composite.getKey(2), "orientation");
    // The voxel count is the other size.
    EXPECT_EQ(volume.size(), 24u);
}

TEST(VolumeComposite, KeyIndexBeyondTwoIsRefusedInTheWordsOfSetValue)
{
    MemoryVolume<Tarn::uint8> volume;
    const Failure failure = tarnFailureOf([&] { static_cast<IComposite&>(volume).getKey(3); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::IndexOutOfRange");
    EXPECT_EQ(failure.gui, "The index is out of the valid range!");
    EXPECT_EQ(failure.error,
              "Tarn::Kito::Volume< Tarn::uint8 , Tarn::Kito::Allocator::SingleBlockAllocator >setValue not such index");
    EXPECT_EQ(failure.file, "Kito/include/Kito/Volume");
}

TEST(VolumeComposite, UnknownKeysAreRefused)
{
    Volume<Tarn::int16, External1> volume;
    const Failure get = tarnFailureOf([&] { volume.getValue("Orientation"); });
    EXPECT_EQ(get.className, "Tarn::Exceptions::IndexOutOfRange");
    EXPECT_EQ(get.error, "Tarn::Kito::Volume< Tarn::int16 , Tarn::Kito::Allocator::ExternalBufferAllocator< "
                         "Tarn::Kito::Allocator::SingleBlockAllocator > >getValue not such key Orientation");
    const Failure set = tarnFailureOf([&] { volume.setValue("dim", SmartPointer<IComposite>()); });
    EXPECT_EQ(set.className, "Tarn::Exceptions::IndexOutOfRange");
    EXPECT_EQ(set.error, "Tarn::Kito::Volume< Tarn::int16 , Tarn::Kito::Allocator::ExternalBufferAllocator< "
                         "Tarn::Kito::Allocator::SingleBlockAllocator > >setValue not such key dim");
    // A key with a format character in it is taken as it stands.
    EXPECT_EQ(tarnFailureOf([&] { volume.getValue("%s%d"); }).error,
              "Tarn::Kito::Volume< Tarn::int16 , Tarn::Kito::Allocator::ExternalBufferAllocator< "
              "Tarn::Kito::Allocator::SingleBlockAllocator > >getValue not such key %s%d");
}

TEST(VolumeComposite, AllocatorValueIsANewAllocatorOfTheVolumesType)
{
    MemoryVolume<Tarn::uint8> volume(dim(2, 2, 2));
    const SmartPointer<IComposite> value = volume.getValue("allocator");
    EXPECT_EQ(value->getType(), "Tarn::Kito::Allocator::SingleBlockAllocator");
    EXPECT_FALSE(DynamicCast<SmartPointer<SingleBlock>>(value) == 0);
    EXPECT_NE(volume.getValue("allocator").get(), value.get());
    Volume<Tarn::uint8, External2> chunkType;
    EXPECT_EQ(chunkType.getValue("allocator")->getType(),
              "Tarn::Kito::Allocator::ExternalBufferAllocator< Tarn::Kito::Allocator::ExternalBufferAllocator< "
              "Tarn::Kito::Allocator::SingleBlockAllocator > >");
}

TEST(VolumeComposite, AllocatorOfTheRightTypeChangesNothing)
{
    MemoryVolume<Tarn::uint8> volume(dim(3, 2, 2));
    volume.fill(5);
    volume.setRoi(region(dim(1, 1, 1), pos(2, 1, 1)));
    const Tarn::uint8* before = volume.getIterator();
    volume.setValue("allocator", asComposite(SmartPointer<SingleBlock>(new SingleBlock)));
    EXPECT_EQ(volume.getIterator(), before);
    EXPECT_EQ(volume.getRoiStack().size(), 2u);
    EXPECT_EQ(volume.getValueAt(pos(0, 0, 0)), 5);
}

TEST(VolumeComposite, AllocatorOfAnotherTypeIsRefused)
{
    MemoryVolume<Tarn::uint8> volume(dim(3, 2, 2));
    const Failure failure =
        tarnFailureOf([&] { volume.setValue("allocator", asComposite(SmartPointer<External1>(new External1))); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::IndexOutOfRange");
    EXPECT_EQ(failure.error, "Tarn::Kito::Volume< Tarn::uint8 , Tarn::Kito::Allocator::SingleBlockAllocator >setValue "
                             "value is not an Tarn::Kito::SmartPointer<Tarn::Kito::Allocator::SingleBlockAllocator>");
    EXPECT_EQ(tarnFailureOf([&] { volume.setValue("allocator", SmartPointer<IComposite>()); }).className,
              "Tarn::Exceptions::IndexOutOfRange");
}

TEST(VolumeComposite, OrientationValueIsACopy)
{
    MemoryVolume<Tarn::uint8> volume(dim(3, 2, 2));
    volume.setOrientation(Orientation(3, 1, 4));
    const OrientationPtr value = DynamicCast<OrientationPtr>(volume.getValue("orientation"));
    ASSERT_FALSE(value == 0);
    EXPECT_EQ(*value, Orientation(3, 1, 4));
    value->prim = 2;
    EXPECT_EQ(volume.getOrientation(), Orientation(3, 1, 4));
}

TEST(VolumeComposite, OrientationKeyTurnsTheViewAndKeepsStorageOfTheSameSize)
{
    MemoryVolume<Tarn::int32> volume(dim(4, 3, 2));
    volume.fill(8);
    const Tarn::int32* before = volume.getPosOffset(pos(0, 0, 0));
    volume.setValue("orientation", asComposite(OrientationPtr(new Orientation(5, 0, 2))));
    EXPECT_EQ(volume.getOrientation(), Orientation(5, 0, 2));
    EXPECT_EQ(volume.getDimension(), dim(2, 4, 3));
    EXPECT_EQ(volume.getPosOffset(pos(0, 0, 0)), before + 12);
    EXPECT_EQ(volume.getValueAt(pos(1, 3, 2)), 8);
}

TEST(VolumeComposite, OrientationKeyGivesStorageOfTheWholeSizeWhenTheTopRegionDiffers)
{
    MemoryVolume<Tarn::int32> volume(dim(4, 3, 2));
    volume.setRoi(region(dim(2, 2, 1), pos(1, 1, 1)));
    volume.setValue("orientation", asComposite(OrientationPtr(new Orientation(0, 2, 4))));
    ASSERT_EQ(volume.getBlockList().size(), 1u);
    EXPECT_EQ(volume.getBlockList().front(), region(dim(4, 3, 2), pos(0, 0, 0)));
    EXPECT_EQ(volume.getRoiStack().size(), 2u);
    EXPECT_EQ(volume.getDimension(), dim(2, 2, 1));
    EXPECT_EQ(volume.getOffset(pos(0, 0, 0)), 1 + 4 + 12);
    EXPECT_NE(volume.getIterator(), nullptr);
}

TEST(VolumeComposite, OrientationKeyOnAChunkWithARegionCannotReallocate)
{
    MemoryVolumePtr<Tarn::int32> source(new MemoryVolume<Tarn::int32>(dim(4, 3, 2)));
    Volume<Tarn::int32, External1> chunk(source, region(dim(2, 2, 1), pos(1, 1, 1)));
    const Failure failure =
        tarnFailureOf([&] { chunk.setValue("orientation", asComposite(OrientationPtr(new Orientation(0, 2, 4)))); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::NotSupported");
    EXPECT_EQ(failure.error, "Tarn::Kito::Allocator::ExternalBufferAllocator::reallocate");
}

TEST(VolumeComposite, OrientationOfAnotherTypeIsRefused)
{
    MemoryVolume<Tarn::uint8> volume(dim(3, 2, 2));
    const Failure failure =
        tarnFailureOf([&] { volume.setValue("orientation", asComposite(DataPtr<Tarn::int8>(Tarn::int8(4)))); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::IndexOutOfRange");
    EXPECT_EQ(failure.error, "Tarn::Kito::Volume< Tarn::uint8 , Tarn::Kito::Allocator::SingleBlockAllocator >setValue "
                             "value is not an Tarn::Kito::OrientationPtr");
    EXPECT_EQ(volume.getOrientation(), Orientation(0, 2, 4));
}

TEST(VolumeComposite, RoiStackTakesNoValueOfAnotherType)
{
    MemoryVolume<Tarn::uint8> volume(dim(3, 2, 2));
    const Failure failure = tarnFailureOf([&] { volume.setValue("roiStack", asComposite(DataPtr<double>(1.0))); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::IndexOutOfRange");
    EXPECT_EQ(failure.error,
              "Tarn::Kito::Volume< Tarn::uint8 , Tarn::Kito::Allocator::SingleBlockAllocator >::setValue value is not an "
              "Tarn::Kito::Container::ListPtr<Tarn::Kito::RoiRoiCompositePtr>");
    EXPECT_EQ(volume.getRoiStack().size(), 1u);
}

TEST(VolumeComposite, RoiStackCannotBeReadYet)
{
    MemoryVolume<Tarn::uint8> volume(dim(3, 2, 2));
    const Failure failure = tarnFailureOf([&] { volume.getValue("roiStack"); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::NotSupported");
    EXPECT_EQ(failure.origin, "Tarn::Kito::Volume::getValue");
}

} // namespace
