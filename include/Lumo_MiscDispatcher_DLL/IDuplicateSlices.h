// IDuplicateSlices: the exported facade of the repetition of one slice into a volume.
#ifndef TARN_LUMO_DLL_IDUPLICATESLICES_H_INCLUDED
#define TARN_LUMO_DLL_IDUPLICATESLICES_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <LumoStudio/Operators/DuplicateSlices/Parameter.h>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter with inputVolume (in memory), inputSliceOrientation ("XY-Slice",
/// "XZ-Slice" or "YZ-Slice"), inputSliceIndex and inputNumberOfSlices, calls apply and reads
/// outputVolume, a new volume of the input's voxel type that replaces whatever stood there.
class IDuplicateSlices {
public:
    using Parameter = Tarn::Lumo::DuplicateSlices::Parameter;

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
