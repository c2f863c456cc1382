// The means of every type into Tarn::float32 and Tarn::float64. IProjectionMean.cpp forces them into
// the factory.
#include "ProjectionMeanInstances.h"

TARN_PAIRS(OPERATOR, FLOAT, TARN_DEFINE_PROJECTION_MEAN)
