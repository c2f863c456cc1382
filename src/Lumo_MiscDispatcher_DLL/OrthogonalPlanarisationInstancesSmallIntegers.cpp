// The planarisations of input voxels of one and two bytes, with every height-map type.
#include "OrthogonalPlanarisationInstances.h"

TARN_PAIRS(SMALL_INTEGER, ALL, TARN_DEFINE_PLANARISATION)
