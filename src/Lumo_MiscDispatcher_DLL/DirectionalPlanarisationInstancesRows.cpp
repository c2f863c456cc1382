// The samplers of the ten voxel types and the row functions of the directional planarisations,
// which do all of their voxel work.
#include "DirectionalPlanarisationInstances.h"

TARN_ALL_VOXELS(TARN_DEFINE_SAMPLER)
TARN_PAIRS(ALL, FLOAT, TARN_DEFINE_ROW_POSITIONS)
