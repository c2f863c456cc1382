#include <Lumo_MiscDispatcher_DLL/IHeightMap.h>
#include <LumoStudio/Operators/ComputeHeightMapBorder/Parameter.h>
#include <LumoStudio/Operators/HeightMap/Operator.h>

#include "FacadeSupport.h"
#include "KitoInstances.h"

namespace {
using Tarn::Lumo_DLL::Instances::InMemory;
template <class In, class Out> using HeightMap = Tarn::Lumo::HeightMap::Operator<InMemory<In>, InMemory<Out>>;
} // namespace

#define TARN_MAKE(In, Out) TARN_OPERATOR_INSTANCE(, Tarn::Lumo::HeightMap::Operator<InMemory<In>, InMemory<Out>>)
TARN_HEIGHT_MAP_PAIRS(TARN_MAKE)
#undef TARN_MAKE

// The parameter classes register themselves by name, so that a host can make them through the
// class factory; an explicit instance of their subscription is what puts that into the library.
template class Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory,
                                                            Tarn::Lumo::HeightMap::Parameter>;
template class Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory,
                                                            Tarn::Lumo::ComputeHeightMapBorder::Parameter>;

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

IHeightMap::IOperator::IOperator() { detail::forceInstances<HeightMap>(Instances::HeightMapPairs()); }

/// Both volumes are needed, the output only for its voxel type; a missing one of either is
/// reported in the words of the input, which hosts have always seen.
SmartPointer<Tarn::Kito::IOperator>
IHeightMap::IOperator::getOperatorFromParameterObject(SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "IHeightMap");
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    const SmartPointer<Tarn::Kito::IVolume> output = p->outputVolume.getValue();
    if (input == 0 || output == 0) throw detail::facadeFailure("IHeightMap", ": inputVolume is NULL!");
    return detail::createOperator("Tarn::Lumo::HeightMap::Operator< " + detail::typeOf(input) + ", " +
                                  detail::typeOf(output) + " >");
}

} // namespace Tarn::Lumo_DLL
