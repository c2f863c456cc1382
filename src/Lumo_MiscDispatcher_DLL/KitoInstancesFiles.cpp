// Volumes over files, by either file allocator, and their chunks of two levels, for the eight voxel
// types of the operators; with the chunk allocators of the file allocators.
#include "KitoInstances.h"

template class Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Lumo_DLL::Instances::InputFile>;
template class Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Lumo_DLL::Instances::InputFileChunk1>;
template class Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Lumo_DLL::Instances::BufferedFile>;
template class Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Lumo_DLL::Instances::BufferedFileChunk1>;

#define TARN_MAKE_VOLUMES(T) TARN_FILE_VOLUMES(, T)
TARN_OPERATOR_VOXELS(TARN_MAKE_VOLUMES)
#undef TARN_MAKE_VOLUMES
