// The copies from memory (all ten voxel types) and from chunks of memory (the eight). ICopy.cpp
// forces them into the factory.
#include "CopyInstances.h"

#define TARN_MAKE(T) TARN_COPY_FROM_MEMORY(, T)
TARN_ALL_VOXELS(TARN_MAKE)
#undef TARN_MAKE
#define TARN_MAKE(T) TARN_COPY_FROM_CHUNK(, T)
TARN_OPERATOR_VOXELS(TARN_MAKE)
#undef TARN_MAKE
