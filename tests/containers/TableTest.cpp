#include "ContainerTestSupport.h"

#include <support/RandomVolume.h>

#include <Kito/ExternalBufferAllocator>
#include <Kito/SingleBlockAllocator>
#include <Kito/Volume>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace ContainerTesting;

using SingleBlock = Tarn::Kito::Allocator::SingleBlockAllocator;
template <class T> using MemoryVolume = Tarn::Kito::Volume<T, SingleBlock>;
template <class T> using MemoryVolumePtr = Tarn::Kito::VolumePtr<T, SingleBlock>;
using Tarn::Kito::Dimension;

template <class T> MemoryVolumePtr<T> volumeOf(SizeType values)
{
    return MemoryVolumePtr<T>(new MemoryVolume<T>(Dimension<SizeType>(values, 1, 1)));
}

void expectRefused(const Failure& failure, const std::string& error, const std::string& origin)
{
    expectInvalidArg(failure, error, origin, "Kito/include/Kito/Table");
}

// ---- several pairs ------------------------------------------------------------------------------

struct Uint8ToFloat32 {
    using Key = Tarn::uint8;
    using Value = Tarn::float32;
    static constexpr const char* name = "Tarn::Kito::Container::Table< Tarn::uint8 , Tarn::float32 >";
};
struct Int16ToInt8 {
    using Key = Tarn::int16;
    using Value = Tarn::int8;
    static constexpr const char* name = "Tarn::Kito::Container::Table< Tarn::int16 , Tarn::int8 >";
};
struct Float64ToUint32 {
    using Key = Tarn::float64;
    using Value = Tarn::uint32;
    static constexpr const char* name = "Tarn::Kito::Container::Table< Tarn::float64 , Tarn::uint32 >";
};
struct Int8ToUint16 {
    using Key = Tarn::int8;
    using Value = Tarn::uint16;
    static constexpr const char* name = "Tarn::Kito::Container::Table< Tarn::int8 , Tarn::uint16 >";
};

template <class P> class TableTyped : public ::testing::Test {
protected:
    using TableType = Table<typename P::Key, typename P::Value>;
    using Ptr = TablePtr<typename P::Key, typename P::Value>;
};
using Pairs = ::testing::Types<Uint8ToFloat32, Int16ToInt8, Float64ToUint32, Int8ToUint16>;
/// Names the cases after their pair ("TableTyped/uint8_float32") rather than a number.
struct PairNames {
    template <class P> static std::string GetName(int)
    {
        return std::string(TestSupport::voxelName<typename P::Key>()).substr(6) + "_" +
               std::string(TestSupport::voxelName<typename P::Value>()).substr(6);
    }
};
TYPED_TEST_SUITE(TableTyped, Pairs, PairNames);

TYPED_TEST(TableTyped, ClassNameNamesKeyAndValueType)
{
    EXPECT_EQ(typename TestFixture::TableType().getType(), TypeParam::name);
}

TYPED_TEST(TableTyped, FactoryMakesItByItsName)
{
    const typename TestFixture::Ptr table = DynamicCast<typename TestFixture::Ptr>(makeByName(TypeParam::name));
    ASSERT_FALSE(table == 0);
    EXPECT_EQ(table->tertOffsetToOrigin, 0u);
    EXPECT_EQ(table->size, 0u);
    EXPECT_TRUE(table->volume == 0);
    // Another pair's table is not this one.
    EXPECT_TRUE((DynamicCast<TablePtr<Tarn::uint16, Tarn::uint16>>(makeByName(TypeParam::name)) == 0));
}

TYPED_TEST(TableTyped, HasItsThreeKeysWithTheirValues)
{
    typename TestFixture::TableType table;
    table.tertOffsetToOrigin = 128;
    table.size = 256;
    table.volume = volumeOf<typename TypeParam::Value>(256);
    const IComposite& composite = table;
    EXPECT_EQ(keysOf(composite), (std::vector<std::string>{"tertOffsetToOrigin", "volume", "size"}));
    EXPECT_EQ(valueOf<SizeType>(table.getValue("tertOffsetToOrigin")), 128u);
    EXPECT_EQ(valueOf<SizeType>(table.getValue("size")), 256u);
    EXPECT_EQ(table.getValue("volume").get(), static_cast<IComposite*>(table.volume.get()));
}

TYPED_TEST(TableTyped, KeysCopiedOneByOneRebuildTheTable)
{
    typename TestFixture::TableType source;
    source.tertOffsetToOrigin = 5;
    source.size = 11;
    source.volume = volumeOf<typename TypeParam::Value>(11);
    const typename TestFixture::Ptr rebuilt = DynamicCast<typename TestFixture::Ptr>(makeByName(TypeParam::name));
    ASSERT_FALSE(rebuilt == 0);
    for (SizeType i = 0; i < static_cast<const IComposite&>(source).size(); ++i) {
        const std::string key = source.getKey(i);
        rebuilt->setValue(key, source.getValue(key));
    }
    EXPECT_EQ(rebuilt->tertOffsetToOrigin, 5u);
    EXPECT_EQ(rebuilt->size, 11u);
    EXPECT_EQ(rebuilt->volume.get(), source.volume.get());
}

// ---- every instance -----------------------------------------------------------------------------

