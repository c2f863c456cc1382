// IRangePassTransformation: the exported facade of the window that lets a closed value range pass.
#ifndef TARN_LUMO_DLL_IRANGEPASSTRANSFORMATION_H_INCLUDED
#define TARN_LUMO_DLL_IRANGEPASSTRANSFORMATION_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <LumoStudio/Operators/RangePassTransformation/Parameter.h>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter with inputVolume (any of the eight voxel types, in memory), the
/// limits inputMinThreshold and inputMaxThreshold and inputBackgroundValue, each a DataPtr of the
/// volume's own voxel type; it may place a volume of that type in outputVolume to be written.
/// It calls apply and reads outputVolume: every voxel from min to max, both included, as it was,
/// every other one the background.
class IRangePassTransformation {
public:
    using Parameter = Tarn::Lumo::ValueTransformation::RangePassTransformation::Parameter;

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
