// ProjectionMedian::Parameter: the volume to project, the axis to collapse, and the place of the result.
#ifndef TARN_LUMO_PROJECTIONMEDIAN_PARAMETER_H_INCLUDED
#define TARN_LUMO_PROJECTIONMEDIAN_PARAMETER_H_INCLUDED

#include <LumoStudio/Operators/Projection/Parameter.h>

#include <string>

namespace Tarn::Lumo::ProjectionMedian {

/// inputVolume, outputVolume, inputDirection, in this order. A volume in outputVolume before a
/// run must be of the input's type; it is written, resized to the extent of the input's view if
/// need be, and keeps its voxels outside the plane of medians. NULL: a new volume is made.
class Parameter : public Projection::ParameterBase<Parameter> {
public:
    Parameter() = default;
    Parameter(const Parameter& other) : IComposite(), Projection::ParameterBase<Parameter>(other) {}
    Parameter& operator=(const Parameter& other) = default;

    std::string getType() const override { return "Tarn::Lumo::ProjectionMedian::Parameter"; }
};

} // namespace Tarn::Lumo::ProjectionMedian

#endif