TEST(TableFactory, EveryPairOfTheOperatorVoxelTypesIsRegistered)
{
    const std::vector<std::string> voxels = TestSupport::voxelNames(Tarn::Lumo_DLL::Instances::OperatorVoxels());
    for (const std::string& key : voxels)
        for (const std::string& value : voxels) {
            const std::string identifier = "Tarn::Kito::Container::Table< " + key + " , " + value + " >";
            SCOPED_TRACE(identifier);
            const SmartPointer<IComposite> made = makeByName(identifier);
            ASSERT_FALSE(made == 0);
            EXPECT_EQ(made->getType(), identifier);
            EXPECT_EQ(made->size(), 3u);
        }
    const auto ids = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    const auto tables = std::count_if(ids.begin(), ids.end(), [](const std::string& id) {
        return id.rfind("Tarn::Kito::Container::Table< ", 0) == 0;
    });
    EXPECT_EQ(tables, 64);
}

TEST(TableFactory, NoTableOfTheWideIntegers)
{
    EXPECT_EQ(TestSupport::invalidArgumentOf([] { makeByName("Tarn::Kito::Container::Table< Tarn::int64 , Tarn::uint8 >"); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Kito::Container::Table< Tarn::int64 , Tarn::uint8 > is registered");
}

// ---- keys and values ----------------------------------------------------------------------------

TEST(TableComposite, HasAlwaysExactlyThreeKeys)
{
    Table<Tarn::uint8, Tarn::float32> table;
    const IComposite& composite = table;
    EXPECT_EQ(composite.size(), 3u);
    table.size = 7;
    table.volume = volumeOf<Tarn::float32>(7);
    EXPECT_EQ(composite.size(), 3u);
    expectIndexOutOfRange(tarnFailureOf([&] { composite.getKey(3); }), "The index 3 is out of the valid range (0 to 2)!",
                          "Tarn::Kito::Container::Table::getKey", "Kito/include/Kito/Table");
}

TEST(TableComposite, NumbersAreNewDataOfSizeType)
{
    Table<Tarn::int16, Tarn::uint8> table;
    table.tertOffsetToOrigin = 32768;
    const SmartPointer<IComposite> value = table.getValue("tertOffsetToOrigin");
    EXPECT_EQ(value->getType(), "Tarn::Kito::Persistence::Data< Tarn::uint64 >");
    DynamicCast<DataPtr<SizeType>>(value)->setValue(1);
    EXPECT_EQ(table.tertOffsetToOrigin, 32768u);
    table.setValue("tertOffsetToOrigin", dataOf<SizeType>(4));
    table.setValue("size", dataOf<SizeType>(65536));
    EXPECT_EQ(table.tertOffsetToOrigin, 4u);
    EXPECT_EQ(table.size, 65536u);
}

TEST(TableComposite, NumbersOfAnotherTypeAreRefused)
{
    Table<Tarn::int16, Tarn::uint8> table;
    table.size = 9;
    const std::string origin = "Tarn::Kito::Container::Table::setValue";
    expectRefused(tarnFailureOf([&] { table.setValue("size", dataOf<Tarn::int32>(3)); }), "value is not an valid DataPtr", origin);
    expectRefused(tarnFailureOf([&] { table.setValue("tertOffsetToOrigin", SmartPointer<IComposite>()); }),
                  "value is not an valid DataPtr", origin);
    EXPECT_EQ(table.size, 9u);
    EXPECT_EQ(table.tertOffsetToOrigin, 0u);
}

TEST(TableComposite, TheVolumeTravelsAsItselfAndMustHoldTheValueType)
{
    Table<Tarn::uint8, Tarn::float32> table;
    EXPECT_TRUE(table.getValue("volume") == 0);
    const MemoryVolumePtr<Tarn::float32> values = volumeOf<Tarn::float32>(256);
    table.setValue("volume", asComposite(values));
    EXPECT_EQ(table.volume.get(), values.get());
    const std::string origin = "Tarn::Kito::Container::Table::setValue";
    expectRefused(tarnFailureOf([&] { table.setValue("volume", asComposite(volumeOf<Tarn::float64>(256))); }),
                  "value is not a valid VolumePtr", origin);
    using Chunk = Tarn::Kito::Volume<Tarn::float32, Tarn::Kito::Allocator::ExternalBufferAllocator<SingleBlock>>;
    expectRefused(tarnFailureOf([&] { table.setValue("volume", asComposite(SmartPointer<Chunk>(new Chunk))); }),
                  "value is not a valid VolumePtr", origin);
    expectRefused(tarnFailureOf([&] { table.setValue("volume", dataOf<float>(1.0f)); }), "value is not a valid VolumePtr",
                  origin);
    EXPECT_EQ(table.volume.get(), values.get());
    // NULL is a table without values, as a new table is.
    table.setValue("volume", SmartPointer<IComposite>());
    EXPECT_TRUE(table.volume == 0);
}

TEST(TableComposite, UnknownKeysAreRefused)
{
    Table<Tarn::uint16, Tarn::int32> table;
    expectRefused(tarnFailureOf([&] { table.getValue("Size"); }), "", "Tarn::Kito::Container::Table::getValue");
    expectRefused(tarnFailureOf([&] { table.setValue("values", asComposite(volumeOf<Tarn::int32>(2))); }), "",
                  "Tarn::Kito::Container::Table::setValue");
    EXPECT_TRUE(table.volume == 0);
}

TEST(TablePtr, SharesOneTable)
{
    const TablePtr<Tarn::int8, Tarn::float64> table(new Table<Tarn::int8, Tarn::float64>);
    const TablePtr<Tarn::int8, Tarn::float64> same = DynamicCast<TablePtr<Tarn::int8, Tarn::float64>>(asComposite(table));
    same->size = 3;
    EXPECT_EQ(table->size, 3u);
    EXPECT_EQ(table.getOwnerCount(), 2u);
}

} // namespace
