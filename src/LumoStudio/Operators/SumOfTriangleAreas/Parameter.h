// SumOfTriangleAreas::Parameter: a table of triangle vertices, the voxel sizes, and the area sum.
#ifndef TARN_LUMO_SUMOFTRIANGLEAREAS_PARAMETER_H_INCLUDED
#define TARN_LUMO_SUMOFTRIANGLEAREAS_PARAMETER_H_INCLUDED

#include <Kito/CompositeOfProperties>
#include <Kito/IVolume>

#include <string>

namespace Tarn::Lumo::SumOfTriangleAreas {

/// inputTriangleVolume is a Tarn::float64 table of extent (3n, 3, 1): prim counts vertices, three
/// per triangle, and sec selects the coordinate. The sizes scale coordinates 0, 1, 2.
class Parameter : public Tarn::Kito::Persistence::CompositeOfProperties<Parameter> {
public:
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputTriangleVolume;
    PropertyData<Tarn::float64> inputVoxelSizePrimInMicrometers;
    PropertyData<Tarn::float64> inputVoxelSizeSecInMicrometers;
    PropertyData<Tarn::float64> inputVoxelSizeTertInMicrometers;
    PropertyData<Tarn::float64> outputSumOfTriangleAreas;

    Parameter() { appendProperties(); }
    Parameter(const Parameter& other)
        : IComposite(), CompositeOfProperties<Parameter>(other), inputTriangleVolume(other.inputTriangleVolume),
          inputVoxelSizePrimInMicrometers(other.inputVoxelSizePrimInMicrometers),
          inputVoxelSizeSecInMicrometers(other.inputVoxelSizeSecInMicrometers),
          inputVoxelSizeTertInMicrometers(other.inputVoxelSizeTertInMicrometers),
          outputSumOfTriangleAreas(other.outputSumOfTriangleAreas)
    {
        appendProperties();
    }
    Parameter& operator=(const Parameter& other)
    {
        inputTriangleVolume = other.inputTriangleVolume;
        inputVoxelSizePrimInMicrometers = other.inputVoxelSizePrimInMicrometers;
        inputVoxelSizeSecInMicrometers = other.inputVoxelSizeSecInMicrometers;
        inputVoxelSizeTertInMicrometers = other.inputVoxelSizeTertInMicrometers;
        outputSumOfTriangleAreas = other.outputSumOfTriangleAreas;
        return *this;
    }

    /// The trailing blank belongs to the identifier: hosts have always looked it up so.
    std::string getType() const override { return "Tarn::Lumo::SumOfTriangleAreas::Parameter "; }

private:
    void appendProperties()
    {
        append("inputTriangleVolume", inputTriangleVolume);
        append("inputVoxelSizePrimInMicrometers", inputVoxelSizePrimInMicrometers);
        append("inputVoxelSizeSecInMicrometers", inputVoxelSizeSecInMicrometers);
        append("inputVoxelSizeTertInMicrometers", inputVoxelSizeTertInMicrometers);
        append("outputSumOfTriangleAreas", outputSumOfTriangleAreas);
    }
};

} // namespace Tarn::Lumo::SumOfTriangleAreas

#endif
