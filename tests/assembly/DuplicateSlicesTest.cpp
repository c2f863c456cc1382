// DuplicateSlices and its facade IDuplicateSlices: each plane for every voxel type against a plain
// reference, with a region on the input, through every instance named by an output type; the
// volumes' regions and orientations after a run and after a failure; the failure texts.
#include <Kito/Statistics/SumOfVoxels/Parameter>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/IDuplicateSlices.h>
#include <Lumo_MiscDispatcher_DLL/KitoInstances.h>
#include <LumoStudio/Operators/DuplicateSlices/Operator.h>

#include "AssemblyTestSupport.h"

#include <support/FailureOf.h>
#include <support/RandomVolume.h>
#include <support/Views.h>

#include <gtest/gtest.h>

#include <omp.h>

#include <cstdint>
#include <cstring>
#include <list>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using AssemblyTest::asVolume;
using AssemblyTest::bytesInView;
using AssemblyTest::bytesOf;
using AssemblyTest::memoryVolumeText;
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
using DuplicateParameter = Tarn::Lumo::DuplicateSlices::Parameter;
template <class I, class O = I>
using Duplicate = Tarn::Lumo::DuplicateSlices::Operator<MemoryVolumePtr<I>, MemoryVolumePtr<O>>;

SmartPointer<DuplicateParameter> duplicateParameter(const SmartPointer<IVolume>& input, const std::string& plane,
                                                    Tarn::uint64 index, Tarn::uint64 count)
{
    SmartPointer<DuplicateParameter> p(new DuplicateParameter);
    p->inputVolume.setValue(input);
    p->inputSliceOrientation.setValue(plane);
    p->inputSliceIndex.setValue(index);
    p->inputNumberOfSlices.setValue(count);
    return p;
}

void applyFacade(const SmartPointer<DuplicateParameter>& p)
{
    Tarn::Lumo_DLL::IDuplicateSlices::IOperator duplicate;
    duplicate.apply(TestSupport::asComposite(p));
}

/// The repetitions in walk order, written out plane by plane from the input's view.
template <class V>
std::vector<typename V::VoxelType> repeatedReference(const V& input, const std::string& plane, SizeType index, SizeType count)
{
    const SizeType nPrim = input.getDimPrim(), nSec = input.getDimSec(), nTert = input.getDimTert();
    std::vector<typename V::VoxelType> values;
    if (plane == "XY-Slice") {
        for (SizeType t = 0; t < count; ++t)
            for (SizeType s = 0; s < nSec; ++s)
                for (SizeType p = 0; p < nPrim; ++p) values.push_back(input.getValueAt(Position<SizeType>(p, s, index)));
    } else if (plane == "XZ-Slice") {
        for (SizeType t = 0; t < nTert; ++t)
            for (SizeType s = 0; s < count; ++s)
                for (SizeType p = 0; p < nPrim; ++p) values.push_back(input.getValueAt(Position<SizeType>(p, index, t)));
    } else {
        for (SizeType t = 0; t < nTert; ++t)
            for (SizeType s = 0; s < nSec; ++s)
                for (SizeType p = 0; p < count; ++p) values.push_back(input.getValueAt(Position<SizeType>(index, s, t)));
    }
    return values;
}

struct PlaneCase {
    const char* plane;
    SizeType index;
    Dimension<SizeType> extent;   // of the result, for the region below and 3 slices
};

// The input's region has extent (7, 5, 4); each plane is taken at its last index and in the middle.
const RegionOfInterest<SizeType> inputRegion(Dimension<SizeType>(7, 5, 4), Position<SizeType>(2, 1, 3));
const PlaneCase planeCases[] = {{"XY-Slice", 3, Dimension<SizeType>(7, 5, 3)}, {"XY-Slice", 1, Dimension<SizeType>(7, 5, 3)},
                                {"XZ-Slice", 4, Dimension<SizeType>(7, 3, 4)}, {"XZ-Slice", 2, Dimension<SizeType>(7, 3, 4)},
                                {"YZ-Slice", 6, Dimension<SizeType>(3, 5, 4)}, {"YZ-Slice", 0, Dimension<SizeType>(3, 5, 4)}};

