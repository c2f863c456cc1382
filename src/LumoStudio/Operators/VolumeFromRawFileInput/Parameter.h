// VolumeFromRawFileInput::Parameter: a headerless voxel file as its caller describes it, and the
// volume read from it.
#ifndef TARN_LUMO_VOLUMEFROMRAWFILEINPUT_PARAMETER_H_INCLUDED
#define TARN_LUMO_VOLUMEFROMRAWFILEINPUT_PARAMETER_H_INCLUDED

#include <Kito/CompositeOfProperties>
#include <Kito/IVolume>

#include <string>

namespace Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput {

/// The extent along each axis is end - start + 1, the ends inclusive; the positions themselves
/// say nothing about where in the file the voxels lie, which is always from inputHeaderSkip on.
/// inputDataType is the number of value bits of the voxel type: 7 int8, 8 uint8, 15 int16,
/// 16 uint16, 24 float32, 31 int32, 32 uint32, 53 float64.
class Parameter : public Tarn::Kito::Persistence::CompositeOfProperties<Parameter> {
public:
    PropertyData<std::string> inputFilePath;
    PropertyData<Tarn::uint64> inputHeaderSkip;
    PropertyData<Tarn::uint64> inputStartPrim;
    PropertyData<Tarn::uint64> inputEndPrim;
    PropertyData<Tarn::uint64> inputStartSec;
    PropertyData<Tarn::uint64> inputEndSec;
    PropertyData<Tarn::uint64> inputStartTert;
    PropertyData<Tarn::uint64> inputEndTert;
    PropertyData<Tarn::uint64> inputDataType;
    /// NULL for a new volume; a volume given is reused, and resized if its view has another extent.
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> outputVolume;

    Parameter() { appendProperties(); }
    Parameter(const Parameter& other)
        : IComposite(), CompositeOfProperties<Parameter>(other), inputFilePath(other.inputFilePath),
          inputHeaderSkip(other.inputHeaderSkip), inputStartPrim(other.inputStartPrim), inputEndPrim(other.inputEndPrim),
          inputStartSec(other.inputStartSec), inputEndSec(other.inputEndSec), inputStartTert(other.inputStartTert),
          inputEndTert(other.inputEndTert), inputDataType(other.inputDataType), outputVolume(other.outputVolume)
    {
        appendProperties();
    }
    Parameter& operator=(const Parameter& other)
    {
        inputFilePath = other.inputFilePath;
        inputHeaderSkip = other.inputHeaderSkip;
        inputStartPrim = other.inputStartPrim;
        inputEndPrim = other.inputEndPrim;
        inputStartSec = other.inputStartSec;
        inputEndSec = other.inputEndSec;
        inputStartTert = other.inputStartTert;
        inputEndTert = other.inputEndTert;
        inputDataType = other.inputDataType;
        outputVolume = other.outputVolume;
        return *this;
    }

    std::string getType() const override
    {
        return "Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput::Parameter";
    }

private:
    void appendProperties()
    {
        append("inputFilePath", inputFilePath);
        append("inputHeaderSkip", inputHeaderSkip);
        append("inputStartPrim", inputStartPrim);
        append("inputEndPrim", inputEndPrim);
        append("inputStartSec", inputStartSec);
        append("inputEndSec", inputEndSec);
        append("inputStartTert", inputStartTert);
        append("inputEndTert", inputEndTert);
        append("inputDataType", inputDataType);
        append("outputVolume", outputVolume);
    }
};

} // namespace Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput

#endif
