// ILookupTableConversion: the exported facade of the mapping of a volume through a lookup table.
#ifndef TARN_LUMO_DLL_ILOOKUPTABLECONVERSION_H_INCLUDED
#define TARN_LUMO_DLL_ILOOKUPTABLECONVERSION_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <Kito/Conversion/LookupTableConversion/Parameter>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter with inputVolume (Tarn::int8, Tarn::uint8, Tarn::int16 or
/// Tarn::uint16, in memory) and inputLookupTable, a Table from that type into the wanted one, and
/// places a volume of the wanted type in outputVolume (without one, the input's type is taken).
/// It calls apply and reads outputVolume, in which each voxel holds the table's value for the
/// input voxel at its place. The table must cover every key that occurs.
class ILookupTableConversion {
public:
    using Parameter = Tarn::Kito::Conversion::LookupTableConversion::Parameter;

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
