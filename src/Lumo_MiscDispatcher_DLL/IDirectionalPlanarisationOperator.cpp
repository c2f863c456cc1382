#include <Lumo_MiscDispatcher_DLL/IDirectionalPlanarisationOperator.h>

#include "DirectionalPlanarisationInstances.h"
#include "FacadeSupport.h"

// The instances themselves are compiled in DirectionalPlanarisationInstances*.cpp; the parameter
// class registers itself by name, which its explicit subscription puts into the library.
template class Tarn::Kito::Factory::StaticFactorySubscriber<
    Tarn::Kito::Factory::DefaultClassFactory, Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Parameter>;

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

IDirectionalPlanarisationOperator::IOperator::IOperator()
{
    detail::forceInstances<Instances::DirectionalPlanarisation>(Instances::DirectionalPlanarisationTriples());
}

SmartPointer<Tarn::Kito::IOperator> IDirectionalPlanarisationOperator::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const char* const facade = "IDirectionalPlanarisationOperator";
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, facade);
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    if (input == 0) throw detail::facadeFailure(facade, ": inputVolume is NULL!");
    const SmartPointer<Tarn::Kito::IVolume> heightMap = p->inputHeightMapVolume.getValue();
    if (heightMap == 0) throw detail::facadeFailure(facade, ": inputHeightMapVolume is NULL!");
    // A missing normal map has always been reported in the words of a missing height map, and
    // hosts compare the text.
    const SmartPointer<Tarn::Kito::IVolume> normalX = p->inputNormalMapVolumeX.getValue();
    if (normalX == 0) throw detail::facadeFailure(facade, ": inputHeightMapVolume is NULL!");
    return detail::createOperator("Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Operator< " +
                                  detail::typeOf(input) + ", " + detail::typeOf(heightMap) + ", " +
                                  detail::typeOf(normalX) + " >");
}

} // namespace Tarn::Lumo_DLL
