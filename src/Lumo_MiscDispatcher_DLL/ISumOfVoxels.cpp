#include <Lumo_MiscDispatcher_DLL/ISumOfVoxels.h>

#include "FacadeSupport.h"

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

ISumOfVoxels::IOperator::IOperator() = default;

ISumOfVoxels::IOperator::IOperator(const IOperator& other) : Tarn::AncillaryKitoOperators::DLL::Operator(other) {}

ISumOfVoxels::IOperator::~IOperator() = default;

ISumOfVoxels::IOperator& ISumOfVoxels::IOperator::operator=(const IOperator& other)
{
    Tarn::AncillaryKitoOperators::DLL::Operator::operator=(other);
    return *this;
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
