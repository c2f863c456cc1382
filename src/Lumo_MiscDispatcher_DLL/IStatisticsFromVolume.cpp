#include <Kito/ExternalBufferAllocator>
#include <Kito/Statistics/StatisticsFromVolume/Operator>
#include <Lumo_MiscDispatcher_DLL/IStatisticsFromVolume.h>

#include "FacadeSupport.h"
#include "KitoInstances.h"

namespace {
using Tarn::Lumo_DLL::Instances::External1;
using Tarn::Lumo_DLL::Instances::InMemory;
template <class T> using InMemoryStatistics = Tarn::Kito::Statistics::StatisticsFromVolume::Operator<InMemory<T>>;
template <class T>
using ChunkStatistics = Tarn::Kito::Statistics::StatisticsFromVolume::Operator<Tarn::Kito::VolumePtr<T, External1>>;
} // namespace

#define TARN_MAKE(T)                                                                                                   \
    TARN_OPERATOR_INSTANCE(, Tarn::Kito::Statistics::StatisticsFromVolume::Operator<InMemory<T>>)                      \
    TARN_OPERATOR_INSTANCE(, Tarn::Kito::Statistics::StatisticsFromVolume::Operator<                                   \
                                 Tarn::Kito::VolumePtr<T, External1>>)
TARN_OPERATOR_VOXELS(TARN_MAKE)
#undef TARN_MAKE

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

/// Every type in one block of memory, then every type in a chunk of one.
IStatisticsFromVolume::IOperator::IOperator()
{
    detail::forceInstances<InMemoryStatistics>(Instances::OperatorVoxels());
    detail::forceInstances<ChunkStatistics>(Instances::OperatorVoxels());
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
