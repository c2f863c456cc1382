// The lookup tables into the 32-bit integer types and the float types, the other half of the 32.
// ILookupTableConversion.cpp forces them into the factory.
#include "LookupTableConversionInstances.h"

TARN_PAIRS(SMALL_INTEGER, WORD_INTEGER, TARN_DEFINE_LOOKUP_TABLE_CONVERSION)
TARN_PAIRS(SMALL_INTEGER, FLOAT, TARN_DEFINE_LOOKUP_TABLE_CONVERSION)
