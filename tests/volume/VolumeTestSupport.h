// Shared helpers of the volume tests: type names, region builders and a catcher that tells what a
// failure of the Tarn family says about itself.
#ifndef TARN_TESTS_VOLUME_VOLUMETESTSUPPORT_H_INCLUDED
#define TARN_TESTS_VOLUME_VOLUMETESTSUPPORT_H_INCLUDED

#include <Kito/Exceptions>
#include <Kito/ExternalBufferAllocator>
#include <Kito/Orientation>
#include <Kito/SingleBlockAllocator>
#include <Kito/Triple>
#include <Kito/Types>
#include <Kito/Volume>
#include <support/FailureOf.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace VolumeTesting {

using Tarn::Kito::Dimension;
using Tarn::Kito::OffsetType;
using Tarn::Kito::Orientation;
using Tarn::Kito::Position;
using Tarn::Kito::SizeType;
using Region = Tarn::Kito::RegionOfInterest<SizeType>;

using SingleBlock = Tarn::Kito::Allocator::SingleBlockAllocator;
using External1 = Tarn::Kito::Allocator::ExternalBufferAllocator<SingleBlock>;
using External2 = Tarn::Kito::Allocator::ExternalBufferAllocator<External1>;
using External3 = Tarn::Kito::Allocator::ExternalBufferAllocator<External2>;

template <class T> using MemoryVolume = Tarn::Kito::Volume<T, SingleBlock>;
template <class T> using MemoryVolumePtr = Tarn::Kito::VolumePtr<T, SingleBlock>;

inline Dimension<SizeType> dim(SizeType p, SizeType s, SizeType t) { return Dimension<SizeType>(p, s, t); }
inline Position<SizeType> pos(SizeType p, SizeType s, SizeType t) { return Position<SizeType>(p, s, t); }
inline Region region(const Dimension<SizeType>& size, const Position<SizeType>& origin) { return Region(size, origin); }

using Failure = TestSupport::TarnFailure;
using TestSupport::tarnFailureOf;

/// The text of a failure that is a std::out_of_range but no member of the Tarn family.
template <class F> std::string plainOutOfRangeOf(F&& action)
{
    try {
        action();
    } catch (const Tarn::Exceptions::Exception&) {
        return "a Tarn failure";
    } catch (const std::out_of_range& failure) {
        return failure.what();
    }
    return "no failure";
}

/// The 48 orientations: the six orders of the axes, each with the eight choices of mirroring.
inline std::vector<Orientation> allOrientations()
{
    const int orders[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
    std::vector<Orientation> result;
    for (const auto& order : orders)
        for (int mirror = 0; mirror < 8; ++mirror)
            result.push_back(Orientation(static_cast<Tarn::int8>(2 * order[0] + (mirror & 1)),
                                         static_cast<Tarn::int8>(2 * order[1] + ((mirror >> 1) & 1)),
                                         static_cast<Tarn::int8>(2 * order[2] + ((mirror >> 2) & 1))));
    return result;
}

inline std::string text(const Orientation& o)
{
    return "(" + std::to_string(o.prim) + "," + std::to_string(o.sec) + "," + std::to_string(o.tert) + ")";
}

} // namespace VolumeTesting

#endif
