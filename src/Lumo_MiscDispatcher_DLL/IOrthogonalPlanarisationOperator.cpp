#include <Lumo_MiscDispatcher_DLL/IOrthogonalPlanarisationOperator.h>

#include "FacadeSupport.h"
#include "OrthogonalPlanarisationInstances.h"

// The instances themselves are compiled in OrthogonalPlanarisationInstances*.cpp; the parameter
// class registers itself by name, which its explicit subscription puts into the library.
template class Tarn::Kito::Factory::StaticFactorySubscriber<
    Tarn::Kito::Factory::DefaultClassFactory, Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Parameter>;

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

IOrthogonalPlanarisationOperator::IOperator::IOperator()
{
    detail::forceInstances<Instances::OrthogonalPlanarisation>(Instances::AllVoxelPairs());
}

SmartPointer<Tarn::Kito::IOperator> IOrthogonalPlanarisationOperator::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "IOrthogonalPlanarisationOperator");
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    if (input == 0) throw detail::facadeFailure("IOrthogonalPlanarisationOperator", ": inputVolume is NULL!");
    const SmartPointer<Tarn::Kito::IVolume> heightMap = p->inputHeightMapVolume.getValue();
    if (heightMap == 0) throw detail::facadeFailure("IOrthogonalPlanarisationOperator", ": inputHeightMapVolume is NULL!");
    return detail::createOperator("Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Operator< " +
                                  detail::typeOf(input) + " , " + detail::typeOf(heightMap) + " >");
}

} // namespace Tarn::Lumo_DLL
