// ProjectionSum::Parameter: the volume to project, the axis to collapse, and the place of the result.
#ifndef TARN_LUMO_PROJECTIONSUM_PARAMETER_H_INCLUDED
#define TARN_LUMO_PROJECTIONSUM_PARAMETER_H_INCLUDED

#include <LumoStudio/Operators/Projection/Parameter.h>

#include <string>

namespace Tarn::Lumo::ProjectionSum {

/// inputVolume, outputVolume, inputDirection, in this order. A volume in outputVolume before a
/// run picks the voxel type in which the sums are formed (NULL: the input's own); the run replaces
/// it by the new projection.
class Parameter : public Projection::ParameterBase<Parameter> {
public:
    Parameter() = default;
    Parameter(const Parameter& other) : IComposite(), Projection::ParameterBase<Parameter>(other) {}
    Parameter& operator=(const Parameter& other) = default;

    std::string getType() const override { return "Tarn::Lumo::ProjectionSum::Parameter"; }
};

} // namespace Tarn::Lumo::ProjectionSum

#endif
