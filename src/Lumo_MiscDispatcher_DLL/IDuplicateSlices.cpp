#include <Lumo_MiscDispatcher_DLL/IDuplicateSlices.h>

#include "DuplicateSlicesInstances.h"
#include "FacadeSupport.h"

// The 64 instances are compiled in DuplicateSlicesInstances*.cpp, half in each; here they are
// only named.

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

/// Every pair of the eight voxel types, input type outermost.
IDuplicateSlices::IOperator::IOperator()
{
    detail::forceInstances<Instances::DuplicateSlices>(Instances::OperatorVoxelPairs());
}

/// A volume in outputVolume only picks the instance by its type; the result is a new volume of the
/// input's type whatever stood there.
SmartPointer<Tarn::Kito::IOperator> IDuplicateSlices::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "IDuplicateSlices");
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    if (input == 0) throw detail::facadeFailure("IDuplicateSlices", ": inputVolume is NULL!");
    const SmartPointer<Tarn::Kito::IVolume> output = p->outputVolume.getValue();
    return detail::createOperator("Tarn::Lumo::DuplicateSlices::Operator< " + detail::typeOf(input) + " , " +
                                  detail::typeOfSecond(input, output) + " >");
}

} // namespace Tarn::Lumo_DLL
