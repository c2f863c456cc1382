// KitoInstances: the one spelling of the voxel type lists and of the volume and allocator instances
// that many translation units would otherwise each compile. Private to the dispatcher library.
#ifndef TARN_LUMO_DLL_KITOINSTANCES_H_INCLUDED
#define TARN_LUMO_DLL_KITOINSTANCES_H_INCLUDED

#include <Kito/ExternalBufferAllocator>
#include <Kito/SingleBlockAllocator>
#include <Kito/SmartPointer>
#include <Kito/Types>
#include <Kito/Volume>

// Voxel types every operator is built for.
#define TARN_OPERATOR_VOXELS(X) X(Tarn::int8) X(Tarn::uint8) X(Tarn::int16) X(Tarn::uint16) \
                                X(Tarn::int32) X(Tarn::uint32) X(Tarn::float32) X(Tarn::float64)
// The 64-bit integers, which only a few volume types are built for.
#define TARN_WIDE_INTEGER_VOXELS(X) X(Tarn::int64) X(Tarn::uint64)
// All ten voxel types.
#define TARN_ALL_VOXELS(X) TARN_OPERATOR_VOXELS(X) TARN_WIDE_INTEGER_VOXELS(X)

namespace Tarn::Lumo_DLL::Instances {
// The in-memory allocators, one name per nesting level of chunks: a chunk of a chunk is a new
// instance, and the operators stop at the third level.
using SingleBlock = Tarn::Kito::Allocator::SingleBlockAllocator;
using External1 = Tarn::Kito::Allocator::ExternalBufferAllocator<SingleBlock>;
using External2 = Tarn::Kito::Allocator::ExternalBufferAllocator<External1>;
using External3 = Tarn::Kito::Allocator::ExternalBufferAllocator<External2>;
} // namespace Tarn::Lumo_DLL::Instances

// One volume instance with its two handle types. An explicit instance of a Volume names its
// factory registrator, so loading the library registers it.
#define TARN_VOLUME_INSTANCE(prefix, T, A)                                                         \
    prefix template class Tarn::Kito::Volume<T, Tarn::Lumo_DLL::Instances::A>;                     \
    prefix template class Tarn::Kito::SmartPointer<Tarn::Kito::Volume<T, Tarn::Lumo_DLL::Instances::A>>; \
    prefix template class Tarn::Kito::VolumePtr<T, Tarn::Lumo_DLL::Instances::A>;

// Single-block volumes and their chunks up to the second level, for all ten voxel types.
#define TARN_SINGLE_BLOCK_VOLUMES(prefix, T)                                                       \
    TARN_VOLUME_INSTANCE(prefix, T, SingleBlock)                                                   \
    TARN_VOLUME_INSTANCE(prefix, T, External1)                                                     \
    TARN_VOLUME_INSTANCE(prefix, T, External2)
// Chunks of the third level, only for the operators' eight voxel types.
#define TARN_DEEP_CHUNK_VOLUMES(prefix, T) TARN_VOLUME_INSTANCE(prefix, T, External3)

#define TARN_DECLARE_SINGLE_BLOCK_VOLUMES(T) TARN_SINGLE_BLOCK_VOLUMES(extern, T)
#define TARN_DECLARE_DEEP_CHUNK_VOLUMES(T) TARN_DEEP_CHUNK_VOLUMES(extern, T)
TARN_ALL_VOXELS(TARN_DECLARE_SINGLE_BLOCK_VOLUMES)
TARN_OPERATOR_VOXELS(TARN_DECLARE_DEEP_CHUNK_VOLUMES)
#undef TARN_DECLARE_DEEP_CHUNK_VOLUMES
#undef TARN_DECLARE_SINGLE_BLOCK_VOLUMES

extern template class Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Lumo_DLL::Instances::SingleBlock>;
extern template class Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Lumo_DLL::Instances::External1>;
extern template class Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Lumo_DLL::Instances::External2>;

// The stack of regions that every volume instance hands out and takes through its composite face.
extern template class Tarn::Kito::RegionOfInterestComposite<Tarn::Kito::SizeType>;
extern template class Tarn::Kito::SmartPointer<Tarn::Kito::RegionOfInterestComposite<Tarn::Kito::SizeType>>;
extern template class Tarn::Kito::Container::List<Tarn::Kito::RegionOfInterestCompositePtr<Tarn::Kito::SizeType>>;
extern template class Tarn::Kito::SmartPointer<
    Tarn::Kito::Container::List<Tarn::Kito::RegionOfInterestCompositePtr<Tarn::Kito::SizeType>>>;
extern template class Tarn::Kito::Container::ListPtr<Tarn::Kito::RegionOfInterestCompositePtr<Tarn::Kito::SizeType>>;

#endif
