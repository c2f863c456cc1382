// DuplicateSlices::Parameter: a volume, the plane and index of one of its slices, how often the
// slice is repeated, and the volume of the repetitions.
#ifndef TARN_LUMO_DUPLICATESLICES_PARAMETER_H_INCLUDED
#define TARN_LUMO_DUPLICATESLICES_PARAMETER_H_INCLUDED

#include <Kito/ClassFactory>
#include <Kito/CompositeOfProperties>
#include <Kito/IVolume>
#include <Kito/SmartPointer>
#include <Kito/Types>

#include <string>

namespace Tarn::Lumo::DuplicateSlices {

/// inputVolume, inputSliceOrientation, inputSliceIndex, inputNumberOfSlices, outputVolume, in this
/// order. inputSliceOrientation is "XY-Slice", "XZ-Slice" or "YZ-Slice", exactly so; the index
/// counts along the third axis of that plane (tert, sec, prim), within the input's region in
/// force. Before a run a volume in outputVolume only chooses the operator by its type; the run
/// puts a new volume of the input's voxel type there.
class Parameter
    : public Tarn::Kito::Persistence::CompositeOfProperties<Parameter>,
      public Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter> {
    using Subscriber = Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter>;

public:
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputVolume;
    PropertyData<std::string> inputSliceOrientation;
    PropertyData<Tarn::uint64> inputSliceIndex;
    PropertyData<Tarn::uint64> inputNumberOfSlices;
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> outputVolume;

    Parameter()
    {
        appendProperties();
        inputSliceIndex.setValue(0);
        inputNumberOfSlices.setValue(0);
    }
    Parameter(const Parameter& other)
        : IComposite(), CompositeOfProperties<Parameter>(other), Subscriber(other), inputVolume(other.inputVolume),
          inputSliceOrientation(other.inputSliceOrientation), inputSliceIndex(other.inputSliceIndex),
          inputNumberOfSlices(other.inputNumberOfSlices), outputVolume(other.outputVolume)
    {
        appendProperties();
    }
    Parameter& operator=(const Parameter& other)
    {
        inputVolume = other.inputVolume;
        inputSliceOrientation = other.inputSliceOrientation;
        inputSliceIndex = other.inputSliceIndex;
        inputNumberOfSlices = other.inputNumberOfSlices;
        outputVolume = other.outputVolume;
        return *this;
    }

    std::string getType() const override { return "Tarn::Lumo::DuplicateSlices::Parameter"; }

private:
    void appendProperties()
    {
        append("inputVolume", inputVolume);
        append("inputSliceOrientation", inputSliceOrientation);
        append("inputSliceIndex", inputSliceIndex);
        append("inputNumberOfSlices", inputNumberOfSlices);
        append("outputVolume", outputVolume);
    }
};

} // namespace Tarn::Lumo::DuplicateSlices

#endif
