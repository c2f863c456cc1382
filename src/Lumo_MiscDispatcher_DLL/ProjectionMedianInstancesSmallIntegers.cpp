// The medians of the 8- and 16-bit integer types. IProjectionMedian.cpp forces them into the factory.
#include "ProjectionMedianInstances.h"

TARN_SMALL_INTEGER_VOXEL_LIST(TARN_DEFINE_PROJECTION_MEDIAN, )
