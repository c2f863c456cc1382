// ProjectionMedianInstances: the eight medians along rays, one per operator voxel type, declared for
// every translation unit that names them and defined in two of them, so that both cores get work
// (each brings its own parallel mask walk). Private to the dispatcher library.
#ifndef TARN_LUMO_DLL_PROJECTIONMEDIANINSTANCES_H_INCLUDED
#define TARN_LUMO_DLL_PROJECTIONMEDIANINSTANCES_H_INCLUDED

#include <LumoStudio/Operators/ProjectionMedian/Operator.h>

#include "KitoInstances.h"

namespace Tarn::Lumo_DLL::Instances {
template <class T> using ProjectionMedian = Tarn::Lumo::ProjectionMedian::Operator<InMemory<T>, InMemory<T>>;
} // namespace Tarn::Lumo_DLL::Instances

#define TARN_PROJECTION_MEDIAN_INSTANCE(prefix, T)                                                                     \
    TARN_OPERATOR_INSTANCE(prefix, Tarn::Lumo::ProjectionMedian::Operator<Tarn::Lumo_DLL::Instances::InMemory<T>,      \
                                                                          Tarn::Lumo_DLL::Instances::InMemory<T>>)
#define TARN_DECLARE_PROJECTION_MEDIAN(T) TARN_PROJECTION_MEDIAN_INSTANCE(extern, T)
#define TARN_DEFINE_PROJECTION_MEDIAN(T, ...) TARN_PROJECTION_MEDIAN_INSTANCE(, T)
TARN_OPERATOR_VOXELS(TARN_DECLARE_PROJECTION_MEDIAN)

#endif
