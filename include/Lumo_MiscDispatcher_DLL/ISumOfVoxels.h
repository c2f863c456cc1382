// ISumOfVoxels: the exported facade of the voxel sum.
#ifndef TARN_LUMO_DLL_ISUMOFVOXELS_H_INCLUDED
#define TARN_LUMO_DLL_ISUMOFVOXELS_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <Kito/Statistics/SumOfVoxels/Parameter>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter's inputVolume, calls IOperator::apply and reads outputSum.
class ISumOfVoxels {
public:
    using Parameter = Tarn::Kito::Statistics::SumOfVoxels::Parameter;

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
