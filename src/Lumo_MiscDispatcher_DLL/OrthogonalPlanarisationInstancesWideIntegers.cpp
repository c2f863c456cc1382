// The planarisations of input voxels of the 64-bit integer types, with every height-map type.
#include "OrthogonalPlanarisationInstances.h"

TARN_PAIRS(WIDE_INTEGER, ALL, TARN_DEFINE_PLANARISATION)
