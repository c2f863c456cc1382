// Shared helpers of the projection tests: parameter objects, the views the tests project, the
// reference projection in walk order, and bitwise comparison of output volumes.
#ifndef TARN_TESTS_PROJECTIONS_PROJECTIONTESTSUPPORT_H_INCLUDED
#define TARN_TESTS_PROJECTIONS_PROJECTIONTESTSUPPORT_H_INCLUDED

#include <Kito/Composite>
#include <Kito/IVolume>
#include <Kito/Orientation>
#include <Kito/SmartPointer>
#include <Kito/Triple>
#include <Kito/Types>
#include <Kito/Volume>

#include <support/RandomVolume.h>
#include <support/StopWhileRunning.h>
#include <support/Views.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace ProjectionTesting {

using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::Orientation;
using Tarn::Kito::Position;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;
using Region = Tarn::Kito::RegionOfInterest<SizeType>;

/// The type lists of the loops over output types.
template <class... T> struct TypeList {};
using OperatorVoxelList = TestSupport::VoxelTypesAs<TypeList, Tarn::Lumo_DLL::Instances::OperatorVoxels>;

/// Calls visit(static_cast<T*>(nullptr)) for every T of the list, in order.
template <class Visit, class... T> void forEachType(TypeList<T...>, Visit&& visit)
{
    (visit(static_cast<T*>(nullptr)), ...);
}

template <class Parameter, class V>
SmartPointer<Parameter> parameterFor(const V& input, Tarn::uint64 direction)
{
    SmartPointer<Parameter> p = TestSupport::parameterWithInput<Parameter>(input);
    p->inputDirection.setValue(direction);
    return p;
}

using TestSupport::asComposite;

/// The output volume a run left in the parameter object, or NULL if it is of another type.
template <class T, class Parameter> MemoryVolumePtr<T> outputOf(const SmartPointer<Parameter>& p)
{
    return DynamicCast<MemoryVolumePtr<T>>(p->outputVolume.getValue());
}

/// The views the comparisons are run on: the whole volume, a region, and a region seen with view
/// prim = storage tert backwards, view sec = storage prim, view tert = storage sec backwards.
using TestSupport::View;
using TestSupport::setView;
const View allViews[] = {
    TestSupport::wholeView(0), TestSupport::regionView(1, Dimension<SizeType>(9, 7, 5), Position<SizeType>(3, 2, 4)),
    TestSupport::turnedRegionView(2, Dimension<SizeType>(10, 8, 6), Position<SizeType>(1, 3, 2), Orientation(5, 0, 3))};

/// A view and the extent of the volume it is a view of.
struct SizedView {
    View view;
    Dimension<SizeType> storage;
};

/// Views of extent (301, 37, 3), with lines longer than any chunk, lane group or band of the walks
/// and not a multiple of any, and more lines than a band holds, again not a multiple: the whole
/// volume, whose lines and slices follow each other; a region, whose lines do not; and a region seen
/// with view prim = storage prim, view sec = storage tert backwards, view tert = storage sec
/// backwards, whose lines lie voxel after voxel but run backwards through memory, one slice apart.
const SizedView longLineViews[] = {
    {TestSupport::wholeView(0), Dimension<SizeType>(301, 37, 3)},
    {TestSupport::regionView(1, Dimension<SizeType>(301, 37, 3), Position<SizeType>(3, 2, 1)),
     Dimension<SizeType>(305, 40, 5)},
    {TestSupport::turnedRegionView(2, Dimension<SizeType>(301, 3, 37), Position<SizeType>(1, 1, 2),
                                   Orientation(0, 5, 3)),
     Dimension<SizeType>(304, 5, 40)}};

/// A random volume of T in the view of sized.
template <class T> MemoryVolumePtr<T> makeRandomView(const SizedView& sized, std::uint64_t seed)
{
    MemoryVolumePtr<T> volume = TestSupport::makeRandomVolume<T>(sized.storage, seed);
    setView(*volume, sized.view);
    return volume;
}

/// The output extent of each direction, written out for the test: (P, S, 1), (P, 1, T), (1, S, T).
inline Dimension<SizeType> expectedDimension(const IVolume& input, Tarn::uint64 direction)
{
    const SizeType P = input.getDimPrim(), S = input.getDimSec(), T = input.getDimTert();
    if (direction == 0) return Dimension<SizeType>(P, S, 1);
    if (direction == 1) return Dimension<SizeType>(P, 1, T);
    return Dimension<SizeType>(1, S, T);
}

/// The reference projection: a triple loop over the input's view in walk order (tert outermost,
/// prim innermost), each voxel folded by fold(outputVoxel, inputVoxel) into the output voxel it
/// projects onto, all starting at O(0). The result is in output storage order.
template <class O, class V, class Fold>
std::vector<O> referenceProjection(const V& input, Tarn::uint64 direction, Fold&& fold)
{
    const Dimension<SizeType> out = expectedDimension(input, direction);
    std::vector<O> result(static_cast<std::size_t>(out.prim * out.sec * out.tert), O(0));
    TestSupport::forEachInView(input, [&](const typename V::VoxelType& voxel, SizeType p, SizeType s, SizeType t) {
        const SizeType q = direction == 0 ? p + out.prim * s : (direction == 1 ? p + out.prim * t : s + out.sec * t);
        result[static_cast<std::size_t>(q)] = fold(result[static_cast<std::size_t>(q)], voxel);
    });
    return result;
}

template <class T> bool sameBits(const T& a, const T& b) { return std::memcmp(&a, &b, sizeof(T)) == 0; }

