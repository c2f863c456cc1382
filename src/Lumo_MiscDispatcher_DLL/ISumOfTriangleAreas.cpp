#include <Lumo_MiscDispatcher_DLL/ISumOfTriangleAreas.h>
#include <LumoStudio/Operators/SumOfTriangleAreas/Operator.h>

#include "FacadeSupport.h"
#include "KitoInstances.h"

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

ISumOfTriangleAreas::IOperator::IOperator() { detail::forceInstances<Tarn::Lumo::SumOfTriangleAreas::Operator>(); }

/// One identifier for every table: the operator is no template.
SmartPointer<Tarn::Kito::IOperator> ISumOfTriangleAreas::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "ISumOfTriangleAreas");
    if (p->inputTriangleVolume.getValue() == 0) throw detail::facadeFailure("ISumOfTriangleAreas", ": inputVolume is NULL!");
    return detail::createOperator("Tarn::Lumo::SumOfTriangleAreas::Operator");
}

} // namespace Tarn::Lumo_DLL
