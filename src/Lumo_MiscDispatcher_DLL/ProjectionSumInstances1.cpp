// The sums from the input types Tarn::uint8, Tarn::uint16, Tarn::uint32 and Tarn::int8 into every output
// type. IProjectionSum.cpp declares them and forces them into the factory.
#include <LumoStudio/Operators/ProjectionSum/Operator.h>

#include "KitoInstances.h"

namespace {
template <class T> using Ptr = Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>;
}

#define TARN_MAKE_INTO(O) \
    template class Tarn::Lumo::ProjectionSum::Operator<Ptr<Tarn::uint8>, Ptr<O>>; \
    template class Tarn::Lumo::ProjectionSum::Operator<Ptr<Tarn::uint16>, Ptr<O>>; \
    template class Tarn::Lumo::ProjectionSum::Operator<Ptr<Tarn::uint32>, Ptr<O>>; \
    template class Tarn::Lumo::ProjectionSum::Operator<Ptr<Tarn::int8>, Ptr<O>>;
TARN_OPERATOR_VOXELS(TARN_MAKE_INTO)
#undef TARN_MAKE_INTO
