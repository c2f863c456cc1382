#include "BuiltinVolume.h"

#include <cstdint>

namespace LumoTool {

using Tarn::Kito::Dimension;
using Tarn::Kito::Position;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::SizeType;

namespace {
constexpr SizeType sizePrim = 96, sizeSec = 80, sizeTert = 48;
// The block, in voxels: [16, 80) x [12, 68) x [8, 40).
constexpr SizeType blockFrom[3] = {16, 12, 8};
constexpr SizeType blockTo[3] = {80, 68, 40};
constexpr double sphereCentre[3] = {48.0, 40.0, 24.0};
constexpr double sphereRadius = 10.0;

bool insideBlock(SizeType p, SizeType s, SizeType t)
{
    return p >= blockFrom[0] && p < blockTo[0] && s >= blockFrom[1] && s < blockTo[1] && t >= blockFrom[2] &&
           t < blockTo[2];
}
} // namespace

Volume16 makeBuiltinVolume()
{
    using Voxels = Tarn::Kito::Volume<Tarn::uint16, Tarn::Kito::Allocator::SingleBlockAllocator>;
    Volume16 volume(new Voxels(Dimension<SizeType>(sizePrim, sizeSec, sizeTert)));
    Tarn::uint16* voxel = volume->getIterator();
    std::uint32_t noise = 2024u;
    for (SizeType t = 0; t < sizeTert; ++t)
        for (SizeType s = 0; s < sizeSec; ++s)
            for (SizeType p = 0; p < sizePrim; ++p) {
                noise = noise * 1664525u + 1013904223u;
                const int jitter = static_cast<int>(noise >> 27) - 16; // -16 .. 15
                const double dp = static_cast<double>(p) - sphereCentre[0];
                const double ds = static_cast<double>(s) - sphereCentre[1];
                const double dt = static_cast<double>(t) - sphereCentre[2];
                int value = 100;
                if (insideBlock(p, s, t)) value = 1200;
                if (dp * dp + ds * ds + dt * dt <= sphereRadius * sphereRadius) value = 3000;
                *voxel++ = static_cast<Tarn::uint16>(value + jitter);
            }
    return volume;
}

RegionOfInterest<SizeType> builtinBlockRegion()
{
    // The block without the slices that hold the sphere.
    return RegionOfInterest<SizeType>(Dimension<SizeType>(blockTo[0] - blockFrom[0], blockTo[1] - blockFrom[1], 6),
                                      Position<SizeType>(blockFrom[0], blockFrom[1], blockFrom[2]));
}

Table makeBuiltinMesh()
{
    using Tables = Tarn::Kito::Volume<Tarn::float64, Tarn::Kito::Allocator::SingleBlockAllocator>;
    const double lo[3] = {double(blockFrom[0]), double(blockFrom[1]), double(blockFrom[2])};
    const double hi[3] = {double(blockTo[0]), double(blockTo[1]), double(blockTo[2])};
    // The eight corners of the block, numbered by bits (prim, sec, tert).
    auto corner = [&](int bits, int axis) { return (bits >> axis) & 1 ? hi[axis] : lo[axis]; };
    // Two triangles per face.
    const int faces[12][3] = {{0, 1, 3}, {0, 3, 2}, {4, 5, 7}, {4, 7, 6}, {0, 1, 5}, {0, 5, 4},
                              {2, 3, 7}, {2, 7, 6}, {0, 2, 6}, {0, 6, 4}, {1, 3, 7}, {1, 7, 5}};
    Table mesh(new Tables(Dimension<SizeType>(36, 3, 1)));
    for (SizeType triangle = 0; triangle < 12; ++triangle)
        for (SizeType vertex = 0; vertex < 3; ++vertex)
            for (SizeType axis = 0; axis < 3; ++axis)
                *mesh->getPosOffset(Position<SizeType>(3 * triangle + vertex, axis, 0)) =
                    corner(faces[triangle][vertex], static_cast<int>(axis));
    return mesh;
}

} // namespace LumoTool
