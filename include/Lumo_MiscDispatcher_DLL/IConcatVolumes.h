// IConcatVolumes: the exported facade of the joining of two volumes along one axis.
#ifndef TARN_LUMO_DLL_ICONCATVOLUMES_H_INCLUDED
#define TARN_LUMO_DLL_ICONCATVOLUMES_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <LumoStudio/Operators/ConcatVolumes/Parameter.h>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter with inputVolumeFirst and inputVolumeSecond (in memory, of one voxel
/// type) and inputFace, may place a volume of that type in outputVolume to be written into, calls
/// apply and reads the joined volume in outputVolume.
class IConcatVolumes {
public:
    using Parameter = Tarn::Lumo::ConcatVolumes::Parameter;

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
