// HeightMap::Parameter: the volume to search, the axis of the search, and the height map that
// comes back.
#ifndef TARN_LUMO_HEIGHTMAP_PARAMETER_H_INCLUDED
#define TARN_LUMO_HEIGHTMAP_PARAMETER_H_INCLUDED

#include <Kito/ClassFactory>
#include <Kito/CompositeOfProperties>
#include <Kito/IVolume>
#include <Kito/Types>

#include <string>

namespace Tarn::Lumo::HeightMap {

/// inputDirection names the searched axis of the stored volume: 0 prim, 1 sec, 2 tert (the
/// projections count the other way round, by the axis they collapse). The run leaves inputVolume
/// turned so that its view tert is the searched axis. outputVolume must hold a volume before the
/// run, for its voxel type alone, which chooses the operator; the run replaces it by a new one.
/// inputNumberOfThreads is read and has no effect: the search is serial.
class Parameter : public Tarn::Kito::Persistence::CompositeOfProperties<Parameter>,
                  public Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter> {
public:
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputVolume;
    PropertyData<Tarn::uint64> inputDirection;
    PropertyData<Tarn::uint64> inputNumberOfThreads;
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> outputVolume;

    Parameter()
    {
        appendProperties();
        inputDirection.setValue(2);
        inputNumberOfThreads.setValue(0);
    }
    Parameter(const Parameter& other)
        : IComposite(), CompositeOfProperties<Parameter>(other),
          Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter>(other),
          inputVolume(other.inputVolume), inputDirection(other.inputDirection),
          inputNumberOfThreads(other.inputNumberOfThreads), outputVolume(other.outputVolume)
    {
        appendProperties();
    }
    Parameter& operator=(const Parameter& other)
    {
        inputVolume = other.inputVolume;
        inputDirection = other.inputDirection;
        inputNumberOfThreads = other.inputNumberOfThreads;
        outputVolume = other.outputVolume;
        return *this;
    }

    std::string getType() const override { return "Tarn::Lumo::HeightMap::Parameter"; }

private:
    void appendProperties()
    {
        append("inputVolume", inputVolume);
        append("inputDirection", inputDirection);
        append("inputNumberOfThreads", inputNumberOfThreads);
        append("outputVolume", outputVolume);
    }
};

} // namespace Tarn::Lumo::HeightMap

#endif
