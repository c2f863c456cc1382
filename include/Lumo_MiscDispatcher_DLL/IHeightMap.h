// IHeightMap: the exported facade of the height map of a surface.
#ifndef TARN_LUMO_DLL_IHEIGHTMAP_H_INCLUDED
#define TARN_LUMO_DLL_IHEIGHTMAP_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <LumoStudio/Operators/ComputeHeightMapBorder/Parameter.h>
#include <LumoStudio/Operators/HeightMap/Parameter.h>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter's inputVolume (any voxel type, in memory), inputDirection and an
/// outputVolume whose voxel type (Tarn::uint8, Tarn::uint16 or Tarn::uint32) chooses the height
/// type, calls apply, and reads the new height map from outputVolume. The input is left turned
/// so that its view tert is the searched axis, which is the view a planarisation wants.
class IHeightMap {
public:
    using Parameter = Tarn::Lumo::HeightMap::Parameter;

    class IOperator : public Tarn::AncillaryKitoOperators::DLL::Operator {
    public:
        IOperator();
        IOperator(const IOperator& other) = default;
        ~IOperator() override = default;
        IOperator& operator=(const IOperator& other) = default;

    protected:
        Tarn::Kito::SmartPointer<Tarn::Kito::IOperator> getOperatorFromParameterObject(
            Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const override;
    };
};

} // namespace Tarn::Lumo_DLL

#endif
