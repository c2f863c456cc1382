#include <Lumo_MiscDispatcher_DLL/IFrequencyOfValuesInsideRange.h>
#include <LumoStudio/Operators/FrequencyOfValuesInsideRange/Operator.h>

#include "FacadeSupport.h"
#include "KitoInstances.h"

namespace {
using Tarn::Lumo_DLL::Instances::InMemory;
template <class T> using Frequency = Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Operator<InMemory<T>>;
} // namespace

#define TARN_MAKE(T) TARN_OPERATOR_INSTANCE(, Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Operator<InMemory<T>>)
TARN_OPERATOR_VOXELS(TARN_MAKE)
#undef TARN_MAKE

// The parameter class registers itself by name, which its explicit subscription puts into the library.
template class Tarn::Kito::Factory::StaticFactorySubscriber<
    Tarn::Kito::Factory::DefaultClassFactory, Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Parameter>;

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

IFrequencyOfValuesInsideRange::IOperator::IOperator() { detail::forceInstances<Frequency>(Instances::OperatorVoxels()); }

SmartPointer<Tarn::Kito::IOperator> IFrequencyOfValuesInsideRange::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "IFrequencyOfValuesInsideRange");
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    if (input == 0) throw detail::facadeFailure("IFrequencyOfValuesInsideRange", ": inputVolume is NULL!");
    return detail::createOperator("Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Operator< " +
                                  detail::typeOf(input) + " >");
}

} // namespace Tarn::Lumo_DLL
