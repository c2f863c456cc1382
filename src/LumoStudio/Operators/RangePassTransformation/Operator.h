// RangePassTransformation::Operator: voxels inside a closed value range pass, all others become
// the background.
#ifndef TARN_LUMO_RANGEPASSTRANSFORMATION_OPERATOR_H_INCLUDED
#define TARN_LUMO_RANGEPASSTRANSFORMATION_OPERATOR_H_INCLUDED

#include <Kito/ForEach>
#include <Kito/Functor>
#include <Kito/Operator>
#include <Kito/Volume>
#include <LumoStudio/Operators/RangePassTransformation/Parameter.h>

#include <string>
#include <type_traits>

namespace Tarn::Lumo::ValueTransformation::RangePassTransformation {

/// Compares in the voxel type itself, with no arithmetic. The two tests are written as "outside"
/// rather than "inside": a NaN fails both comparisons and so passes unchanged, which hosts rely on
/// to keep the marks of missing data through a window.
template <class In, class Out> class Functor : public Tarn::Kito::Iterating::Functor {
public:
    using Voxel = typename In::element_type::VoxelType;
    static_assert(std::is_same_v<Voxel, typename Out::element_type::VoxelType>, "the range pass keeps the voxel type");

    Functor(const Voxel& min, const Voxel& max, const Voxel& background) : min(min), max(max), background(background) {}

    void operator()(const Voxel& x, Voxel& y) { y = (x < min || x > max) ? background : x; }

    Voxel min;
    Voxel max;
    Voxel background;
};

/// In and Out are one VolumePtr<V, SingleBlockAllocator>. The walk is serial, so a stop leaves the
/// output written up to the last whole slice.
template <class In, class Out> class Operator : public Tarn::Kito::Operator<Operator<In, Out>> {
public:
    using Voxel = typename In::element_type::VoxelType;

    void apply(Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> parameterObject) override
    {
        using Tarn::Kito::DynamicCast;
        using Tarn::Kito::IOperator;
        this->startRun();
        const Tarn::Kito::SmartPointer<Parameter> parameter =
            DynamicCast<Tarn::Kito::SmartPointer<Parameter>>(parameterObject);
        if (parameter == 0)
            throw IOperator::InvalidParameterObjectException(
                "Tarn::Lumo::ValueTransformation::RangePassTransformation::Operator::apply");
        const In input = DynamicCast<In>(parameter->inputVolume.getValue());
        const Tarn::Kito::SmartPointer<Tarn::Kito::IVolume> given = parameter->outputVolume.getValue();
        // The values come before the test of the volume: a parameter object with nothing set fails
        // in extractValue, as hosts have always seen it.
        const Voxel min = parameter->inputMinThreshold.template extractValue<Voxel>();
        const Voxel max = parameter->inputMaxThreshold.template extractValue<Voxel>();
        const Voxel background = parameter->inputBackgroundValue.template extractValue<Voxel>();
        if (input == 0)
            throw IOperator::InvalidParameterObjectException(
                "Tarn::Lumo::ValueTransformation::RangePassTransformation::Operator::apply the input volume is NULL");
        // The volume as the host placed it, not its cast: one of another type fails in the check.
        Out output = this->template checkOutputVolume<Out>(given, input->getDimension());
        parameter->outputVolume.setValue(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>>(output));
        Functor<In, Out> functor(min, max, background);
        Tarn::Kito::Iterating::ForEach::apply(functor, input, output, this->progress, &this->abortFlag);
    }

    std::string getType() const override
    {
        const std::string volume = typename In::element_type().getType();
        return "Tarn::Lumo::ValueTransformation::RangePassTransformation::Operator< " + volume + " , " + volume + " >";
    }
};

} // namespace Tarn::Lumo::ValueTransformation::RangePassTransformation

#endif
