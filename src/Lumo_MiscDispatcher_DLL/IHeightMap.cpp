#include <Lumo_MiscDispatcher_DLL/IHeightMap.h>
#include <LumoStudio/Operators/ComputeHeightMapBorder/Parameter.h>
#include <LumoStudio/Operators/HeightMap/Operator.h>

#include "FacadeSupport.h"
#include "KitoInstances.h"

namespace {
template <class T> using Ptr = Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>;
template <class In, class Out> using HeightMap = Tarn::Lumo::HeightMap::Operator<Ptr<In>, Ptr<Out>>;

/// The three height types of one input type, in the order uint8, uint16, uint32.
template <class In> void forceHeightTypes()
{
    Tarn::Lumo_DLL::detail::forceInstances<HeightMap<In, Tarn::uint8>, HeightMap<In, Tarn::uint16>,
                                           HeightMap<In, Tarn::uint32>>();
}
} // namespace

#define TARN_MAKE(T)                                                                                                   \
    template class Tarn::Lumo::HeightMap::Operator<Ptr<T>, Ptr<Tarn::uint8>>;                                          \
    template class Tarn::Lumo::HeightMap::Operator<Ptr<T>, Ptr<Tarn::uint16>>;                                         \
    template class Tarn::Lumo::HeightMap::Operator<Ptr<T>, Ptr<Tarn::uint32>>;
TARN_ALL_VOXELS(TARN_MAKE)
#undef TARN_MAKE

// The parameter classes register themselves by name, so that a host can make them through the
// class factory; an explicit instance of their subscription is what puts that into the library.
template class Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory,
                                                            Tarn::Lumo::HeightMap::Parameter>;
template class Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory,
                                                            Tarn::Lumo::ComputeHeightMapBorder::Parameter>;

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

IHeightMap::IOperator::IOperator()
{
    forceHeightTypes<Tarn::int8>();
    forceHeightTypes<Tarn::uint8>();
    forceHeightTypes<Tarn::int16>();
    forceHeightTypes<Tarn::uint16>();
    forceHeightTypes<Tarn::int32>();
    forceHeightTypes<Tarn::uint32>();
    forceHeightTypes<Tarn::int64>();
    forceHeightTypes<Tarn::uint64>();
    forceHeightTypes<Tarn::float32>();
    forceHeightTypes<Tarn::float64>();
}

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
