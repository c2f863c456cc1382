// The demo's built-in data: a bent sheet with writing under its surface, and a mesh of that surface.
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

/// The edge of one voxel of the built-in volume.
constexpr double builtinVoxelSizeInMicrometers = 25.0;

} // namespace LumoTool

#endif
