#include <Lumo_MiscDispatcher_DLL/IVolumeFromRawFileInput.h>
#include <LumoStudio/Operators/VolumeFromRawFileInput/Operator.h>

#include "FacadeSupport.h"
#include "KitoInstances.h"

#include <limits>
#include <string>

namespace {
using Tarn::Lumo_DLL::Instances::InMemory;
template <class T>
using RawInput = Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput::Operator<InMemory<T>>;

/// The voxel type's name if its count of value bits (7 for Tarn::int8, 24 for Tarn::float32, 64
/// for Tarn::uint64) is dataType.
template <class T> std::string nameIfDigits(Tarn::uint64 dataType, Tarn::Lumo_DLL::Instances::Arguments<T>)
{
    return dataType == static_cast<Tarn::uint64>(std::numeric_limits<T>::digits) ? Tarn::Kito::typeName<T>() : "";
}

/// The voxel type's name for a count of value bits; empty for any other number, which then
/// reaches the factory inside the identifier and fails there. The counts differ for all ten types.
template <class... A> std::string voxelNameOf(Tarn::uint64 dataType, Tarn::Lumo_DLL::Instances::InstanceList<A...>)
{
    return (nameIfDigits(dataType, A()) + ...);
}
} // namespace

#define TARN_MAKE(T)                                                                                                   \
    TARN_OPERATOR_INSTANCE(, Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput::Operator<InMemory<T>>)
TARN_OPERATOR_VOXELS(TARN_MAKE)
#undef TARN_MAKE

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

IVolumeFromRawFileInput::IOperator::IOperator() { detail::forceInstances<RawInput>(Instances::OperatorVoxels()); }

SmartPointer<Tarn::Kito::IOperator> IVolumeFromRawFileInput::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "IVolumeFromRawFileInput");
    return detail::createOperator("Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput::Operator< "
                                  "Tarn::Kito::Volume< " +
                                  voxelNameOf(p->inputDataType.getValue(), Instances::AllVoxels()) +
                                  " , Tarn::Kito::Allocator::SingleBlockAllocator > >");
}

} // namespace Tarn::Lumo_DLL
