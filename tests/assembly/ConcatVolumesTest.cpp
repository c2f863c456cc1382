// ConcatVolumes and its facade IConcatVolumes: every face for every voxel type against a plain
// reference, regions and turned views on the inputs, reused and reallocated outputs, the failures
// and that none of them moves a voxel, the team size.
#include <Kito/Statistics/SumOfVoxels/Parameter>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/IConcatVolumes.h>
#include <LumoStudio/Operators/ConcatVolumes/Operator.h>

#include "AssemblyTestSupport.h"

#include <support/FailureOf.h>
#include <support/RandomVolume.h>
#include <support/Views.h>

#include <gtest/gtest.h>

#include <omp.h>

#include <string>
#include <vector>

namespace {

using AssemblyTest::asVolume;
using AssemblyTest::bytesInView;
using AssemblyTest::bytesOf;
using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::Orientation;
using Tarn::Kito::Position;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;
using ConcatParameter = Tarn::Lumo::ConcatVolumes::Parameter;
template <class T> using Concat = Tarn::Lumo::ConcatVolumes::Operator<MemoryVolumePtr<T>, MemoryVolumePtr<T>, MemoryVolumePtr<T>>;

SmartPointer<ConcatParameter> concatParameter(const SmartPointer<IVolume>& first, const SmartPointer<IVolume>& second,
                                              Tarn::uint64 face)
{
    SmartPointer<ConcatParameter> p(new ConcatParameter);
    p->inputVolumeFirst.setValue(first);
    p->inputVolumeSecond.setValue(second);
    p->inputFace.setValue(face);
    return p;
}

/// Runs the facade on p and gives the volume it left in outputVolume.
template <class T> MemoryVolumePtr<T> concatThroughFacade(const SmartPointer<ConcatParameter>& p)
{
    Tarn::Lumo_DLL::IConcatVolumes::IOperator concat;
    concat.apply(TestSupport::asComposite(p));
    return DynamicCast<MemoryVolumePtr<T>>(p->outputVolume.getValue());
}

/// The joined voxels in walk order, written out face by face: a is the first view, b the second.
template <class V> std::vector<typename V::VoxelType> joinedReference(const V& a, const V& b, Tarn::uint64 face)
{
    const Dimension<SizeType> da = a.getDimension(), db = b.getDimension();
    Dimension<SizeType> joined = da;
    if (face % 3 == 0) joined.sec += db.sec;
    if (face % 3 == 1) joined.prim += db.prim;
    if (face % 3 == 2) joined.tert += db.tert;
    std::vector<typename V::VoxelType> values;
    for (SizeType t = 0; t < joined.tert; ++t)
        for (SizeType s = 0; s < joined.sec; ++s)
            for (SizeType p = 0; p < joined.prim; ++p) {
                typename V::VoxelType value{};
                switch (face) {
                case 0: value = s < db.sec ? b.getValueAt(Position<SizeType>(p, s, t))
                                           : a.getValueAt(Position<SizeType>(p, s - db.sec, t)); break;
                case 1: value = p < db.prim ? b.getValueAt(Position<SizeType>(p, s, t))
                                            : a.getValueAt(Position<SizeType>(p - db.prim, s, t)); break;
                case 2: value = t < db.tert ? b.getValueAt(Position<SizeType>(p, s, t))
                                            : a.getValueAt(Position<SizeType>(p, s, t - db.tert)); break;
                case 3: value = s < da.sec ? a.getValueAt(Position<SizeType>(p, s, t))
                                           : b.getValueAt(Position<SizeType>(p, s - da.sec, t)); break;
                case 4: value = p < da.prim ? a.getValueAt(Position<SizeType>(p, s, t))
                                            : b.getValueAt(Position<SizeType>(p - da.prim, s, t)); break;
                default: value = t < da.tert ? a.getValueAt(Position<SizeType>(p, s, t))
                                             : b.getValueAt(Position<SizeType>(p, s, t - da.tert)); break;
                }
                values.push_back(value);
            }
    return values;
}

/// The extent of the second region for a face: the first's, with 3 along sec, 2 along prim or 3
/// along tert.
Dimension<SizeType> secondExtentFor(Tarn::uint64 face, const Dimension<SizeType>& first)
{
    Dimension<SizeType> second = first;
    if (face % 3 == 0) second.sec = 3;
    if (face % 3 == 1) second.prim = 2;
    if (face % 3 == 2) second.tert = 3;
    return second;
}

const Dimension<SizeType> firstRegion(7, 5, 4);

template <class T> class ConcatVolumesTyped : public ::testing::Test {};
TYPED_TEST_SUITE(ConcatVolumesTyped, TestSupport::OperatorVoxelTypes, TestSupport::VoxelTypeNames);

/// Each face, both inputs with a region pushed: the new volume holds the two regions where the
/// face puts them, bit for bit, has the joined extent and no region; the inputs keep theirs.
TYPED_TEST(ConcatVolumesTyped, EveryFaceJoinsTheTwoRegionsAsAPlainLoopDoes)
{
    using T = TypeParam;
    for (Tarn::uint64 face = 0; face < 6; ++face) {
        SCOPED_TRACE("face " + std::to_string(face));
        const MemoryVolumePtr<T> first = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(11, 9, 8), 10 + face);
        first->setRoi(RegionOfInterest<SizeType>(firstRegion, Position<SizeType>(2, 3, 1)));
        const MemoryVolumePtr<T> second = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(9, 8, 7), 20 + face);
        second->setRoi(RegionOfInterest<SizeType>(secondExtentFor(face, firstRegion), Position<SizeType>(1, 2, 2)));
        const std::vector<unsigned char> expected = bytesOf(joinedReference(*first, *second, face));

