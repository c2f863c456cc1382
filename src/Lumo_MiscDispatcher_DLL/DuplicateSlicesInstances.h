// DuplicateSlicesInstances: the 64 duplications, every pair of the operator voxel types, declared
// for every translation unit that names them and defined in two of them, split by input type, so
// that both cores get work and each input type's shared body is compiled in one of them only.
// Private to the dispatcher library.
#ifndef TARN_LUMO_DLL_DUPLICATESLICESINSTANCES_H_INCLUDED
#define TARN_LUMO_DLL_DUPLICATESLICESINSTANCES_H_INCLUDED

#include <LumoStudio/Operators/DuplicateSlices/Operator.h>

#include "CopyInstances.h"      // the copies of the slices are compiled with ICopy's
#include "KitoInstances.h"

namespace Tarn::Lumo_DLL::Instances {
template <class I, class O> using DuplicateSlices = Tarn::Lumo::DuplicateSlices::Operator<InMemory<I>, InMemory<O>>;
} // namespace Tarn::Lumo_DLL::Instances

#define TARN_DUPLICATE_SLICES_INSTANCE(prefix, I, O)                                               \
    TARN_OPERATOR_INSTANCE(prefix, Tarn::Lumo::DuplicateSlices::Operator<Tarn::Lumo_DLL::Instances::InMemory<I>, \
                                                                         Tarn::Lumo_DLL::Instances::InMemory<O>>)
#define TARN_DECLARE_DUPLICATE_SLICES(I, O) TARN_DUPLICATE_SLICES_INSTANCE(extern, I, O)
#define TARN_DEFINE_DUPLICATE_SLICES(I, O) TARN_DUPLICATE_SLICES_INSTANCE(, I, O)
TARN_OPERATOR_VOXEL_PAIRS(TARN_DECLARE_DUPLICATE_SLICES)

#endif
