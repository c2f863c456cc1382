// The directional planarisations of input voxels of the 32-bit integer types, with every
// height-map type and both grid types.
#include "DirectionalPlanarisationInstances.h"

TARN_TRIPLES(WORD_INTEGER, ALL, FLOAT, TARN_DEFINE_DIRECTIONAL)
