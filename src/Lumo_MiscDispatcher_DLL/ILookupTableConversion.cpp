#include <Lumo_MiscDispatcher_DLL/ILookupTableConversion.h>

#include "FacadeSupport.h"
#include "LookupTableConversionInstances.h"

// The 32 instances are compiled in LookupTableConversionInstances*.cpp, half in each, so that both
// cores share them; here they are only named.

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

/// Each small integer type into each of the eight, key type outermost.
ILookupTableConversion::IOperator::IOperator()
{
    detail::forceInstances<Instances::LookupTableConversion>(Instances::LookupTablePairs());
}

/// The value type is that of a volume in outputVolume; without one, the input's type serves, and
/// the table must then map the key type into itself.
SmartPointer<Tarn::Kito::IOperator> ILookupTableConversion::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "ILookupTableConversion");
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    if (input == 0) throw detail::facadeFailure("ILookupTableConversion", ": inputVolume is NULL!");
    const SmartPointer<Tarn::Kito::IVolume> output = p->outputVolume.getValue();
    return detail::createOperator("Tarn::Kito::Conversion::LookupTableConversion::Operator< " + detail::typeOf(input) +
                                  " , " + detail::typeOfSecond(input, output) + " >");
}

} // namespace Tarn::Lumo_DLL