/// The voxels of a volume's view in storage order (the view of a new output is its whole volume).
template <class T> std::vector<T> voxelsOf(const MemoryVolumePtr<T>& volume)
{
    return TestSupport::valuesInView(*volume);
}

/// Extent and every voxel, bit for bit; reports the first few differences.
template <class T>
void expectVolume(const MemoryVolumePtr<T>& actual, const Dimension<SizeType>& dimension, const std::vector<T>& expected)
{
    ASSERT_TRUE(actual != 0) << "no output volume of the expected type";
    ASSERT_EQ(actual->getDimension(), dimension);
    const std::vector<T> values = voxelsOf(actual);
    ASSERT_EQ(values.size(), expected.size());
    int reported = 0;
    for (std::size_t i = 0; i < values.size() && reported < 5; ++i)
        if (!sameBits(values[i], expected[i])) {
            ADD_FAILURE() << "voxel " << i << ": " << +values[i] << " instead of " << +expected[i];
            ++reported;
        }
}

/// The progress values a walk of slices slices stores after each slice: 0.99 / slices added up,
/// as the walk adds them; the entry k is the value after k slices.
inline std::vector<double> progressAfterSlices(SizeType slices)
{
    std::vector<double> values = {0.0};
    const double step = 0.99 / static_cast<double>(slices);
    for (SizeType k = 0; k < slices; ++k) values.push_back(values.back() + step);
    return values;
}

/// A volume of V of extent (nPrim, nSec, nTert) whose slice t holds 1 + t % 200 in every voxel: a
/// projection along sec (direction 1) or prim (direction 2) gives one output row per tert slice,
/// and a row that the walk has not reached stays 0.
template <class V = Tarn::uint8> MemoryVolumePtr<V> makeSliceNumberVolume(SizeType nPrim, SizeType nSec, SizeType nTert)
{
    MemoryVolumePtr<V> volume(new MemoryVolume<V>(Dimension<SizeType>(nPrim, nSec, nTert)));
    V* voxel = volume->getIterator();
    for (SizeType t = 0; t < nTert; ++t)
        for (SizeType k = 0; k < nPrim * nSec; ++k) *voxel++ = static_cast<V>(1 + t % 200);
    return volume;
}

/// Runs facade.apply on a projection of makeSliceNumberVolume<V> along direction (1, sec, or 2,
/// prim) into an output of type T while a second thread asks it to stop, until one run is stopped
/// before its end: a run takes some 15 ms, and on a loaded machine the watching thread may not get
/// to run that soon. The volume holds 32 MiB whatever V is. rowValue(t) is the output voxel of a
/// walked slice t. Checks that the stopped run stored its partial result: the rows of the walked
/// slices, then zeros; and that every progress value seen, and the final one, is one the walk stores
/// after a whole slice.
template <class T, class Facade, class Parameter, class V = Tarn::uint8, class RowValue>
void expectStopLeavesWalkedSlices(RowValue&& rowValue, Tarn::uint64 direction = 1)
{
    const SizeType nPrim = 64, nSec = 64, nTert = 8192 / sizeof(V);
    const SizeType row = direction == 1 ? nPrim : nSec;
    const Dimension<SizeType> projected =
        direction == 1 ? Dimension<SizeType>(nPrim, 1, nTert) : Dimension<SizeType>(1, nSec, nTert);
    const MemoryVolumePtr<V> input = makeSliceNumberVolume<V>(nPrim, nSec, nTert);
    const std::vector<double> perSlice = progressAfterSlices(nTert);
    const auto isSliceValue = [&](double value) {
        for (double v : perSlice)
            if (v == value) return true;
        return value == 1.0;
    };
    bool stopped = false;
    // A fast walk of these few megabytes may end before the watching thread runs at all, the more
    // so on a loaded machine: so many attempts, of which one stopped run is enough.
    for (int attempt = 0; attempt < 200 && !stopped; ++attempt) {
        Facade facade;
        SmartPointer<Parameter> p = parameterFor<Parameter>(input, direction);
        p->outputVolume.setValue(
            DynamicCast<SmartPointer<IVolume>>(MemoryVolumePtr<T>(new MemoryVolume<T>(Dimension<SizeType>(1, 1, 1)))));
        const TestSupport::StoppedRun run = TestSupport::stopWhileRunning(facade, [&] { facade.apply(asComposite(p)); });
        EXPECT_TRUE(TestSupport::neverFalls(run.seen));
        for (double value : run.seen) EXPECT_TRUE(isSliceValue(value)) << value << " is no progress after a slice";
        const MemoryVolumePtr<T> output = outputOf<T>(p);
        ASSERT_TRUE(output != 0);
        ASSERT_EQ(output->getDimension(), projected);
        const double progress = facade.getProgress().getProgress();
        // The walk looks at the stop after a slice and before it reports that slice: a run stopped
        // after k reported slices has walked k + 1.
        SizeType walked = nTert;
        if (progress != 1.0) {
            stopped = true;
            EXPECT_TRUE(run.stopAsked);
            walked = 0;
            while (walked < nTert && perSlice[walked] != progress) ++walked;
            ASSERT_LT(walked, nTert) << "the final progress " << progress << " is no value after a slice";
            ++walked;
        }
        const std::vector<T> values = voxelsOf(output);
        SizeType wrong = 0;
        for (SizeType t = 0; t < nTert; ++t)
            for (SizeType i = 0; i < row; ++i)
                if (!sameBits(values[t * row + i], t < walked ? rowValue(t) : T(0))) ++wrong;
        EXPECT_EQ(wrong, 0u) << "after " << walked << " walked slices";
    }
    EXPECT_TRUE(stopped) << "no run out of 200 saw the stop before its end";
}

} // namespace ProjectionTesting

#endif
