#include <Lumo_MiscDispatcher_DLL/IProjectionMean.h>

#include "FacadeSupport.h"
#include "ProjectionMeanInstances.h"

// The 22 instances are compiled in ProjectionMeanInstances*.cpp, and the stages they run in the
// division's and the sibling library's translation units; here they are only named.

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

/// Each integer type into itself, then every type into Tarn::float32 and Tarn::float64.
IProjectionMean::IOperator::IOperator()
{
    detail::forceInstances<Instances::ProjectionMean>(Instances::ProjectionMeanPairs());
}

/// The type of a volume in outputVolume is the type of the means; without one, the input's type
/// serves, and integer means are then rounded.
SmartPointer<Tarn::Kito::IOperator> IProjectionMean::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "IProjectionMean");
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    if (input == 0) throw detail::facadeFailure("IProjectionMean", ": inputVolume is NULL!");
    const SmartPointer<Tarn::Kito::IVolume> output = p->outputVolume.getValue();
    return detail::createOperator("Tarn::Lumo::ProjectionMean::Operator< " + detail::typeOf(input) + " , " +
                                  detail::typeOfSecond(input, output) + " >");
}

} // namespace Tarn::Lumo_DLL
