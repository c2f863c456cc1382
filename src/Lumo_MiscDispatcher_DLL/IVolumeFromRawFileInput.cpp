#include <Lumo_MiscDispatcher_DLL/IVolumeFromRawFileInput.h>
#include <LumoStudio/Operators/VolumeFromRawFileInput/Operator.h>

#include "FacadeSupport.h"
#include "KitoInstances.h"

namespace {
using Tarn::Lumo_DLL::Instances::InMemory;
template <class T>
using RawInput = Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput::Operator<InMemory<T>>;

/// The voxel type's name for a count of value bits; empty for any other number, which then
/// reaches the factory inside the identifier and fails there.
std::string voxelNameOf(Tarn::uint64 dataType)
{
    switch (dataType) {
    case 7: return "Tarn::int8";
    case 8: return "Tarn::uint8";
    case 15: return "Tarn::int16";
    case 16: return "Tarn::uint16";
    case 24: return "Tarn::float32";
    case 31: return "Tarn::int32";
    case 32: return "Tarn::uint32";
    case 53: return "Tarn::float64";
    case 63: return "Tarn::int64";
    case 64: return "Tarn::uint64";
    default: return "";
    }
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
                                  voxelNameOf(p->inputDataType.getValue()) +
                                  " , Tarn::Kito::Allocator::SingleBlockAllocator > >");
}

} // namespace Tarn::Lumo_DLL
