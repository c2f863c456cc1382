// The duplications of 8- and 16-bit integer slices, named by every output type.
// IDuplicateSlices.cpp forces them into the factory.
#include "DuplicateSlicesInstances.h"

TARN_PAIRS(SMALL_INTEGER, OPERATOR, TARN_DEFINE_DUPLICATE_SLICES)
