// The sums from the input types Tarn::int16, Tarn::int32, Tarn::float32 and Tarn::float64 into every output
// type. IProjectionSum.cpp declares them and forces them into the factory.
#include <LumoStudio/Operators/ProjectionSum/Operator.h>

#include "KitoInstances.h"

namespace {
template <class T> using Ptr = Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>;
}

#define TARN_MAKE_INTO(O) \
    template class Tarn::Lumo::ProjectionSum::Operator<Ptr<Tarn::int16>, Ptr<O>>; \
    template class Tarn::Lumo::ProjectionSum::Operator<Ptr<Tarn::int32>, Ptr<O>>; \
    template class Tarn::Lumo::ProjectionSum::Operator<Ptr<Tarn::float32>, Ptr<O>>; \
    template class Tarn::Lumo::ProjectionSum::Operator<Ptr<Tarn::float64>, Ptr<O>>;
TARN_OPERATOR_VOXELS(TARN_MAKE_INTO)
#undef TARN_MAKE_INTO
