#include <Kito/MedianOperators/QuickSelectMedianValueOfRoi/Operator>
#include <Lumo_MiscDispatcher_DLL/IQuickSelectMedianValueOfRoi.h>

#include "FacadeSupport.h"
#include "KitoInstances.h"

namespace {
using Tarn::Lumo_DLL::Instances::InMemory;
template <class T> using Median = Tarn::Kito::MedianOperators::QuickSelectMedianValueOfRoi::Operator<InMemory<T>>;
} // namespace

#define TARN_MAKE(T)                                                                                                   \
    TARN_OPERATOR_INSTANCE(, Tarn::Kito::MedianOperators::QuickSelectMedianValueOfRoi::Operator<InMemory<T>>)
TARN_ALL_VOXELS(TARN_MAKE)
#undef TARN_MAKE

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

/// All ten voxel types, the 64-bit integers included.
IQuickSelectMedianValueOfRoi::IOperator::IOperator() { detail::forceInstances<Median>(Instances::AllVoxels()); }

SmartPointer<Tarn::Kito::IOperator> IQuickSelectMedianValueOfRoi::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "IQuickSelectMedianValueOfRoi");
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    if (input == 0) throw detail::facadeFailure("IQuickSelectMedianValueOfRoi", ": inputVolume is NULL!");
    return detail::createOperator("Tarn::Kito::MedianOperators::QuickSelectMedianValueOfRoi::Operator< " +
                                  detail::typeOf(input) + " >");
}

} // namespace Tarn::Lumo_DLL
