// The planarisations of input voxels of four bytes, with every height-map type.
#include "OrthogonalPlanarisationInstances.h"

TARN_PLANARISATION_INSTANCES(, Tarn::float32)
TARN_PLANARISATION_INSTANCES(, Tarn::uint32)
TARN_PLANARISATION_INSTANCES(, Tarn::int32)
