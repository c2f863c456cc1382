// The planarisations of input voxels of eight bytes, with every height-map type.
#include "OrthogonalPlanarisationInstances.h"

TARN_PLANARISATION_INSTANCES(, Tarn::float64)
TARN_PLANARISATION_INSTANCES(, Tarn::uint64)
TARN_PLANARISATION_INSTANCES(, Tarn::int64)
