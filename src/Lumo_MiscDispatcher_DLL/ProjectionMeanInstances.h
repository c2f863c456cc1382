// ProjectionMeanInstances: the 22 means, each of the eight voxel types into Tarn::float32,
// Tarn::float64 or its own type, declared for every translation unit that names them and defined in
// two of them, so that both cores get work. The stages they run (the division, the conversions)
// are declared in StageInstances.h and compiled elsewhere. Private to the dispatcher library.
#ifndef TARN_LUMO_DLL_PROJECTIONMEANINSTANCES_H_INCLUDED
#define TARN_LUMO_DLL_PROJECTIONMEANINSTANCES_H_INCLUDED

#include <LumoStudio/Operators/ProjectionMean/Operator.h>

#include "KitoInstances.h"
#include "StageInstances.h"

namespace Tarn::Lumo_DLL::Instances {
template <class I, class O> using ProjectionMean = Tarn::Lumo::ProjectionMean::Operator<InMemory<I>, InMemory<O>>;
} // namespace Tarn::Lumo_DLL::Instances

#define TARN_PROJECTION_MEAN_INSTANCE(prefix, I, O)                                                                    \
    TARN_OPERATOR_INSTANCE(prefix, Tarn::Lumo::ProjectionMean::Operator<Tarn::Lumo_DLL::Instances::InMemory<I>,        \
                                                                        Tarn::Lumo_DLL::Instances::InMemory<O>>)
#define TARN_DECLARE_PROJECTION_MEAN(I, O) TARN_PROJECTION_MEAN_INSTANCE(extern, I, O)
#define TARN_DEFINE_PROJECTION_MEAN(I, O) TARN_PROJECTION_MEAN_INSTANCE(, I, O)
TARN_PROJECTION_MEAN_PAIRS(TARN_DECLARE_PROJECTION_MEAN)

#endif
