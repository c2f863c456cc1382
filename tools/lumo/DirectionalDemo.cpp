#include "DirectionalDemo.h"

#include "BuiltinVolume.h"
#include "PngImage.h"

#include <Kito/SingleBlockAllocator>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/IDirectionalPlanarisationOperator.h>
#include <Lumo_MiscDispatcher_DLL/IHeightMap.h>
#include <Lumo_MiscDispatcher_DLL/IOrthogonalPlanarisationOperator.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <stdexcept>
#include <string>

namespace LumoTool {

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::Position;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::IVolume;
template <class T> using InMemory = Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>;
template <class T> using Voxels = Tarn::Kito::Volume<T, Tarn::Kito::Allocator::SingleBlockAllocator>;
using Heights = InMemory<Tarn::uint8>;
using Normals = InMemory<Tarn::float32>;

/// Black columns between the two halves of the image.
constexpr SizeType gap = 4;

template <class P> SmartPointer<Tarn::Kito::Persistence::IComposite> composite(const SmartPointer<P>& parameter)
{
    return DynamicCast<SmartPointer<Tarn::Kito::Persistence::IComposite>>(parameter);
}

template <class T> SmartPointer<IVolume> general(const InMemory<T>& volume)
{
    return DynamicCast<SmartPointer<IVolume>>(volume);
}

template <class T> InMemory<T> typed(const SmartPointer<IVolume>& volume)
{
    const InMemory<T> result = DynamicCast<InMemory<T>>(volume);
    if (result == 0) throw std::runtime_error("a result is not of the voxel type the demo expects");
    return result;
}

/// The surface seen along tert, as Tarn::uint8: the cylinder is less than 255 voxels deep, so no
/// height can be taken for the not-found value. Leaves the volume in the default view, in which
/// both planarisations read it.
Heights heightMapOf(const SmartPointer<IVolume>& volume)
{
    SmartPointer<Tarn::Lumo_DLL::IHeightMap::Parameter> p(new Tarn::Lumo_DLL::IHeightMap::Parameter);
    p->inputVolume.setValue(volume);
    p->inputDirection.setValue(2);
    p->inputNumberOfThreads.setValue(0);
    p->outputVolume.setValue(general(Heights(new Voxels<Tarn::uint8>(Dimension<SizeType>(1, 1, 1)))));
    Tarn::Lumo_DLL::IHeightMap::IOperator().apply(composite(p));
    return typed<Tarn::uint8>(p->outputVolume.getValue());
}

/// The unit normals of the surface, pointing into the object, as three one-slice maps.
struct NormalMaps {
    Normals x, y, z;
    double largestTilt = 0.0; // degrees from tert, over the pixels where a surface was found
};

/// How far on either side of a pixel its central difference reaches. The heights are whole voxels:
/// on a surface that rises by a voxel every few pixels, neighbours one pixel apart give slopes of
/// 0 and 0.5 by turns, and a walk of 8 voxels along such normals strays up to 4 voxels sideways.
/// Over 6 pixels on either side the slope is off by 1/12 at most.
constexpr SizeType reach = 6;

/// The slope of the height map at one pixel along one axis, by central differences in voxel units;
/// near the border and next to pixels without surface the difference is taken over the pixels that
/// have one, on one side if need be.
double slopeAt(const Heights& heights, SizeType p, SizeType s, bool alongPrim)
{
    const SizeType at = alongPrim ? p : s;
    const SizeType extent = alongPrim ? heights->getDimPrim() : heights->getDimSec();
    auto height = [&](SizeType i) {
        return heights->getValueAt(alongPrim ? Position<SizeType>(i, s, 0) : Position<SizeType>(p, i, 0));
    };
    constexpr Tarn::uint8 notFound = std::numeric_limits<Tarn::uint8>::max();
    SizeType before = at, after = at;
    while (at - before < reach && before > 0 && height(before - 1) != notFound) --before;
    while (after - at < reach && after + 1 < extent && height(after + 1) != notFound) ++after;
    if (before == after) return 0.0;
    return (static_cast<double>(height(after)) - static_cast<double>(height(before))) /
           static_cast<double>(after - before);
}

/// The angle between a unit normal and tert, in degrees, from the normal's tert component.
double tiltOf(Tarn::float32 z)
{
    const double pi = 3.14159265358979323846;
    return std::acos(std::min(1.0, static_cast<double>(z))) * 180.0 / pi;
}

/// The surface z = h(p, s) has the normal (-dh/dp, -dh/ds, 1) towards growing tert, which is into
/// the object: the height map found it from tert 0 down.
NormalMaps normalsOf(const Heights& heights)
{
    const Dimension<SizeType> extent(heights->getDimPrim(), heights->getDimSec(), 1);
    NormalMaps normals{Normals(new Voxels<Tarn::float32>(extent)), Normals(new Voxels<Tarn::float32>(extent)),
                       Normals(new Voxels<Tarn::float32>(extent))};
    for (SizeType s = 0; s < extent.sec; ++s)
        for (SizeType p = 0; p < extent.prim; ++p) {
            const Position<SizeType> at(p, s, 0);
            const bool found = heights->getValueAt(at) != std::numeric_limits<Tarn::uint8>::max();
            const double x = found ? -slopeAt(heights, p, s, true) : 0.0;
            const double y = found ? -slopeAt(heights, p, s, false) : 0.0;
            const double length = std::sqrt(x * x + y * y + 1.0);
            *normals.x->getPosOffset(at) = static_cast<Tarn::float32>(x / length);
            *normals.y->getPosOffset(at) = static_cast<Tarn::float32>(y / length);
            *normals.z->getPosOffset(at) = static_cast<Tarn::float32>(1.0 / length);
            normals.largestTilt = std::max(normals.largestTilt, tiltOf(static_cast<Tarn::float32>(1.0 / length)));
        }
    return normals;
}

InMemory<Tarn::uint16> flattenedStraightDown(const SmartPointer<IVolume>& volume, const Heights& heights)
{
    using Parameter = Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(volume);
    p->inputHeightMapVolume.setValue(general(heights));
    p->inputNumberOfThreads.setValue(0);
    Tarn::Lumo_DLL::IOrthogonalPlanarisationOperator::IOperator().apply(composite(p));
    return typed<Tarn::uint16>(p->outputVolume.getValue());
}

InMemory<Tarn::uint16> unrolledAlongNormals(const SmartPointer<IVolume>& volume, const Heights& heights,
                                            const NormalMaps& normals)
{
    using Parameter = Tarn::Lumo_DLL::IDirectionalPlanarisationOperator::Parameter;
    SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(volume);
    p->inputHeightMapVolume.setValue(general(heights));
    p->inputNormalMapVolumeX.setValue(general(normals.x));
    p->inputNormalMapVolumeY.setValue(general(normals.y));
    p->inputNormalMapVolumeZ.setValue(general(normals.z));
    // Equal edges: a step along the normal is as long in prim and sec as in tert.
    p->inputVoxelSizeXY_um.setValue(static_cast<Tarn::float32>(builtinVoxelSizeInMicrometers));
    p->inputVoxelSizeZ_um.setValue(static_cast<Tarn::float32>(builtinVoxelSizeInMicrometers));
    p->inputNumberOfThreads.setValue(0);
    Tarn::Lumo_DLL::IDirectionalPlanarisationOperator::IOperator().apply(composite(p));
    return typed<Tarn::uint16>(p->outputVolume.getValue());
}

/// Slice depth of the two results side by side, gap black columns between them, on one grey scale
/// from the lowest to the highest value of both, so that equal values look alike in both halves.
GrayImage sideBySide(const InMemory<Tarn::uint16>& left, const InMemory<Tarn::uint16>& right, SizeType depth)
{
    const SizeType width = left->getDimPrim(), height = left->getDimSec();
    double low = std::numeric_limits<double>::max(), high = std::numeric_limits<double>::lowest();
    for (const auto* half : {&left, &right})
        for (SizeType s = 0; s < height; ++s)
            for (SizeType p = 0; p < width; ++p) {
                const double v = (*half)->getValueAt(Position<SizeType>(p, s, depth));
                low = std::min(low, v);
                high = std::max(high, v);
            }
    const double scale = high > low ? 255.0 / (high - low) : 0.0;
    GrayImage image;
    image.width = 2 * width + gap;
    image.height = height;
    image.pixels.assign(image.width * image.height, 0);
    for (SizeType s = 0; s < height; ++s)
        for (SizeType p = 0; p < width; ++p) {
            const Position<SizeType> at(p, s, depth);
            image.pixels[s * image.width + p] = static_cast<std::uint8_t>((left->getValueAt(at) - low) * scale + 0.5);
            image.pixels[s * image.width + width + gap + p] =
                static_cast<std::uint8_t>((right->getValueAt(at) - low) * scale + 0.5);
        }
    return image;
}

/// How a flattened slice shows the writing: dark pixels where the letters are, and elsewhere.
struct Legibility {
    SizeType inkOnLetters = 0, inkElsewhere = 0;
};

Legibility legibilityOf(const InMemory<Tarn::uint16>& result, SizeType depth)
{
    Legibility counts;
    for (SizeType s = 0; s < result->getDimSec(); ++s)
        for (SizeType p = 0; p < result->getDimPrim(); ++p) {
            if (result->getValueAt(Position<SizeType>(p, s, depth)) >= builtinDarkBelow) continue;
            ++(underCylinderWriting(p, s) ? counts.inkOnLetters : counts.inkElsewhere);
        }
    return counts;
}

std::string extentOf(const IVolume& volume)
{
    return std::to_string(volume.getDimPrim()) + " x " + std::to_string(volume.getDimSec()) + " x " +
           std::to_string(volume.getDimTert()) + " " + volume.getVoxelTypeName();
}

} // namespace

