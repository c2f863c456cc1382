// DirectionalPlanarisationInstances: the 200 directional planarisations and the ten trilinear
// samplers, declared for every translation unit that names them and defined in four of them, the rows and samplers in a fifth, so
// that both cores get work. Private to the dispatcher library.
#ifndef TARN_LUMO_DLL_DIRECTIONALPLANARISATIONINSTANCES_H_INCLUDED
#define TARN_LUMO_DLL_DIRECTIONALPLANARISATIONINSTANCES_H_INCLUDED

#include <LumoStudio/Operators/DirectionalPlanarisationOperator/Operator.h>
#include <LumoStudio/Operators/DirectionalPlanarisationOperator/TrilinearSampler.h>

#include "CopyInstances.h" // the crop's copies are compiled once, with the other copies
#include "KitoInstances.h"

namespace Tarn::Lumo_DLL::Instances {
template <class In, class H, class N>
using DirectionalPlanarisation =
    Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Operator<InMemory<In>, InMemory<H>, InMemory<N>>;
} // namespace Tarn::Lumo_DLL::Instances

#define TARN_DIRECTIONAL_INSTANCE(prefix, In, H, N)                                                \
    TARN_OPERATOR_INSTANCE(prefix, Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Operator< \
                                       Tarn::Lumo_DLL::Instances::InMemory<In>, Tarn::Lumo_DLL::Instances::InMemory<H>, \
                                       Tarn::Lumo_DLL::Instances::InMemory<N>>)
#define TARN_DECLARE_DIRECTIONAL(In, H, N) TARN_DIRECTIONAL_INSTANCE(extern, In, H, N)
#define TARN_DEFINE_DIRECTIONAL(In, H, N) TARN_DIRECTIONAL_INSTANCE(, In, H, N)
TARN_DIRECTIONAL_PLANARISATION_TRIPLES(TARN_DECLARE_DIRECTIONAL)

// The samplers and the two row functions that every instance calls: the positions of a row by
// height-map and grid type (20), the samples of a row by input type (10). The operators only join
// them, so that 200 instances cost little more than these 30 functions.
#define TARN_SAMPLER_INSTANCE(prefix, T)                                                           \
    prefix template class Tarn::Lumo::PlanarisationOperators::TrilinearSampler<T>;                 \
    prefix template bool Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::detail::sampleRow<T>( \
        const Tarn::Lumo::PlanarisationOperators::TrilinearSampler<T>&, const float*, const float*, const float*, \
        Tarn::Kito::SizeType, T*, Tarn::Kito::OffsetType);
#define TARN_ROW_POSITIONS_INSTANCE(prefix, H, C)                                                  \
    prefix template void Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::detail::rowPositions<H, C>( \
        Tarn::Kito::OffsetType, float, float, const Tarn::Lumo::PlanarisationOperators::TrilinearSampler<H>&, \
        const Tarn::Lumo::PlanarisationOperators::TrilinearSampler<C>&,                            \
        const Tarn::Lumo::PlanarisationOperators::TrilinearSampler<C>&,                            \
        const Tarn::Lumo::PlanarisationOperators::TrilinearSampler<C>&, const C*, Tarn::Kito::OffsetType, const C*, \
        Tarn::Kito::OffsetType, Tarn::Kito::SizeType, float*, float*, float*);
#define TARN_DECLARE_SAMPLER(T) TARN_SAMPLER_INSTANCE(extern, T)
#define TARN_DEFINE_SAMPLER(T) TARN_SAMPLER_INSTANCE(, T)
#define TARN_DECLARE_ROW_POSITIONS(H, C) TARN_ROW_POSITIONS_INSTANCE(extern, H, C)
#define TARN_DEFINE_ROW_POSITIONS(H, C) TARN_ROW_POSITIONS_INSTANCE(, H, C)
TARN_ALL_VOXELS(TARN_DECLARE_SAMPLER)
TARN_PAIRS(ALL, FLOAT, TARN_DECLARE_ROW_POSITIONS)

#endif
