// The volume as a composite and as a class of the factory. This file uses the dispatcher library's
// own instances (declared extern there), so the volumes here are those the library compiled.
#include "VolumeTestSupport.h"

#include <Lumo_MiscDispatcher_DLL/KitoInstances.h>

#include <Kito/ClassFactory>
#include <Kito/Composite>
#include <Kito/Data>
#include <Kito/List>
#include <Kito/Orientation>
#include <Kito/SmartPointer>
#include <Kito/TripleComposite>
#include <Kito/Volume>

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
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

// ---- roiStack ------------------------------------------------------------------------------------

using RoiPtr = Tarn::Kito::RegionOfInterestCompositePtr<SizeType>;
using RoiList = Tarn::Kito::Container::List<RoiPtr>;
using RoiListPtr = Tarn::Kito::Container::ListPtr<RoiPtr>;

RoiPtr roiComposite(const Region& value) { return RoiPtr(new Tarn::Kito::RegionOfInterestComposite<SizeType>(value)); }

SmartPointer<IComposite> roiListOf(const std::vector<Region>& regions)
{
    const RoiListPtr list(new RoiList);
    for (const Region& r : regions) list->push_back(roiComposite(r));
    return asComposite(list);
}

std::vector<Region> regionsOf(const SmartPointer<IComposite>& value)
{
    const RoiListPtr list = DynamicCast<RoiListPtr>(value);
    if (list == 0) throw std::logic_error("not a list of region composites");
    std::vector<Region> result;
    for (const RoiPtr& r : *list) result.push_back(*r);
    return result;
}

TEST(VolumeComposite, RoiStackValueIsANewListOfRegionsBottomFirst)
{
    MemoryVolume<Tarn::uint8> volume(dim(4, 3, 2));
    volume.setRoi(region(dim(3, 2, 2), pos(1, 1, 0)));
    volume.setOrientation(Orientation(1, 2, 4));
    volume.setRoi(region(dim(1, 2, 1), pos(0, 0, 1)));
    const SmartPointer<IComposite> value = volume.getValue("roiStack");
    EXPECT_EQ(value->getType(), "Tarn::Kito::Container::List< Tarn::Kito::Roi >");
    EXPECT_EQ(value->size(), 3u);
    EXPECT_EQ(value->getValue("0")->getType(), "Tarn::Kito::Roi");
    // Storage coordinates, absolute: the last push was mirrored along prim.
    EXPECT_EQ(regionsOf(value), (std::vector<Region>{region(dim(4, 3, 2), pos(0, 0, 0)), region(dim(3, 2, 2), pos(1, 1, 0)),
                                                     region(dim(1, 2, 1), pos(3, 1, 1))}));
    // The regions are copies: changing them leaves the volume's stack alone.
    DynamicCast<RoiListPtr>(value)->front()->dim = dim(1, 1, 1);
    EXPECT_EQ(volume.getRoiStack().front(), region(dim(4, 3, 2), pos(0, 0, 0)));
    EXPECT_NE(volume.getValue("roiStack").get(), value.get());
}

