// ConcatVolumes::Parameter: two volumes, the face of the first at which the second is attached,
// and the joined volume.
#ifndef TARN_LUMO_CONCATVOLUMES_PARAMETER_H_INCLUDED
#define TARN_LUMO_CONCATVOLUMES_PARAMETER_H_INCLUDED

#include <Kito/ClassFactory>
#include <Kito/CompositeOfProperties>
#include <Kito/IVolume>
#include <Kito/SmartPointer>
#include <Kito/Types>

#include <string>

namespace Tarn::Lumo::ConcatVolumes {

/// inputVolumeFirst, inputVolumeSecond, inputFace, outputVolume, in this order. Of each input only
/// the view (the region in force, in its orientation) is joined. inputFace: the second volume lies
/// below the first along sec (0, the default), prim (1) or tert (2), or above it along sec (3),
/// prim (4) or tert (5). A volume of the input's type in outputVolume is written into (resized if
/// its view has another extent); NULL gets a new volume.
class Parameter
    : public Tarn::Kito::Persistence::CompositeOfProperties<Parameter>,
      public Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter> {
    using Subscriber = Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter>;

public:
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputVolumeFirst;
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputVolumeSecond;
    PropertyData<Tarn::uint64> inputFace;
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> outputVolume;

    Parameter()
    {
        appendProperties();
        inputFace.setValue(0);
    }
    Parameter(const Parameter& other)
        : IComposite(), CompositeOfProperties<Parameter>(other), Subscriber(other),
          inputVolumeFirst(other.inputVolumeFirst), inputVolumeSecond(other.inputVolumeSecond),
          inputFace(other.inputFace), outputVolume(other.outputVolume)
    {
        appendProperties();
    }
    Parameter& operator=(const Parameter& other)
    {
        inputVolumeFirst = other.inputVolumeFirst;
        inputVolumeSecond = other.inputVolumeSecond;
        inputFace = other.inputFace;
        outputVolume = other.outputVolume;
        return *this;
    }

    std::string getType() const override { return "Tarn::Lumo::ConcatVolumes::Parameter"; }

private:
    void appendProperties()
    {
        append("inputVolumeFirst", inputVolumeFirst);
        append("inputVolumeSecond", inputVolumeSecond);
        append("inputFace", inputFace);
        append("outputVolume", outputVolume);
    }
};

} // namespace Tarn::Lumo::ConcatVolumes

#endif
