// The demo's built-in data: a bent sheet with writing under its surface, and a mesh of that surface;
// a steeper cylinder segment with writing at constant depth along its normals.
#ifndef LUMO_TOOLS_BUILTINVOLUME_H_INCLUDED
#define LUMO_TOOLS_BUILTINVOLUME_H_INCLUDED

#include <Kito/SingleBlockAllocator>
#include <Kito/Volume>

namespace LumoTool {

using Volume16 = Tarn::Kito::VolumePtr<Tarn::uint16, Tarn::Kito::Allocator::SingleBlockAllocator>;
using Table = Tarn::Kito::VolumePtr<Tarn::float64, Tarn::Kito::Allocator::SingleBlockAllocator>;

/// 192 x 128 x 72 voxels of Tarn::uint16: a sheet of material (about 1000) ten voxels thick, bent
/// like a trough along prim and gently along sec, in air that a reconstruction has already masked
/// to 0. Four voxels under its upper surface (the side towards tert 0) two voxels of lighter
/// material (about 400) spell "LUMO": a maximum projection through the sheet cannot show them,
/// because the dense material above and below them wins on every ray. The noise is reproducible.
Volume16 makeBuiltinVolume();

/// How far under the sheet's upper surface the writing lies, in voxels.
constexpr Tarn::Kito::SizeType builtinWritingDepth = 4;

/// The sheet's upper surface as a vertex table: a grid of 8-voxel cells, two triangles each,
/// coordinates in voxels.
Table makeBuiltinMesh();

/// 192 x 96 x 100 voxels of Tarn::uint16: the upper part of a cylindrical shell (about 1000) twelve
/// voxels thick, of outer radius 100, its axis along sec. Its upper surface lies 8 voxels deep in
/// the middle of prim and falls to about 79 at its ends, where it is 73 degrees steep. The word
/// "LUMO" lies in lighter material (about 400), three voxels thick, centred on a constant depth
/// along the surface normal; its outer letters lie where the surface tilts by 27 to 54 degrees.
/// Flattened straight down along tert, a slice leaves the writing where the surface tilts;
/// unrolled along the normals, it follows it. The noise is reproducible.
Volume16 makeBuiltinCylinder();

/// How deep under the cylinder's surface, along its normal, the middle of the writing lies, in voxels.
constexpr Tarn::Kito::SizeType builtinCylinderWritingDepth = 8;

/// Voxels below this are the writing's lighter material (about 400) rather than the shell's (about
/// 1000): the value halfway between them.
constexpr Tarn::uint16 builtinDarkBelow = 700;

/// Whether the surface point of column (p, s) of the cylinder lies under a stroke of its writing:
/// the letters are laid out over the surface points, so that the writing's voxels are the ones
/// that the normals of these points pass at the writing's depth.
bool underCylinderWriting(Tarn::Kito::SizeType p, Tarn::Kito::SizeType s);

/// The edge of one voxel of the built-in volume.
constexpr double builtinVoxelSizeInMicrometers = 25.0;

} // namespace LumoTool

#endif
