// IQuickSelectMedianValueOfRoi: the exported facade of the median of the region in force on a
// volume.
#ifndef TARN_LUMO_DLL_IQUICKSELECTMEDIANVALUEOFROI_H_INCLUDED
#define TARN_LUMO_DLL_IQUICKSELECTMEDIANVALUEOFROI_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <Kito/MedianOperators/QuickSelectMedianValueOfRoi/Parameter>

namespace Tarn::Lumo_DLL {

/// A host pushes a region on a volume (in memory, any of the ten voxel types), fills a Parameter's
/// inputVolume, calls apply and reads outputValue, a Data of the voxel type.
class IQuickSelectMedianValueOfRoi {
public:
    using Parameter = Tarn::Kito::MedianOperators::QuickSelectMedianValueOfRoi::Parameter;

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
