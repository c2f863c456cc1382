// The means of the integer types into their own type. IProjectionMean.cpp forces them into the
// factory.
#include "ProjectionMeanInstances.h"

TARN_OPERATOR_INTEGER_VOXEL_LIST(TARN_TWICE, TARN_DEFINE_PROJECTION_MEAN)
