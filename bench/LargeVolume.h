// The large benchmark volume: 512 x 512 x 256 voxels, 128 MiB as Tarn::uint16, larger than the
// caches, with the same reproducible content as the small one, in any voxel type.
#ifndef LUMO_BENCH_LARGEVOLUME_H_INCLUDED
#define LUMO_BENCH_LARGEVOLUME_H_INCLUDED

#include <Kito/SingleBlockAllocator>
#include <Kito/Volume>

#include <cmath>
#include <cstdint>

namespace LumoBench {

template <class T> using LargeVolume = Tarn::Kito::Volume<T, Tarn::Kito::Allocator::SingleBlockAllocator>;
template <class T> using LargeVolumePtr = Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>;

constexpr Tarn::Kito::SizeType largePrim = 512, largeSec = 512, largeTert = 256;
constexpr Tarn::Kito::SizeType largeCount = largePrim * largeSec * largeTert;

/// The voxels of the large volume as Tarn::uint16 values (0 to 65535), converted to T.
template <class T> LargeVolumePtr<T> makeLargeVolume()
{
    LargeVolumePtr<T> volume(new LargeVolume<T>(Tarn::Kito::Dimension<Tarn::Kito::SizeType>(largePrim, largeSec, largeTert)));
    T* p = volume->getIterator();
    std::uint32_t state = 12345u;
    for (Tarn::Kito::SizeType i = 0; i < largeCount; ++i) {
        state = state * 1664525u + 1013904223u;
        p[i] = static_cast<T>(state >> 16);
    }
    return volume;
}

/// One shared large volume per voxel type, made on first use.
template <class T> const LargeVolumePtr<T>& largeVolume()
{
    static const LargeVolumePtr<T> volume = makeLargeVolume<T>();
    return volume;
}

/// The depth of the surface under column (p, s) of the large volume: a smooth relief between 8 and
/// 88 along tert.
inline Tarn::Kito::SizeType largeDepthOf(Tarn::Kito::SizeType p, Tarn::Kito::SizeType s)
{
    return static_cast<Tarn::Kito::SizeType>(48.0 + 40.0 * std::sin(static_cast<double>(p) / 40.0) *
                                                        std::cos(static_cast<double>(s) / 50.0));
}

/// The large Tarn::uint16 volume with background (0) above a curved surface along tert, in a volume
/// object of its own, since a height map turns the view of the volume it searches.
inline const LargeVolumePtr<Tarn::uint16>& largeSurfaceVolume()
{
    static const LargeVolumePtr<Tarn::uint16> volume = [] {
        LargeVolumePtr<Tarn::uint16> made = makeLargeVolume<Tarn::uint16>();
        Tarn::uint16* voxel = made->getIterator();
        for (Tarn::Kito::SizeType t = 0; t < largeTert; ++t)
            for (Tarn::Kito::SizeType s = 0; s < largeSec; ++s)
                for (Tarn::Kito::SizeType p = 0; p < largePrim; ++p, ++voxel)
                    if (t < largeDepthOf(p, s)) *voxel = 0;
        return made;
    }();
    return volume;
}

} // namespace LumoBench

#endif
