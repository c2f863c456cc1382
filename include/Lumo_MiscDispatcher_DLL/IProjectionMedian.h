// IProjectionMedian: the exported facade of the median of every ray along one axis.
#ifndef TARN_LUMO_DLL_IPROJECTIONMEDIAN_H_INCLUDED
#define TARN_LUMO_DLL_IPROJECTIONMEDIAN_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <LumoStudio/Operators/ProjectionMedian/Parameter.h>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter with inputVolume and inputDirection (0 collapses tert, 1 sec, 2 prim),
/// and may place a volume of the input's type in outputVolume; it calls apply and reads outputVolume,
/// of the input view's extent: the volume it placed there (resized if need be) or a new one, with
/// the medians in the view's first plane across the rays (tert 0, sec 0 or prim 0).
class IProjectionMedian {
public:
    using Parameter = Tarn::Lumo::ProjectionMedian::Parameter;

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
