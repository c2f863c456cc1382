// The copies from volumes over files, by either file allocator, for the eight voxel types.
// ICopy.cpp forces them into the factory.
#include "CopyInstances.h"

#define TARN_MAKE(T) TARN_COPY_FROM_FILES(, T)
TARN_OPERATOR_VOXELS(TARN_MAKE)
#undef TARN_MAKE
