// IDirectionalPlanarisationOperator: the exported facade of the unrolling of a surface along its
// normals.
#ifndef TARN_LUMO_DLL_IDIRECTIONALPLANARISATIONOPERATOR_H_INCLUDED
#define TARN_LUMO_DLL_IDIRECTIONALPLANARISATIONOPERATOR_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <LumoStudio/Operators/DirectionalPlanarisationOperator/Parameter.h>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter's inputVolume (in the view its height map, normals and grid were made
/// in), inputHeightMapVolume, the three normal maps and optionally the two grids (float32 or
/// float64, all of one type), the voxel edges and inputNumberOfThreads, calls apply, and reads the
/// unrolled volume, of the input's voxel type, from outputVolume.
class IDirectionalPlanarisationOperator {
public:
    using Parameter = Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Parameter;

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
