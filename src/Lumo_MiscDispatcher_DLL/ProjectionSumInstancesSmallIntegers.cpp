// The sums from the 8- and 16-bit integer types into every output type. IProjectionSum.cpp forces
// them into the factory.
#include "ProjectionSumInstances.h"

TARN_PAIRS(SMALL_INTEGER, OPERATOR, TARN_DEFINE_PROJECTION_SUM)
