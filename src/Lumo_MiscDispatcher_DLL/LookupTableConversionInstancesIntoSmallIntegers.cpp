// The lookup tables into the 8- and 16-bit integer types, half of the 32.
// ILookupTableConversion.cpp forces them into the factory.
#include "LookupTableConversionInstances.h"

TARN_PAIRS(SMALL_INTEGER, SMALL_INTEGER, TARN_DEFINE_LOOKUP_TABLE_CONVERSION)
