#include <Lumo_MiscDispatcher_DLL/IConcatVolumes.h>
#include <LumoStudio/Operators/ConcatVolumes/Operator.h>

#include "CopyInstances.h"      // the copies that place both volumes are compiled with ICopy's
#include "FacadeSupport.h"

namespace Tarn::Lumo_DLL::Instances {
template <class T> using ConcatVolumes = Tarn::Lumo::ConcatVolumes::Operator<InMemory<T>, InMemory<T>, InMemory<T>>;
} // namespace Tarn::Lumo_DLL::Instances

#define TARN_MAKE(T)                                                                               \
    TARN_OPERATOR_INSTANCE(, Tarn::Lumo::ConcatVolumes::Operator<Tarn::Lumo_DLL::Instances::InMemory<T>, \
                                                                 Tarn::Lumo_DLL::Instances::InMemory<T>, \
                                                                 Tarn::Lumo_DLL::Instances::InMemory<T>>)
TARN_OPERATOR_VOXELS(TARN_MAKE)
#undef TARN_MAKE

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

/// One instance per voxel type, all three volumes alike.
IConcatVolumes::IOperator::IOperator()
{
    detail::forceInstances<Instances::ConcatVolumes>(Instances::OperatorVoxels());
}

/// The first volume names the instance for all three places; a second volume of another type is
/// refused by the operator, which finds no volume of its type there.
SmartPointer<Tarn::Kito::IOperator> IConcatVolumes::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "IConcatVolumes");
    const SmartPointer<Tarn::Kito::IVolume> first = p->inputVolumeFirst.getValue();
    if (first == 0) throw detail::facadeFailure("IConcatVolumes", ": inputVolumeFirst is NULL!");
    if (p->inputVolumeSecond.getValue() == 0) throw detail::facadeFailure("IConcatVolumes", ": inputVolumeSecond is NULL!");
    const std::string volume = detail::typeOf(first);
    return detail::createOperator("Tarn::Lumo::ConcatVolumes::Operator< " + volume + " , " + volume + " , " + volume +
                                  " >");
}

} // namespace Tarn::Lumo_DLL
