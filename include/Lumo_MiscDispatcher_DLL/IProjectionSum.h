// IProjectionSum: the exported facade of the sum of every ray along one axis.
#ifndef TARN_LUMO_DLL_IPROJECTIONSUM_H_INCLUDED
#define TARN_LUMO_DLL_IPROJECTIONSUM_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <LumoStudio/Operators/ProjectionSum/Parameter.h>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter with inputVolume and inputDirection (0 collapses tert, 1 sec, 2 prim),
/// and may place a volume of the wanted sum type in outputVolume (else the input's type serves);
/// it calls apply and reads outputVolume, a new volume that replaces the one it placed there.
class IProjectionSum {
public:
    using Parameter = Tarn::Lumo::ProjectionSum::Parameter;

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
