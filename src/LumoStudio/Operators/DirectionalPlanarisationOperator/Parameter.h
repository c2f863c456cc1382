// DirectionalPlanarisationOperator::Parameter: a volume, its height map, the surface normals, an
// optional resampling grid, the voxel edges, the size of the thread team, and the unrolled volume.
#ifndef TARN_LUMO_DIRECTIONALPLANARISATIONOPERATOR_PARAMETER_H_INCLUDED
#define TARN_LUMO_DIRECTIONALPLANARISATIONOPERATOR_PARAMETER_H_INCLUDED

#include <Kito/ClassFactory>
#include <Kito/CompositeOfProperties>
#include <Kito/IVolume>
#include <Kito/Types>

#include <string>

namespace Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator {

/// inputVolume is read in its current view, the view in which the host made the height map, the
/// normals and the grid. inputHeightMapVolume holds one surface height per surface pixel, in tert
/// voxels of that view. The two grids (NULL: the identity) give the surface pixel of each output
/// pixel; the three normal maps, of the grids' voxel type, the unit step into the object per
/// surface pixel. The voxel edges scale the in-plane part of a step. inputNumberOfThreads below 1
/// means every thread the runtime offers. outputVolume may be NULL; a volume of the input's voxel
/// type serves as work space, and afterwards the property holds the cropped result.
class Parameter
    : public Tarn::Kito::Persistence::CompositeOfProperties<Parameter>,
      public Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter> {
public:
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputVolume;
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputHeightMapVolume;
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputResampledGridVolumePrim;
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputResampledGridVolumeSec;
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputNormalMapVolumeX;
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputNormalMapVolumeY;
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputNormalMapVolumeZ;
    PropertyData<Tarn::float32> inputVoxelSizeXY_um;
    PropertyData<Tarn::float32> inputVoxelSizeZ_um;
    PropertyData<Tarn::int32> inputNumberOfThreads;
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> outputVolume;

    Parameter()
    {
        appendProperties();
        inputVoxelSizeXY_um.setValue(1.0f);
        inputVoxelSizeZ_um.setValue(1.0f);
        inputNumberOfThreads.setValue(0);
    }
    Parameter(const Parameter& other)
        : IComposite(), CompositeOfProperties<Parameter>(other),
          Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter>(other),
          inputVolume(other.inputVolume), inputHeightMapVolume(other.inputHeightMapVolume),
          inputResampledGridVolumePrim(other.inputResampledGridVolumePrim),
          inputResampledGridVolumeSec(other.inputResampledGridVolumeSec),
          inputNormalMapVolumeX(other.inputNormalMapVolumeX), inputNormalMapVolumeY(other.inputNormalMapVolumeY),
          inputNormalMapVolumeZ(other.inputNormalMapVolumeZ), inputVoxelSizeXY_um(other.inputVoxelSizeXY_um),
          inputVoxelSizeZ_um(other.inputVoxelSizeZ_um), inputNumberOfThreads(other.inputNumberOfThreads),
          outputVolume(other.outputVolume)
    {
        appendProperties();
    }
    Parameter& operator=(const Parameter& other)
    {
        inputVolume = other.inputVolume;
        inputHeightMapVolume = other.inputHeightMapVolume;
        inputResampledGridVolumePrim = other.inputResampledGridVolumePrim;
        inputResampledGridVolumeSec = other.inputResampledGridVolumeSec;
        inputNormalMapVolumeX = other.inputNormalMapVolumeX;
        inputNormalMapVolumeY = other.inputNormalMapVolumeY;
        inputNormalMapVolumeZ = other.inputNormalMapVolumeZ;
        inputVoxelSizeXY_um = other.inputVoxelSizeXY_um;
        inputVoxelSizeZ_um = other.inputVoxelSizeZ_um;
        inputNumberOfThreads = other.inputNumberOfThreads;
        outputVolume = other.outputVolume;
        return *this;
    }

    std::string getType() const override
    {
        return "Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Parameter";
    }

private:
    void appendProperties()
    {
        append("inputVolume", inputVolume);
        append("inputHeightMapVolume", inputHeightMapVolume);
        append("inputResampledGridVolumePrim", inputResampledGridVolumePrim);
        append("inputResampledGridVolumeSec", inputResampledGridVolumeSec);
        append("inputNormalMapVolumeX", inputNormalMapVolumeX);
        append("inputNormalMapVolumeY", inputNormalMapVolumeY);
        append("inputNormalMapVolumeZ", inputNormalMapVolumeZ);
        append("inputVoxelSizeXY_um", inputVoxelSizeXY_um);
        append("inputVoxelSizeZ_um", inputVoxelSizeZ_um);
        append("inputNumberOfThreads", inputNumberOfThreads);
        append("outputVolume", outputVolume);
    }
};

} // namespace Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator

#endif
