#include <Lumo_MiscDispatcher_DLL/IProjectionMax.h>
#include <LumoStudio/Operators/ProjectionMax/Operator.h>

#include "FacadeSupport.h"
#include "KitoInstances.h"

namespace {
using Tarn::Lumo_DLL::Instances::InMemory;
template <class T> using ProjectionMax = Tarn::Lumo::ProjectionMax::Operator<InMemory<T>, InMemory<T>>;
} // namespace

#define TARN_MAKE(T) TARN_OPERATOR_INSTANCE(, Tarn::Lumo::ProjectionMax::Operator<InMemory<T>, InMemory<T>>)
TARN_OPERATOR_VOXELS(TARN_MAKE)
#undef TARN_MAKE

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

IProjectionMax::IOperator::IOperator() { detail::forceInstances<ProjectionMax>(Instances::OperatorVoxels()); }

/// Input and output of one voxel type only: a volume of another type in outputVolume names no
/// instance and fails in the factory rather than being converted.
SmartPointer<Tarn::Kito::IOperator> IProjectionMax::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "IProjectionMax");
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    if (input == 0) throw detail::facadeFailure("IProjectionMax", ": inputVolume is NULL!");
    const SmartPointer<Tarn::Kito::IVolume> output = p->outputVolume.getValue();
    return detail::createOperator("Tarn::Lumo::ProjectionMax::Operator< " + detail::typeOf(input) + " , " +
                                  detail::typeOfSecond(input, output) + " >");
}

} // namespace Tarn::Lumo_DLL
