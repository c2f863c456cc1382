// The planarisations of input voxels of two bytes and of one byte, with every height-map type.
#include "OrthogonalPlanarisationInstances.h"

TARN_PLANARISATION_INSTANCES(, Tarn::uint16)
TARN_PLANARISATION_INSTANCES(, Tarn::int16)
TARN_PLANARISATION_INSTANCES(, Tarn::uint8)
TARN_PLANARISATION_INSTANCES(, Tarn::int8)
