#include <Kito/Map>
#include <Lumo_MiscDispatcher_DLL/IStatisticsFromVolumeOfMultipleLabels.h>
#include <LumoStudio/Operators/StatisticsFromVolumeOfMultipleLabels/Operator.h>

#include "FacadeSupport.h"
#include "KitoInstances.h"

namespace {
using Tarn::Lumo_DLL::Instances::InMemory;
template <class T, class L>
using LabelStatistics = Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Operator<InMemory<T>, InMemory<L>>;
} // namespace

#define TARN_MAKE(T, L)                                                                                                \
    TARN_OPERATOR_INSTANCE(, Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Operator<InMemory<T>,     \
                                                                                                 InMemory<L>>)
TARN_LABEL_STATISTICS_PAIRS(TARN_MAKE)
#undef TARN_MAKE

// The parameter class, the result of one label and the map of results register themselves by name,
// so that a host, or a parameter object rebuilt from its keys, can make them through the factory.
template class Tarn::Kito::Factory::StaticFactorySubscriber<
    Tarn::Kito::Factory::DefaultClassFactory, Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Parameter>;
template class Tarn::Kito::Factory::StaticFactorySubscriber<
    Tarn::Kito::Factory::DefaultClassFactory, Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Statistics>;
template class Tarn::Kito::Container::Map<Tarn::uint32,
                                          Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::StatisticsPtr>;

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

IStatisticsFromVolumeOfMultipleLabels::IOperator::IOperator()
{
    detail::forceInstances<LabelStatistics>(Instances::LabelStatisticsPairs());
}

/// The identifier names the input's volume type and, after ", ", the one label volume type there
/// is, taken from a volume of that type made for the purpose: the label volume of the parameter
/// object is not looked at here, and one of another type fails in the operator.
SmartPointer<Tarn::Kito::IOperator> IStatisticsFromVolumeOfMultipleLabels::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "IStatisticsFromVolumeOfMultipleLabels");
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    if (input == 0) throw detail::facadeFailure("IStatisticsFromVolumeOfMultipleLabels", ": inputVolume is NULL!");
    const std::string labelType = Instances::InMemory<Tarn::uint8>::element_type().getType();
    return detail::createOperator("Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Operator< " +
                                  detail::typeOf(input) + ", " + labelType + " >");
}

} // namespace Tarn::Lumo_DLL
