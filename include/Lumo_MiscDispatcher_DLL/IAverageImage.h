// IAverageImage: the exported facade of the voxel-wise mean of volume files.
#ifndef TARN_LUMO_DLL_IAVERAGEIMAGE_H_INCLUDED
#define TARN_LUMO_DLL_IAVERAGEIMAGE_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <LumoStudio/Operators/AverageImage/Parameter.h>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter's inputFileList with the paths of REK files and may place a volume in
/// outputVolume. The facade reads the voxel type of the first file and asks the class factory for
/// "Tarn::Kito::SerrinOperators::AverageImage::Operator< V , W >", a name under which no operator
/// has ever registered: apply therefore ends in the factory's failure for every valid list. Hosts
/// have always seen that failure, and it stays. The operator itself registers under
/// "Tarn::Lumo::ArithmeticOperators::AverageImage::Operator< volume >" and works when it is called
/// by that name or directly.
class IAverageImage {
public:
    using Parameter = Tarn::Lumo::ArithmeticOperators::AverageImage::Parameter;

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
