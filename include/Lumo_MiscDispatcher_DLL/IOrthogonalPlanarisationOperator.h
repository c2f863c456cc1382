// IOrthogonalPlanarisationOperator: the exported facade of the flattening of a surface along view
// tert.
#ifndef TARN_LUMO_DLL_IORTHOGONALPLANARISATIONOPERATOR_H_INCLUDED
#define TARN_LUMO_DLL_IORTHOGONALPLANARISATIONOPERATOR_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <LumoStudio/Operators/OrthogonalPlanarisationOperator/Parameter.h>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter's inputVolume (in the view its height map was made in, as the height
/// map leaves it), inputHeightMapVolume, inputNumberOfThreads and optionally outputVolume, calls
/// apply, and reads the flattened volume, of the input's voxel type, from outputVolume.
class IOrthogonalPlanarisationOperator {
public:
    using Parameter = Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Parameter;

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
