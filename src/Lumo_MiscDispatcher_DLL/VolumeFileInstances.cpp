// The REK file operators of the generic library, registered with the class factory when the
// library loads: hosts reach them by their identifiers, and the image average runs the loaders.
#include "StageInstances.h"

TARN_REK_HEADER_LOADER_INSTANCE()

#define TARN_MAKE(T) TARN_REK_LOADER_INSTANCE(, T)
TARN_OPERATOR_VOXELS(TARN_MAKE)
#undef TARN_MAKE
