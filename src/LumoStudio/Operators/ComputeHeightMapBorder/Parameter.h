// ComputeHeightMapBorder::Parameter: a height-map volume and the four borders of its surface.
#ifndef TARN_LUMO_COMPUTEHEIGHTMAPBORDER_PARAMETER_H_INCLUDED
#define TARN_LUMO_COMPUTEHEIGHTMAPBORDER_PARAMETER_H_INCLUDED

#include <Kito/ClassFactory>
#include <Kito/CompositeOfProperties>
#include <Kito/IVolume>
#include <Kito/Types>

#include <string>

namespace Tarn::Lumo::ComputeHeightMapBorder {

/// Only the parameter object exists: this library runs no operator on it. Hosts make and fill
/// it, by class or through the class factory under its identifier, and hand it on.
class Parameter
    : public Tarn::Kito::Persistence::CompositeOfProperties<Parameter>,
      public Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter> {
public:
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputVolume;
    PropertyData<Tarn::uint64> outputLeftBorder;
    PropertyData<Tarn::uint64> outputRightBorder;
    PropertyData<Tarn::uint64> outputTopBorder;
    PropertyData<Tarn::uint64> outputBottomBorder;

    Parameter() { appendProperties(); }
    Parameter(const Parameter& other)
        : IComposite(), CompositeOfProperties<Parameter>(other),
          Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter>(other),
          inputVolume(other.inputVolume), outputLeftBorder(other.outputLeftBorder),
          outputRightBorder(other.outputRightBorder), outputTopBorder(other.outputTopBorder),
          outputBottomBorder(other.outputBottomBorder)
    {
        appendProperties();
    }
    Parameter& operator=(const Parameter& other)
    {
        inputVolume = other.inputVolume;
        outputLeftBorder = other.outputLeftBorder;
        outputRightBorder = other.outputRightBorder;
        outputTopBorder = other.outputTopBorder;
        outputBottomBorder = other.outputBottomBorder;
        return *this;
    }

    std::string getType() const override { return "Tarn::Lumo::ComputeHeightMapBorder::Parameter"; }

private:
    void appendProperties()
    {
        append("inputVolume", inputVolume);
        append("outputLeftBorder", outputLeftBorder);
        append("outputRightBorder", outputRightBorder);
        append("outputTopBorder", outputTopBorder);
        append("outputBottomBorder", outputBottomBorder);
    }
};

} // namespace Tarn::Lumo::ComputeHeightMapBorder

#endif
