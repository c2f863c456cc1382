#include <Lumo_MiscDispatcher_DLL/IRangePassTransformation.h>
#include <LumoStudio/Operators/RangePassTransformation/Operator.h>

#include "FacadeSupport.h"
#include "KitoInstances.h"

namespace {
using Tarn::Lumo_DLL::Instances::InMemory;
template <class T>
using RangePass = Tarn::Lumo::ValueTransformation::RangePassTransformation::Operator<InMemory<T>, InMemory<T>>;
} // namespace

#define TARN_MAKE(T)                                                                                                   \
    TARN_OPERATOR_INSTANCE(, Tarn::Lumo::ValueTransformation::RangePassTransformation::Operator<InMemory<T>, InMemory<T>>)
TARN_OPERATOR_VOXELS(TARN_MAKE)
#undef TARN_MAKE

// The parameter class registers itself by name, so that a host can make it through the class
// factory; an explicit instance of its subscription is what puts that into the library.
template class Tarn::Kito::Factory::StaticFactorySubscriber<
    Tarn::Kito::Factory::DefaultClassFactory, Tarn::Lumo::ValueTransformation::RangePassTransformation::Parameter>;

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

IRangePassTransformation::IOperator::IOperator() { detail::forceInstances<RangePass>(Instances::OperatorVoxels()); }

/// Input and output share one voxel type, so the input's type is spelled twice and a volume in
/// outputVolume is not consulted: one of another type fails in the operator.
SmartPointer<Tarn::Kito::IOperator> IRangePassTransformation::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "IRangePassTransformation");
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    if (input == 0) throw detail::facadeFailure("IRangePassTransformation", ": inputVolume is NULL!");
    const std::string type = detail::typeOf(input);
    return detail::createOperator("Tarn::Lumo::ValueTransformation::RangePassTransformation::Operator< " + type + " , " +
                                  type + " >");
}

} // namespace Tarn::Lumo_DLL
