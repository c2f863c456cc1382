// ProjectionMax::Operator: for every ray along one axis, the largest voxel on it, in a new slice.
#ifndef TARN_LUMO_PROJECTIONMAX_OPERATOR_H_INCLUDED
#define TARN_LUMO_PROJECTIONMAX_OPERATOR_H_INCLUDED

#include <Kito/Operator>
#include <Kito/Types>
#include <LumoStudio/Operators/Projection/Operator.h>
#include <LumoStudio/Operators/ProjectionMax/Parameter.h>

#include <string>
#include <type_traits>

namespace Tarn::Lumo::ProjectionMax {

using Tarn::Kito::SizeType;

/// The larger of the output voxel and the input voxel, compared in the voxel type itself. The form
/// of the test is what hosts see on NaN: w > NaN is false, so a NaN voxel is taken over, and
/// NaN > v is false, so the next voxel replaces it; a NaN survives only as the last of its ray.
/// fold also takes whole vectors of voxels, lane by lane, with the same test.
struct Larger {
    template <class V> static V fold(const V& projected, const V& voxel) { return (projected > voxel) ? projected : voxel; }

    /// Integers have one largest value whatever order they are compared in. Floats have not: a NaN
    /// gives way to the voxel after it, and of 0 and -0 the later one wins.
    template <class I, class O> static bool raysInAnyOrder(SizeType) { return std::is_integral_v<O>; }

    /// The largest of the n voxels from p and 0, in the order the compiler finds fastest. (Four
    /// running maxima side by side ran twice as fast on lines in the cache, but a third slower over
    /// a volume larger than the caches, where the reads set the pace.)
    template <class O, class I> static O rayInAnyOrder(const I* p, SizeType n)
    {
        O largest = O(0);
        for (SizeType i = 0; i < n; ++i) largest = fold(largest, p[i]);
        return largest;
    }
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
