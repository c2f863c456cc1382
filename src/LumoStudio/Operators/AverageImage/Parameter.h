// AverageImage::Parameter: the REK files to average, and the place of their mean.
#ifndef TARN_LUMO_AVERAGEIMAGE_PARAMETER_H_INCLUDED
#define TARN_LUMO_AVERAGEIMAGE_PARAMETER_H_INCLUDED

#include <Kito/ClassFactory>
#include <Kito/CompositeOfProperties>
#include <Kito/IVolume>
#include <Kito/List>
#include <Kito/SmartPointer>

#include <string>

namespace Tarn::Lumo::ArithmeticOperators::AverageImage {

/// inputFileList holds the paths of REK files of one voxel type and one extent, averaged in the
/// list's order. outputVolume may hold a volume of that voxel type, which is then written (and
/// resized to the files' extent if needed); NULL gives a new one.
class Parameter
    : public Tarn::Kito::Persistence::CompositeOfProperties<Parameter>,
      public Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter> {
    using Subscriber = Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter>;

public:
    Property<Tarn::Kito::Container::ListPtr<std::string>> inputFileList;
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> outputVolume;

    Parameter() { appendProperties(); }
    Parameter(const Parameter& other)
        : IComposite(), CompositeOfProperties<Parameter>(other), Subscriber(other), inputFileList(other.inputFileList),
          outputVolume(other.outputVolume)
    {
        appendProperties();
    }
    Parameter& operator=(const Parameter& other)
    {
        inputFileList = other.inputFileList;
        outputVolume = other.outputVolume;
        return *this;
    }

    std::string getType() const override { return "Tarn::Lumo::ArithmeticOperators::AverageImage::Parameter"; }

private:
    void appendProperties()
    {
        append("inputFileList", inputFileList);
        append("outputVolume", outputVolume);
    }
};

} // namespace Tarn::Lumo::ArithmeticOperators::AverageImage

#endif
