// FacadeSupport: the steps that all facades share on the road from parameter object to operator.
// Private to the dispatcher library.
#ifndef TARN_LUMO_DLL_FACADESUPPORT_H_INCLUDED
#define TARN_LUMO_DLL_FACADESUPPORT_H_INCLUDED

#include <Kito/ClassFactory>
#include <Kito/Composite>
#include <Kito/IVolume>
#include <Kito/Operator>
#include <Kito/SmartPointer>

#include <string>

#include "KitoInstances.h"

namespace Tarn::Lumo_DLL::detail {

using Tarn::Kito::IOperator;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;

/// "Tarn::Lumo_DLL::<facade>::IOperator::getOperatorTypeFromParameterObject": every message of a
/// facade starts so, with the function's old name, which hosts have always seen.
inline std::string facadeHead(const char* facade)
{
    return std::string("Tarn::Lumo_DLL::") + facade + "::IOperator::getOperatorTypeFromParameterObject";
}

inline IOperator::InvalidParameterObjectException facadeFailure(const char* facade, const char* text)
{
    return IOperator::InvalidParameterObjectException(facadeHead(facade) + text);
}

/// The facade's own Parameter class, or the failure ": invalid parameter object!".
template <class Parameter>
SmartPointer<Parameter> castParameter(const SmartPointer<IComposite>& parameter, const char* facade)
{
    SmartPointer<Parameter> result = Tarn::Kito::DynamicCast<SmartPointer<Parameter>>(parameter);
    if (result == 0) throw facadeFailure(facade, ": invalid parameter object!");
    return result;
}

/// The class text of a volume, such as "Tarn::Kito::Volume< Tarn::uint8 , ... >".
inline std::string typeOf(const SmartPointer<Tarn::Kito::IVolume>& volume)
{
    return Tarn::Kito::DynamicCast<SmartPointer<IComposite>>(volume)->getType();
}

/// The "second" type of an identifier: that of the output volume when the host placed one there
/// (it chooses the instance), else the input's.
inline std::string typeOfSecond(const SmartPointer<Tarn::Kito::IVolume>& input,
                                const SmartPointer<Tarn::Kito::IVolume>& output)
{
    return typeOf(output == 0 ? input : output);
}

/// The registered instance of identifier; an unknown identifier fails in the factory's words.
inline SmartPointer<IOperator> createOperator(const std::string& identifier)
{
    return Tarn::Kito::DynamicCast<SmartPointer<IOperator>>(
        Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(identifier));
}

/// Makes and destroys one temporary of each operator, in the order given. Nothing names a template
/// instance otherwise, so this use is what puts every instance, with its registration, into the
/// library; the temporaries do no work.
template <class... Operators> void forceInstances()
{
    const int order[] = {0, (static_cast<void>(Operators()), 0)...};
    static_cast<void>(order);
}

/// The same for every instance of a family, Family<T...> for each Arguments<T...> of list, in the
/// list's order.
template <template <class...> class Family, class... Arguments>
void forceInstances(Instances::InstanceList<Arguments...>)
{
    forceInstances<typename Instances::InstanceOf<Family, Arguments>::type...>();
}

} // namespace Tarn::Lumo_DLL::detail

#endif
