// The medians of the 32-bit integer types and the float types. IProjectionMedian.cpp forces them
// into the factory.
#include "ProjectionMedianInstances.h"

TARN_WORD_INTEGER_VOXEL_LIST(TARN_DEFINE_PROJECTION_MEDIAN, )
TARN_FLOAT_VOXEL_LIST(TARN_DEFINE_PROJECTION_MEDIAN, )
