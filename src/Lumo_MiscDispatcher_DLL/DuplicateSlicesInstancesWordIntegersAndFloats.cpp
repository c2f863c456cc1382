// The duplications of 32-bit integer and float slices, named by every output type.
// IDuplicateSlices.cpp forces them into the factory.
#include "DuplicateSlicesInstances.h"

TARN_PAIRS(WORD_INTEGER, OPERATOR, TARN_DEFINE_DUPLICATE_SLICES)
TARN_PAIRS(FLOAT, OPERATOR, TARN_DEFINE_DUPLICATE_SLICES)