        const MemoryVolumePtr<T> joined = concatThroughFacade<T>(concatParameter(asVolume(first), asVolume(second), face));
        ASSERT_NE(joined, 0);
        EXPECT_EQ(joined->getRoiStack().size(), 1u);
        Dimension<SizeType> extent = firstRegion;
        if (face % 3 == 0) extent.sec += 3;
        if (face % 3 == 1) extent.prim += 2;
        if (face % 3 == 2) extent.tert += 3;
        EXPECT_EQ(joined->getVolumeDimension(), extent);
        EXPECT_EQ(bytesInView(*joined), expected);
        EXPECT_EQ(first->getRoiStack().size(), 2u);
        EXPECT_EQ(second->getRoiStack().size(), 2u);
    }
}

/// The second input seen through a turned orientation: its view, in view order, is what is joined.
TYPED_TEST(ConcatVolumesTyped, ATurnedSecondInputIsJoinedInItsViewOrder)
{
    using T = TypeParam;
    const MemoryVolumePtr<T> first = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(6, 5, 5), 31);
    // Stored (5, 6, 2): with prim and sec swapped and prim mirrored, its view is (6, 5, 2).
    const MemoryVolumePtr<T> second = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(5, 6, 2), 32);
    second->setOrientation(Orientation(3, 0, 4));
    const SmartPointer<ConcatParameter> p = concatParameter(asVolume(first), asVolume(second), 5);
    Concat<T> concat;
    concat.apply(TestSupport::asComposite(p));
    const MemoryVolumePtr<T> joined = DynamicCast<MemoryVolumePtr<T>>(p->outputVolume.getValue());
    ASSERT_NE(joined, 0);
    EXPECT_EQ(joined->getVolumeDimension(), Dimension<SizeType>(6, 5, 7));
    EXPECT_EQ(bytesInView(*joined), bytesOf(joinedReference(*first, *second, 5)));
}

// ---- the edge cases, on volumes small enough to check by hand -------------------------------------

/// A volume of extent dim whose every voxel is value.
MemoryVolumePtr<Tarn::uint8> constantVolume(const Dimension<SizeType>& dim, Tarn::uint8 value)
{
    const MemoryVolumePtr<Tarn::uint8> volume(new MemoryVolume<Tarn::uint8>(dim));
    volume->fill(value);
    return volume;
}

TEST(ConcatVolumes, FacesZeroAndThreeOnEqualVolumesSwapTheHalves)
{
    const MemoryVolumePtr<Tarn::uint8> one = constantVolume(Dimension<SizeType>(2, 1, 2), 1);
    const MemoryVolumePtr<Tarn::uint8> two = constantVolume(Dimension<SizeType>(2, 1, 2), 2);
    const MemoryVolumePtr<Tarn::uint8> below = concatThroughFacade<Tarn::uint8>(concatParameter(asVolume(one), asVolume(two), 0));
    const MemoryVolumePtr<Tarn::uint8> above = concatThroughFacade<Tarn::uint8>(concatParameter(asVolume(one), asVolume(two), 3));
    EXPECT_EQ(below->getVolumeDimension(), Dimension<SizeType>(2, 2, 2));
    EXPECT_EQ(above->getVolumeDimension(), Dimension<SizeType>(2, 2, 2));
    EXPECT_EQ(TestSupport::valuesInView(*below), (std::vector<Tarn::uint8>{2, 2, 1, 1, 2, 2, 1, 1}));
    EXPECT_EQ(TestSupport::valuesInView(*above), (std::vector<Tarn::uint8>{1, 1, 2, 2, 1, 1, 2, 2}));
}

