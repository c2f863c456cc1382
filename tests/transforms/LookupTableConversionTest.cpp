#include <Kito/Conversion/LookupTableConversion/Operator>
#include <Kito/Conversion/LookupTableConversion/Parameter>
#include <Kito/Table>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/ILookupTableConversion.h>
#include <Lumo_MiscDispatcher_DLL/KitoInstances.h>

#include "TransformTestSupport.h"

#include <support/FailureOf.h>
#include <support/RandomVolume.h>
#include <support/StopWhileRunning.h>

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::Position;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Container::Table;
using Tarn::Kito::Container::TablePtr;
using Tarn::Kito::Persistence::IComposite;
using Tarn::Lumo_DLL::ILookupTableConversion;
using TestSupport::asComposite;
using TestSupport::invalidArgumentOf;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;
using TransformTest::expectVoxels;

using Parameter = Tarn::Kito::Conversion::LookupTableConversion::Parameter;
template <class K, class V>
using LookupTable = Tarn::Kito::Conversion::LookupTableConversion::Operator<MemoryVolumePtr<K>, MemoryVolumePtr<V>>;

/// A table whose volume holds count values, values[i] at linear position i, with origin as the
/// position of key 0.
template <class K, class V> TablePtr<K, V> tableOf(const std::vector<V>& values, SizeType origin)
{
    TablePtr<K, V> table(new Table<K, V>);
    table->volume = MemoryVolumePtr<V>(new MemoryVolume<V>(Dimension<SizeType>(values.size(), 1, 1)));
    std::copy(values.begin(), values.end(), table->volume->getIterator());
    table->tertOffsetToOrigin = origin;
    table->size = values.size();
    return table;
}

/// Random values for every key of K, with key 0 at the position that a signed key needs.
template <class K, class V> TablePtr<K, V> fullTable(std::uint64_t seed)
{
    const SizeType count = SizeType(std::numeric_limits<K>::max()) - SizeType(Tarn::int64(std::numeric_limits<K>::min())) + 1;
    std::mt19937_64 engine(seed);
    std::vector<V> values(count);
    for (V& v : values) v = TestSupport::randomVoxel<V>(engine);
    return tableOf<K, V>(values, static_cast<SizeType>(-Tarn::int64(std::numeric_limits<K>::min())));
}

template <class K, class V>
SmartPointer<Parameter> parameterFor(const MemoryVolumePtr<K>& volume, const SmartPointer<IComposite>& table,
                                     bool withOutput = true)
{
    SmartPointer<Parameter> p = TestSupport::parameterWithInput<Parameter>(volume);
    p->inputLookupTable.setValue(table);
    // A one-voxel volume chooses the value type; the run replaces it by the result.
    if (withOutput)
        p->outputVolume.setValue(
            DynamicCast<SmartPointer<IVolume>>(MemoryVolumePtr<V>(new MemoryVolume<V>(Dimension<SizeType>(1, 1, 1)))));
    return p;
}

template <class V> MemoryVolumePtr<V> runFacade(const SmartPointer<Parameter>& p)
{
    ILookupTableConversion::IOperator facade;
    facade.apply(asComposite(p));
    return DynamicCast<MemoryVolumePtr<V>>(p->outputVolume.getValue());
}

template <class K, class V> std::vector<V> reference(const MemoryVolume<K>& volume, const Table<K, V>& table)
{
    std::vector<V> values;
    for (const K& key : TestSupport::valuesInView(volume))
        values.push_back(table.volume->getIterator()[Tarn::int64(table.tertOffsetToOrigin) + Tarn::int64(key)]);
    return values;
}

/// The 32 pairs of the library's list, as test types.
template <class List> struct PairTypesOf;
template <class... K, class... V>
struct PairTypesOf<Tarn::Lumo_DLL::Instances::InstanceList<Tarn::Lumo_DLL::Instances::Arguments<K, V>...>> {
    using type = ::testing::Types<std::tuple<K, V>...>;
};
using LookupTablePairTypes = PairTypesOf<Tarn::Lumo_DLL::Instances::LookupTablePairs>::type;

struct PairNames {
    template <class P> static std::string GetName(int)
    {
        return std::string(TestSupport::voxelName<std::tuple_element_t<0, P>>()).substr(6) + "_" +
               std::string(TestSupport::voxelName<std::tuple_element_t<1, P>>()).substr(6);
    }
};

template <class P> class LookupTableTyped : public ::testing::Test {};
TYPED_TEST_SUITE(LookupTableTyped, LookupTablePairTypes, PairNames);

