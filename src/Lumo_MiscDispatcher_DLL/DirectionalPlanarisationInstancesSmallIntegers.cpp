// The directional planarisations of input voxels of one and two bytes, with every height-map type
// and both grid types.
#include "DirectionalPlanarisationInstances.h"

TARN_TRIPLES(SMALL_INTEGER, ALL, FLOAT, TARN_DEFINE_DIRECTIONAL)
