// Projection::ParameterBase: the three properties that the parameter objects of all projections share.
#ifndef TARN_LUMO_PROJECTION_PARAMETER_H_INCLUDED
#define TARN_LUMO_PROJECTION_PARAMETER_H_INCLUDED

#include <Kito/ClassFactory>
#include <Kito/CompositeOfProperties>
#include <Kito/IVolume>
#include <Kito/Types>

namespace Tarn::Lumo::Projection {

/// The base of each projection's Parameter, curiously recurring on it: Derived names the class in
/// failure texts and in the class factory, under the text of its getType.
///
/// inputDirection picks the axis that is collapsed: 0 tert, giving (P, S, 1); 1 sec, giving
/// (P, 1, T); 2 prim, giving (1, S, T), with P, S, T the extents of the input's view. It has no
/// default of its own: a host that never sets it gets direction 0.
template <class Derived>
class ParameterBase
    : public Tarn::Kito::Persistence::CompositeOfProperties<Derived>,
      public Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Derived> {
    using Properties = Tarn::Kito::Persistence::CompositeOfProperties<Derived>;
    using Subscriber = Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Derived>;

public:
    typename Properties::template Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputVolume;
    /// Before a run only its voxel type counts, as it picks the operator; a run replaces it by a
    /// new volume and never writes into the one that stood here.
    typename Properties::template Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> outputVolume;
    typename Properties::template PropertyData<Tarn::uint64> inputDirection;

protected:
    ParameterBase() { appendProperties(); }
    ParameterBase(const ParameterBase& other)
        : Tarn::Kito::Persistence::IComposite(), Properties(other), Subscriber(other), inputVolume(other.inputVolume),
          outputVolume(other.outputVolume), inputDirection(other.inputDirection)
    {
        appendProperties();
    }
    ParameterBase& operator=(const ParameterBase& other)
    {
        inputVolume = other.inputVolume;
        outputVolume = other.outputVolume;
        inputDirection = other.inputDirection;
        return *this;
    }
    ~ParameterBase() override = default;

private:
    void appendProperties()
    {
        this->append("inputVolume", inputVolume);
        this->append("outputVolume", outputVolume);
        this->append("inputDirection", inputDirection);
    }
};

} // namespace Tarn::Lumo::Projection

#endif