TEST(ConcatVolumes, TheFaceLeftAtItsDefaultPutsTheSecondBelowAlongSec)
{
    const MemoryVolumePtr<Tarn::uint8> one = constantVolume(Dimension<SizeType>(1, 2, 1), 1);
    const MemoryVolumePtr<Tarn::uint8> two = constantVolume(Dimension<SizeType>(1, 1, 1), 2);
    SmartPointer<ConcatParameter> p(new ConcatParameter);
    p->inputVolumeFirst.setValue(asVolume(one));
    p->inputVolumeSecond.setValue(asVolume(two));
    EXPECT_EQ(p->inputFace.getValue(), 0u);
    const MemoryVolumePtr<Tarn::uint8> joined = concatThroughFacade<Tarn::uint8>(p);
    EXPECT_EQ(joined->getVolumeDimension(), Dimension<SizeType>(1, 3, 1));
    EXPECT_EQ(TestSupport::valuesInView(*joined), (std::vector<Tarn::uint8>{2, 1, 1}));
}

/// Only the first volume's region is copied, and the second is placed by the region's extent,
/// not by the volume's.
TEST(ConcatVolumes, AFirstVolumeWithARegionPlacesTheSecondByTheRegionsExtent)
{
    // Voxel values are the storage index: 0 .. 26.
    const MemoryVolumePtr<Tarn::uint8> first = TestSupport::makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(3, 3, 3));
    first->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(2, 1, 1), Position<SizeType>(1, 2, 1)));
    const MemoryVolumePtr<Tarn::uint8> second = constantVolume(Dimension<SizeType>(3, 1, 1), 99);
    const MemoryVolumePtr<Tarn::uint8> joined =
        concatThroughFacade<Tarn::uint8>(concatParameter(asVolume(first), asVolume(second), 4));
    EXPECT_EQ(joined->getVolumeDimension(), Dimension<SizeType>(5, 1, 1));
    EXPECT_EQ(TestSupport::valuesInView(*joined), (std::vector<Tarn::uint8>{16, 17, 99, 99, 99}));
}

TEST(ConcatVolumes, AnOutputOfTheJoinedExtentIsWrittenIntoAndKept)
{
    const MemoryVolumePtr<Tarn::uint8> one = constantVolume(Dimension<SizeType>(2, 2, 1), 1);
    const MemoryVolumePtr<Tarn::uint8> two = constantVolume(Dimension<SizeType>(2, 2, 1), 2);
    const MemoryVolumePtr<Tarn::uint8> given = constantVolume(Dimension<SizeType>(2, 2, 2), 7);
    SmartPointer<ConcatParameter> p = concatParameter(asVolume(one), asVolume(two), 2);
    p->outputVolume.setValue(asVolume(given));
    const MemoryVolumePtr<Tarn::uint8> joined = concatThroughFacade<Tarn::uint8>(p);
    EXPECT_EQ(joined.get(), given.get());
    EXPECT_EQ(TestSupport::valuesInView(*given), (std::vector<Tarn::uint8>{2, 2, 2, 2, 1, 1, 1, 1}));
}

/// An output with a region in force of the joined extent is kept, and only its region is written.
TEST(ConcatVolumes, AnOutputWithARegionOfTheJoinedExtentIsWrittenInsideTheRegion)
{
    const MemoryVolumePtr<Tarn::uint8> one = constantVolume(Dimension<SizeType>(1, 1, 1), 1);
    const MemoryVolumePtr<Tarn::uint8> two = constantVolume(Dimension<SizeType>(1, 1, 1), 2);
    const MemoryVolumePtr<Tarn::uint8> given = constantVolume(Dimension<SizeType>(4, 1, 1), 7);
    given->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(2, 1, 1), Position<SizeType>(1, 0, 0)));
    SmartPointer<ConcatParameter> p = concatParameter(asVolume(one), asVolume(two), 1);
    p->outputVolume.setValue(asVolume(given));
    EXPECT_EQ(concatThroughFacade<Tarn::uint8>(p).get(), given.get());
    EXPECT_EQ(given->getRoiStack().size(), 2u) << "the host's region stays in force";
    given->popRoi();
    EXPECT_EQ(TestSupport::valuesInView(*given), (std::vector<Tarn::uint8>{7, 2, 1, 7}));
}

