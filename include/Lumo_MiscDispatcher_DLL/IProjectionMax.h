// IProjectionMax: the exported facade of the largest voxel of every ray along one axis.
#ifndef TARN_LUMO_DLL_IPROJECTIONMAX_H_INCLUDED
#define TARN_LUMO_DLL_IPROJECTIONMAX_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <LumoStudio/Operators/ProjectionMax/Parameter.h>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter with inputVolume and inputDirection (0 collapses tert, 1 sec, 2 prim),
/// calls apply and reads outputVolume: a new volume of the input's voxel type, whatever stood there.
class IProjectionMax {
public:
    using Parameter = Tarn::Lumo::ProjectionMax::Parameter;

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
