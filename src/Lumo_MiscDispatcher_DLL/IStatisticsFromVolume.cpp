#include <Kito/ExternalBufferAllocator>
#include <Kito/Statistics/StatisticsFromVolume/Operator>
#include <Lumo_MiscDispatcher_DLL/IStatisticsFromVolume.h>

#include "FacadeSupport.h"
#include "KitoInstances.h"

namespace {
using Tarn::Kito::Allocator::ExternalBufferAllocator;
using Tarn::Kito::Allocator::SingleBlockAllocator;
template <class T, class A>
using Statistics = Tarn::Kito::Statistics::StatisticsFromVolume::Operator<Tarn::Kito::VolumePtr<T, A>>;
template <class T> using InMemory = Statistics<T, SingleBlockAllocator>;
template <class T> using OverMemory = Statistics<T, ExternalBufferAllocator<SingleBlockAllocator>>;
} // namespace

#define TARN_MAKE(T)                                                                                                   \
    template class Tarn::Kito::Statistics::StatisticsFromVolume::Operator<                                             \
        Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>>;                                        \
    template class Tarn::Kito::Statistics::StatisticsFromVolume::Operator<Tarn::Kito::VolumePtr<                       \
        T, Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Kito::Allocator::SingleBlockAllocator>>>;
TARN_OPERATOR_VOXELS(TARN_MAKE)
#undef TARN_MAKE

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

IStatisticsFromVolume::IOperator::IOperator()
{
    detail::forceInstances<InMemory<Tarn::int8>, InMemory<Tarn::uint8>, InMemory<Tarn::int16>, InMemory<Tarn::uint16>,
                           InMemory<Tarn::int32>, InMemory<Tarn::uint32>, InMemory<Tarn::float32>,
                           InMemory<Tarn::float64>, OverMemory<Tarn::int8>, OverMemory<Tarn::uint8>,
                           OverMemory<Tarn::int16>, OverMemory<Tarn::uint16>, OverMemory<Tarn::int32>,
                           OverMemory<Tarn::uint32>, OverMemory<Tarn::float32>, OverMemory<Tarn::float64>>();
}

SmartPointer<Tarn::Kito::IOperator> IStatisticsFromVolume::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "IStatisticsFromVolume");
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    if (input == 0) throw detail::facadeFailure("IStatisticsFromVolume", ": inputVolume is NULL!");
    return detail::createOperator("Tarn::Kito::Statistics::StatisticsFromVolume::Operator< " + detail::typeOf(input) +
                                  " >");
}

} // namespace Tarn::Lumo_DLL
