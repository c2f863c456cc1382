// IVolumeFromRawFileInput: the exported facade of reading a headerless voxel file.
#ifndef TARN_LUMO_DLL_IVOLUMEFROMRAWFILEINPUT_H_INCLUDED
#define TARN_LUMO_DLL_IVOLUMEFROMRAWFILEINPUT_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <LumoStudio/Operators/VolumeFromRawFileInput/Parameter.h>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter's inputFilePath, inputHeaderSkip, the start and end indices and
/// inputDataType, calls apply and reads outputVolume. No volume exists before the read, so the
/// instance is chosen by inputDataType alone; a value that names no type of the eight fails in
/// the class factory.
class IVolumeFromRawFileInput {
public:
    using Parameter = Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput::Parameter;

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
