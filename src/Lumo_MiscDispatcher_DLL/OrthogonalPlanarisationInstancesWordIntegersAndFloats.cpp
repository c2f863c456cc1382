// The planarisations of input voxels of the 32-bit integer and the float types, with every
// height-map type.
#include "OrthogonalPlanarisationInstances.h"

TARN_PAIRS(WORD_INTEGER, ALL, TARN_DEFINE_PLANARISATION)
TARN_PAIRS(FLOAT, ALL, TARN_DEFINE_PLANARISATION)
