// The sums from the 32-bit integer types and the float types into every output type.
// IProjectionSum.cpp forces them into the factory.
#include "ProjectionSumInstances.h"

TARN_PAIRS(WORD_INTEGER, OPERATOR, TARN_DEFINE_PROJECTION_SUM)
TARN_PAIRS(FLOAT, OPERATOR, TARN_DEFINE_PROJECTION_SUM)
