// IProjectionMean: the exported facade of the mean of every ray along one axis.
#ifndef TARN_LUMO_DLL_IPROJECTIONMEAN_H_INCLUDED
#define TARN_LUMO_DLL_IPROJECTIONMEAN_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <LumoStudio/Operators/ProjectionMean/Parameter.h>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter with inputVolume and inputDirection (0 collapses tert, 1 sec, 2 prim),
/// and may place a volume of Tarn::float32, Tarn::float64 or the input's type in outputVolume (else
/// the input's type serves); it calls apply and reads outputVolume, the volume it placed there
/// (resized to the projection) or a new one.
class IProjectionMean {
public:
    using Parameter = Tarn::Lumo::ProjectionMean::Parameter;

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
