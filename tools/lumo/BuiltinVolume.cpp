#include "BuiltinVolume.h"

#include <cmath>
#include <cstdint>

namespace LumoTool {

using Tarn::Kito::Dimension;
using Tarn::Kito::Position;
using Tarn::Kito::SizeType;

namespace {
constexpr SizeType sizePrim = 192, sizeSec = 128, sizeTert = 72;
constexpr SizeType thickness = 10;
constexpr int sheetValue = 1000, writingValue = 400;
constexpr int glyphScale = 6; // voxels per font pixel

/// The depth of the sheet's upper surface: 10 voxels in the middle of prim, 50 at its ends, and up
/// to 6 more in the middle of sec. Anything real is curved, and the writing follows the surface.
double surfaceAt(double p, double s)
{
    const double across = (p - 95.5) / 95.5;
    const double pi = 3.14159265358979323846;
    return 10.0 + 40.0 * across * across + 6.0 * std::sin(pi * s / static_cast<double>(sizeSec - 1));
}

SizeType surfaceVoxel(SizeType p, SizeType s)
{
    return static_cast<SizeType>(std::lround(surfaceAt(static_cast<double>(p), static_cast<double>(s))));
}

/// "LUMO" in a 5 x 7 font, one string per row, '#' for ink.
constexpr const char* glyphs[4][7] = {
    {"#....", "#....", "#....", "#....", "#....", "#....", "#####"},
    {"#...#", "#...#", "#...#", "#...#", "#...#", "#...#", ".###."},
    {"#...#", "##.##", "#.#.#", "#.#.#", "#...#", "#...#", "#...#"},
    {".###.", "#...#", "#...#", "#...#", "#...#", "#...#", ".###."},
};

/// Whether the column (p, s) of a volume of extent (prim, sec) lies under a stroke of writing
/// centred on it, scale voxels per font pixel.
bool underWriting(SizeType p, SizeType s, SizeType prim, SizeType sec, long scale)
{
    constexpr long columns = 4 * 6 - 1, rows = 7; // four letters of 5 with a blank column between
    const long left = (static_cast<long>(prim) - columns * scale) / 2;
    const long top = (static_cast<long>(sec) - rows * scale) / 2;
    const long column = (static_cast<long>(p) - left) / scale;
    const long row = (static_cast<long>(s) - top) / scale;
    if (static_cast<long>(p) < left || static_cast<long>(s) < top || column >= columns || row >= rows) return false;
    if (column % 6 == 5) return false;
    return glyphs[column / 6][row][column % 6] == '#';
}

bool underWriting(SizeType p, SizeType s) { return underWriting(p, s, sizePrim, sizeSec, glyphScale); }
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
                const int jitter = static_cast<int>(noise >> 26) - 32; // -32 .. 31
                const SizeType top = surfaceVoxel(p, s);
                int value = 0;
                if (t >= top && t < top + thickness) {
                    const SizeType depth = t - top;
                    const bool ink = depth >= builtinWritingDepth && depth < builtinWritingDepth + 2 && underWriting(p, s);
                    value = (ink ? writingValue : sheetValue) + jitter;
                }
                *voxel++ = static_cast<Tarn::uint16>(value);
            }
    return volume;
}

Table makeBuiltinMesh()
{
    using Tables = Tarn::Kito::Volume<Tarn::float64, Tarn::Kito::Allocator::SingleBlockAllocator>;
    constexpr SizeType cell = 8, cellsPrim = (sizePrim - 1) / cell, cellsSec = (sizeSec - 1) / cell;
    Table mesh(new Tables(Dimension<SizeType>(3 * 2 * cellsPrim * cellsSec, 3, 1)));
    SizeType vertex = 0;
    auto put = [&](SizeType p, SizeType s) {
        const double at[3] = {static_cast<double>(p), static_cast<double>(s),
                              surfaceAt(static_cast<double>(p), static_cast<double>(s))};
        for (SizeType axis = 0; axis < 3; ++axis) *mesh->getPosOffset(Position<SizeType>(vertex, axis, 0)) = at[axis];
        ++vertex;
    };
    for (SizeType j = 0; j < cellsSec; ++j)
        for (SizeType i = 0; i < cellsPrim; ++i) {
            const SizeType p0 = i * cell, p1 = p0 + cell, s0 = j * cell, s1 = s0 + cell;
            put(p0, s0), put(p1, s0), put(p1, s1);
            put(p0, s0), put(p1, s1), put(p0, s1);
        }
    return mesh;
}

namespace {
namespace cylinder {
constexpr SizeType sizePrim = 192, sizeSec = 96, sizeTert = 100;
constexpr double radius = 100.0, thickness = 12.0;
constexpr double axisPrim = 95.5, axisTert = 8.0 + radius; // the surface's top lies at tert 8
constexpr double inkThickness = 3.0;
constexpr long glyphScale = 7;
} // namespace cylinder
} // namespace

bool underCylinderWriting(SizeType p, SizeType s)
{
    return underWriting(p, s, cylinder::sizePrim, cylinder::sizeSec, cylinder::glyphScale);
}

Volume16 makeBuiltinCylinder()
{
    using Voxels = Tarn::Kito::Volume<Tarn::uint16, Tarn::Kito::Allocator::SingleBlockAllocator>;
    Volume16 volume(new Voxels(Dimension<SizeType>(cylinder::sizePrim, cylinder::sizeSec, cylinder::sizeTert)));
    Tarn::uint16* voxel = volume->getIterator();
    std::uint32_t noise = 2025u;
    const double inkDepth = static_cast<double>(builtinCylinderWritingDepth);
    for (SizeType t = 0; t < cylinder::sizeTert; ++t)
        for (SizeType s = 0; s < cylinder::sizeSec; ++s)
            for (SizeType p = 0; p < cylinder::sizePrim; ++p) {
                noise = noise * 1664525u + 1013904223u;
                const int jitter = static_cast<int>(noise >> 26) - 32; // -32 .. 31
                const double across = static_cast<double>(p) - cylinder::axisPrim;
                const double up = cylinder::axisTert - static_cast<double>(t);
                const double fromAxis = std::sqrt(across * across + up * up);
                const double depth = cylinder::radius - fromAxis; // along the normal, which points at the axis
                int value = 0;
                if (up > 0.0 && depth >= 0.0 && depth < cylinder::thickness) {
                    // The letters are laid out over the surface points, where the normal through this
                    // voxel leaves the surface: unrolled along the normals they stand upright.
                    const double surfacePrim = cylinder::axisPrim + across * cylinder::radius / fromAxis;
                    const SizeType footprint = static_cast<SizeType>(std::lround(surfacePrim));
                    const bool ink = std::abs(depth - inkDepth) < cylinder::inkThickness / 2.0 &&
                                     underCylinderWriting(footprint, s);
                    value = (ink ? writingValue : sheetValue) + jitter;
                }
                *voxel++ = static_cast<Tarn::uint16>(value);
            }
    return volume;
}

} // namespace LumoTool
