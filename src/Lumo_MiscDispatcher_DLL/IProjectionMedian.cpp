#include <Lumo_MiscDispatcher_DLL/IProjectionMedian.h>

#include "FacadeSupport.h"
#include "ProjectionMedianInstances.h"

// The eight instances are compiled in ProjectionMedianInstances*.cpp; here they are only named.

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

IProjectionMedian::IOperator::IOperator()
{
    detail::forceInstances<Instances::ProjectionMedian>(Instances::OperatorVoxels());
}

/// Input and output of one voxel type only: a volume of another type in outputVolume names no
/// instance and fails in the factory.
SmartPointer<Tarn::Kito::IOperator> IProjectionMedian::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "IProjectionMedian");
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    if (input == 0) throw detail::facadeFailure("IProjectionMedian", ": inputVolume is NULL!");
    const SmartPointer<Tarn::Kito::IVolume> output = p->outputVolume.getValue();
    return detail::createOperator("Tarn::Lumo::ProjectionMedian::Operator< " + detail::typeOf(input) + " , " +
                                  detail::typeOfSecond(input, output) + " >");
}

} // namespace Tarn::Lumo_DLL