TYPED_TEST(LookupTableTyped, FacadeReadsTheTableForEveryVoxelOnEveryViewWithOneTwoAndThreeThreads)
{
    using K = std::tuple_element_t<0, TypeParam>;
    using V = std::tuple_element_t<1, TypeParam>;
    const TablePtr<K, V> table = fullTable<K, V>(61);
    for (const TestSupport::View& view : TransformTest::views()) {
        SCOPED_TRACE(view.index);
        MemoryVolumePtr<K> volume = TestSupport::makeRandomVolume<K>(TransformTest::volumeExtent(), 900 + view.index);
        TestSupport::setView(*volume, view);
        const std::vector<V> expected = reference(*volume, *table);
        for (int threads : {1, 2, 3}) {
            SCOPED_TRACE(threads);
            const SmartPointer<Parameter> p = parameterFor<K, V>(volume, DynamicCast<SmartPointer<IComposite>>(table));
            MemoryVolumePtr<V> output;
            TransformTest::withThreads(threads, [&] { output = runFacade<V>(p); });
            ASSERT_NE(output, 0);
            EXPECT_EQ(output->getDimension(), TransformTest::extentOf(*volume));
            expectVoxels(*output, expected);
        }
    }
}

TYPED_TEST(LookupTableTyped, ATableOfAnotherKeyTypeFailsAfterTheOutputIsMade)
{
    using K = std::tuple_element_t<0, TypeParam>;
    using V = std::tuple_element_t<1, TypeParam>;
    using OtherKey = std::conditional_t<std::is_same_v<K, Tarn::uint8>, Tarn::int8, Tarn::uint8>;
    const MemoryVolumePtr<K> volume = TestSupport::makeRandomVolume<K>(Dimension<SizeType>(3, 2, 2), 5);
    const TablePtr<OtherKey, V> table = fullTable<OtherKey, V>(3);
    const SmartPointer<Parameter> p = parameterFor<K, V>(volume, DynamicCast<SmartPointer<IComposite>>(table), false);
    ILookupTableConversion::IOperator facade;
    try {
        facade.apply(asComposite(p));
        ADD_FAILURE() << "no failure";
    } catch (const std::invalid_argument& failure) {
        EXPECT_EQ(std::string(failure.what()),
                  "Tarn::Kito::Conversion::LookupTableConversion::Functor::Functor the given table is a NULL pointer");
    }
    const MemoryVolumePtr<K> made = DynamicCast<MemoryVolumePtr<K>>(p->outputVolume.getValue());
    ASSERT_NE(made, 0);
    EXPECT_EQ(made->getDimension(), Dimension<SizeType>(3, 2, 2));
}

TEST(LookupTable, ANegativeInt16KeyReadsBeforeTheOrigin)
{
    // Each value names its own position, so the result shows where the table was read.
    std::vector<Tarn::int32> positions(65536);
    for (SizeType i = 0; i < positions.size(); ++i) positions[i] = static_cast<Tarn::int32>(i);
    const TablePtr<Tarn::int16, Tarn::int32> table = tableOf<Tarn::int16, Tarn::int32>(positions, 32768);
    MemoryVolumePtr<Tarn::int16> volume(new MemoryVolume<Tarn::int16>(Dimension<SizeType>(4, 1, 1)));
    const Tarn::int16 keys[] = {-5, 0, -32768, 32767};
    std::copy(std::begin(keys), std::end(keys), volume->getIterator());
    const MemoryVolumePtr<Tarn::int32> output =
        runFacade<Tarn::int32>(parameterFor<Tarn::int16, Tarn::int32>(volume, DynamicCast<SmartPointer<IComposite>>(table)));
    expectVoxels(*output, std::vector<Tarn::int32>{32763, 32768, 0, 65535});
}

TEST(LookupTable, AnUint8KeyWithOriginZeroReadsItsOwnPosition)
{
    std::vector<Tarn::float32> positions(256);
    for (SizeType i = 0; i < positions.size(); ++i) positions[i] = static_cast<Tarn::float32>(i) + 0.5f;
    const TablePtr<Tarn::uint8, Tarn::float32> table = tableOf<Tarn::uint8, Tarn::float32>(positions, 0);
    MemoryVolumePtr<Tarn::uint8> volume(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(3, 1, 1)));
    const Tarn::uint8 keys[] = {0, 7, 255};
    std::copy(std::begin(keys), std::end(keys), volume->getIterator());
    expectVoxels(*runFacade<Tarn::float32>(
                     parameterFor<Tarn::uint8, Tarn::float32>(volume, DynamicCast<SmartPointer<IComposite>>(table))),
                 std::vector<Tarn::float32>{0.5f, 7.5f, 255.5f});
}

