// FrequencyOfValuesInsideRange::Parameter: a volume, a closed range of values, and the number of
// voxels inside it.
#ifndef TARN_LUMO_FREQUENCYOFVALUESINSIDERANGE_PARAMETER_H_INCLUDED
#define TARN_LUMO_FREQUENCYOFVALUESINSIDERANGE_PARAMETER_H_INCLUDED

#include <Kito/ClassFactory>
#include <Kito/CompositeOfProperties>
#include <Kito/IVolume>
#include <Kito/SmartPointer>
#include <Kito/Types>

#include <string>

namespace Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange {

/// inputVolume, inputRangeLowerValue, inputRangeUpperValue, outputFrequency, in this order. The
/// bounds are Data of any of the ten numeric voxel types, both inclusive; outputFrequency is 0
/// until a run.
class Parameter
    : public Tarn::Kito::Persistence::CompositeOfProperties<Parameter>,
      public Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter> {
    using Subscriber = Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter>;

public:
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputVolume;
    Property<Tarn::Kito::Persistence::IData> inputRangeLowerValue;
    Property<Tarn::Kito::Persistence::IData> inputRangeUpperValue;
    PropertyData<Tarn::uint64> outputFrequency;

    Parameter()
    {
        appendProperties();
        outputFrequency.setValue(0);
    }
    Parameter(const Parameter& other)
        : IComposite(), CompositeOfProperties<Parameter>(other), Subscriber(other), inputVolume(other.inputVolume),
          inputRangeLowerValue(other.inputRangeLowerValue), inputRangeUpperValue(other.inputRangeUpperValue),
          outputFrequency(other.outputFrequency)
    {
        appendProperties();
    }
    Parameter& operator=(const Parameter& other)
    {
        inputVolume = other.inputVolume;
        inputRangeLowerValue = other.inputRangeLowerValue;
        inputRangeUpperValue = other.inputRangeUpperValue;
        outputFrequency = other.outputFrequency;
        return *this;
    }

    std::string getType() const override { return "Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Parameter"; }

private:
    void appendProperties()
    {
        append("inputVolume", inputVolume);
        append("inputRangeLowerValue", inputRangeLowerValue);
        append("inputRangeUpperValue", inputRangeUpperValue);
        append("outputFrequency", outputFrequency);
    }
};

} // namespace Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange

#endif