/// Calls f(T()) for each of the operators' voxel types.
template <class F, class... T>
void forEachType(Tarn::Lumo_DLL::Instances::InstanceList<Tarn::Lumo_DLL::Instances::Arguments<T>...>, F&& f)
{
    (f(T()), ...);
}

template <class T> class DuplicateSlicesTyped : public ::testing::Test {};
TYPED_TEST_SUITE(DuplicateSlicesTyped, TestSupport::OperatorVoxelTypes, TestSupport::VoxelTypeNames);

/// Each plane, from an input with a region, through the instance that each output type names: a
/// new volume of the input's type holds the slice repeated, bit for bit; afterwards the input
/// stands as before and the result shows its whole self in storage order.
TYPED_TEST(DuplicateSlicesTyped, EveryPlaneRepeatsTheSliceAsAPlainLoopDoes)
{
    using T = TypeParam;
    const MemoryVolumePtr<T> input = TestSupport::makeRandomVolume<T>(Dimension<SizeType>(10, 8, 9), 41);
    input->setRoi(inputRegion);
    const std::list<RegionOfInterest<SizeType>> stack = input->getRoiStack();
    for (const PlaneCase& c : planeCases) {
        SCOPED_TRACE(std::string(c.plane) + " " + std::to_string(c.index));
        const std::vector<unsigned char> expected = bytesOf(repeatedReference(*input, c.plane, c.index, 3));
        forEachType(Tarn::Lumo_DLL::Instances::OperatorVoxels(), [&](auto outputType) {
            using O = decltype(outputType);
            SCOPED_TRACE(std::string("output ") + TestSupport::voxelName<O>());
            const MemoryVolumePtr<O> placed(new MemoryVolume<O>(Dimension<SizeType>(2, 2, 2)));
            const SmartPointer<DuplicateParameter> p = duplicateParameter(asVolume(input), c.plane, c.index, 3);
            p->outputVolume.setValue(asVolume(placed));
            applyFacade(p);
            const MemoryVolumePtr<T> result = DynamicCast<MemoryVolumePtr<T>>(p->outputVolume.getValue());
            ASSERT_NE(result, 0) << "the result has the input's type";
            EXPECT_NE(asVolume(result).get(), asVolume(placed).get());
            EXPECT_EQ(result->getVolumeDimension(), c.extent);
            EXPECT_EQ(result->getRoiStack().size(), 1u);
            EXPECT_EQ(result->getOrientation(), Orientation(0, 2, 4));
            EXPECT_EQ(bytesInView(*result), expected);
            EXPECT_EQ(input->getRoiStack(), stack);
            EXPECT_EQ(input->getOrientation(), Orientation(0, 2, 4));
        });
    }
}

TYPED_TEST(DuplicateSlicesTyped, TheOperatorRegistersUnderItsTwoVolumesTexts)
{
    const std::string text = "Tarn::Lumo::DuplicateSlices::Operator< " + memoryVolumeText<TypeParam>() + " , " +
                             memoryVolumeText<Tarn::float64>() + " >";
    EXPECT_EQ((Duplicate<TypeParam, Tarn::float64>().getType()), text);
}

// ---- the edge cases, on volumes small enough to check by hand -------------------------------------

/// An index volume of 3 x 2 x 2: its voxels hold their storage index 0 .. 11.
MemoryVolumePtr<Tarn::uint8> smallIndexVolume()
{
    return TestSupport::makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(3, 2, 2));
}

MemoryVolumePtr<Tarn::uint8> duplicateSmall(const MemoryVolumePtr<Tarn::uint8>& input, const std::string& plane,
                                            Tarn::uint64 index, Tarn::uint64 count)
{
    const SmartPointer<DuplicateParameter> p = duplicateParameter(asVolume(input), plane, index, count);
    applyFacade(p);
    return DynamicCast<MemoryVolumePtr<Tarn::uint8>>(p->outputVolume.getValue());
}