std::string writeDirectionalDemo(const std::string& directory)
{
    const Volume16 cylinder = makeBuiltinCylinder();
    const SmartPointer<IVolume> volume = general(cylinder);
    const SizeType depth = builtinCylinderWritingDepth;
    std::printf("\n4. A steeper surface: %s, the upper part of a cylindrical shell twelve voxels\n"
                "   thick around an axis along sec, with LUMO written %llu voxels under its surface along the normal\n",
                extentOf(*volume).c_str(), static_cast<unsigned long long>(depth));

    const Heights heights = heightMapOf(volume);
    Tarn::uint8 lowest = std::numeric_limits<Tarn::uint8>::max(), highest = 0;
    for (SizeType s = 0; s < heights->getDimSec(); ++s)
        for (SizeType p = 0; p < heights->getDimPrim(); ++p) {
            const Tarn::uint8 h = heights->getValueAt(Position<SizeType>(p, s, 0));
            lowest = std::min(lowest, h);
            highest = std::max(highest, h);
        }
    const NormalMaps normals = normalsOf(heights);
    SizeType letterPixels = 0;
    double letterTilt = 0.0;
    for (SizeType s = 0; s < heights->getDimSec(); ++s)
        for (SizeType p = 0; p < heights->getDimPrim(); ++p)
            if (underCylinderWriting(p, s)) {
                ++letterPixels;
                letterTilt = std::max(letterTilt, tiltOf(normals.z->getValueAt(Position<SizeType>(p, s, 0))));
            }
    std::printf("   height map along tert (IHeightMap): %s, depths %u to %u\n"
                "   normals by central differences over %llu pixels on either side, as three float32 maps:\n"
                "   tilted up to %.1f degrees from tert, up to %.1f under the writing\n",
                extentOf(*heights).c_str(), static_cast<unsigned>(lowest), static_cast<unsigned>(highest),
                static_cast<unsigned long long>(reach), normals.largestTilt, letterTilt);

    const InMemory<Tarn::uint16> straight = flattenedStraightDown(volume, heights);
    const InMemory<Tarn::uint16> unrolled = unrolledAlongNormals(volume, heights, normals);
    const Legibility straightInk = legibilityOf(straight, depth), unrolledInk = legibilityOf(unrolled, depth);
    std::printf("   flattened straight down (IOrthogonalPlanarisationOperator): %s\n"
                "   unrolled along the normals (IDirectionalPlanarisationOperator): %s\n",
                extentOf(*straight).c_str(), extentOf(*unrolled).c_str());
    std::printf("   slice %llu, dark pixels (below %u) on the letters' %llu pixels / elsewhere:\n"
                "     straight down %llu / %llu, along the normals %llu / %llu\n",
                static_cast<unsigned long long>(depth), static_cast<unsigned>(builtinDarkBelow),
                static_cast<unsigned long long>(letterPixels),
                static_cast<unsigned long long>(straightInk.inkOnLetters),
                static_cast<unsigned long long>(straightInk.inkElsewhere),
                static_cast<unsigned long long>(unrolledInk.inkOnLetters),
                static_cast<unsigned long long>(unrolledInk.inkElsewhere));

    const std::string path = directory + "/orthogonal-vs-directional.png";
    writePng(path, sideBySide(straight, unrolled, depth));
    std::printf("   %s: slice %llu of both; on the left, straight down, the slice\n"
                "   leaves the writing where the surface tilts: L and O lose their outer strokes, and the\n"
                "   other strokes move towards the middle; on the right, along the normals, LUMO reads cleanly\n",
                path.c_str(), static_cast<unsigned long long>(depth));
    return path;
}

} // namespace LumoTool
