// ProjectionMean::Parameter: the volume to project, the axis to collapse, and the place of the result.
#ifndef TARN_LUMO_PROJECTIONMEAN_PARAMETER_H_INCLUDED
#define TARN_LUMO_PROJECTIONMEAN_PARAMETER_H_INCLUDED

#include <LumoStudio/Operators/Projection/Parameter.h>

#include <string>

namespace Tarn::Lumo::ProjectionMean {

/// inputVolume, outputVolume, inputDirection, in this order. A volume in outputVolume before a
/// run picks the voxel type of the means (NULL: the input's own) and is written: the last stage
/// converts into it, resized to the projection's extent, and leaves it in outputVolume.
class Parameter : public Projection::ParameterBase<Parameter> {
public:
    Parameter() = default;
    Parameter(const Parameter& other) : IComposite(), Projection::ParameterBase<Parameter>(other) {}
    Parameter& operator=(const Parameter& other) = default;

    std::string getType() const override { return "Tarn::Lumo::ProjectionMean::Parameter"; }
};

} // namespace Tarn::Lumo::ProjectionMean

#endif