TEST(ConcatVolumes, AnOutputOfAnotherExtentIsReallocated)
{
    const MemoryVolumePtr<Tarn::uint8> one = constantVolume(Dimension<SizeType>(1, 1, 2), 1);
    const MemoryVolumePtr<Tarn::uint8> two = constantVolume(Dimension<SizeType>(1, 1, 1), 2);
    const MemoryVolumePtr<Tarn::uint8> given = constantVolume(Dimension<SizeType>(4, 4, 4), 7);
    SmartPointer<ConcatParameter> p = concatParameter(asVolume(one), asVolume(two), 5);
    p->outputVolume.setValue(asVolume(given));
    EXPECT_EQ(concatThroughFacade<Tarn::uint8>(p).get(), given.get());
    EXPECT_EQ(given->getVolumeDimension(), Dimension<SizeType>(1, 1, 3));
    EXPECT_EQ(TestSupport::valuesInView(*given), (std::vector<Tarn::uint8>{1, 1, 2}));
}

/// The copies report into progress objects of their own.
TEST(ConcatVolumes, TheOperatorsProgressDoesNotMove)
{
    const MemoryVolumePtr<Tarn::uint8> one = constantVolume(Dimension<SizeType>(4, 4, 4), 1);
    Tarn::Lumo_DLL::IConcatVolumes::IOperator concat;
    concat.apply(TestSupport::asComposite(concatParameter(asVolume(one), asVolume(one), 2)));
    EXPECT_EQ(concat.getProgress().getProgress(), 0.0);
}

/// The same join on one, two and three threads.
TEST(ConcatVolumes, TheResultDoesNotDependOnTheNumberOfThreads)
{
    const MemoryVolumePtr<Tarn::float32> first = TestSupport::makeRandomVolume<Tarn::float32>(Dimension<SizeType>(33, 21, 17), 5);
    const MemoryVolumePtr<Tarn::float32> second = TestSupport::makeRandomVolume<Tarn::float32>(Dimension<SizeType>(33, 21, 9), 6);
    const std::vector<unsigned char> expected = bytesOf(joinedReference(*first, *second, 2));
    const int saved = omp_get_max_threads();
    for (int threads : {1, 2, 3}) {
        omp_set_num_threads(threads);
        const MemoryVolumePtr<Tarn::float32> joined =
            concatThroughFacade<Tarn::float32>(concatParameter(asVolume(first), asVolume(second), 2));
        EXPECT_EQ(bytesInView(*joined), expected) << threads << " threads";
    }
    omp_set_num_threads(saved);
}

// ---- failures --------------------------------------------------------------------------------------

std::string operatorFailureOf(const SmartPointer<Tarn::Kito::Persistence::IComposite>& parameter)
{
    Concat<Tarn::uint8> concat;
    return TestSupport::invalidArgumentOf([&] { concat.apply(parameter); });
}

TEST(ConcatVolumes, FailuresOfTheParameterAndTheInputsInTheOrderOfTheirTests)
{
    const std::string head = "parameter: Tarn::Lumo::ConcatVolumes::Operator::apply";
    SmartPointer<Tarn::Kito::Statistics::SumOfVoxels::Parameter> wrong(new Tarn::Kito::Statistics::SumOfVoxels::Parameter);
    EXPECT_EQ(operatorFailureOf(TestSupport::asComposite(wrong)), head);
    const MemoryVolumePtr<Tarn::uint8> bytes = constantVolume(Dimension<SizeType>(2, 2, 2), 0);
    const MemoryVolumePtr<Tarn::int8> signedBytes(new MemoryVolume<Tarn::int8>(Dimension<SizeType>(2, 2, 2)));
    EXPECT_EQ(operatorFailureOf(TestSupport::asComposite(concatParameter(SmartPointer<IVolume>(), SmartPointer<IVolume>(), 6))),
              head + ": first input volume is null.");
    EXPECT_EQ(operatorFailureOf(TestSupport::asComposite(concatParameter(asVolume(signedBytes), asVolume(bytes), 0))),
              head + ": first input volume is null.") << "a volume of another type is no volume of the instance";
    EXPECT_EQ(operatorFailureOf(TestSupport::asComposite(concatParameter(asVolume(bytes), asVolume(signedBytes), 6))),
              head + ": second input volume is null.");
    EXPECT_EQ(operatorFailureOf(TestSupport::asComposite(concatParameter(asVolume(bytes), asVolume(bytes), 6))),
              head + ": invalid value for face.");
}

