// The directional planarisations of float input voxels, with every height-map type and both grid
// types.
#include "DirectionalPlanarisationInstances.h"

TARN_TRIPLES(FLOAT, ALL, FLOAT, TARN_DEFINE_DIRECTIONAL)
