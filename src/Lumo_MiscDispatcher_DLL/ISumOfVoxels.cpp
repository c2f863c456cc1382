#include <Kito/Statistics/SumOfVoxels/Operator>
#include <Lumo_MiscDispatcher_DLL/ISumOfVoxels.h>

#include "FacadeSupport.h"
#include "KitoInstances.h"

namespace {
template <class T>
using SumOfVoxels = Tarn::Kito::Statistics::SumOfVoxels::Operator<Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>>;
}

#define TARN_MAKE(T) template class Tarn::Kito::Statistics::SumOfVoxels::Operator<Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>>;
TARN_OPERATOR_VOXELS(TARN_MAKE)
#undef TARN_MAKE

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

ISumOfVoxels::IOperator::IOperator()
{
    detail::forceInstances<SumOfVoxels<Tarn::int8>, SumOfVoxels<Tarn::uint8>, SumOfVoxels<Tarn::int16>,
                           SumOfVoxels<Tarn::uint16>, SumOfVoxels<Tarn::int32>, SumOfVoxels<Tarn::uint32>,
                           SumOfVoxels<Tarn::float32>, SumOfVoxels<Tarn::float64>>();
}

SmartPointer<Tarn::Kito::IOperator>
ISumOfVoxels::IOperator::getOperatorFromParameterObject(SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "ISumOfVoxels");
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    if (input == 0) throw detail::facadeFailure("ISumOfVoxels", ": inputVolume is NULL!");
    return detail::createOperator("Tarn::Kito::Statistics::SumOfVoxels::Operator< " + detail::typeOf(input) + " >");
}

} // namespace Tarn::Lumo_DLL
