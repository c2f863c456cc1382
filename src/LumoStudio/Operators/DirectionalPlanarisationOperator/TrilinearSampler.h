// TrilinearSampler: the value of a volume between voxel centres, blended from the eight voxels
// around a position in 32-bit floats.
#ifndef TARN_LUMO_DIRECTIONALPLANARISATIONOPERATOR_TRILINEARSAMPLER_H_INCLUDED
#define TARN_LUMO_DIRECTIONALPLANARISATIONOPERATOR_TRILINEARSAMPLER_H_INCLUDED

#include <Kito/SingleBlockAllocator>
#include <Kito/Types>
#include <Kito/Volume>

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace Tarn::Lumo::PlanarisationOperators {

namespace detail {

using Tarn::Kito::OffsetType;

/// floor(x) as a signed 64-bit index. Positions outside the int64 range and NaN have no index:
/// they take the most negative one, which the processor's own conversion gives too, so that every
/// corner of such a position lies outside the volume.
inline OffsetType floorIndex(float x)
{
    const float limit = 9223372036854775808.0f; // 2^63, exact in float
    if (!(x >= -limit && x < limit)) return std::numeric_limits<OffsetType>::min();
    OffsetType i = static_cast<OffsetType>(x); // toward zero; exact beyond 2^23, where x is whole
    if (static_cast<float>(i) > x) --i;
    return i;
}

/// floor(r + 0.5) of a blended float, converted to the integer type T with wrap around. The half
/// is added in double, where the sum is exact, so that this is rounding half up of r itself: in
/// float, 0.49999997 + 0.5 would round to 1. The library is built without -ffast-math and so
/// without an inlined floor; the truncation below is the floor of every whole-valued double.
template <class T> T roundHalfUp(float r)
{
    const double v = static_cast<double>(r) + 0.5;
    const double two63 = 9223372036854775808.0;
    if (v >= -two63 && v < two63) {
        std::int64_t t = static_cast<std::int64_t>(v);
        if (static_cast<double>(t) > v) --t;
        // To T modulo 2^bits, as the conversion of a wider integer does.
        return static_cast<T>(static_cast<std::uint64_t>(t));
    }
    if (!(v == v)) return T(0); // NaN has no integer; a NaN corner only comes from a float volume
    // Beyond the int64 range only whole doubles remain, multiples of 2^11: their rest modulo 2^64,
    // made non-negative, is exact, and is the wrap of the mathematical value.
    const double two64 = 18446744073709551616.0;
    double rest = std::fmod(v, two64);
    if (rest < 0) rest += two64;
    return static_cast<T>(static_cast<std::uint64_t>(rest));
}

} // namespace detail

/// A read-only value made for one run over one in-memory volume of voxel type T: the first voxel
/// of its view, the view's extents and strides as they were at construction, and the value of
/// voxels outside the view. The volume must outlive the sampler, which does not hold it.
///
/// value(x1, x2, x3) takes a view position in prim, sec and tert, where a whole number is the
/// centre of that voxel. Each of the eight voxels around it is tested by itself: one outside the
/// view counts as the default value, so that samples near the border blend with it (darken, for
/// the default 0) instead of repeating the border voxel. All types are blended in 32-bit floats,
/// float64 too, in the order of terms written in value; integer types round the result half up.
template <class T> class TrilinearSampler {
public:
    using Volume = Tarn::Kito::Volume<T, Tarn::Kito::Allocator::SingleBlockAllocator>;
    using VolumePtr = Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>;

    TrilinearSampler(const VolumePtr& volume, T defaultValue)
        : first(volume->getIterator()), countPrim(volume->getIterateValues().countPrim),
          countSec(volume->getIterateValues().countSec), countTert(volume->getIterateValues().countTert),
          stridePrim(volume->getIterateValues().primStride), strideSec(volume->getIterateValues().secStride),
          strideTert(volume->getIterateValues().tertStride), defaultValue(defaultValue)
    {
    }

    T value(float x1, float x2, float x3) const
    {
        using Tarn::Kito::OffsetType;
        const OffsetType i = detail::floorIndex(x1), j = detail::floorIndex(x2), l = detail::floorIndex(x3);
        // Each index and its successor inside the extent; in unsigned arithmetic, where a negative
        // index is huge and the successor of the largest one wraps instead of overflowing.
        const std::uint64_t ui = static_cast<std::uint64_t>(i), uj = static_cast<std::uint64_t>(j),
                            ul = static_cast<std::uint64_t>(l);
        const bool i0 = ui < countPrim, i1 = ui + 1 < countPrim;
        const bool j0 = uj < countSec, j1 = uj + 1 < countSec;
        const bool l0 = ul < countTert, l1 = ul + 1 < countTert;
        // The offset in unsigned arithmetic too; a voxel is only read where its three indices are
        // inside, so that the offset of a corner outside is never used.
        const std::uint64_t sp = static_cast<std::uint64_t>(stridePrim), ss = static_cast<std::uint64_t>(strideSec),
                            st = static_cast<std::uint64_t>(strideTert);
        const std::uint64_t base = ui * sp + uj * ss + ul * st;
        const float fallback = static_cast<float>(defaultValue);
        const float c000 = corner(i0 && j0 && l0, base, fallback);
        const float c001 = corner(i0 && j0 && l1, base + st, fallback);
        const float c010 = corner(i0 && j1 && l0, base + ss, fallback);
        const float c011 = corner(i0 && j1 && l1, base + ss + st, fallback);
        const float c100 = corner(i1 && j0 && l0, base + sp, fallback);
        const float c101 = corner(i1 && j0 && l1, base + sp + st, fallback);
        const float c110 = corner(i1 && j1 && l0, base + sp + ss, fallback);
        const float c111 = corner(i1 && j1 && l1, base + sp + ss + st, fallback);
        const float dx = x1 - static_cast<float>(i), dy = x2 - static_cast<float>(j), dz = x3 - static_cast<float>(l);
        // Term by term as hosts have always had it; every sum and product is rounded to float in
        // this order (the library is built without contraction into fused multiply-adds).
        const float r = c000 + (c100 - c000) * dx + (c010 - c000) * dy + (c001 - c000) * dz +
                        (c000 - c010 - c100 + c110) * dx * dy + (c000 - c001 - c100 + c101) * dx * dz +
                        (c000 - c001 - c010 + c011) * dy * dz +
                        (c001 - c000 + c010 - c011 + c100 - c101 - c110 + c111) * dx * dy * dz;
        if constexpr (std::is_floating_point_v<T>)
            return static_cast<T>(r);
        else
            return detail::roundHalfUp<T>(r);
    }

    Tarn::Kito::SizeType getCountPrim() const { return countPrim; }
    Tarn::Kito::SizeType getCountSec() const { return countSec; }
    Tarn::Kito::SizeType getCountTert() const { return countTert; }

private:
    float corner(bool inside, std::uint64_t offset, float fallback) const
    {
        return inside ? static_cast<float>(first[static_cast<Tarn::Kito::OffsetType>(offset)]) : fallback;
    }

    const T* first;
    Tarn::Kito::SizeType countPrim, countSec, countTert;
    Tarn::Kito::OffsetType stridePrim, strideSec, strideTert;
    T defaultValue;
};

} // namespace Tarn::Lumo::PlanarisationOperators

#endif