/// For each face the two other axes must agree: a difference on one of them fails, one on the
/// face's own axis does not.
TEST(ConcatVolumes, DimensionsMustAgreeBesideTheFacesAxis)
{
    const std::string misfit = "parameter: Tarn::Lumo::ConcatVolumes::Operator::apply: Dimensions do not fit.";
    const MemoryVolumePtr<Tarn::uint8> base = constantVolume(Dimension<SizeType>(2, 3, 4), 0);
    const MemoryVolumePtr<Tarn::uint8> longerPrim = constantVolume(Dimension<SizeType>(5, 3, 4), 0);
    const MemoryVolumePtr<Tarn::uint8> longerSec = constantVolume(Dimension<SizeType>(2, 5, 4), 0);
    const MemoryVolumePtr<Tarn::uint8> longerTert = constantVolume(Dimension<SizeType>(2, 3, 5), 0);
    for (Tarn::uint64 face = 0; face < 6; ++face) {
        SCOPED_TRACE("face " + std::to_string(face));
        const auto run = [&](const MemoryVolumePtr<Tarn::uint8>& second) {
            return operatorFailureOf(TestSupport::asComposite(concatParameter(asVolume(base), asVolume(second), face)));
        };
        EXPECT_EQ(run(longerPrim), face % 3 == 1 ? "no failure" : misfit);
        EXPECT_EQ(run(longerSec), face % 3 == 0 ? "no failure" : misfit);
        EXPECT_EQ(run(longerTert), face % 3 == 2 ? "no failure" : misfit);
    }
}

/// The extents compared are those of the regions in force, not of the volumes.
TEST(ConcatVolumes, DimensionsAreThoseOfTheRegions)
{
    const MemoryVolumePtr<Tarn::uint8> first = constantVolume(Dimension<SizeType>(2, 3, 4), 1);
    const MemoryVolumePtr<Tarn::uint8> second = constantVolume(Dimension<SizeType>(2, 3, 4), 2);
    second->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(2, 2, 4), Position<SizeType>(0, 0, 0)));
    EXPECT_EQ(operatorFailureOf(TestSupport::asComposite(concatParameter(asVolume(first), asVolume(second), 2))),
              "parameter: Tarn::Lumo::ConcatVolumes::Operator::apply: Dimensions do not fit.");
    EXPECT_EQ(operatorFailureOf(TestSupport::asComposite(concatParameter(asVolume(first), asVolume(second), 3))),
              "no failure");
}

/// A failed check leaves a given output as it was: nothing is resized and no voxel is written.
TEST(ConcatVolumes, NoCheckThatFailsHasMovedAVoxel)
{
    const MemoryVolumePtr<Tarn::uint8> first = constantVolume(Dimension<SizeType>(2, 2, 2), 1);
    const MemoryVolumePtr<Tarn::uint8> misfit = constantVolume(Dimension<SizeType>(3, 2, 2), 2);
    for (Tarn::uint64 face : {0u, 6u}) {
        const MemoryVolumePtr<Tarn::uint8> given = constantVolume(Dimension<SizeType>(3, 3, 3), 7);
        SmartPointer<ConcatParameter> p = concatParameter(asVolume(first), asVolume(misfit), face);
        p->outputVolume.setValue(asVolume(given));
        EXPECT_NE(operatorFailureOf(TestSupport::asComposite(p)), "no failure");
        EXPECT_EQ(given->getVolumeDimension(), Dimension<SizeType>(3, 3, 3));
        EXPECT_EQ(given->getRoiStack().size(), 1u);
        EXPECT_EQ(TestSupport::valuesInView(*given), std::vector<Tarn::uint8>(27, 7));
    }
}

TEST(ConcatVolumes, AGivenOutputOfAnotherTypeFailsInTheOutputCheck)
{
    const MemoryVolumePtr<Tarn::uint8> bytes = constantVolume(Dimension<SizeType>(2, 2, 2), 1);
    const MemoryVolumePtr<Tarn::float32> floats(new MemoryVolume<Tarn::float32>(Dimension<SizeType>(2, 2, 4)));
    SmartPointer<ConcatParameter> p = concatParameter(asVolume(bytes), asVolume(bytes), 2);
    p->outputVolume.setValue(asVolume(floats));
    EXPECT_EQ(operatorFailureOf(TestSupport::asComposite(p)),
              "parameter: Tarn::Kito::Operator::checkOutputVolume volume is of the wrong type");
}

