// RandomVolume: in-memory volumes filled with reproducible random voxels, and the reference walk
// that tests compare the library's walks with.
#ifndef TARN_TESTS_SUPPORT_RANDOMVOLUME_H_INCLUDED
#define TARN_TESTS_SUPPORT_RANDOMVOLUME_H_INCLUDED

#include <Kito/SingleBlockAllocator>
#include <Kito/Triple>
#include <Kito/Types>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/KitoInstances.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace TestSupport {

using Tarn::Kito::Dimension;
using Tarn::Kito::Position;
using Tarn::Kito::SizeType;

template <class T> using MemoryVolume = Tarn::Kito::Volume<T, Tarn::Kito::Allocator::SingleBlockAllocator>;
template <class T> using MemoryVolumePtr = Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>;

/// The types of a list of the dispatcher library's one-argument instances, as the arguments of To:
/// the typed tests run over exactly the types the library is built for.
template <template <class...> class To, class List> struct VoxelTypesOf;
template <template <class...> class To, class... T>
struct VoxelTypesOf<To, Tarn::Lumo_DLL::Instances::InstanceList<Tarn::Lumo_DLL::Instances::Arguments<T>...>> {
    using type = To<T...>;
};
template <template <class...> class To, class List> using VoxelTypesAs = typename VoxelTypesOf<To, List>::type;

/// The operators' eight voxel types, for typed test suites.
using OperatorVoxelTypes = VoxelTypesAs<::testing::Types, Tarn::Lumo_DLL::Instances::OperatorVoxels>;

/// The voxel type names as class identifiers spell them, made from the text of the library's list
/// rather than by the library's own naming of types, so that tests build expected identifiers from
/// a text of their own.
template <class T> const char* voxelName();
#define TARN_VOXEL_NAME(T) template <> inline const char* voxelName<T>() { return #T; }
TARN_ALL_VOXELS(TARN_VOXEL_NAME)
#undef TARN_VOXEL_NAME

/// The names of the types of a one-argument list, in its order.
template <class... T>
std::vector<std::string>
voxelNames(Tarn::Lumo_DLL::Instances::InstanceList<Tarn::Lumo_DLL::Instances::Arguments<T>...>)
{
    return {voxelName<T>()...};
}

/// Names typed test cases after their voxel type ("SumOfVoxelsTyped/uint16") rather than a number.
struct VoxelTypeNames {
    template <class T> static std::string GetName(int) { return std::string(voxelName<T>()).substr(6); }
};

/// One random voxel. Integers cover the whole range of their type, so sums of int32 and uint32 leave
/// the range in which a double adds exactly; floats mix magnitudes from 1e-3 to 1e6 and both signs,
/// so the order of additions changes the rounding.
template <class T> T randomVoxel(std::mt19937_64& engine)
{
    if constexpr (std::is_floating_point_v<T>) {
        std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
        std::uniform_int_distribution<int> exponent(-3, 6);
        double scale = 1.0;
        for (int e = exponent(engine); e > 0; --e) scale *= 10.0;
        for (int e = exponent(engine); e < 0; ++e) scale /= 10.0;
        return static_cast<T>(mantissa(engine) * scale);
    } else if constexpr (sizeof(T) == 8) {
        // Every bit pattern is a value; the int64 range below cannot hold uint64's maximum.
        return static_cast<T>(engine());
    } else {
        // uniform_int_distribution is not defined for 8-bit types: draw wider and narrow.
        std::uniform_int_distribution<Tarn::int64> value(std::numeric_limits<T>::min(), std::numeric_limits<T>::max());
        return static_cast<T>(value(engine));
    }
}

/// Writes random voxels into the whole of a volume that still stands in its first view (no region
/// pushed, default orientation), in storage order, from a fixed seed.
template <class V> void fillRandom(V& volume, std::uint64_t seed)
{
    using T = typename V::VoxelType;
    std::mt19937_64 engine(seed);
    for (SizeType t = 0; t < volume.getDimTert(); ++t)
        for (SizeType s = 0; s < volume.getDimSec(); ++s)
            for (SizeType p = 0; p < volume.getDimPrim(); ++p)
                *volume.getPosOffset(Position<SizeType>(p, s, t)) = randomVoxel<T>(engine);
}

/// A new in-memory volume of dimension with random voxels.
template <class T> MemoryVolumePtr<T> makeRandomVolume(const Dimension<SizeType>& dimension, std::uint64_t seed)
{
    MemoryVolumePtr<T> volume(new MemoryVolume<T>(dimension));
    fillRandom(*volume, seed);
    return volume;
}

/// A volume whose voxels hold their storage index p + P*s + P*S*t, so that a test can tell which
/// voxel a walk handed over.
template <class T> MemoryVolumePtr<T> makeIndexVolume(const Dimension<SizeType>& dimension)
{
    MemoryVolumePtr<T> volume(new MemoryVolume<T>(dimension));
    for (SizeType t = 0; t < dimension.tert; ++t)
        for (SizeType s = 0; s < dimension.sec; ++s)
            for (SizeType p = 0; p < dimension.prim; ++p)
                *volume->getPosOffset(Position<SizeType>(p, s, t)) =
                    static_cast<T>(p + dimension.prim * s + dimension.prim * dimension.sec * t);
    return volume;
}

/// The reference walk: every position of the view, tert outermost, then sec, prim innermost,
/// each voxel read by getValueAt. Calls visit(value, prim, sec, tert).
template <class V, class Visit> void forEachInView(const V& volume, Visit&& visit)
{
    const SizeType nPrim = volume.getDimPrim(), nSec = volume.getDimSec(), nTert = volume.getDimTert();
    for (SizeType t = 0; t < nTert; ++t)
        for (SizeType s = 0; s < nSec; ++s)
            for (SizeType p = 0; p < nPrim; ++p) visit(volume.getValueAt(Position<SizeType>(p, s, t)), p, s, t);
}

/// The voxels of the view in walk order.
template <class V> std::vector<typename V::VoxelType> valuesInView(const V& volume)
{
    std::vector<typename V::VoxelType> values;
    forEachInView(volume, [&](const typename V::VoxelType& value, SizeType, SizeType, SizeType) {
        values.push_back(value);
    });
    return values;
}

/// The bits of a double (or float), for comparisons that must hold to the last bit, NaNs included.
inline std::uint64_t bitsOf(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}
inline std::uint32_t bitsOf(float value)
{
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

} // namespace TestSupport

#endif
