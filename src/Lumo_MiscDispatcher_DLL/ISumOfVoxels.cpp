#include <Kito/Statistics/SumOfVoxels/Operator>
#include <Lumo_MiscDispatcher_DLL/ISumOfVoxels.h>

#include "FacadeSupport.h"
#include "KitoInstances.h"

namespace {
using Tarn::Lumo_DLL::Instances::InMemory;
template <class T> using SumOfVoxels = Tarn::Kito::Statistics::SumOfVoxels::Operator<InMemory<T>>;
} // namespace

#define TARN_MAKE(T) TARN_OPERATOR_INSTANCE(, Tarn::Kito::Statistics::SumOfVoxels::Operator<InMemory<T>>)
TARN_OPERATOR_VOXELS(TARN_MAKE)
#undef TARN_MAKE

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

ISumOfVoxels::IOperator::IOperator() { detail::forceInstances<SumOfVoxels>(Instances::OperatorVoxels()); }

SmartPointer<Tarn::Kito::IOperator>
ISumOfVoxels::IOperator::getOperatorFromParameterObject(SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "ISumOfVoxels");
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    if (input == 0) throw detail::facadeFailure("ISumOfVoxels", ": inputVolume is NULL!");
    return detail::createOperator("Tarn::Kito::Statistics::SumOfVoxels::Operator< " + detail::typeOf(input) + " >");
}

} // namespace Tarn::Lumo_DLL
