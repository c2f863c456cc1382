// ConcatVolumes::Operator: two volumes of one voxel type joined along one axis into one volume.
#ifndef TARN_LUMO_CONCATVOLUMES_OPERATOR_H_INCLUDED
#define TARN_LUMO_CONCATVOLUMES_OPERATOR_H_INCLUDED

#include <Kito/Copy/Operator>
#include <Kito/Copy/Parameter>
#include <Kito/Operator>
#include <Kito/Triple>
#include <Kito/Volume>
#include <LumoStudio/Operators/ConcatVolumes/Parameter.h>

#include <string>
#include <type_traits>

namespace Tarn::Lumo::ConcatVolumes {

/// First, Second and Out are one VolumePtr<T, SingleBlockAllocator>. The views of both inputs are
/// placed by Copy into regions of the output, which stays at the extent the two views need. Every
/// check is made before a voxel moves; a copy that fails leaves its region pushed on the output.
/// The copies are operators of their own with their own progress and stop flag: this operator's
/// progress stands at 0 during a run, and a stop asked of it does not reach them.
template <class First, class Second, class Out> class Operator : public Tarn::Kito::Operator<Operator<First, Second, Out>> {
public:
    using Voxel = typename First::element_type::VoxelType;
    static_assert(std::is_same_v<Voxel, typename Second::element_type::VoxelType> &&
                      std::is_same_v<Voxel, typename Out::element_type::VoxelType>,
                  "both volumes and the result have one voxel type");

    void apply(Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> parameterObject) override
    {
        using Tarn::Kito::Dimension;
        using Tarn::Kito::DynamicCast;
        using Tarn::Kito::IOperator;
        using Tarn::Kito::SizeType;
        this->startRun();
        const Tarn::Kito::SmartPointer<Parameter> parameter =
            DynamicCast<Tarn::Kito::SmartPointer<Parameter>>(parameterObject);
        if (parameter == 0) throw IOperator::InvalidParameterObjectException("Tarn::Lumo::ConcatVolumes::Operator::apply");
        const First first = DynamicCast<First>(parameter->inputVolumeFirst.getValue());
        if (first == 0)
            throw IOperator::InvalidParameterObjectException(
                "Tarn::Lumo::ConcatVolumes::Operator::apply: first input volume is null.");
        const Second second = DynamicCast<Second>(parameter->inputVolumeSecond.getValue());
        if (second == 0)
            throw IOperator::InvalidParameterObjectException(
                "Tarn::Lumo::ConcatVolumes::Operator::apply: second input volume is null.");
        const Tarn::uint64 face = parameter->inputFace.getValue();
        if (face > 5)
            throw IOperator::InvalidParameterObjectException(
                "Tarn::Lumo::ConcatVolumes::Operator::apply: invalid value for face.");

        const Dimension<SizeType> a = first->getDimension(), b = second->getDimension();
        const int axis = axisOf(face);
        if (!agreeBeside(a, b, axis))
            throw IOperator::InvalidParameterObjectException(
                "Tarn::Lumo::ConcatVolumes::Operator::apply: Dimensions do not fit.");
        Dimension<SizeType> joined = a;
        component(joined, axis) += component(b, axis);

        const Out output = this->template checkOutputVolume<Out>(parameter->outputVolume.getValue(), joined);
        parameter->outputVolume.setValue(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>>(output));

        // Below: the second volume takes the origin and pushes the first along the axis by its
        // own extent; above: the first keeps the origin.
        Tarn::Kito::Position<SizeType> atFirst(0, 0, 0), atSecond(0, 0, 0);
        if (face < 3)
            component(atFirst, axis) = component(b, axis);
        else
            component(atSecond, axis) = component(a, axis);
        place(first, output, Tarn::Kito::RegionOfInterest<SizeType>(a, atFirst));
        place(second, output, Tarn::Kito::RegionOfInterest<SizeType>(b, atSecond));
    }

    std::string getType() const override
    {
        return "Tarn::Lumo::ConcatVolumes::Operator< " + typename First::element_type().getType() + " , " +
               typename Second::element_type().getType() + " , " + typename Out::element_type().getType() + " >";
    }

private:
    /// The axis of a face as a component index: sec for faces 0 and 3, prim for 1 and 4, tert for
    /// 2 and 5.
    static int axisOf(Tarn::uint64 face)
    {
        static const int axes[3] = {1, 0, 2};
        return axes[face % 3];
    }

    template <class V> static V& component(Tarn::Kito::Triple<V>& triple, int axis)
    {
        return axis == 0 ? triple.prim : axis == 1 ? triple.sec : triple.tert;
    }
    template <class V> static const V& component(const Tarn::Kito::Triple<V>& triple, int axis)
    {
        return axis == 0 ? triple.prim : axis == 1 ? triple.sec : triple.tert;
    }

    /// The two extents agree on the axes other than axis.
    static bool agreeBeside(const Tarn::Kito::Dimension<Tarn::Kito::SizeType>& a,
                            const Tarn::Kito::Dimension<Tarn::Kito::SizeType>& b, int axis)
    {
        for (int other = 0; other < 3; ++other)
            if (other != axis && component(a, other) != component(b, other)) return false;
        return true;
    }

    /// Copies the view of input into region of output's view. The region is popped only after a
    /// copy that returned: a failure leaves it in force, with what was copied so far.
    template <class In>
    static void place(const In& input, const Out& output, const Tarn::Kito::RegionOfInterest<Tarn::Kito::SizeType>& region)
    {
        using Tarn::Kito::DynamicCast;
        output->setRoi(region);
        Tarn::Kito::SmartPointer<Tarn::Kito::Copy::Parameter> copyParameter(new Tarn::Kito::Copy::Parameter);
        copyParameter->inputVolume.setValue(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>>(input));
        copyParameter->outputVolume.setValue(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>>(output));
        Tarn::Kito::Copy::Operator<In, Out> copy;
        copy.apply(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite>>(copyParameter));
        output->popRoi();
    }
};

} // namespace Tarn::Lumo::ConcatVolumes

#endif
