// ProjectionSumInstances: the 64 sums, every pair of the operator voxel types, declared for every
// translation unit that names them and defined in two of them, so that both cores get work.
// Private to the dispatcher library.
#ifndef TARN_LUMO_DLL_PROJECTIONSUMINSTANCES_H_INCLUDED
#define TARN_LUMO_DLL_PROJECTIONSUMINSTANCES_H_INCLUDED

#include <LumoStudio/Operators/ProjectionSum/Operator.h>

#include "KitoInstances.h"

namespace Tarn::Lumo_DLL::Instances {
template <class I, class O> using ProjectionSum = Tarn::Lumo::ProjectionSum::Operator<InMemory<I>, InMemory<O>>;
} // namespace Tarn::Lumo_DLL::Instances

#define TARN_PROJECTION_SUM_INSTANCE(prefix, I, O)                                                 \
    TARN_OPERATOR_INSTANCE(prefix, Tarn::Lumo::ProjectionSum::Operator<Tarn::Lumo_DLL::Instances::InMemory<I>, \
                                                                       Tarn::Lumo_DLL::Instances::InMemory<O>>)
#define TARN_DECLARE_PROJECTION_SUM(I, O) TARN_PROJECTION_SUM_INSTANCE(extern, I, O)
#define TARN_DEFINE_PROJECTION_SUM(I, O) TARN_PROJECTION_SUM_INSTANCE(, I, O)
TARN_OPERATOR_VOXEL_PAIRS(TARN_DECLARE_PROJECTION_SUM)

#endif
