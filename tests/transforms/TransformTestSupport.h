// TransformTestSupport: what the tests of the voxel transforms share: the views they run on, the
// comparison of a result with expected voxels bit for bit, and runs with a given number of threads.
#ifndef LUMO_TESTS_TRANSFORMS_TRANSFORMTESTSUPPORT_H_INCLUDED
#define LUMO_TESTS_TRANSFORMS_TRANSFORMTESTSUPPORT_H_INCLUDED

#include <Kito/IVolume>
#include <Kito/Orientation>
#include <Kito/SmartPointer>
#include <Kito/Triple>

#include <support/RandomVolume.h>
#include <support/Views.h>

#include <gtest/gtest.h>
#include <omp.h>

#include <cstring>
#include <string>
#include <vector>

namespace TransformTest {

using Tarn::Kito::Dimension;
using Tarn::Kito::Orientation;
using Tarn::Kito::Position;
using Tarn::Kito::SizeType;

/// The whole volume, a region, a region turned (view prim = storage sec backwards, view sec =
/// storage tert, view tert = storage prim backwards) and the whole volume turned, on volumes of
/// 19 x 14 x 11 voxels.
inline const std::vector<TestSupport::View>& views()
{
    static const std::vector<TestSupport::View> all = {
        TestSupport::wholeView(0),
        TestSupport::regionView(1, Dimension<SizeType>(9, 7, 5), Position<SizeType>(3, 4, 2)),
        TestSupport::turnedRegionView(2, Dimension<SizeType>(12, 9, 8), Position<SizeType>(2, 5, 1),
                                      Orientation(3, 4, 1)),
        TestSupport::turnedView(3, Orientation(4, 0, 2))};
    return all;
}

inline Dimension<SizeType> volumeExtent() { return Dimension<SizeType>(19, 14, 11); }

template <class T> bool sameBits(const T& a, const T& b) { return std::memcmp(&a, &b, sizeof(T)) == 0; }

/// The voxels of volume's view in walk order, bit for bit equal to expected; the first difference
/// is reported with its index.
template <class T, class V> void expectVoxels(const V& volume, const std::vector<T>& expected)
{
    const std::vector<T> got = TestSupport::valuesInView(volume);
    ASSERT_EQ(got.size(), expected.size());
    for (std::size_t i = 0; i < got.size(); ++i)
        if (!sameBits(got[i], expected[i])) {
            ADD_FAILURE() << "voxel " << i << " in walk order differs: " << +got[i] << " instead of " << +expected[i];
            return;
        }
}

/// The dimension of a view.
inline Dimension<SizeType> extentOf(const Tarn::Kito::IVolume& volume)
{
    return Dimension<SizeType>(volume.getDimPrim(), volume.getDimSec(), volume.getDimTert());
}

/// Runs body with the process's thread setting at threads, and puts the setting back.
template <class Body> void withThreads(int threads, Body&& body)
{
    const int saved = omp_get_max_threads();
    omp_set_num_threads(threads);
    try {
        body();
    } catch (...) {
        omp_set_num_threads(saved);
        throw;
    }
    omp_set_num_threads(saved);
}

} // namespace TransformTest

#endif
