// ProjectionMax::Parameter: the volume to project, the axis to collapse, and the place of the result.
#ifndef TARN_LUMO_PROJECTIONMAX_PARAMETER_H_INCLUDED
#define TARN_LUMO_PROJECTIONMAX_PARAMETER_H_INCLUDED

#include <LumoStudio/Operators/Projection/Parameter.h>

#include <string>

namespace Tarn::Lumo::ProjectionMax {

/// inputVolume, outputVolume, inputDirection, in this order. outputVolume holds NULL or any volume
/// of the input's voxel type before a run, and the new projection after it.
class Parameter : public Projection::ParameterBase<Parameter> {
public:
    Parameter() = default;
    Parameter(const Parameter& other) : IComposite(), Projection::ParameterBase<Parameter>(other) {}
    Parameter& operator=(const Parameter& other) = default;

    std::string getType() const override { return "Tarn::Lumo::ProjectionMax::Parameter"; }
};

} // namespace Tarn::Lumo::ProjectionMax

#endif