TEST(DuplicateSlices, EachPlaneOfASmallVolumeByHand)
{
    const MemoryVolumePtr<Tarn::uint8> input = smallIndexVolume();
    const MemoryVolumePtr<Tarn::uint8> xy = duplicateSmall(input, "XY-Slice", 1, 2);
    EXPECT_EQ(xy->getVolumeDimension(), Dimension<SizeType>(3, 2, 2));
    EXPECT_EQ(TestSupport::valuesInView(*xy), (std::vector<Tarn::uint8>{6, 7, 8, 9, 10, 11, 6, 7, 8, 9, 10, 11}));
    const MemoryVolumePtr<Tarn::uint8> xz = duplicateSmall(input, "XZ-Slice", 1, 2);
    EXPECT_EQ(xz->getVolumeDimension(), Dimension<SizeType>(3, 2, 2));
    EXPECT_EQ(TestSupport::valuesInView(*xz), (std::vector<Tarn::uint8>{3, 4, 5, 3, 4, 5, 9, 10, 11, 9, 10, 11}));
    const MemoryVolumePtr<Tarn::uint8> yz = duplicateSmall(input, "YZ-Slice", 2, 2);
    EXPECT_EQ(yz->getVolumeDimension(), Dimension<SizeType>(2, 2, 2));
    EXPECT_EQ(TestSupport::valuesInView(*yz), (std::vector<Tarn::uint8>{2, 2, 5, 5, 8, 8, 11, 11}));
}

/// The extents and the index are those of the region in force.
TEST(DuplicateSlices, AnInputWithARegionCountsItsIndexAndExtentsWithinTheRegion)
{
    const MemoryVolumePtr<Tarn::uint8> input = smallIndexVolume();
    input->setRoi(RegionOfInterest<SizeType>(Dimension<SizeType>(2, 1, 2), Position<SizeType>(1, 1, 0)));
    const MemoryVolumePtr<Tarn::uint8> yz = duplicateSmall(input, "YZ-Slice", 1, 3);
    EXPECT_EQ(yz->getVolumeDimension(), Dimension<SizeType>(3, 1, 2));
    EXPECT_EQ(TestSupport::valuesInView(*yz), (std::vector<Tarn::uint8>{5, 5, 5, 11, 11, 11}));
    EXPECT_EQ(input->getRoiStack().size(), 2u);
}

/// XY-Slice leaves the orientation alone, so an input seen through a turned orientation gives a
/// tert slice of its view; the turn is kept.
TEST(DuplicateSlices, AnXYSliceOfATurnedInputIsASliceOfItsView)
{
    const MemoryVolumePtr<Tarn::uint8> input = smallIndexVolume();
    input->setOrientation(Orientation(4, 2, 1));   // view prim = tert, sec = sec, tert = prim mirrored
    const MemoryVolumePtr<Tarn::uint8> xy = duplicateSmall(input, "XY-Slice", 0, 1);
    EXPECT_EQ(xy->getVolumeDimension(), Dimension<SizeType>(2, 2, 1));
    EXPECT_EQ(TestSupport::valuesInView(*xy), (std::vector<Tarn::uint8>{2, 8, 5, 11}));
    EXPECT_EQ(input->getOrientation(), Orientation(4, 2, 1));
}

/// The comparison covers eight characters, exactly and with case.
TEST(DuplicateSlices, TheOrientationTextIsComparedOnItsFirstEightCharacters)
{
    const MemoryVolumePtr<Tarn::uint8> input = smallIndexVolume();
    EXPECT_EQ(duplicateSmall(input, "XZ-Slices of the top", 0, 1)->getVolumeDimension(), Dimension<SizeType>(3, 1, 2));
    const std::string refused = memoryVolumeText<Tarn::uint8>();
    for (const char* text : {"xy-slice", "XY-slice", "XY-Slic", "XY", "", " XY-Slice", "ZX-Slice"}) {
        SCOPED_TRACE(std::string("\"") + text + "\"");
        EXPECT_EQ(TestSupport::invalidArgumentOf([&] { duplicateSmall(input, text, 0, 1); }),
                  "Tarn::Lumo::DuplicateSlices::Operator< " + refused + " , " + refused +
                      " >::Orientation have to be xy or xz or yz !");
    }
}

