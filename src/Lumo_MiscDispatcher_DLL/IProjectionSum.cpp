#include <Lumo_MiscDispatcher_DLL/IProjectionSum.h>

#include "FacadeSupport.h"
#include "ProjectionSumInstances.h"

// The 64 instances are compiled in ProjectionSumInstances*.cpp, half in each, so that both cores
// share them; here they are only named.

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

/// Every pair of the eight voxel types, input type outermost.
IProjectionSum::IOperator::IOperator()
{
    detail::forceInstances<Instances::ProjectionSum>(Instances::OperatorVoxelPairs());
}

/// The type of a volume in outputVolume is the type the sums are formed in; without one, the
/// input's type serves, and a Tarn::uint8 input then sums modulo 256.
SmartPointer<Tarn::Kito::IOperator> IProjectionSum::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "IProjectionSum");
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    if (input == 0) throw detail::facadeFailure("IProjectionSum", ": inputVolume is NULL!");
    const SmartPointer<Tarn::Kito::IVolume> output = p->outputVolume.getValue();
    return detail::createOperator("Tarn::Lumo::ProjectionSum::Operator< " + detail::typeOf(input) + " , " +
                                  detail::typeOfSecond(input, output) + " >");
}

} // namespace Tarn::Lumo_DLL
