// The demo's built-in data: a small CT-like volume of a few materials, and a triangle mesh.
#ifndef LUMO_TOOLS_BUILTINVOLUME_H_INCLUDED
#define LUMO_TOOLS_BUILTINVOLUME_H_INCLUDED

#include <Kito/SingleBlockAllocator>
#include <Kito/Volume>

#include <string>

namespace LumoTool {

using Volume16 = Tarn::Kito::VolumePtr<Tarn::uint16, Tarn::Kito::Allocator::SingleBlockAllocator>;
using Table = Tarn::Kito::VolumePtr<Tarn::float64, Tarn::Kito::Allocator::SingleBlockAllocator>;

/// 96 x 80 x 48 voxels of Tarn::uint16: air (about 100) around an aluminium block (about 1200)
/// with a steel sphere (about 3000) inside it. The noise is reproducible.
Volume16 makeBuiltinVolume();

/// The region of the built-in volume that holds only the aluminium block.
Tarn::Kito::RegionOfInterest<Tarn::Kito::SizeType> builtinBlockRegion();

/// The surface of the block as a vertex table (12 triangles, coordinates in voxels).
Table makeBuiltinMesh();

/// The edge of one voxel of the built-in volume.
constexpr double builtinVoxelSizeInMicrometers = 25.0;

} // namespace LumoTool

#endif
