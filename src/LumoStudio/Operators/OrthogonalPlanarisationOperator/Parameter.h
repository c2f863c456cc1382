// OrthogonalPlanarisationOperator::Parameter: a volume, its height map, the size of the thread
// team, and the flattened volume.
#ifndef TARN_LUMO_ORTHOGONALPLANARISATIONOPERATOR_PARAMETER_H_INCLUDED
#define TARN_LUMO_ORTHOGONALPLANARISATIONOPERATOR_PARAMETER_H_INCLUDED

#include <Kito/ClassFactory>
#include <Kito/CompositeOfProperties>
#include <Kito/IVolume>
#include <Kito/Types>

#include <string>

namespace Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator {

/// inputVolume is read in its current view, which must be the view its height map was made in
/// (the height map leaves the volume so). inputHeightMapVolume gives one height per column in
/// its first slice. inputNumberOfThreads below 1 means every thread the runtime offers.
/// outputVolume may be NULL; a volume of the input's voxel type is reused, resized if needed.
class Parameter
    : public Tarn::Kito::Persistence::CompositeOfProperties<Parameter>,
      public Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter> {
public:
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputVolume;
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputHeightMapVolume;
    PropertyData<Tarn::int32> inputNumberOfThreads;
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> outputVolume;

    Parameter()
    {
        appendProperties();
        inputNumberOfThreads.setValue(0);
    }
    Parameter(const Parameter& other)
        : IComposite(), CompositeOfProperties<Parameter>(other),
          Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter>(other),
          inputVolume(other.inputVolume), inputHeightMapVolume(other.inputHeightMapVolume),
          inputNumberOfThreads(other.inputNumberOfThreads), outputVolume(other.outputVolume)
    {
        appendProperties();
    }
    Parameter& operator=(const Parameter& other)
    {
        inputVolume = other.inputVolume;
        inputHeightMapVolume = other.inputHeightMapVolume;
        inputNumberOfThreads = other.inputNumberOfThreads;
        outputVolume = other.outputVolume;
        return *this;
    }

    std::string getType() const override
    {
        return "Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Parameter";
    }

private:
    void appendProperties()
    {
        append("inputVolume", inputVolume);
        append("inputHeightMapVolume", inputHeightMapVolume);
        append("inputNumberOfThreads", inputNumberOfThreads);
        append("outputVolume", outputVolume);
    }
};

} // namespace Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator

#endif
