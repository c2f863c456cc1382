// OrthogonalPlanarisationInstances: the 100 planarisation instances, every pair of the ten voxel
// types, declared for every translation unit that names them and defined in three of them, so
// that both cores get work. Private to the dispatcher library.
#ifndef TARN_LUMO_DLL_ORTHOGONALPLANARISATIONINSTANCES_H_INCLUDED
#define TARN_LUMO_DLL_ORTHOGONALPLANARISATIONINSTANCES_H_INCLUDED

#include <LumoStudio/Operators/OrthogonalPlanarisationOperator/Operator.h>

#include "KitoInstances.h"

namespace Tarn::Lumo_DLL::Instances {
template <class In, class H>
using OrthogonalPlanarisation =
    Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Operator<InMemory<In>, InMemory<H>>;
} // namespace Tarn::Lumo_DLL::Instances

#define TARN_PLANARISATION_INSTANCE(prefix, In, H)                                                 \
    TARN_OPERATOR_INSTANCE(prefix, Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Operator< \
                                       Tarn::Lumo_DLL::Instances::InMemory<In>, Tarn::Lumo_DLL::Instances::InMemory<H>>)
#define TARN_DECLARE_PLANARISATION(In, H) TARN_PLANARISATION_INSTANCE(extern, In, H)
#define TARN_DEFINE_PLANARISATION(In, H) TARN_PLANARISATION_INSTANCE(, In, H)
TARN_ALL_VOXEL_PAIRS(TARN_DECLARE_PLANARISATION)

#endif
