// Chunks: volumes over the storage of a single-block volume or of another chunk, and their
// allocators.
#include "KitoInstances.h"

template class Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Lumo_DLL::Instances::SingleBlock>;
template class Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Lumo_DLL::Instances::External1>;
template class Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Lumo_DLL::Instances::External2>;

#define TARN_MAKE_VOLUMES(T)                                                                       \
    TARN_VOLUME_INSTANCE(, T, External1)                                                           \
    TARN_VOLUME_INSTANCE(, T, External2)
TARN_ALL_VOXELS(TARN_MAKE_VOLUMES)
#undef TARN_MAKE_VOLUMES

#define TARN_MAKE_VOLUMES(T) TARN_DEEP_CHUNK_VOLUMES(, T)
TARN_OPERATOR_VOXELS(TARN_MAKE_VOLUMES)
#undef TARN_MAKE_VOLUMES
