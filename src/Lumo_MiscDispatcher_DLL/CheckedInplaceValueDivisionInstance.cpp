// The in-place division of Tarn::float64 volumes, the one instance of the arithmetic operators.
// No facade serves it: operators that divide their results (the mean projection) run it as a
// stage, and the explicit instance alone registers it when the library loads.
#include "StageInstances.h"

TARN_CHECKED_INPLACE_VALUE_DIVISION_INSTANCE()
