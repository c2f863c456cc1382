// ProjectionMean::Operator: for every ray along one axis, the mean of the voxels on it: summed in a
// Tarn::float64 slice, divided in place by the ray's length, converted into the output's type.
#ifndef TARN_LUMO_PROJECTIONMEAN_OPERATOR_H_INCLUDED
#define TARN_LUMO_PROJECTIONMEAN_OPERATOR_H_INCLUDED

#include <AncillaryKitoOperators/VoxelTypeConversion>
#include <Kito/ArithmeticOperators/Division/CheckedInplaceValueDivision/Operator>
#include <Kito/Data>
#include <Kito/Operator>
#include <Kito/SingleBlockAllocator>
#include <Kito/Types>
#include <LumoStudio/Operators/Projection/Operator.h>
#include <LumoStudio/Operators/ProjectionMean/Parameter.h>
#include <LumoStudio/Operators/ProjectionSum/Operator.h>

#include <string>
#include <type_traits>

namespace Tarn::Lumo::ProjectionMean {

using Tarn::Kito::SizeType;

/// The slice in which the sums are formed.
using Accumulator = Tarn::Kito::VolumePtr<Tarn::float64, Tarn::Kito::Allocator::SingleBlockAllocator>;

/// The three stages of a mean. Only the sum is this operator's own; the division and the conversion
/// are operators of their own, run here on parameter objects as a host would run them.
namespace Stages {
using Division = Tarn::Kito::ArithmeticOperators::Division::CheckedInplaceValueDivision::Operator<Accumulator>;
template <class Out> using Conversion = Tarn::AncillaryKitoOperators::VoxelTypeConversion::Operator<Accumulator, Out>;

/// acc becomes acc / count, voxel by voxel, on all cores. A count of 0 fails there, before any
/// voxel is touched.
inline void divide(const Accumulator& acc, double count)
{
    using Parameter = Tarn::Kito::ArithmeticOperators::Division::CheckedInplaceValueDivision::Parameter;
    using Tarn::Kito::DynamicCast;
    using Tarn::Kito::SmartPointer;
    const SmartPointer<Parameter> p(new Parameter);
    p->modifyVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(acc));
    p->inputValue.setValue(
        DynamicCast<SmartPointer<Tarn::Kito::Persistence::IData>>(Tarn::Kito::Persistence::DataPtr<Tarn::float64>(count)));
    Division division;
    division.apply(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IComposite>>(p));
}

/// The means converted into Out's type, written into output (a volume of that type, resized if
/// need be) or, if output is NULL, into a new volume; the result is returned. Into integers with
/// the conversion's defaults: rounded half up, and a mean the type cannot hold fails. Into floats
/// as they are: rounding would take the fractions that make a mean, and the checked cast would
/// refuse every mean that a Tarn::float32 holds only to the nearest value.
template <class Out>
Tarn::Kito::SmartPointer<Tarn::Kito::IVolume> convert(const Accumulator& acc,
                                                      const Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>& output)
{
    using Parameter = Tarn::AncillaryKitoOperators::VoxelTypeConversion::Parameter;
    using Tarn::Kito::DynamicCast;
    using Tarn::Kito::SmartPointer;
    const SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(DynamicCast<SmartPointer<Tarn::Kito::IVolume>>(acc));
    p->outputVolume.setValue(output);
    if constexpr (std::is_floating_point_v<typename Out::element_type::VoxelType>) {
        p->inputRounding.setValue(false);
        p->inputCheckedCast.setValue(false);
    }
    Conversion<Out> conversion;
    conversion.apply(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IComposite>>(p));
    return p->outputVolume.getValue();
}
} // namespace Stages

/// In and Out are VolumePtr<T, SingleBlockAllocator>: In of the eight voxel types, Out Tarn::float32,
/// Tarn::float64 or In's own type. The sums are formed in Tarn::float64 in walk order (tert
/// outermost, prim innermost), so that no integer ray wraps and float rays round as the walk goes.
///
/// Only the walk of the sums looks at the stop: a stopped run still divides what it has summed by
/// the whole ray length and converts it, and the progress is the walk's (the stages keep their own).
/// Unlike the maximum and the sum, a volume handed in through outputVolume is the one written.
template <class In, class Out> class Operator : public Tarn::Kito::Operator<Operator<In, Out>> {
public:
    template <class I, class O> using Functor = Projection::Functor<ProjectionSum::Add, I, O>;

    void apply(Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> parameterObject) override
    {
        using Tarn::Kito::DynamicCast;
        using Tarn::Kito::SmartPointer;
        using Failure = Tarn::Kito::IOperator::InvalidParameterObjectException;
        // The head names a namespace the class does not live in; hosts compare these texts as they
        // have always read.
        const std::string where = "Tarn::Kito::Lumo::ProjectionMean::Operator::apply";
        this->startRun();
        const SmartPointer<Parameter> parameter = DynamicCast<SmartPointer<Parameter>>(parameterObject);
        if (parameter == 0) throw Failure(where + ": Invalid parameter object");
        const Accumulator acc(new typename Accumulator::element_type(Projection::Dimension<SizeType>(1, 1, 1)));
        const In input = DynamicCast<In>(parameter->inputVolume.getValue());
        // The facade has tested for NULL; an operator called directly must not walk a NULL volume.
        if (input == 0) throw Failure(where + ": Invalid input volume");
        const SizeType direction = parameter->inputDirection.getValue();
        if (direction > 2) throw Failure(where + ": Invalid direction");
        const SizeType P = input->getDimPrim(), S = input->getDimSec(), T = input->getDimTert();
        acc->reallocate(Projection::projectedDimension(direction, P, S, T));
        acc->fill(0.0);
        const double count = static_cast<double>(direction == 0 ? T : (direction == 1 ? S : P));
        Functor<In, Accumulator> functor(acc, direction);
        Projection::walk(functor, *input, this->progress, &this->abortFlag);
        Stages::divide(acc, count);
        parameter->outputVolume.setValue(Stages::convert<Out>(acc, parameter->outputVolume.getValue()));
    }

    std::string getType() const override
    {
        return Projection::identifier<In, Out>("Tarn::Lumo::ProjectionMean::Operator< ");
    }
};

} // namespace Tarn::Lumo::ProjectionMean

#endif
