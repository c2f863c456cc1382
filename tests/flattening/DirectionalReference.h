// The directional planarisation as a plain loop, for the tests to compare with bit for bit: every
// voxel read by getValueAt, the eight corners of a sample tested one by one, the terms of the
// blend written in their order, in float; the positions in the precision of the grid type.
#ifndef TARN_TESTS_FLATTENING_DIRECTIONALREFERENCE_H_INCLUDED
#define TARN_TESTS_FLATTENING_DIRECTIONALREFERENCE_H_INCLUDED

#include "FlatteningTestSupport.h"

#include <cmath>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace FlatteningTesting {

/// A blended value as an integer of T: rounded half up, then taken modulo 2^64 and narrowed, as an
/// integer conversion wraps. long double holds every integer below 2^64 exactly.
template <class T> T referenceRound(float r)
{
    const long double rounded = std::floor(static_cast<long double>(r) + 0.5L);
    const long double two64 = 18446744073709551616.0L;
    long double rest = std::fmod(rounded, two64);
    if (rest < 0) rest += two64;
    return static_cast<T>(static_cast<std::uint64_t>(rest));
}

/// The trilinear sample of a view at (x1, x2, x3), with 0 for corners outside the view.
template <class T> T referenceSample(const MemoryVolumePtr<T>& volume, float x1, float x2, float x3)
{
    const Tarn::int64 i = static_cast<Tarn::int64>(std::floor(x1));
    const Tarn::int64 j = static_cast<Tarn::int64>(std::floor(x2));
    const Tarn::int64 l = static_cast<Tarn::int64>(std::floor(x3));
    auto corner = [&](Tarn::int64 p, Tarn::int64 s, Tarn::int64 t) -> float {
        if (p < 0 || s < 0 || t < 0) return 0.0f;
        if (p >= static_cast<Tarn::int64>(volume->getDimPrim()) || s >= static_cast<Tarn::int64>(volume->getDimSec()) ||
            t >= static_cast<Tarn::int64>(volume->getDimTert()))
            return 0.0f;
        return static_cast<float>(volume->getValueAt(pos(static_cast<SizeType>(p), static_cast<SizeType>(s),
                                                          static_cast<SizeType>(t))));
    };
    const float c000 = corner(i, j, l), c001 = corner(i, j, l + 1), c010 = corner(i, j + 1, l),
                c011 = corner(i, j + 1, l + 1), c100 = corner(i + 1, j, l), c101 = corner(i + 1, j, l + 1),
                c110 = corner(i + 1, j + 1, l), c111 = corner(i + 1, j + 1, l + 1);
    const float dx = x1 - static_cast<float>(i), dy = x2 - static_cast<float>(j), dz = x3 - static_cast<float>(l);
    const float r = c000 + (c100 - c000) * dx + (c010 - c000) * dy + (c001 - c000) * dz +
                    (c000 - c010 - c100 + c110) * dx * dy + (c000 - c001 - c100 + c101) * dx * dz +
                    (c000 - c001 - c010 + c011) * dy * dz +
                    (c001 - c000 + c010 - c011 + c100 - c101 - c110 + c111) * dx * dy * dz;
    if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(r);
    else
        return referenceRound<T>(r);
}

/// The unrolled volume at full depth, in walk order, and the last slice with a sample other than 0.
template <class T> struct ReferenceResult {
    std::vector<T> values;
    SizeType nPrim = 0, nSec = 0, nTert = 0;
    SizeType maxSlice = 0;

    /// The first slices of the result, as the crop keeps them.
    std::vector<T> firstSlices(SizeType count) const
    {
        return std::vector<T>(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(nPrim * nSec * count));
    }
};

/// The planarisation of input by the maps; NULL grids are the identity over the height map.
template <class T1, class T2, class T3>
ReferenceResult<T1> referenceDirectional(const MemoryVolumePtr<T1>& input, const MemoryVolumePtr<T2>& height,
                                         const MemoryVolumePtr<T3>& primGrid, const MemoryVolumePtr<T3>& secGrid,
                                         const MemoryVolumePtr<T3>& normalX, const MemoryVolumePtr<T3>& normalY,
                                         const MemoryVolumePtr<T3>& normalZ, float sizeXY, float sizeZ)
{
    ReferenceResult<T1> result;
    result.nPrim = primGrid == 0 ? height->getDimPrim() : primGrid->getDimPrim();
    result.nSec = primGrid == 0 ? height->getDimSec() : primGrid->getDimSec();
    result.nTert = input->getDimTert();
    const float P = static_cast<float>(input->getDimPrim()), S = static_cast<float>(input->getDimSec()),
                T = static_cast<float>(input->getDimTert());
    for (SizeType k = 0; k < result.nTert; ++k)
        for (SizeType s = 0; s < result.nSec; ++s)
            for (SizeType p = 0; p < result.nPrim; ++p) {
                const T3 a = primGrid == 0 ? static_cast<T3>(p) : primGrid->getValueAt(pos(p, s, 0));
                const T3 b = secGrid == 0 ? static_cast<T3>(s) : secGrid->getValueAt(pos(p, s, 0));
                float x, y, z;
                if constexpr (std::is_same_v<T3, float>) {
                    const float kf = static_cast<float>(k), ratio = sizeZ / sizeXY;
                    x = referenceSample(normalX, a, b, 0.0f) * kf * ratio + a;
                    y = referenceSample(normalY, a, b, 0.0f) * kf * ratio + b;
                    z = referenceSample(normalZ, a, b, 0.0f) * kf + static_cast<float>(referenceSample(height, a, b, 0.0f));
                } else {
                    const double kd = static_cast<double>(k);
                    const double ratio = static_cast<double>(sizeZ) / static_cast<double>(sizeXY);
                    const float af = static_cast<float>(a), bf = static_cast<float>(b);
                    const float stepX = static_cast<float>(referenceSample(normalX, af, bf, 0.0f) * kd * ratio);
                    const float stepY = static_cast<float>(referenceSample(normalY, af, bf, 0.0f) * kd * ratio);
                    x = static_cast<float>(static_cast<double>(stepX) + a);
                    y = static_cast<float>(static_cast<double>(stepY) + b);
                    const float stepZ = static_cast<float>(referenceSample(normalZ, af, bf, 0.0f) * kd);
                    z = stepZ + static_cast<float>(referenceSample(height, af, bf, 0.0f));
                }
                T1 v = T1(0);
                if (0.0f <= x && x < P && 0.0f <= y && y < S && 0.0f <= z && z < T) {
                    v = referenceSample(input, x, y, z);
                    if (v != T1(0) && k > result.maxSlice) result.maxSlice = k;
                }
                result.values.push_back(v);
            }
    return result;
}

/// Values as bit patterns, so that float results compare to the last bit, NaN and -0 included.
template <class T> std::vector<std::uint64_t> bitPatterns(const std::vector<T>& values)
{
    std::vector<std::uint64_t> bits;
    for (const T& v : values) {
        if constexpr (std::is_floating_point_v<T>)
            bits.push_back(TestSupport::bitsOf(v));
        else
            bits.push_back(static_cast<std::uint64_t>(v));
    }
    return bits;
}

} // namespace FlatteningTesting

#endif