TEST(LookupTable, PositionsCountFromTheFirstVoxelOfTheTablesView)
{
    // The table's view starts at slice 1 of its volume: key 0 reads the first voxel of that slice.
    std::vector<Tarn::uint16> positions(3 * 256);
    for (SizeType i = 0; i < positions.size(); ++i) positions[i] = static_cast<Tarn::uint16>(i);
    TablePtr<Tarn::uint8, Tarn::uint16> table(new Table<Tarn::uint8, Tarn::uint16>);
    table->volume = MemoryVolumePtr<Tarn::uint16>(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(256, 1, 3)));
    std::copy(positions.begin(), positions.end(), table->volume->getIterator());
    table->volume->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(256, 1, 2), Position<SizeType>(0, 0, 1)));
    MemoryVolumePtr<Tarn::uint8> volume(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(2, 1, 1)));
    volume->getIterator()[0] = 0;
    volume->getIterator()[1] = 9;
    expectVoxels(*runFacade<Tarn::uint16>(
                     parameterFor<Tarn::uint8, Tarn::uint16>(volume, DynamicCast<SmartPointer<IComposite>>(table))),
                 std::vector<Tarn::uint16>{256, 265});
}

TEST(LookupTable, ARegionOnTheInputGivesAnOutputOfItsSizeAndLeavesTheTableAlone)
{
    const TablePtr<Tarn::uint8, Tarn::int16> table = fullTable<Tarn::uint8, Tarn::int16>(8);
    const std::vector<Tarn::int16> before = TestSupport::valuesInView(*table->volume);
    MemoryVolumePtr<Tarn::uint8> volume = TestSupport::makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(6, 5, 4));
    volume->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(2, 3, 2), Position<SizeType>(1, 1, 1)));
    const MemoryVolumePtr<Tarn::int16> output =
        runFacade<Tarn::int16>(parameterFor<Tarn::uint8, Tarn::int16>(volume, DynamicCast<SmartPointer<IComposite>>(table)));
    EXPECT_EQ(output->getDimension(), Dimension<SizeType>(2, 3, 2));
    expectVoxels(*output, reference(*volume, *table));
    EXPECT_EQ(TestSupport::valuesInView(*table->volume), before);
    EXPECT_EQ(table->volume->getDimension(), Dimension<SizeType>(256, 1, 1));
}

TEST(LookupTable, WithoutAnOutputVolumeTheInputTypeIsTheValueType)
{
    const TablePtr<Tarn::uint8, Tarn::uint8> table = fullTable<Tarn::uint8, Tarn::uint8>(2);
    const MemoryVolumePtr<Tarn::uint8> volume = TestSupport::makeRandomVolume<Tarn::uint8>(Dimension<SizeType>(4, 3, 2), 4);
    const MemoryVolumePtr<Tarn::uint8> output = runFacade<Tarn::uint8>(
        parameterFor<Tarn::uint8, Tarn::uint8>(volume, DynamicCast<SmartPointer<IComposite>>(table), false));
    ASSERT_NE(output, 0);
    expectVoxels(*output, reference(*volume, *table));
}

TEST(LookupTable, AGivenOutputVolumeIsWrittenInPlaceAndResized)
{
    const TablePtr<Tarn::int8, Tarn::float64> table = fullTable<Tarn::int8, Tarn::float64>(12);
    const MemoryVolumePtr<Tarn::int8> volume = TestSupport::makeRandomVolume<Tarn::int8>(Dimension<SizeType>(5, 4, 3), 6);
    const SmartPointer<Parameter> p =
        parameterFor<Tarn::int8, Tarn::float64>(volume, DynamicCast<SmartPointer<IComposite>>(table), false);
    const MemoryVolumePtr<Tarn::float64> given(new MemoryVolume<Tarn::float64>(Dimension<SizeType>(1, 2, 3)));
    p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(given));
    EXPECT_EQ(runFacade<Tarn::float64>(p).get(), given.get());
    EXPECT_EQ(given->getDimension(), Dimension<SizeType>(5, 4, 3));
    expectVoxels(*given, reference(*volume, *table));
}

// ---- failures ---------------------------------------------------------------------------------------

TEST(LookupTableFailure, AParameterObjectOfAnotherClassFailsInTheFacade)
{
    ILookupTableConversion::IOperator facade;
    SmartPointer<Tarn::Kito::Progress> other(new Tarn::Kito::Progress);
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(other)); }),
              "parameter: Tarn::Lumo_DLL::ILookupTableConversion::IOperator::getOperatorTypeFromParameterObject: "
              "invalid parameter object!");
}

TEST(LookupTableFailure, AMissingVolumeFailsInTheFacade)
{
    ILookupTableConversion::IOperator facade;
    SmartPointer<Parameter> p(new Parameter);
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo_DLL::ILookupTableConversion::IOperator::getOperatorTypeFromParameterObject: "
              "inputVolume is NULL!");
}