TEST(DuplicateSlices, ALowerCaseOrientationIsRefusedWithTheOrientationText)
{
    const MemoryVolumePtr<Tarn::uint8> input = smallIndexVolume();
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { duplicateSmall(input, "xy-slice", 0, 1); }),
              "Tarn::Lumo::DuplicateSlices::Operator< Tarn::Kito::Volume< Tarn::uint8 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > , Tarn::Kito::Volume< Tarn::uint8 , "
              "Tarn::Kito::Allocator::SingleBlockAllocator > >::Orientation have to be xy or xz or yz !");
}

/// No slices: the result's extent has a zero on one axis only, which the volume refuses when it
/// is made, before anything is turned; nothing is caught on the way.
TEST(DuplicateSlices, NoSlicesFailInTheDimensionCheckOfTheResult)
{
    const MemoryVolumePtr<Tarn::uint8> input = smallIndexVolume();
    const std::list<RegionOfInterest<SizeType>> stack = input->getRoiStack();
    const char* expected[] = {"( 3 , 2 , 0 )", "( 3 , 0 , 2 )", "( 0 , 2 , 2 )"};
    int k = 0;
    for (const char* plane : {"XY-Slice", "XZ-Slice", "YZ-Slice"}) {
        EXPECT_EQ(AssemblyTest::failureText<std::out_of_range>([&] { duplicateSmall(input, plane, 0, 0); }),
                  std::string("Tarn::Kito::Dimension< Tarn::uint64 >::check invalid values detected ") + expected[k++] + " ");
        EXPECT_EQ(input->getOrientation(), Orientation(0, 2, 4));
        EXPECT_EQ(input->getRoiStack(), stack);
    }
}

/// An index equal to the plane's extent fails inside the guarded block: the host sees the one
/// replacement text; the input keeps the orientation turned for that plane and no slice region,
/// and outputVolume keeps what stood there.
TEST(DuplicateSlices, AnIndexEqualToTheExtentIsReplacedByTheCopyFailure)
{
    const std::string volume = memoryVolumeText<Tarn::uint8>();
    const std::string failed =
        "Tarn::Lumo::DuplicateSlices::Operator< " + volume + " , " + volume + " >::DuplicateSlices Copy Slices Failed 0!";
    struct Case {
        const char* plane;
        SizeType index;
        Orientation after;
    };
    for (const Case& c : {Case{"XY-Slice", 2, Orientation(0, 2, 4)}, Case{"XZ-Slice", 2, Orientation(0, 4, 2)},
                          Case{"YZ-Slice", 3, Orientation(2, 4, 0)}}) {
        SCOPED_TRACE(c.plane);
        const MemoryVolumePtr<Tarn::uint8> input = smallIndexVolume();
        const MemoryVolumePtr<Tarn::uint8> placed(new MemoryVolume<Tarn::uint8>(Dimension<SizeType>(1, 1, 1)));
        const SmartPointer<DuplicateParameter> p = duplicateParameter(asVolume(input), c.plane, c.index, 2);
        p->outputVolume.setValue(asVolume(placed));
        EXPECT_EQ(TestSupport::invalidArgumentOf([&] { applyFacade(p); }), failed);
        EXPECT_EQ(input->getOrientation(), c.after);
        EXPECT_EQ(input->getRoiStack().size(), 1u);
        EXPECT_EQ(p->outputVolume.getValue().get(), asVolume(placed).get());
    }
}

