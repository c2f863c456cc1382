#include <Lumo_MiscDispatcher_DLL/IOrthogonalPlanarisationOperator.h>

#include "FacadeSupport.h"
#include "OrthogonalPlanarisationInstances.h"

// The instances themselves are compiled in OrthogonalPlanarisationInstances*.cpp; the parameter
// class registers itself by name, which its explicit subscription puts into the library.
template class Tarn::Kito::Factory::StaticFactorySubscriber<
    Tarn::Kito::Factory::DefaultClassFactory, Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Parameter>;

namespace {
using Tarn::Lumo_DLL::Instances::OrthogonalPlanarisation;

/// The ten height-map types of one input type, in the order float64 down to int8.
template <class In> void forceHeightTypes()
{
    Tarn::Lumo_DLL::detail::forceInstances<
        OrthogonalPlanarisation<In, Tarn::float64>, OrthogonalPlanarisation<In, Tarn::float32>,
        OrthogonalPlanarisation<In, Tarn::uint64>, OrthogonalPlanarisation<In, Tarn::int64>,
        OrthogonalPlanarisation<In, Tarn::uint32>, OrthogonalPlanarisation<In, Tarn::int32>,
        OrthogonalPlanarisation<In, Tarn::uint16>, OrthogonalPlanarisation<In, Tarn::int16>,
        OrthogonalPlanarisation<In, Tarn::uint8>, OrthogonalPlanarisation<In, Tarn::int8>>();
}
} // namespace

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

IOrthogonalPlanarisationOperator::IOperator::IOperator()
{
    forceHeightTypes<Tarn::float64>();
    forceHeightTypes<Tarn::float32>();
    forceHeightTypes<Tarn::uint64>();
    forceHeightTypes<Tarn::int64>();
    forceHeightTypes<Tarn::uint32>();
    forceHeightTypes<Tarn::int32>();
    forceHeightTypes<Tarn::uint16>();
    forceHeightTypes<Tarn::int16>();
    forceHeightTypes<Tarn::uint8>();
    forceHeightTypes<Tarn::int8>();
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
