// Shared helpers of the flattening tests: the background values written out, volumes with a sparse
// surface, and the catchers of the parameter objects' failures.
#ifndef TARN_TESTS_FLATTENING_FLATTENINGTESTSUPPORT_H_INCLUDED
#define TARN_TESTS_FLATTENING_FLATTENINGTESTSUPPORT_H_INCLUDED

#include <Kito/ClassFactory>
#include <Kito/Composite>
#include <Kito/IVolume>
#include <Kito/SmartPointer>
#include <Kito/Triple>
#include <Kito/Types>
#include <Kito/Volume>

#include <support/RandomVolume.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace FlatteningTesting {

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

/// All ten voxel types, for typed test suites.
using AllVoxelTypes = TestSupport::VoxelTypesAs<::testing::Types, Tarn::Lumo_DLL::Instances::AllVoxels>;

/// The value that counts as empty, written out per type: the type's minimum, and for the float
/// types the smallest positive normalised number.
template <class T> T background();
template <> inline Tarn::int8 background<Tarn::int8>() { return -128; }
template <> inline Tarn::uint8 background<Tarn::uint8>() { return 0; }
template <> inline Tarn::int16 background<Tarn::int16>() { return -32768; }
template <> inline Tarn::uint16 background<Tarn::uint16>() { return 0; }
template <> inline Tarn::int32 background<Tarn::int32>() { return -2147483647 - 1; }
template <> inline Tarn::uint32 background<Tarn::uint32>() { return 0; }
template <> inline Tarn::int64 background<Tarn::int64>() { return -9223372036854775807LL - 1; }
template <> inline Tarn::uint64 background<Tarn::uint64>() { return 0; }
template <> inline Tarn::float32 background<Tarn::float32>() { return 1.17549435e-38f; }
template <> inline Tarn::float64 background<Tarn::float64>() { return 2.2250738585072014e-308; }

inline Dimension<SizeType> dim(SizeType p, SizeType s, SizeType t) { return Dimension<SizeType>(p, s, t); }
inline Position<SizeType> pos(SizeType p, SizeType s, SizeType t) { return Position<SizeType>(p, s, t); }

template <class V> SmartPointer<IVolume> asVolume(const V& volume) { return DynamicCast<SmartPointer<IVolume>>(volume); }
template <class P> SmartPointer<IComposite> asComposite(const SmartPointer<P>& p)
{
    return DynamicCast<SmartPointer<IComposite>>(p);
}

/// A voxel that is not background: random over the type, and now and then the values next to
/// background (the type's second value, and for floats 0.0 and a negative one), which are all
/// material.
template <class T> T materialVoxel(std::mt19937_64& engine)
{
    std::uniform_int_distribution<int> kind(0, 5);
    switch (kind(engine)) {
    case 0:
        if constexpr (std::is_floating_point_v<T>) return T(0);
        else return static_cast<T>(background<T>() + 1);
    case 1:
        if constexpr (std::is_floating_point_v<T>) return T(-2.5);
        else return static_cast<T>(background<T>() + 1);
    default: break;
    }
    T value = background<T>();
    while (value == background<T>()) {
        // The raw 64 bits narrowed cover every integer type, the 64-bit ones too.
        if constexpr (std::is_floating_point_v<T>) value = TestSupport::randomVoxel<T>(engine);
        else value = static_cast<T>(engine());
    }
    return value;
}

/// A volume of background with material voxels scattered at the given share, from a fixed seed.
template <class T> MemoryVolumePtr<T> makeSparseVolume(const Dimension<SizeType>& size, double share, std::uint64_t seed)
{
    MemoryVolumePtr<T> volume(new MemoryVolume<T>(size));
    std::mt19937_64 engine(seed);
    std::uniform_real_distribution<double> draw(0.0, 1.0);
    T* voxel = volume->getPosOffset(pos(0, 0, 0));
    for (SizeType i = 0; i < size.size(); ++i) voxel[i] = draw(engine) < share ? materialVoxel<T>(engine) : background<T>();
    return volume;
}

/// The voxels of the whole volume in storage order, read through a view of its own that has no
/// region and the default orientation, whatever the volume itself shows.
template <class T> std::vector<T> storageValues(const MemoryVolumePtr<T>& volume)
{
    const Dimension<SizeType> size = volume->getVolumeDimension();
    const T* first = volume->getPosOffset(pos(0, 0, 0)) - volume->getOffset(pos(0, 0, 0));
    return std::vector<T>(first, first + size.size());
}

/// The voxels of a view in walk order, tert outermost, each read by getValueAt.
template <class V> std::vector<typename V::element_type::VoxelType> viewValues(const V& volume)
{
    return TestSupport::valuesInView(*volume);
}

/// The operator names every identifier holds, spelt out: "Tarn::Kito::Volume< Tarn::uint8 ,
/// Tarn::Kito::Allocator::SingleBlockAllocator >".
template <class T> std::string volumeText()
{
    return std::string("Tarn::Kito::Volume< ") + TestSupport::voxelName<T>() + " , Tarn::Kito::Allocator::SingleBlockAllocator >";
}

/// The keys of a composite, in their order.
inline std::vector<std::string> keysOf(const IComposite& composite)
{
    std::vector<std::string> keys;
    for (SizeType k = 0; k < composite.size(); ++k) keys.push_back(composite.getKey(k));
    return keys;
}

/// True if the class factory knows the identifier.
inline bool registered(const std::string& identifier)
{
    const std::vector<std::string> ids = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    return std::find(ids.begin(), ids.end(), identifier) != ids.end();
}

} // namespace FlatteningTesting

#endif
