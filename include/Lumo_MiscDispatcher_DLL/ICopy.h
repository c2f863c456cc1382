// ICopy: the exported facade of the copy of a volume's view into a volume in memory.
#ifndef TARN_LUMO_DLL_ICOPY_H_INCLUDED
#define TARN_LUMO_DLL_ICOPY_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <Kito/Copy/Parameter>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter's inputVolume (in memory, a chunk of memory, or a volume over a file by
/// either file allocator) and, optionally, outputVolume (in memory, of the same voxel type; needed
/// for a file or chunk source, since the copy's instance is named by both volumes), calls apply and
/// finds the copy of the input's view in outputVolume.
class ICopy {
public:
    using Parameter = Tarn::Kito::Copy::Parameter;

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
