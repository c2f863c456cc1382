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

// One instance with its factory subscription, which its constructor names: declared with the
// instance, the facade's forcing of the instances does not compile the registration a second time.
#define TARN_PLANARISATION_INSTANCE(prefix, In, H)                                                 \
    prefix template class Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Operator< \
        Tarn::Lumo_DLL::Instances::InMemory<In>, Tarn::Lumo_DLL::Instances::InMemory<H>>;          \
    prefix template class Tarn::Kito::Factory::StaticFactorySubscriber<                            \
        Tarn::Kito::Factory::DefaultClassFactory, Tarn::Lumo_DLL::Instances::OrthogonalPlanarisation<In, H>>;
// One input type with each of the ten height-map types.
#define TARN_PLANARISATION_INSTANCES(prefix, In)                                                   \
    TARN_PLANARISATION_INSTANCE(prefix, In, Tarn::float64)                                         \
    TARN_PLANARISATION_INSTANCE(prefix, In, Tarn::float32)                                         \
    TARN_PLANARISATION_INSTANCE(prefix, In, Tarn::uint64)                                          \
    TARN_PLANARISATION_INSTANCE(prefix, In, Tarn::int64)                                           \
    TARN_PLANARISATION_INSTANCE(prefix, In, Tarn::uint32)                                          \
    TARN_PLANARISATION_INSTANCE(prefix, In, Tarn::int32)                                           \
    TARN_PLANARISATION_INSTANCE(prefix, In, Tarn::uint16)                                          \
    TARN_PLANARISATION_INSTANCE(prefix, In, Tarn::int16)                                           \
    TARN_PLANARISATION_INSTANCE(prefix, In, Tarn::uint8)                                           \
    TARN_PLANARISATION_INSTANCE(prefix, In, Tarn::int8)

#define TARN_DECLARE_PLANARISATION_INSTANCES(In) TARN_PLANARISATION_INSTANCES(extern, In)
TARN_ALL_VOXELS(TARN_DECLARE_PLANARISATION_INSTANCES)
#undef TARN_DECLARE_PLANARISATION_INSTANCES

#endif