// ---- the facade ------------------------------------------------------------------------------------

std::string facadeFailureOf(const SmartPointer<Tarn::Kito::Persistence::IComposite>& parameter)
{
    Tarn::Lumo_DLL::IConcatVolumes::IOperator concat;
    return TestSupport::invalidArgumentOf([&] { concat.apply(parameter); });
}

TEST(IConcatVolumes, FailuresInTheOrderOfTheirTests)
{
    const std::string head = "parameter: Tarn::Lumo_DLL::IConcatVolumes::IOperator::getOperatorTypeFromParameterObject";
    SmartPointer<Tarn::Kito::Statistics::SumOfVoxels::Parameter> wrong(new Tarn::Kito::Statistics::SumOfVoxels::Parameter);
    EXPECT_EQ(facadeFailureOf(TestSupport::asComposite(wrong)), head + ": invalid parameter object!");
    const MemoryVolumePtr<Tarn::uint8> bytes = constantVolume(Dimension<SizeType>(2, 2, 2), 0);
    EXPECT_EQ(facadeFailureOf(TestSupport::asComposite(concatParameter(SmartPointer<IVolume>(), SmartPointer<IVolume>(), 0))),
              head + ": inputVolumeFirst is NULL!");
    EXPECT_EQ(facadeFailureOf(TestSupport::asComposite(concatParameter(SmartPointer<IVolume>(), asVolume(bytes), 0))),
              head + ": inputVolumeFirst is NULL!");
    EXPECT_EQ(facadeFailureOf(TestSupport::asComposite(concatParameter(asVolume(bytes), SmartPointer<IVolume>(), 0))),
              head + ": inputVolumeSecond is NULL!");
}

/// The first volume's type names all three places, so a second of another type reaches the
/// operator and is refused there.
TEST(IConcatVolumes, ASecondVolumeOfAnotherTypeIsRefusedByTheOperator)
{
    const MemoryVolumePtr<Tarn::uint8> bytes = constantVolume(Dimension<SizeType>(2, 2, 2), 0);
    const MemoryVolumePtr<Tarn::int16> shorts(new MemoryVolume<Tarn::int16>(Dimension<SizeType>(2, 2, 2)));
    EXPECT_EQ(facadeFailureOf(TestSupport::asComposite(concatParameter(asVolume(bytes), asVolume(shorts), 0))),
              "parameter: Tarn::Lumo::ConcatVolumes::Operator::apply: second input volume is null.");
}

TEST(IConcatVolumes, AVoxelTypeWithoutInstanceFailsInTheFactoryWithTheWholeIdentifier)
{
    const MemoryVolumePtr<Tarn::int64> wide(new MemoryVolume<Tarn::int64>(Dimension<SizeType>(2, 2, 2)));
    const std::string volume = "Tarn::Kito::Volume< Tarn::int64 , Tarn::Kito::Allocator::SingleBlockAllocator >";
    EXPECT_EQ(facadeFailureOf(TestSupport::asComposite(concatParameter(asVolume(wide), asVolume(wide), 0))),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Lumo::ConcatVolumes::Operator< " + volume + " , " + volume + " , " + volume + " > is registered");
}

TYPED_TEST(ConcatVolumesTyped, TheOperatorRegistersUnderThreeTimesItsVolumesText)
{
    const std::string volume = AssemblyTest::memoryVolumeText<TypeParam>();
    EXPECT_EQ(Concat<TypeParam>().getType(),
              "Tarn::Lumo::ConcatVolumes::Operator< " + volume + " , " + volume + " , " + volume + " >");
}

TEST(ConcatVolumes, ParameterPropertiesInTheirOrder)
{
    ConcatParameter p;
    ASSERT_EQ(p.size(), 4u);
    EXPECT_EQ(p.getKey(0), "inputVolumeFirst");
    EXPECT_EQ(p.getKey(1), "inputVolumeSecond");
    EXPECT_EQ(p.getKey(2), "inputFace");
    EXPECT_EQ(p.getKey(3), "outputVolume");
    EXPECT_EQ(p.getType(), "Tarn::Lumo::ConcatVolumes::Parameter");
}

} // namespace