/// One index below the extent is the last slice, and works.
TEST(DuplicateSlices, TheLastIndexOfEachPlaneWorks)
{
    const MemoryVolumePtr<Tarn::uint8> input = smallIndexVolume();
    EXPECT_EQ(TestSupport::valuesInView(*duplicateSmall(input, "XY-Slice", 1, 1)),
              (std::vector<Tarn::uint8>{6, 7, 8, 9, 10, 11}));
    EXPECT_EQ(TestSupport::valuesInView(*duplicateSmall(input, "XZ-Slice", 1, 1)),
              (std::vector<Tarn::uint8>{3, 4, 5, 9, 10, 11}));
    EXPECT_EQ(TestSupport::valuesInView(*duplicateSmall(input, "YZ-Slice", 2, 1)), (std::vector<Tarn::uint8>{2, 5, 8, 11}));
}

TEST(DuplicateSlices, FailuresOfTheParameterAndTheInput)
{
    const std::string volume = memoryVolumeText<Tarn::uint8>();
    const std::string type = "Tarn::Lumo::DuplicateSlices::Operator< " + volume + " , " + volume + " >";
    Duplicate<Tarn::uint8> duplicate;
    SmartPointer<Tarn::Kito::Statistics::SumOfVoxels::Parameter> wrong(new Tarn::Kito::Statistics::SumOfVoxels::Parameter);
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { duplicate.apply(TestSupport::asComposite(wrong)); }),
              "parameter: " + type + "::apply parameter is NULL");
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] {
                  duplicate.apply(TestSupport::asComposite(duplicateParameter(SmartPointer<IVolume>(), "XY-Slice", 0, 1)));
              }),
              type + "::apply One or more parameter values are null!");
    const MemoryVolumePtr<Tarn::int8> other(new MemoryVolume<Tarn::int8>(Dimension<SizeType>(2, 2, 2)));
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] {
                  duplicate.apply(TestSupport::asComposite(duplicateParameter(asVolume(other), "XY-Slice", 0, 1)));
              }),
              type + "::apply One or more parameter values are null!")
        << "a volume of another type is no volume of the instance";
    // The volume is tested before the orientation text.
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] {
                  duplicate.apply(TestSupport::asComposite(duplicateParameter(SmartPointer<IVolume>(), "xz", 0, 1)));
              }),
              type + "::apply One or more parameter values are null!");
}

/// The copies report into progress objects of their own.
TEST(DuplicateSlices, TheOperatorsProgressDoesNotMove)
{
    const MemoryVolumePtr<Tarn::uint8> input = smallIndexVolume();
    Tarn::Lumo_DLL::IDuplicateSlices::IOperator duplicate;
    duplicate.apply(TestSupport::asComposite(duplicateParameter(asVolume(input), "XZ-Slice", 0, 4)));
    EXPECT_EQ(duplicate.getProgress().getProgress(), 0.0);
}

/// The same repetitions on one, two and three threads.
TEST(DuplicateSlices, TheResultDoesNotDependOnTheNumberOfThreads)
{
    const MemoryVolumePtr<Tarn::float64> input = TestSupport::makeRandomVolume<Tarn::float64>(Dimension<SizeType>(31, 23, 19), 9);
    const int saved = omp_get_max_threads();
    for (const char* plane : {"XY-Slice", "XZ-Slice", "YZ-Slice"}) {
        const std::vector<unsigned char> expected = bytesOf(repeatedReference(*input, plane, 5, 7));
        for (int threads : {1, 2, 3}) {
            omp_set_num_threads(threads);
            const SmartPointer<DuplicateParameter> p = duplicateParameter(asVolume(input), plane, 5, 7);
            applyFacade(p);
            EXPECT_EQ(bytesInView(*DynamicCast<MemoryVolumePtr<Tarn::float64>>(p->outputVolume.getValue())), expected)
                << plane << ", " << threads << " threads";
        }
    }
    omp_set_num_threads(saved);
}

