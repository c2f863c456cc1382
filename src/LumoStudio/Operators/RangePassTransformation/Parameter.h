// RangePassTransformation::Parameter: the volume, the closed range that passes, the background of
// all other voxels, and the place of the result.
#ifndef TARN_LUMO_RANGEPASSTRANSFORMATION_PARAMETER_H_INCLUDED
#define TARN_LUMO_RANGEPASSTRANSFORMATION_PARAMETER_H_INCLUDED

#include <Kito/ClassFactory>
#include <Kito/CompositeOfProperties>
#include <Kito/Data>
#include <Kito/IVolume>

#include <string>

namespace Tarn::Lumo::ValueTransformation::RangePassTransformation {

/// inputMinThreshold, inputMaxThreshold and inputBackgroundValue are Data of exactly the input's
/// voxel type: the operator converts nothing, so a Data<Tarn::float64> given for a Tarn::uint16
/// volume fails. outputVolume may hold a volume of the input's type, which is then written (and
/// resized to the input's view if needed); NULL gives a new one. It may be the input itself.
class Parameter
    : public Tarn::Kito::Persistence::CompositeOfProperties<Parameter>,
      public Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter> {
    using Subscriber = Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter>;

public:
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputVolume;
    Property<Tarn::Kito::Persistence::IData> inputMinThreshold;
    Property<Tarn::Kito::Persistence::IData> inputMaxThreshold;
    Property<Tarn::Kito::Persistence::IData> inputBackgroundValue;
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> outputVolume;

    Parameter() { appendProperties(); }
    Parameter(const Parameter& other)
        : IComposite(), CompositeOfProperties<Parameter>(other), Subscriber(other), inputVolume(other.inputVolume),
          inputMinThreshold(other.inputMinThreshold), inputMaxThreshold(other.inputMaxThreshold),
          inputBackgroundValue(other.inputBackgroundValue), outputVolume(other.outputVolume)
    {
        appendProperties();
    }
    Parameter& operator=(const Parameter& other)
    {
        inputVolume = other.inputVolume;
        inputMinThreshold = other.inputMinThreshold;
        inputMaxThreshold = other.inputMaxThreshold;
        inputBackgroundValue = other.inputBackgroundValue;
        outputVolume = other.outputVolume;
        return *this;
    }

    std::string getType() const override { return "Tarn::Lumo::ValueTransformation::RangePassTransformation::Parameter"; }

private:
    void appendProperties()
    {
        append("inputVolume", inputVolume);
        append("inputMinThreshold", inputMinThreshold);
        append("inputMaxThreshold", inputMaxThreshold);
        append("inputBackgroundValue", inputBackgroundValue);
        append("outputVolume", outputVolume);
    }
};

} // namespace Tarn::Lumo::ValueTransformation::RangePassTransformation

#endif
