#include <Lumo_MiscDispatcher_DLL/IProjectionSum.h>
#include <LumoStudio/Operators/ProjectionSum/Operator.h>

#include "FacadeSupport.h"
#include "KitoInstances.h"

namespace {
template <class T> using Ptr = Tarn::Kito::VolumePtr<T, Tarn::Kito::Allocator::SingleBlockAllocator>;
template <class I, class O> using ProjectionSum = Tarn::Lumo::ProjectionSum::Operator<Ptr<I>, Ptr<O>>;

/// One temporary of each sum from input type I, the outputs in the facade's order.
template <class I> void forceSumsFrom()
{
    Tarn::Lumo_DLL::detail::forceInstances<ProjectionSum<I, Tarn::uint8>, ProjectionSum<I, Tarn::uint16>,
                                           ProjectionSum<I, Tarn::uint32>, ProjectionSum<I, Tarn::int8>,
                                           ProjectionSum<I, Tarn::int16>, ProjectionSum<I, Tarn::int32>,
                                           ProjectionSum<I, Tarn::float32>, ProjectionSum<I, Tarn::float64>>();
}
} // namespace

// The 64 instances are compiled in ProjectionSumInstances1.cpp and 2.cpp, half in each, so that
// both cores share them; here they are only named.
#define TARN_DECLARE_INTO(O) \
    extern template class Tarn::Lumo::ProjectionSum::Operator<Ptr<Tarn::uint8>, Ptr<O>>; \
    extern template class Tarn::Lumo::ProjectionSum::Operator<Ptr<Tarn::uint16>, Ptr<O>>; \
    extern template class Tarn::Lumo::ProjectionSum::Operator<Ptr<Tarn::uint32>, Ptr<O>>; \
    extern template class Tarn::Lumo::ProjectionSum::Operator<Ptr<Tarn::int8>, Ptr<O>>; \
    extern template class Tarn::Lumo::ProjectionSum::Operator<Ptr<Tarn::int16>, Ptr<O>>; \
    extern template class Tarn::Lumo::ProjectionSum::Operator<Ptr<Tarn::int32>, Ptr<O>>; \
    extern template class Tarn::Lumo::ProjectionSum::Operator<Ptr<Tarn::float32>, Ptr<O>>; \
    extern template class Tarn::Lumo::ProjectionSum::Operator<Ptr<Tarn::float64>, Ptr<O>>;
TARN_OPERATOR_VOXELS(TARN_DECLARE_INTO)
#undef TARN_DECLARE_INTO

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

/// Every pair of the eight voxel types, input type outermost.
IProjectionSum::IOperator::IOperator()
{
    forceSumsFrom<Tarn::uint8>();
    forceSumsFrom<Tarn::uint16>();
    forceSumsFrom<Tarn::uint32>();
    forceSumsFrom<Tarn::int8>();
    forceSumsFrom<Tarn::int16>();
    forceSumsFrom<Tarn::int32>();
    forceSumsFrom<Tarn::float32>();
    forceSumsFrom<Tarn::float64>();
}

/// The type of a volume in outputVolume is the type the sums are formed in; without one, the
/// input's type serves, and a Tarn::uint8 input then sums modulo 256.
SmartPointer<Tarn::Kito::IOperator> IProjectionSum::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "IProjectionSum");
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    if (input == 0) throw detail::facadeFailure("IProjectionSum", ": inputVolume is NULL!");
    const SmartPointer<Tarn::Kito::IVolume> output = p->outputVolume.getValue();
    return detail::createOperator("Tarn::Lumo::ProjectionSum::Operator< " + detail::typeOf(input) + " , " +
                                  detail::typeOfSecond(input, output) + " >");
}

} // namespace Tarn::Lumo_DLL