TEST(VolumeComposite, RoiStackTakesNoValueOfAnotherType)
{
    MemoryVolume<Tarn::uint8> volume(dim(3, 2, 2));
    const std::string text = "Tarn::Kito::Volume< Tarn::uint8 , Tarn::Kito::Allocator::SingleBlockAllocator >::setValue value is "
                             "not an Tarn::Kito::Container::ListPtr<Tarn::Kito::RoiRoiCompositePtr>";
    const Failure failure = tarnFailureOf([&] { volume.setValue("roiStack", asComposite(DataPtr<double>(1.0))); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::IndexOutOfRange");
    EXPECT_EQ(failure.gui, "The index is out of the valid range!");
    EXPECT_EQ(failure.error, text);
    EXPECT_EQ(failure.file, "Kito/include/Kito/Volume");
    // A list of another element type and NULL are of another type too.
    const Tarn::Kito::Container::ListPtr<std::string> names(std::list<std::string>{"a"});
    EXPECT_EQ(tarnFailureOf([&] { volume.setValue("roiStack", asComposite(names)); }).error, text);
    EXPECT_EQ(tarnFailureOf([&] { volume.setValue("roiStack", SmartPointer<IComposite>()); }).error, text);
    EXPECT_EQ(volume.getRoiStack(), (std::list<Region>{region(dim(3, 2, 2), pos(0, 0, 0))}));
}

TEST(VolumeComposite, RoiStackOfNoRegionIsRefused)
{
    MemoryVolume<Tarn::uint8> volume(dim(3, 2, 2));
    volume.setRoi(region(dim(1, 1, 1), pos(2, 1, 1)));
    const auto stackBefore = volume.getRoiStack();
    try {
        volume.setValue("roiStack", roiListOf({}));
        ADD_FAILURE() << "an empty stack was taken";
    } catch (const Tarn::Exceptions::Exception& failure) {
        ADD_FAILURE() << "a failure of the Tarn family: " << failure.getClassName();
    } catch (const std::invalid_argument& failure) {
        EXPECT_STREQ(failure.what(), "Tarn::Kito::Volume< Tarn::uint8 , Tarn::Kito::Allocator::SingleBlockAllocator "
                                     ">::setValue we need at least one roi in the roi stack");
    }
    EXPECT_EQ(volume.getRoiStack(), stackBefore);
    EXPECT_EQ(volume.getDimension(), dim(1, 1, 1));
}

TEST(VolumeComposite, RoiStackWithANullRegionIsRefused)
{
    MemoryVolume<Tarn::uint8> volume(dim(3, 2, 2));
    const RoiListPtr list(new RoiList);
    list->push_back(roiComposite(region(dim(3, 2, 2), pos(0, 0, 0))));
    list->push_back(RoiPtr());
    const Failure failure = tarnFailureOf([&] { volume.setValue("roiStack", asComposite(list)); });
    EXPECT_EQ(failure.className, "Tarn::Exceptions::NULLPointer");
    EXPECT_EQ(failure.error, "The pointer variable 'region' is a NULL pointer");
    EXPECT_EQ(failure.origin, "Tarn::Kito::Volume::setValue");
    EXPECT_EQ(volume.getRoiStack().size(), 1u);
}

TEST(VolumeComposite, RoiStackFirstRegionOverwritesTheDimensionAndLastIsInForce)
{
    MemoryVolume<Tarn::int16> volume(dim(4, 3, 2));
    volume.setValue("roiStack", roiListOf({region(dim(6, 5, 4), pos(0, 0, 0)), region(dim(4, 4, 2), pos(1, 1, 1)),
                                           region(dim(2, 1, 2), pos(2, 3, 1))}));
    EXPECT_EQ(volume.getVolumeDimension(), dim(6, 5, 4));
    EXPECT_EQ(volume.getRoiStack(), (std::list<Region>{region(dim(6, 5, 4), pos(0, 0, 0)), region(dim(4, 4, 2), pos(1, 1, 1)),
                                                       region(dim(2, 1, 2), pos(2, 3, 1))}));
    EXPECT_EQ(volume.getDimension(), dim(2, 1, 2));
    EXPECT_EQ(volume.getPosition(), pos(2, 3, 1));
    // The view is recomputed with the new size: (2,3,1) lies 2 + 3*6 + 1*30 voxels in.
    EXPECT_EQ(volume.getOffset(pos(0, 0, 0)), 50);
    EXPECT_EQ(volume.getOffset(pos(1, 0, 1)), 50 + 1 + 30);
    // The storage is not touched until the orientation key makes it fit.
    EXPECT_EQ(volume.getBlockList(), (std::list<Region>{region(dim(4, 3, 2), pos(0, 0, 0))}));
}

TEST(VolumeComposite, RoiStackIsTakenWithoutChecks)
{
    MemoryVolume<Tarn::uint8> volume(dim(2, 2, 2));
    // The upper region does not lie inside the lower one; nothing says so here.
    volume.setValue("roiStack", roiListOf({region(dim(2, 2, 2), pos(0, 0, 0)), region(dim(3, 1, 1), pos(1, 5, 0))}));
    EXPECT_EQ(volume.getRoiStack().back(), region(dim(3, 1, 1), pos(1, 5, 0)));
    EXPECT_EQ(volume.getDimension(), dim(3, 1, 1));
}

TEST(VolumeComposite, KeysOfOneVolumeRebuildAnotherFromTheFactory)
{
    MemoryVolumePtr<Tarn::int32> source(new MemoryVolume<Tarn::int32>(dim(5, 4, 3)));
    source->setRoi(region(dim(4, 3, 2), pos(1, 0, 1)));
    source->setOrientation(Orientation(4, 1, 2));
    source->setRoi(region(dim(2, 2, 2), pos(0, 1, 0)));
    const SmartPointer<IComposite> made = Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(
        "Tarn::Kito::Volume< Tarn::int32 , Tarn::Kito::Allocator::SingleBlockAllocator >");
    const MemoryVolumePtr<Tarn::int32> rebuilt = DynamicCast<MemoryVolumePtr<Tarn::int32>>(made);
    ASSERT_FALSE(rebuilt == 0);
    for (SizeType i = 0; i < static_cast<const IComposite&>(*source).size(); ++i) {
        const std::string key = static_cast<const IComposite&>(*source).getKey(i);
        made->setValue(key, source->getValue(key));
    }
    EXPECT_EQ(rebuilt->getVolumeDimension(), dim(5, 4, 3));
    EXPECT_EQ(rebuilt->getRoiStack(), source->getRoiStack());
    EXPECT_EQ(rebuilt->getOrientation(), Orientation(4, 1, 2));
    EXPECT_EQ(rebuilt->getDimension(), source->getDimension());
    EXPECT_EQ(rebuilt->getPosition(), source->getPosition());
    EXPECT_EQ(rebuilt->getOffset(pos(1, 1, 1)), source->getOffset(pos(1, 1, 1)));
    // The orientation key made storage for the whole volume.
    EXPECT_EQ(rebuilt->getBlockList(), (std::list<Region>{region(dim(5, 4, 3), pos(0, 0, 0))}));
    rebuilt->fill(9);
    EXPECT_EQ(rebuilt->getValueAt(pos(1, 1, 1)), 9);
}

TEST(VolumeComposite, RoiStackReadFromOneVolumeIsTakenByAnotherOfTheSameSize)
{
    MemoryVolume<Tarn::float32> source(dim(6, 2, 3));
    source.setRoi(region(dim(3, 2, 2), pos(2, 0, 1)));
    MemoryVolume<Tarn::float32> target(dim(6, 2, 3));
    target.setOrientation(Orientation(2, 0, 5));
    const Tarn::float32* storage = target.getPosOffset(pos(0, 0, 0)) - target.getOffset(pos(0, 0, 0));
    target.setValue("roiStack", source.getValue("roiStack"));
    EXPECT_EQ(target.getRoiStack(), source.getRoiStack());
    EXPECT_EQ(target.getVolumeDimension(), dim(6, 2, 3));
    // The target keeps its orientation and storage and shows the source's region in it.
    EXPECT_EQ(target.getOrientation(), Orientation(2, 0, 5));
    EXPECT_EQ(target.getDimension(), dim(2, 3, 2));
    EXPECT_EQ(target.getPosOffset(pos(0, 0, 0)), storage + 2 + 2 * 12);
}

} // namespace