/// Voxels whose bits are no ordinary number, a signalling NaN with a payload and a negative zero,
/// are repeated bit for bit in every plane.
TEST(DuplicateSlices, FloatBitsThatAreNoOrdinaryNumberPassUnchanged)
{
    const MemoryVolumePtr<Tarn::float32> input(new MemoryVolume<Tarn::float32>(Dimension<SizeType>(3, 2, 2)));
    const std::uint32_t patterns[] = {0x7f800001u, 0xffa00005u, 0x80000000u, 0x7fc00123u};
    Tarn::float32* voxel = input->getIterator();
    for (SizeType i = 0; i < 12; ++i) std::memcpy(voxel + i, &patterns[i % 4], sizeof(Tarn::float32));
    for (const char* plane : {"XY-Slice", "XZ-Slice", "YZ-Slice"}) {
        SCOPED_TRACE(plane);
        const SmartPointer<DuplicateParameter> p = duplicateParameter(asVolume(input), plane, 1, 5);
        applyFacade(p);
        EXPECT_EQ(bytesInView(*DynamicCast<MemoryVolumePtr<Tarn::float32>>(p->outputVolume.getValue())),
                  bytesOf(repeatedReference(*input, plane, 1, 5)));
    }
}

TEST(DuplicateSlices, ParameterPropertiesInTheirOrderWithTheirDefaults)
{
    DuplicateParameter p;
    ASSERT_EQ(p.size(), 5u);
    EXPECT_EQ(p.getKey(0), "inputVolume");
    EXPECT_EQ(p.getKey(1), "inputSliceOrientation");
    EXPECT_EQ(p.getKey(2), "inputSliceIndex");
    EXPECT_EQ(p.getKey(3), "inputNumberOfSlices");
    EXPECT_EQ(p.getKey(4), "outputVolume");
    EXPECT_EQ(p.inputSliceOrientation.getValue(), "");
    EXPECT_EQ(p.inputSliceIndex.getValue(), 0u);
    EXPECT_EQ(p.inputNumberOfSlices.getValue(), 0u);
    EXPECT_EQ(p.getType(), "Tarn::Lumo::DuplicateSlices::Parameter");
}

// ---- the facade ------------------------------------------------------------------------------------

TEST(IDuplicateSlices, FailuresInTheOrderOfTheirTests)
{
    const std::string head = "parameter: Tarn::Lumo_DLL::IDuplicateSlices::IOperator::getOperatorTypeFromParameterObject";
    SmartPointer<Tarn::Kito::Statistics::SumOfVoxels::Parameter> wrong(new Tarn::Kito::Statistics::SumOfVoxels::Parameter);
    Tarn::Lumo_DLL::IDuplicateSlices::IOperator duplicate;
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { duplicate.apply(TestSupport::asComposite(wrong)); }),
              head + ": invalid parameter object!");
    const SmartPointer<DuplicateParameter> p = duplicateParameter(SmartPointer<IVolume>(), "XY-Slice", 0, 1);
    p->outputVolume.setValue(asVolume(smallIndexVolume()));
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { duplicate.apply(TestSupport::asComposite(p)); }),
              head + ": inputVolume is NULL!");
}

/// The output's type is the second half of the identifier: a type without instance fails in the
/// factory with the whole identifier.
TEST(IDuplicateSlices, AnOutputTypeWithoutInstanceFailsInTheFactory)
{
    const SmartPointer<DuplicateParameter> p = duplicateParameter(asVolume(smallIndexVolume()), "XY-Slice", 0, 1);
    p->outputVolume.setValue(asVolume(MemoryVolumePtr<Tarn::uint64>(new MemoryVolume<Tarn::uint64>(Dimension<SizeType>(1, 1, 1)))));
    EXPECT_EQ(TestSupport::invalidArgumentOf([&] { applyFacade(p); }),
              "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the identifier "
              "Tarn::Lumo::DuplicateSlices::Operator< " + memoryVolumeText<Tarn::uint8>() + " , " +
                  memoryVolumeText<Tarn::uint64>() + " > is registered");
}

} // namespace
