// The benchmarks' volume: 256 x 256 x 256 Tarn::uint16 with reproducible content.
#ifndef LUMO_BENCH_BENCHVOLUME_H_INCLUDED
#define LUMO_BENCH_BENCHVOLUME_H_INCLUDED

#include <Kito/SingleBlockAllocator>
#include <Kito/Volume>

#include <cstdint>

namespace LumoBench {

using Volume16 = Tarn::Kito::Volume<Tarn::uint16, Tarn::Kito::Allocator::SingleBlockAllocator>;
using Volume16Ptr = Tarn::Kito::VolumePtr<Tarn::uint16, Tarn::Kito::Allocator::SingleBlockAllocator>;

constexpr Tarn::Kito::SizeType edge = 256;

inline Volume16Ptr makeVolume()
{
    Volume16Ptr volume(new Volume16(Tarn::Kito::Dimension<Tarn::Kito::SizeType>(edge, edge, edge)));
    Tarn::uint16* p = volume->getIterator();
    std::uint32_t state = 12345u;
    for (Tarn::Kito::SizeType i = 0; i < edge * edge * edge; ++i) {
        state = state * 1664525u + 1013904223u;
        p[i] = static_cast<Tarn::uint16>(state >> 16);
    }
    return volume;
}

inline const Volume16Ptr& sharedVolume()
{
    static const Volume16Ptr volume = makeVolume();
    return volume;
}

} // namespace LumoBench

#endif