TEST(LookupTableFailure, AKeyTypeWithoutInstanceFailsInTheFactoryWithTheOutputsType)
{
    ILookupTableConversion::IOperator facade;
    const MemoryVolumePtr<Tarn::int32> volume(new MemoryVolume<Tarn::int32>(Dimension<SizeType>(2, 2, 2)));
    const SmartPointer<Parameter> p =
        parameterFor<Tarn::int32, Tarn::float32>(volume, SmartPointer<IComposite>());
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Kito::Conversion::LookupTableConversion::Operator< Tarn::Kito::Volume< Tarn::int32 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > , Tarn::Kito::Volume< Tarn::float32 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > > is registered");
}

TEST(LookupTableFailure, TheOperatorRefusesAParameterObjectOfAnotherClass)
{
    LookupTable<Tarn::uint8, Tarn::uint8> op;
    SmartPointer<Tarn::Kito::Progress> other(new Tarn::Kito::Progress);
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(other)); }),
              "parameter: Tarn::Kito::Conversion::LookupTableConversion::Operator::apply");
}

TEST(LookupTableFailure, TheOperatorRefusesAMissingVolume)
{
    LookupTable<Tarn::uint8, Tarn::uint8> op;
    SmartPointer<Parameter> p(new Parameter);
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Kito::Conversion::LookupTableConversion::Operator::apply the given inputVolume is an NULL "
              "pointer");
}

TEST(LookupTableFailure, AMissingTableFailsInTheFunctorAndAValueTypeOfAnotherKindToo)
{
    const MemoryVolumePtr<Tarn::uint8> volume = TestSupport::makeRandomVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 2), 1);
    const std::string text = "Tarn::Kito::Conversion::LookupTableConversion::Functor::Functor the given table is a NULL pointer";
    LookupTable<Tarn::uint8, Tarn::uint16> op;
    EXPECT_EQ(invalidArgumentOf([&] {
                  op.apply(asComposite(parameterFor<Tarn::uint8, Tarn::uint16>(volume, SmartPointer<IComposite>())));
              }),
              text);
    const TablePtr<Tarn::uint8, Tarn::int16> wrongValues = fullTable<Tarn::uint8, Tarn::int16>(1);
    EXPECT_EQ(invalidArgumentOf([&] {
                  op.apply(asComposite(
                      parameterFor<Tarn::uint8, Tarn::uint16>(volume, DynamicCast<SmartPointer<IComposite>>(wrongValues))));
              }),
              text);
}

TEST(LookupTableFailure, AnOutputVolumeOfAnotherTypeFailsInTheCheck)
{
    LookupTable<Tarn::uint8, Tarn::uint16> op;
    const MemoryVolumePtr<Tarn::uint8> volume = TestSupport::makeRandomVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 2), 1);
    const TablePtr<Tarn::uint8, Tarn::uint16> table = fullTable<Tarn::uint8, Tarn::uint16>(1);
    const SmartPointer<Parameter> p =
        parameterFor<Tarn::uint8, Tarn::int16>(volume, DynamicCast<SmartPointer<IComposite>>(table));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Kito::Operator::checkOutputVolume volume is of the wrong type");
}

TEST(LookupTableRun, ProgressEndsAtOneAndAStopLeavesTheLastSliceUntouched)
{
    const Dimension<SizeType> extent(256, 256, 300);
    const MemoryVolumePtr<Tarn::uint16> volume = TestSupport::makeRandomVolume<Tarn::uint16>(extent, 3);
    const TablePtr<Tarn::uint16, Tarn::uint16> table = fullTable<Tarn::uint16, Tarn::uint16>(3);
    const SmartPointer<Parameter> p =
        parameterFor<Tarn::uint16, Tarn::uint16>(volume, DynamicCast<SmartPointer<IComposite>>(table), false);
    LookupTable<Tarn::uint16, Tarn::uint16> op;
    op.apply(asComposite(p));
    EXPECT_EQ(op.getProgress().getProgress(), 1.0);
    for (int attempt = 0; attempt < 200; ++attempt) {
        // A fresh operator: one that ran already shows its old progress until its next run starts.
        LookupTable<Tarn::uint16, Tarn::uint16> fresh;
        // One thread, so that the slab that reports progress is the one that the stop is seen in.
        bool stopped = false;
        TransformTest::withThreads(1, [&] {
            const MemoryVolumePtr<Tarn::uint16> output(new MemoryVolume<Tarn::uint16>(extent));
            output->fill(0);
            p->outputVolume.setValue(DynamicCast<SmartPointer<IVolume>>(output));
            const TestSupport::StoppedRun run = TestSupport::stopWhileRunning(fresh, [&] { fresh.apply(asComposite(p)); });
            EXPECT_TRUE(TestSupport::neverFalls(run.seen));
            output->setRoiToSlice(extent.tert - 1);
            stopped = run.stopAsked &&
                      TestSupport::valuesInView(*output) == std::vector<Tarn::uint16>(extent.prim * extent.sec, 0);
        });
        if (stopped) return;
    }
    GTEST_SKIP() << "no run was stopped before its end";
}

} // namespace
