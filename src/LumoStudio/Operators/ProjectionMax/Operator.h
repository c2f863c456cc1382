// ProjectionMax::Operator: for every ray along one axis, the largest voxel on it, in a new slice.
#ifndef TARN_LUMO_PROJECTIONMAX_OPERATOR_H_INCLUDED
#define TARN_LUMO_PROJECTIONMAX_OPERATOR_H_INCLUDED

#include <Kito/Operator>
#include <LumoStudio/Operators/Projection/Operator.h>
#include <LumoStudio/Operators/ProjectionMax/Parameter.h>

#include <string>
#include <type_traits>

namespace Tarn::Lumo::ProjectionMax {

/// The larger of the output voxel and the input voxel, compared in the voxel type itself. The form
/// of the test is what hosts see on NaN: w > NaN is false, so a NaN voxel is taken over, and
/// NaN > v is false, so the next voxel replaces it; a NaN survives only as the last of its ray.
struct Larger {
    template <class V> static V fold(const V& projected, const V& voxel) { return (projected > voxel) ? projected : voxel; }
};

/// In and Out are VolumePtr<T, SingleBlockAllocator> of one voxel type T: the comparison knows no
/// conversion. The result starts at 0, so it is never below 0 unless a NaN brought a negative
/// voxel in after it.
template <class In, class Out> class Operator : public Tarn::Kito::Operator<Operator<In, Out>> {
    static_assert(std::is_same_v<typename In::element_type::VoxelType, typename Out::element_type::VoxelType>,
                  "the maximum projection keeps the voxel type");

public:
    template <class I, class O> using Functor = Projection::Functor<Larger, I, O>;

    void apply(Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> parameterObject) override
    {
        this->startRun();
        Projection::project<Parameter, Functor<In, Out>>(parameterObject, "Tarn::Lumo::ProjectionMax::Operator::apply",
                                                         this->progress, &this->abortFlag);
    }

    std::string getType() const override
    {
        return Projection::identifier<In, Out>("Tarn::Lumo::ProjectionMax::Operator< ");
    }
};

} // namespace Tarn::Lumo::ProjectionMax

#endif
